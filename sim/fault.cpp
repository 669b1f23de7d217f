// SPDX-License-Identifier: MIT
#include "sim/fault.h"

#include <charconv>
#include <string_view>
#include <utility>

#include "mcu/flash_geometry.h"

namespace sim {

namespace {

struct KindForm {
    const char* name;
    FaultKind kind;
    uint16_t max_value;  ///< 0: takes no value
    bool needs_value;
};

constexpr KindForm kKinds[] = {
    {"nack", FaultKind::kNack, 0, false},         {"dead", FaultKind::kDead, 0, false},
    {"lost", FaultKind::kLost, 0, false},         {"restart", FaultKind::kRestart, 0, false},
    {"cut", FaultKind::kCut, 0, false},           {"kill", FaultKind::kKill, 0, false},
    {"flip", FaultKind::kFlip, 0, false},         {"fail", FaultKind::kFail, 0xFF, false},
    {"hang", FaultKind::kHang, 0, false},         {"skip", FaultKind::kSkip, 0, false},
    {"slow", FaultKind::kSlow, UINT16_MAX, true}, {"tear", FaultKind::kTear, kPageSize, true},
};

constexpr std::pair<const char*, CommandGroup> kGroups[] = {
    {"any-command", CommandGroup::kCommands},
    {"any-frame", CommandGroup::kFrames},
    {"any-change", CommandGroup::kChanges},
};

const KindForm* find_kind(std::string_view name) {
    for (const KindForm& form : kKinds) {
        if (name == form.name) {
            return &form;
        }
    }
    return nullptr;
}

/// The words of a fault; those not given are empty.
struct Words {
    std::string_view kind;
    std::string_view value;
    std::string_view place;  ///< a transfer, a register or a command
    std::string_view page;
    std::string_view first;
    std::string_view count;
    std::string_view duration_ms;
};

bool consists_of(std::string_view text, std::string_view characters) {
    return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

bool is_number(std::string_view text, size_t max_digits) {
    return consists_of(text, "0123456789") && text.size() <= max_digits;
}

bool is_positive(std::string_view text) {
    return is_number(text, 18) && text[0] != '0';
}

bool is_hexadecimal(std::string_view text, size_t max_digits) {
    return consists_of(text, "0123456789abcdef") && text.size() <= max_digits;
}

bool is_register(std::string_view text) {
    return text.starts_with("reg-") && text.size() == 6 && is_hexadecimal(text.substr(4), 2);
}

bool is_name(std::string_view text) {
    return consists_of(text, "abcdefghijklmnopqrstuvwxyz0123456789-") && text[0] >= 'a';
}

/// Moves what follows the last `mark` of `text` to `tail`. False when there is no mark.
bool cut(std::string_view& text, char mark, std::string_view& tail) {
    const size_t at = text.rfind(mark);
    if (at == std::string_view::npos) {
        return false;
    }
    tail = text.substr(at + 1);
    text = text.substr(0, at);
    return true;
}

/// Cuts xCOUNT or +TIMEms off the place. Names of commands contain an x, too: only one before a number counts.
bool cut_extent(Words& words) {
    std::string_view place = words.place;
    if (place.ends_with("ms") && cut(place, '+', words.duration_ms)) {
        words.place = place;
        words.duration_ms.remove_suffix(2);
        return is_number(words.duration_ms, 12);
    }
    std::string_view count;
    if (cut(place, 'x', count) && (count == "*" || is_positive(count))) {
        words.place = place;
        words.count = count;
    }
    return true;
}

/// Nothing when the text does not have the form of a fault.
std::optional<Words> split(std::string_view text) {
    Words words;
    bool good = cut(text, '@', words.place);
    words.kind = text;
    if (cut(words.kind, '=', words.value)) {
        good = good && (is_number(words.value, 5) ||
                        (words.value.starts_with("0x") && is_hexadecimal(words.value.substr(2), 2)));
    }
    good = good && cut_extent(words);
    good = good && (!cut(words.place, '#', words.first) || is_positive(words.first));
    good = good && (!cut(words.place, '/', words.page) || is_number(words.page, 3));
    good = good && consists_of(words.kind, "abcdefghijklmnopqrstuvwxyz");
    good = good && (is_name(words.place) || (is_positive(words.place) && words.page.empty()));
    return good ? std::optional(words) : std::nullopt;
}

uint64_t number(std::string_view text, int base = 10) {
    if (text.starts_with("0x")) {
        text.remove_prefix(2);
        base = 16;
    }
    uint64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, base);
    return value;
}

bool is_in(CommandGroup group, CommandCode command) {
    if (group == CommandGroup::kCommands) {
        return true;
    }
    const FrameForm* form = command.frame ? find_frame_form(command.code) : nullptr;
    return form != nullptr && (group == CommandGroup::kFrames || form->changes);
}

std::string list(const std::vector<std::string_view>& names) {
    std::string text;
    for (const std::string_view name : names) {
        text += (text.empty() ? " " : ", ") + std::string(name);
    }
    return text;
}

/// What WHERE can be besides the number of a transfer.
std::vector<std::string_view> fault_places() {
    std::vector<std::string_view> names = fault_groups();
    names.emplace_back("reg-00 to reg-ff");
    for (const FrameForm& form : frame_forms()) {
        names.push_back(form.name);
    }
    for (const RegisterForm& form : register_forms()) {
        names.push_back(form.name);
    }
    return names;
}

/// Reads the place and its page. Returns an empty text, or what is wrong.
std::string parse_place(const Words& words, Fault& fault) {
    if (is_positive(words.place)) {
        fault.where = number(words.place);
        return "";
    }
    if (is_register(words.place) && words.page.empty()) {
        fault.where = RegisterPlace{static_cast<uint8_t>(number(words.place.substr(4), 16))};
        return "";
    }
    for (const auto& [name, group] : kGroups) {
        if (words.place == name && words.page.empty()) {
            fault.where = group;
            return "";
        }
    }
    const auto command = find_command(words.place);
    if (!command) {
        return "no such command: " + std::string(words.place) + "; there are" + list(fault_places());
    }
    if (words.page.empty()) {
        fault.where = CommandPlace{*command, std::nullopt};
        return "";
    }
    fault.where = CommandPlace{*command, static_cast<uint16_t>(number(words.page))};
    return has_page(*command) ? "" : std::string(words.place) + " has no page";
}

/// Empty, or what is wrong with the value or the place of this kind.
std::string check_kind(const KindForm& form, std::string_view value, const Fault& fault) {
    const std::string name = form.name;
    if (!value.empty() && form.max_value == 0) {
        return name + " takes no value";
    }
    if (value.empty() && form.needs_value) {
        return name + " needs a value";
    }
    if (!value.empty() && number(value) > form.max_value) {
        return name + " takes a value up to " + std::to_string(form.max_value);
    }
    const bool has_command =
        std::holds_alternative<CommandPlace>(fault.where) || std::holds_alternative<CommandGroup>(fault.where);
    return strikes_command(form.kind) && !has_command ? name + " needs the name of a command" : "";
}

}  // namespace

bool Fault::matches(const TransferPlace& place) const {
    if (const auto* transfer = std::get_if<uint64_t>(&where)) {
        // Every later transfer counts, too: #N and xCOUNT go on from there.
        return place.number >= *transfer;
    }
    if (const auto* at = std::get_if<RegisterPlace>(&where)) {
        return place.mcu_register == at->reg;
    }
    if (!place.command) {
        return false;
    }
    if (const auto* group = std::get_if<CommandGroup>(&where)) {
        return is_in(*group, *place.command);
    }
    const auto& command = std::get<CommandPlace>(where);
    return place.command == command.command && (!command.page || place.page == command.page);
}

bool Fault::strikes(const TransferPlace& place) {
    if (!matches(place) || ++seen_ < first) {
        return false;
    }
    bool struck = count == kUnlimited || seen_ < first + count;
    if (duration_us) {
        began_us_ = began_us_.value_or(place.time_us);
        struck = place.time_us < *began_us_ + *duration_us;
    }
    has_struck_ = has_struck_ || struck;
    return struck;
}

std::optional<Fault> parse_fault(const std::string& text, std::string& problem) {
    const auto words = split(text);
    if (!words) {
        problem = text + ": not a fault; expected KIND[=VALUE]@WHERE[#N][xCOUNT|+TIMEms]";
        return std::nullopt;
    }
    const KindForm* kind = find_kind(words->kind);
    if (kind == nullptr) {
        problem = text + ": no such kind of fault: " + std::string(words->kind) + "; there are" + list(fault_kinds());
        return std::nullopt;
    }
    Fault fault;
    fault.text = text;
    fault.kind = kind->kind;
    std::string mistake = parse_place(*words, fault);
    if (mistake.empty()) {
        mistake = check_kind(*kind, words->value, fault);
    }
    if (!mistake.empty()) {
        problem = text + ": " + mistake;
        return std::nullopt;
    }
    if (!words->value.empty()) {
        fault.value = static_cast<uint16_t>(number(words->value));
    }
    if (!words->first.empty()) {
        fault.first = number(words->first);
    }
    if (!words->count.empty()) {
        fault.count = words->count == "*" ? kUnlimited : number(words->count);
    }
    if (!words->duration_ms.empty()) {
        fault.duration_us = number(words->duration_ms) * 1000;
    }
    return fault;
}

std::vector<std::string_view> fault_kinds() {
    std::vector<std::string_view> names;
    for (const KindForm& form : kKinds) {
        names.emplace_back(form.name);
    }
    return names;
}

std::vector<std::string_view> fault_groups() {
    std::vector<std::string_view> names;
    for (const auto& group : kGroups) {
        names.emplace_back(group.first);
    }
    return names;
}

}  // namespace sim
