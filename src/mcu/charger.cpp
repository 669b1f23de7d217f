// SPDX-License-Identifier: MIT
#include "mcu/charger.h"

#include "mcu/registers.h"
#include "util/little_endian.h"

namespace {

struct ChargerWord {
    uint8_t reg;
    uint16_t CapRegisters::*member;
};

constexpr ChargerWord kChargerWords[] = {
    {kChargerStatusRegister, &CapRegisters::cap_status}, {kChargerVinRegister, &CapRegisters::cap_vin},
    {kChargerIinRegister, &CapRegisters::cap_iin},       {kChargerVcapRegister, &CapRegisters::cap_vcap},
    {kChargerIchgRegister, &CapRegisters::cap_ichg},
};

}  // namespace

bool read_charger_registers(const I2cBus& bus, CapRegisters& words) {
    words = CapRegisters{};
    for (const ChargerWord& word : kChargerWords) {
        uint8_t bytes[2];
        if (!i2c_read(bus, kChargerAddress, word.reg, sizeof bytes, bytes)) {
            return false;
        }
        words.*word.member = get_le16(bytes);
    }
    return true;
}
