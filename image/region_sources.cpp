// SPDX-License-Identifier: MIT
#include "image/region_sources.h"

#include <algorithm>

#include "image/host_file.h"

namespace {

std::string region_text(size_t region) {
    return "region " + std::to_string(region);
}

class Collector {
public:
    Collector(RegionContents& regions, std::vector<std::string>& warnings, std::string& error)
        : regions_(regions), warnings_(warnings), error_(error) {}

    bool add(const RegionSource& source) {
        RegionContents found;
        if (!read(source, found)) {
            return false;
        }
        const std::string name = shown_path(source.file->path);
        if (source.region && !found.at(static_cast<size_t>(*source.region))) {
            const auto region = static_cast<size_t>(*source.region);
            return refuse(name + " is linked for " + region_text(1 - region) + ", not for " + region_text(region));
        }
        for (size_t region = 0; region < kRegions; ++region) {
            // A file that is named for each region gives each what is its own.
            const bool is_wanted = !source.region || static_cast<size_t>(*source.region) == region;
            if (found.at(region) && origins_.at(region) == nullptr) {
                origins_.at(region) = source.file;
            }
            if (found.at(region) && origins_.at(region) != source.file) {
                return refuse(region_text(region) + " is in " + shown_path(origins_.at(region)->path) + " and in " +
                              name + ": name one file for it");
            }
            if (found.at(region) && is_wanted) {
                regions_.at(region) = found.at(region);
            }
        }
        return true;
    }

    bool check_complete() {
        for (size_t region = 0; region < kRegions; ++region) {
            if (!regions_.at(region) && origins_.at(region) != nullptr) {
                return refuse(shown_path(origins_.at(region)->path) + " also holds " + region_text(region) +
                              ": name it alone, without --region0 and --region1");
            }
            if (!regions_.at(region)) {
                return refuse("no file has the firmware for " + region_text(region) +
                              ": link it for both regions, and name both files");
            }
        }
        return true;
    }

private:
    bool refuse(const std::string& reason) {
        error_ = reason;
        return false;
    }

    bool read(const RegionSource& source, RegionContents& found) {
        const InputFile& file = *source.file;
        const std::string name = shown_path(file.path);
        std::vector<std::string> omitted;
        switch (file.format) {
            case Format::kUpdateFile:
            case Format::kReadBack:
                return refuse(name + ": " + format_name(file.format) +
                              ", not firmware: take its regions out with sv_image extract");
            case Format::kRaw:
                if (!source.region) {
                    return refuse(name +
                                  ": a raw binary has no addresses: name its region with --region0 or --region1");
                }
                if (file.bytes.size() > kRegionSize) {
                    return refuse(name + ": longer than a region, 131072 bytes");
                }
                found.at(static_cast<size_t>(*source.region)) = file.bytes;
                return true;
            default: break;
        }
        const bool decoded = decode_firmware(file, found, omitted, error_);
        for (const std::string& text : omitted) {
            std::string warning = name;
            warning += ": ";
            warning += text;
            if (std::find(warnings_.begin(), warnings_.end(), warning) == warnings_.end()) {
                warnings_.push_back(warning);
            }
        }
        return decoded;
    }

    RegionContents& regions_;
    std::vector<std::string>& warnings_;
    std::string& error_;
    std::array<const InputFile*, kRegions> origins_{};
};

}  // namespace

bool collect_regions(const std::vector<RegionSource>& sources, RegionContents& regions,
                     std::vector<std::string>& warnings, std::string& error) {
    Collector collector(regions, warnings, error);
    return std::all_of(sources.begin(), sources.end(),
                       [&](const RegionSource& source) { return collector.add(source); }) &&
           collector.check_complete();
}
