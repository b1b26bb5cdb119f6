#include "recording/replay/recorded_absence.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace recording {
namespace {

const std::vector<std::string>* namesIn(const RecordedHostData& data, const std::string& folder) {
    for (const std::string& spelling : {folder + "/", folder}) {
        const auto listed = data.directories.find(spelling);
        if (listed != data.directories.end()) {
            return &listed->second;
        }
    }
    return nullptr;
}

}  // namespace

bool saysAbsent(const RecordedHostData& data, const std::string& path) {
    std::string place = path;
    while (place.size() > 1) {
        while (!place.empty() && place.back() == '/') {
            place.pop_back();
        }
        const auto file = data.files.find(place);
        if (file != data.files.end()) {
            return file->second.error == ENOENT;
        }
        const std::size_t slash = place.rfind('/');
        if (slash == std::string::npos) {
            return false;
        }
        const std::string name = place.substr(slash + 1);
        place.erase(slash);
        if (const auto* const names = namesIn(data, place)) {
            return std::find(names->begin(), names->end(), name) == names->end();
        }
    }
    return false;
}

void keepSilenceOf(const RecordedHostData& original, RecordedHostData& copy) {
    for (auto file = copy.files.begin(); file != copy.files.end();) {
        const bool isSilence = file->second.error == ENOENT && !saysAbsent(original, file->first);
        file = isSilence ? copy.files.erase(file) : std::next(file);
    }
}

bool answersCommand(const RecordedHostData& data, const std::string& command) {
    return std::any_of(data.commands.begin(), data.commands.end(),
                       [&command](const RecordedCommand& one) { return one.command == command; });
}

}  // namespace recording
