// SPDX-License-Identifier: MIT
#include "ctl/power_output.h"

#include <algorithm>

#include "ctl/power_fields.h"
#include "util/printable.h"

namespace {

std::string json_value(const PowerField& field, const Value& value) {
    if (std::holds_alternative<std::monostate>(value)) {
        return "null";
    }
    if (const bool* truth = std::get_if<bool>(&value)) {
        return *truth ? "true" : "false";
    }
    const std::string text = value_text(field, value);
    return std::holds_alternative<std::string>(value) ? json_string(text) : text;
}

std::string words_for_people(const PowerField& field, const Value& value) {
    if (std::holds_alternative<std::monostate>(value)) {
        return "-";
    }
    if (const bool* truth = std::get_if<bool>(&value)) {
        return *truth ? "yes" : "no";
    }
    const std::string text = printable(value_text(field, value));
    return *field.unit.symbol == '\0' ? text : text + " " + field.unit.symbol;
}

std::string csv_value(const PowerField& field, const Value& value) {
    std::string text = printable(value_text(field, value));
    if (text.find_first_of(",\"") == std::string::npos) {
        return text;
    }
    for (size_t at = 0; (at = text.find('"', at)) != std::string::npos; at += 2) {
        text.insert(at, 1, '"');
    }
    return '"' + text + '"';
}

std::string label(const std::string& name, const std::string& value) {
    std::string escaped;
    for (const char c : printable(value)) {
        escaped += c == '\\' || c == '"' ? "\\" : "";
        escaped += c;
    }
    return name + "=\"" + escaped + '"';
}

/// Collects the samples of one metric; prints nothing if there is none.
class Metric {
public:
    Metric(std::string name, const char* type, std::string help)
        : name_(std::move(name)),
          head_("# HELP " + name_ + " " + std::move(help) + "\n# TYPE " + name_ + " " + type + "\n") {}

    void add(const std::string& labels, const std::string& value) {
        samples_ += name_ + (labels.empty() ? "" : "{" + labels + "}") + " " + value + "\n";
    }

    std::string text() const {
        return samples_.empty() ? "" : head_ + samples_;
    }

private:
    std::string name_;
    std::string head_;
    std::string samples_;
};

std::string group_name(const PowerGroup& group) {
    return *group.label == '\0' ? "sorvan_" : std::string("sorvan_") + group.label + "_";
}

std::string index_label(const PowerGroup& group, int index) {
    return *group.label == '\0' ? "" : label(group.label, std::to_string(index));
}

std::string joined_labels(const std::string& first, const std::string& second) {
    return first.empty() || second.empty() ? first + second : first + "," + second;
}

std::string field_metric(const PowerGroup& group, const PowerField& field, const Power& power) {
    const bool is_counter = field.sample == Sample::kCounter;
    const bool is_state = field.sample == Sample::kState;
    Metric metric(group_name(group) + field.key +
                      (is_counter ? "_total"
                       : is_state ? "_info"
                                  : ""),
                  is_counter ? "counter" : "gauge",
                  std::string(group.title) + (*group.title == '\0' ? "" : ": ") + field.meaning);
    for (int index = group.first; index < group.first + group.count; ++index) {
        const Value value = field.value(power, index);
        const std::string text = value_text(field, value);
        if (std::holds_alternative<std::monostate>(value)) {
            continue;
        }
        const std::string labels = index_label(group, index);
        if (is_state) {
            metric.add(joined_labels(labels, label(field.key, text)), "1");
        } else {
            metric.add(labels, text);
        }
    }
    return metric.text();
}

/// The fields that are labels, as one metric.
std::string group_info(const PowerGroup& group, const Power& power) {
    Metric metric(group_name(group) + "info", "gauge", "What does not change often, as labels");
    for (int index = group.first; index < group.first + group.count; ++index) {
        std::string labels;
        for (const PowerField& field : group.fields) {
            const Value value = field.sample == Sample::kLabel ? field.value(power, index) : Value();
            if (!std::holds_alternative<std::monostate>(value)) {
                labels = joined_labels(labels, label(field.key, value_text(field, value)));
            }
        }
        if (!labels.empty()) {
            metric.add(joined_labels(index_label(group, index), labels), "1");
        }
    }
    return metric.text();
}

}  // namespace

std::string power_lines(const Power& power) {
    std::string lines;
    for_each_value([&](const PowerGroup& group, int index, const PowerField& field) {
        std::string name = *group.prefix == '\0' ? "" : group.title + std::to_string(index) + " ";
        name += field.meaning;
        name.resize(std::max<size_t>(name.size(), 40), ' ');
        lines += name + " " + words_for_people(field, field.value(power, index)) + "\n";
    });
    return lines;
}

void add_power(JsonObject& object, const Power& power) {
    for_each_value([&](const PowerGroup& group, int index, const PowerField& field) {
        object.add(field_name(group, index, field), json_value(field, field.value(power, index)));
    });
}

std::string csv_names() {
    std::string names;
    for_each_value([&](const PowerGroup& group, int index, const PowerField& field) {
        names += "," + field_name(group, index, field);
    });
    return names;
}

std::string csv_values(const Power& power) {
    std::string values;
    for_each_value([&](const PowerGroup& /*group*/, int index, const PowerField& field) {
        values += "," + csv_value(field, field.value(power, index));
    });
    return values;
}

std::string power_metrics(const Power& power, const Failure& failure) {
    const bool is_up = failure.reason == Reason::kNone;
    Metric up("sorvan_up", "gauge", "Whether the MCU was read completely");
    up.add("", is_up ? "1" : "0");
    Metric reason("sorvan_failure_info", "gauge", "Why the MCU was not read completely");
    if (!is_up) {
        reason.add(label("reason", reason_word(failure.reason)), "1");
    }
    std::string text = up.text() + reason.text();
    for (const PowerGroup& group : power_groups()) {
        text += group_info(group, power);
        for (const PowerField& field : group.fields) {
            if (field.sample != Sample::kNone && field.sample != Sample::kLabel) {
                text += field_metric(group, field, power);
            }
        }
    }
    return text;
}
