// SPDX-License-Identifier: MIT
// All numbers of the wire: bus addresses, registers, status bits, command codes and keys. tests/mcu and tests/update
// check them against bytes written by hand.
#pragma once

#include <cstdint>

// Devices on the bus.
inline constexpr uint8_t kMcuAddress = 0x08;  ///< of the MCU; --addr sets another
inline constexpr uint8_t kChargerAddress = 0x09;
inline constexpr uint8_t kUsbAddress = 0x10;
inline constexpr uint8_t kDisplayAddress = 0x50;

// Registers of the MCU. Values of more than one byte are little-endian.
inline constexpr uint8_t kStatusBlockRegister = 0x00;  ///< 20 bytes, 0x00..0x13
inline constexpr uint8_t kHandshakeRegister = 0x0A;    ///< 1 while a message is pending; 0 acknowledges it
inline constexpr uint8_t kParameterRegister = 0x0C;    ///< register command: parameter and result, u16
inline constexpr uint8_t kCommandRegister = 0x0E;      ///< register command: code, then completion status
inline constexpr uint8_t kMarkerRegister = 0x0F;       ///< reset marker, 0 after a reset
inline constexpr uint8_t kDataRegister = 0x60;         ///< bulk data of the register commands
inline constexpr uint8_t kFrameRegister = 0x80;        ///< first byte of a frame, first byte of its response
inline constexpr uint8_t kFramePageRegister = 0xA0;    ///< page number, u16, of the page frames
inline constexpr uint8_t kFrameSegmentRegister = 0xA2;
inline constexpr uint8_t kFrameChecksumRegister = 0xA3;  ///< u16
inline constexpr uint8_t kFrameKeyRegister = 0xA5;
inline constexpr uint8_t kFrameCommandRegister = 0xA6;  ///< frame command: code, then completion status

inline constexpr uint8_t kStatusBlockSize = 20;

// Completion status, in kCommandRegister and kFrameCommandRegister.
inline constexpr uint8_t kStatusFinished = 0x80;
inline constexpr uint8_t kStatusSucceeded = 0x40;

constexpr bool is_finished(uint8_t status) {
    return (status & kStatusFinished) != 0;
}

constexpr bool is_success(uint8_t status) {
    constexpr uint8_t both = kStatusFinished | kStatusSucceeded;
    return (status & both) == both;
}

/// Frame commands: the code goes to kFrameCommandRegister, the key (if any) to kFrameKeyRegister.
enum class FrameCommand : uint8_t {
    kReadVersion = 0x00,      ///< no key; 32 bytes response
    kReadFlashStatus = 0x01,  ///< no key; 10 bytes response
    kReadVersion2 = 0x05,     ///< no key; 32 bytes response
    kWriteSegment = 0x40,     ///< 39 bytes from 0x80
    kCommitPage = 0x41,       ///< 7 bytes from 0xA0
    kEraseOther = 0x43,       ///< 2 bytes from 0xA5
    kEnableOther = 0x45,      ///< 39 bytes from 0x80
    kDisableCurrent = 0x46,   ///< 2 bytes from 0xA5
    kResetNow = 0x47,         ///< 2 bytes from 0xA5, never answered
    kResetDelayed = 0x48,     ///< 39 bytes from 0x80
    kReadSegment = 0x81,      ///< 7 bytes from 0xA0, key kReadKey; 32 bytes response
};

inline constexpr uint8_t kWriteKey = 0x42;
inline constexpr uint8_t kReadKey = 0xDA;

/// Register commands: the code goes to kCommandRegister. "Data" can then be read from kDataRegister.
enum class RegisterCommand : uint8_t {
    kReadEnableWord = 0x00,
    kWriteEnableWord = 0x01,  ///< parameter: the word
    kReadInputMode = 0x02,
    kWriteInputMode = 0x03,  ///< parameter: the word
    kSetLed1 = 0x06,         ///< parameter: LED code
    kSetLed2 = 0x07,
    kStoreSettings = 0x08,  ///< parameter: enable word XOR input mode
    kReadEeprom = 0x0A,     ///< parameter: offset; 8 bytes data, 1-Wire status in kParameterRegister
    kReadRom = 0x0B,        ///< 8 bytes data, 1-Wire status in kParameterRegister
    kSwitchOff = 0x0D,      ///< parameter: kSwitchOffXlr
    kReadPowerrail = 0x80,
    kReadExt = 0x81,
    kWriteW1Pio = 0x82,  ///< parameter: PIO value; 8 bytes data, 1-Wire status in kParameterRegister
    kReadTeko1Voltage = 0x83,
    kReadTeko2Voltage = 0x84,
    kReadTeko1Current = 0x85,
    kReadTeko2Current = 0x86,
    kReadTeko1Impedances = 0x87,
    kReadTeko2Impedances = 0x88,
    kReadPorts = 0x89,  ///< 18 bytes data
    kReadTemperature = 0x8A,
    kReadVcc = 0x8B,
    kReadSpare1 = 0x8C,
    kResetDiagnostics = 0x8D,
    kReadPseStates = 0x8E,
    kTestExtSwitch = 0x8F,
    kReadPdStates = 0x90,
    kReadTeko1Page = 0x91,  ///< parameter: page 0..5; 32 bytes data
    kReadTeko2Page = 0x92,
    kReadNevents = 0x93,  ///< 20 bytes data
    kReadTemperatureCal = 0x96,
    kReadSpare2 = 0x97,
    kTest10V = 0x98,
    kTestMessage = 0x99,
};

inline constexpr uint16_t kSwitchOffXlr = 0x0047;

// Registers of the charger, each a 16-bit word, and bits of its status.
inline constexpr uint8_t kChargerStatusRegister = 0x1B;
inline constexpr uint16_t kChargerModeMask = 0x0003;
inline constexpr uint16_t kChargerBackupMode = 0x0002;
inline constexpr uint16_t kChargerFull = 0x0020;
inline constexpr uint16_t kChargerInputLow = 0x0800;  ///< input voltage below the PFI threshold
inline constexpr uint8_t kChargerVinRegister = 0x25;
inline constexpr uint8_t kChargerVcapRegister = 0x26;
inline constexpr uint8_t kChargerIinRegister = 0x28;
inline constexpr uint8_t kChargerIchgRegister = 0x29;
