// SPDX-License-Identifier: MIT
#include "image/intel_hex.h"

#include <numeric>

#include "image/record_lines.h"

namespace {

enum RecordType : uint8_t {
    kData = 0,
    kEnd = 1,
    kSegmentBase = 2,
    kSegmentStart = 3,
    kLinearBase = 4,
    kLinearStart = 5,
};
constexpr size_t kDataSize[] = {0, 0, 2, 4, 2, 4};  // of each type but kData
constexpr size_t kFrameSize = 5;                    // length, address, type, checksum
constexpr uint32_t kWindow = 0x10000;

/// Takes the records of one file, in their order.
class HexReader {
public:
    HexReader(std::span<const uint8_t> text, std::vector<Piece>& pieces, std::string& error)
        : lines_(text), pieces_(pieces), error_(error) {}

    bool read() {
        while (lines_.next()) {
            if (!check_frame() || !take()) {
                return false;
            }
        }
        return ended_ || lines_.refuse(error_, "the end record is missing: the file is cut off");
    }

private:
    bool check_frame() {
        if (ended_) {
            return lines_.refuse(error_, "text after the end record");
        }
        if (!lines_.line().starts_with(':') || !decode_hex(lines_.line().substr(1), record_)) {
            return lines_.refuse(error_, "no record of Intel HEX (a colon and pairs of hexadecimal digits)");
        }
        if (record_.size() < kFrameSize || record_.size() != kFrameSize + record_[0]) {
            return lines_.refuse(error_, "the length of the record is wrong");
        }
        const auto sum = std::accumulate(record_.begin(), record_.end() - 1, 0U);
        const auto needed = static_cast<uint8_t>(0U - sum);
        return record_.back() == needed ||
               lines_.refuse(error_, "the checksum is %02X, but must be %02X", record_.back(), needed);
    }

    bool take() {
        const std::span<const uint8_t> data = std::span(record_).subspan(kFrameSize - 1, record_[0]);
        const uint8_t type = record_[3];
        if (type > kLinearStart) {
            return lines_.refuse(error_, "a record of type %02X, which is unknown", type);
        }
        if (type != kData && data.size() != kDataSize[type]) {
            return lines_.refuse(error_, "the length does not suit a record of type %02X", type);
        }
        switch (type) {
            case kData: return take_data(data);
            case kEnd: ended_ = true; break;
            case kSegmentBase: set_base(segment_, linear_, big_endian(data) << 4); break;
            case kLinearBase: set_base(linear_, segment_, big_endian(data) << 16); break;
            default: break;
        }
        return true;
    }

    /// Some readers add the two bases, others take the last one.
    void set_base(uint32_t& base, uint32_t other, uint32_t value) {
        base = value;
        base_ = value;
        is_ambiguous_ = other != 0;
    }

    bool take_data(std::span<const uint8_t> data) {
        const uint32_t offset = big_endian(std::span(record_).subspan(1, 2));
        // Formats and readers disagree on where such a record goes on.
        if (offset + data.size() > kWindow) {
            return lines_.refuse(error_, "the record wraps at 64 KiB");
        }
        if (is_ambiguous_) {
            return lines_.refuse(error_, "records of type 02 and 04 apply together, which readers take differently");
        }
        if (!data.empty()) {
            pieces_.push_back({base_ + offset, {data.begin(), data.end()}, lines_.number()});
        }
        return true;
    }

    RecordLines lines_;
    std::vector<Piece>& pieces_;
    std::string& error_;
    std::vector<uint8_t> record_;
    uint32_t segment_ = 0;
    uint32_t linear_ = 0;
    uint32_t base_ = 0;  // the last of both
    bool is_ambiguous_ = false;
    bool ended_ = false;
};

}  // namespace

bool read_intel_hex(std::span<const uint8_t> text, std::vector<Piece>& pieces, std::string& error) {
    return HexReader(text, pieces, error).read();
}
