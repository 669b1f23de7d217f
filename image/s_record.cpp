// SPDX-License-Identifier: MIT
#include "image/s_record.h"

#include <numeric>

#include "image/record_lines.h"

namespace {

enum class Kind { kHeader, kData, kUnknown, kCount, kEnd };

constexpr struct {
    Kind kind;
    size_t address_size;
} kTypes[] = {{Kind::kHeader, 2}, {Kind::kData, 2},  {Kind::kData, 3}, {Kind::kData, 4}, {Kind::kUnknown, 0},
              {Kind::kCount, 2},  {Kind::kCount, 3}, {Kind::kEnd, 4},  {Kind::kEnd, 3},  {Kind::kEnd, 2}};

/// Takes the records of one file, in their order.
class SRecordReader {
public:
    SRecordReader(std::span<const uint8_t> text, std::vector<Piece>& pieces, std::string& error)
        : lines_(text), pieces_(pieces), error_(error) {}

    bool read() {
        while (lines_.next()) {
            if (!check_frame() || !take()) {
                return false;
            }
        }
        return ended_ || counted_ ||
               lines_.refuse(error_, "the end record (S7, S8 or S9) is missing: the file is cut off");
    }

private:
    bool check_frame() {
        const std::string_view line = lines_.line();
        if (ended_) {
            return lines_.refuse(error_, "text after the end record");
        }
        if (line.size() < 2 || line[0] != 'S' || line[1] < '0' || line[1] > '9' ||
            !decode_hex(line.substr(2), record_)) {
            return lines_.refuse(error_, "no S-record (S, a digit and pairs of hexadecimal digits)");
        }
        type_ = line[1] - '0';
        if (kTypes[type_].kind == Kind::kUnknown) {
            return lines_.refuse(error_, "a record of type S%d, which is unknown", type_);
        }
        if (record_.size() < kTypes[type_].address_size + 2 || record_.size() != record_[0] + 1U) {
            return lines_.refuse(error_, "the length of the record is wrong");
        }
        const auto needed = static_cast<uint8_t>(~std::accumulate(record_.begin(), record_.end() - 1, 0U));
        return record_.back() == needed ||
               lines_.refuse(error_, "the checksum is %02X, but must be %02X", record_.back(), needed);
    }

    bool take() {
        const size_t address_size = kTypes[type_].address_size;
        const std::span<const uint8_t> record(record_);
        const uint32_t address = big_endian(record.subspan(1, address_size));
        const std::span<const uint8_t> data = record.subspan(1 + address_size, record.size() - address_size - 2);
        counted_ = false;
        switch (kTypes[type_].kind) {
            case Kind::kData:
                ++count_;
                if (!data.empty()) {
                    pieces_.push_back({address, {data.begin(), data.end()}, lines_.number()});
                }
                return true;
            case Kind::kCount:
                counted_ = true;
                // S5 has room for 16 bits of the count, S6 for 24.
                return address == (count_ & ((1U << 8 * address_size) - 1)) ||
                       lines_.refuse(error_, "the count of records is %u, but there are %u: lines are missing", address,
                                     count_);
            case Kind::kEnd: ended_ = true; return true;
            default: return true;
        }
    }

    RecordLines lines_;
    std::vector<Piece>& pieces_;
    std::string& error_;
    std::vector<uint8_t> record_;
    int type_ = 0;
    uint32_t count_ = 0;
    bool counted_ = false;  // the last record was the count: nothing is missing
    bool ended_ = false;
};

}  // namespace

bool read_s_records(std::span<const uint8_t> text, std::vector<Piece>& pieces, std::string& error) {
    return SRecordReader(text, pieces, error).read();
}
