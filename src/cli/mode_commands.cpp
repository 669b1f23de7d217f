// SPDX-License-Identifier: MIT
#include "cli/mode_commands.h"

#include <cstdio>

#include "diag/w1_status.h"
#include "log/log.h"
#include "mcu/transactions.h"
#include "util/parse_number.h"

namespace {

constexpr ModeChoice kPriorities[] = {{"normal", 0},       {"norm", 0}, {"default", 0}, {"def", 0},
                                      {"battery-save", 1}, {"low", 1},  {"high", 2}};
constexpr ModeChoice kW1Validity[] = {{"normal", 0x00}, {"ignore", 0x20}};
constexpr ModeChoice kLedColours[] = {{"default", 0x00}, {"def", 0x00}, {"normal", 0x00}, {"norm", 0x00},
                                      {"gn", 0x81},      {"rd", 0x82},  {"or", 0x83},     {"off", 0x80}};

// A set bit disables. The parameter's mask selects the bit.
constexpr ModeChoice kEnableWords[] = {{"enabled", 0},     {"enable", 0},     {"on", 0},     {"1", 0},
                                       {"disabled", 0xFF}, {"disable", 0xFF}, {"off", 0xFF}, {"0", 0xFF}};

/// The value of a word, or -1.
int find_choice(std::span<const ModeChoice> choices, std::string_view word) {
    for (const ModeChoice& choice : choices) {
        if (choice.word == word) {
            return choice.value;
        }
    }
    return -1;
}

using enum RegisterCommand;

bool log_invalid_value(const ModeParameter& parameter) {
    log_message(kLogError, "invalid parameter to --set-mode %s", parameter.names[0]);
    return false;
}

bool set_settings_word(McuDevice& device, const ModeParameter& parameter, const char* value) {
    const bool is_input_mode = parameter.command == kWriteInputMode;
    uint16_t word = 0;
    // Read before the value is checked: if both fail, the MCU's error is the one reported.
    if (!run_register_command(device, is_input_mode ? kReadInputMode : kReadEnableWord, &word)) {
        return log_last_error(device);
    }
    const int choice = find_choice(parameter.choices, value);
    if (choice < 0) {
        return log_invalid_value(parameter);
    }
    word = static_cast<uint16_t>((word & ~parameter.mask) | (choice & parameter.mask));
    return run_register_command_with_param(device, word, parameter.command, nullptr) || log_last_error(device);
}

bool set_led(McuDevice& device, const ModeParameter& parameter, const char* value) {
    const int code = find_choice(parameter.choices, value);
    if (code < 0) {
        return log_invalid_value(parameter);
    }
    return run_register_command_with_param(device, static_cast<uint16_t>(code), parameter.command, nullptr) ||
           log_last_error(device);
}

/// Warns about an unusual test message, which is sent nevertheless.
void warn_about_message(uint32_t value) {
    if ((value & 0x0C) != 0) {
        std::fprintf(stderr, "WARNING: using reserved bits with --set-mode test-msg (%04x)\n", value);
    }
    if ((value & 0x03) == 0) {
        std::fprintf(stderr, "WARNING: missing destination (not 1 or 2) with --set-mode test-msg (%04x)\n", value);
    } else if ((value & 0x03) == 3) {
        std::fprintf(stderr, "WARNING: invalid destination (not 1 or 2) with --set-mode test-msg (%04x)\n", value);
    }
    if ((value >> 4 & 0x0E) != 0) {
        std::fprintf(stderr, "WARNING: atypical destination index (not 0 or 1) with --set-mode test-msg (%04x)\n",
                     value);
    }
}

bool set_number(McuDevice& device, const ModeParameter& parameter, const char* value) {
    int64_t number = 0;
    if (!parse_int(value, number)) {
        return log_invalid_value(parameter);
    }
    if (parameter.command == kTestMessage) {
        warn_about_message(static_cast<uint32_t>(number));
    }
    const auto sent = static_cast<uint16_t>(number & parameter.mask);
    const bool ok = parameter.command == kWriteW1Pio
                        ? print_w1_pio(device, sent, true)
                        : run_register_command_with_param(device, sent, parameter.command, nullptr);
    return ok || log_last_error(device);
}

constexpr ModeParameter kParameters[] = {
    {{"priority", "extpriority", "prio"}, set_settings_word, kWriteInputMode, 0x03, kPriorities},
    {{"w1validity"}, set_settings_word, kWriteEnableWord, 0x20, kW1Validity},
    {{"teko1-pd", "pd1"}, set_settings_word, kWriteEnableWord, 0x01, kEnableWords},
    {{"teko1-pse", "teko1", "pse1"}, set_settings_word, kWriteEnableWord, 0x02, kEnableWords},
    {{"teko2-pd", "pd2"}, set_settings_word, kWriteEnableWord, 0x04, kEnableWords},
    {{"teko2-pse", "teko2", "pse2"}, set_settings_word, kWriteEnableWord, 0x08, kEnableWords},
    {{"led1"}, set_led, kSetLed1, 0, kLedColours},
    {{"led2"}, set_led, kSetLed2, 0, kLedColours},
    {{"psuled"}, set_number, kWriteW1Pio, 0xFFFF},
    {{"test-extsw"}, set_number, kTestExtSwitch, 0xFF},
    {{"test-10V"}, set_number, kTest10V, 0xFF},
    {{"test-msg"}, set_number, kTestMessage, 0xFFFF},
};

bool store_settings(McuDevice& device) {
    uint16_t enable = 0;
    uint16_t input_mode = 0;
    return run_register_command(device, kReadEnableWord, &enable) &&
           run_register_command(device, kReadInputMode, &input_mode) &&
           run_register_command_with_param(device, enable ^ input_mode, kStoreSettings, nullptr);
}

bool switch_xlr_off(McuDevice& device) {
    if (!run_register_command_with_param(device, kSwitchOffXlr, kSwitchOff, nullptr)) {
        return false;
    }
    log_message(kLogInfo, "disabled XLR input (turn off power, but not PoE)");
    return true;
}

constexpr ModeAction kActions[] = {
    {"store", store_settings},        {"xlr-off", switch_xlr_off},
    {"off", switch_xlr_off},          {"test-msg-ack", acknowledge_message},
    {"test-i2c-bug1", test_i2c_bug1},
};

const ModeParameter* find_parameter(std::string_view word) {
    for (const ModeParameter& parameter : kParameters) {
        for (const char* name : parameter.names) {
            if (name != nullptr && name == word) {
                return &parameter;
            }
        }
    }
    return nullptr;
}

}  // namespace

std::span<const ModeParameter> mode_parameters() {
    return kParameters;
}

std::span<const ModeAction> mode_actions() {
    return kActions;
}

bool run_set_mode(CommandContext& context) {
    CommandList& words = context.words;
    for (const ModeAction& action : kActions) {
        if (action.name == words.front()) {
            words.take();
            return action.run(context.device) || log_last_error(context.device);
        }
    }
    // Checked before the word itself: an unknown last word is reported as a missing argument.
    if (!require_args(words, 1)) {
        return false;
    }
    const ModeParameter* parameter = find_parameter(words.take());
    const char* value = words.take();
    if (parameter == nullptr) {
        log_message(kLogError, "unknown parameter to --set-mode");
        return false;
    }
    return parameter->set(context.device, *parameter, value);
}
