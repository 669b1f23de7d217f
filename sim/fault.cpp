// SPDX-License-Identifier: MIT
#include "sim/fault.h"

#include <cstdlib>
#include <regex>
#include <utility>

#include "mcu/flash_geometry.h"

namespace sim {

namespace {

struct KindForm {
    const char* name;
    FaultKind kind;
    uint16_t max_value;  ///< 0: takes none
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

const KindForm* find_kind(const std::string& name) {
    for (const KindForm& form : kKinds) {
        if (name == form.name) {
            return &form;
        }
    }
    return nullptr;
}

uint64_t number(const std::string& text) {
    const bool hexadecimal = text.size() > 1 && text[1] == 'x';
    return std::strtoull(text.c_str(), nullptr, hexadecimal ? 16 : 10);
}

bool is_in(CommandGroup group, CommandCode command) {
    if (group == CommandGroup::kCommands) {
        return true;
    }
    const FrameForm* form = command.frame ? find_frame_form(command.code) : nullptr;
    return form != nullptr && (group == CommandGroup::kFrames || form->changes);
}

/// Reads NAME[/PAGE]. On failure `problem` says why.
bool parse_command(const std::string& name, const std::string& page, Fault& fault, std::string& problem) {
    for (const auto& [group_name, group] : kGroups) {
        if (name == group_name && page.empty()) {
            fault.where = group;
            return true;
        }
    }
    const auto command = find_command(name);
    if (!command) {
        problem = "no such command: " + name;
        return false;
    }
    if (!page.empty() && !has_page(*command)) {
        problem = name + " has no page";
        return false;
    }
    fault.where = CommandPlace{*command, std::nullopt};
    if (!page.empty()) {
        std::get<CommandPlace>(fault.where).page = static_cast<uint16_t>(number(page));
    }
    return true;
}

/// Empty, or what is wrong with a fault of this kind.
std::string check_kind(const KindForm& form, const std::string& value, bool has_command) {
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
    return strikes_command(form.kind) && !has_command ? name + " needs the name of a command" : "";
}

}  // namespace

bool Fault::matches(const TransferPlace& place) const {
    if (const auto* transfer = std::get_if<uint64_t>(&where)) {
        // A transfer has a number of its own: from there on all count.
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
    if (duration_us) {
        began_us_ = began_us_.value_or(place.time_us);
        return place.time_us < *began_us_ + *duration_us;
    }
    return count == kUnlimited || seen_ < first + count;
}

std::optional<Fault> parse_fault(const std::string& text, std::string& problem) {
    static const std::regex form(R"(([a-z]+)(?:=(0x[0-9a-f]{1,2}|\d{1,5}))?@)"
                                 R"((?:([1-9]\d{0,17})|reg-([0-9a-f]{2})|([a-z][a-z0-9-]*?)(?:/(\d{1,3}))?))"
                                 R"((?:#([1-9]\d{0,17}))?(?:x([1-9]\d{0,17}|\*)|\+(\d{1,12})ms)?)");
    std::smatch part;
    if (!std::regex_match(text, part, form)) {
        problem = text + ": not a fault; it is written KIND[=VALUE]@WHERE[#N][xCOUNT]";
        return std::nullopt;
    }
    Fault fault;
    const KindForm* kind = find_kind(part[1]);
    if (kind == nullptr) {
        problem = text + ": no such kind of fault: " + part[1].str();
        return std::nullopt;
    }
    fault.kind = kind->kind;
    if (part[3].matched) {
        fault.where = number(part[3]);
    } else if (part[4].matched) {
        fault.where = RegisterPlace{static_cast<uint8_t>(std::strtoul(part[4].str().c_str(), nullptr, 16))};
    } else if (!parse_command(part[5], part[6], fault, problem)) {
        problem = text + ": " + problem;
        return std::nullopt;
    }
    if (const std::string mistake = check_kind(*kind, part[2], part[5].matched); !mistake.empty()) {
        problem = text + ": " + mistake;
        return std::nullopt;
    }
    if (part[2].matched) {
        fault.value = static_cast<uint16_t>(number(part[2]));
    }
    fault.first = part[7].matched ? number(part[7]) : 1;
    if (part[8].matched) {
        fault.count = part[8] == "*" ? kUnlimited : number(part[8]);
    }
    if (part[9].matched) {
        fault.duration_us = number(part[9]) * 1000;
    }
    return fault;
}

}  // namespace sim
