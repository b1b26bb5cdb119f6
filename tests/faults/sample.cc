#include "sample.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "recording/replay/recorded_host_file.h"

namespace faults {

std::vector<Sample> samplesIn(const std::string& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".json") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<Sample> samples;
    for (const std::filesystem::path& file : files) {
        recording::RecordedHostData data = recording::loadRecordedHost(file);
        std::string disk;
        for (const auto& [name, device] : data.devices) {
            if (disk.empty() && device.standardInquiry && device.openError == 0) {
                disk = name;
            }
        }
        samples.push_back(
            {file.stem(), disk, std::make_shared<const recording::RecordedTree>(std::move(data))});
    }
    return samples;
}

}  // namespace faults
