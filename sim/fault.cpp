// SPDX-License-Identifier: MIT
#include "sim/fault.h"

#include <cstdlib>
#include <regex>
#include <utility>

#include "sim/command_names.h"

namespace sim {

namespace {

constexpr std::pair<const char*, FaultKind> kKinds[] = {
    {"nack", FaultKind::kNack},       {"dead", FaultKind::kDead}, {"lost", FaultKind::kLost},
    {"restart", FaultKind::kRestart}, {"flip", FaultKind::kFlip}, {"fail", FaultKind::kFail},
    {"hang", FaultKind::kHang},       {"skip", FaultKind::kSkip},
};

std::optional<FaultKind> find_kind(const std::string& name) {
    for (const auto& [kind_name, kind] : kKinds) {
        if (name == kind_name) {
            return kind;
        }
    }
    return std::nullopt;
}

bool needs_command(FaultKind kind) {
    return kind == FaultKind::kFail || kind == FaultKind::kHang || kind == FaultKind::kSkip;
}

uint64_t number(const std::string& text) {
    const bool hexadecimal = text.size() > 1 && text[1] == 'x';
    return std::strtoull(text.c_str(), nullptr, hexadecimal ? 16 : 10);
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
    const auto& command = std::get<CommandPlace>(where);
    return place.command == command.name && (!command.page || place.page == command.page);
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
    static const std::regex form(
        R"(([a-z]+)(?:=(0x[0-9a-f]{1,2}))?@(?:([1-9]\d{0,17})|reg-([0-9a-f]{2})|([a-z][a-z0-9-]*)(?:/(\d{1,3}))?))"
        R"((?:#([1-9]\d{0,17}))?(?:x([1-9]\d{0,17}|\*)|\+(\d{1,12})ms)?)");
    std::smatch part;
    if (!std::regex_match(text, part, form)) {
        problem = text + ": not a fault; it is written KIND[=STATUS]@WHERE[#N][xCOUNT]";
        return std::nullopt;
    }
    const auto kind = find_kind(part[1]);
    if (!kind) {
        problem = text + ": no such kind of fault: " + part[1].str();
        return std::nullopt;
    }
    if (part[5].matched && !is_command_name(part[5].str())) {
        problem = text + ": no such command: " + part[5].str();
        return std::nullopt;
    }
    if (part[6].matched && !has_page(part[5].str())) {
        problem = text + ": " + part[5].str() + " has no page";
        return std::nullopt;
    }
    if (part[2].matched && *kind != FaultKind::kFail) {
        problem = text + ": " + part[1].str() + " takes no status";
        return std::nullopt;
    }
    if (!part[5].matched && needs_command(*kind)) {
        problem = text + ": " + part[1].str() + " needs the name of a command";
        return std::nullopt;
    }
    Fault fault;
    fault.kind = *kind;
    if (part[2].matched) {
        fault.status = static_cast<uint8_t>(number(part[2]));
    }
    if (part[3].matched) {
        fault.where = number(part[3]);
    } else if (part[4].matched) {
        fault.where = RegisterPlace{static_cast<uint8_t>(std::strtoul(part[4].str().c_str(), nullptr, 16))};
    } else {
        const auto page = static_cast<uint16_t>(number(part[6]));
        fault.where = CommandPlace{part[5], part[6].matched ? std::optional(page) : std::nullopt};
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
