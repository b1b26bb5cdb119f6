#include "recording/guard/kernel/evidence.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace recording::guard {

bool isMissing(int error) {
    return std::abs(error) == ENOENT || std::abs(error) == ENOTDIR;
}

bool isNoDevice(int error) {
    return std::abs(error) == ENXIO || std::abs(error) == ENODEV;
}

void Evidence::fail(const std::string& what) {
    if (std::find(m_failures.begin(), m_failures.end(), what) == m_failures.end()) {
        m_failures.push_back(what);
    }
}

void Evidence::fail(const std::string& path, int error, Need need) {
    if (!isMissing(error) || (need == Need::kMustExist && !m_isRecorded)) {
        fail(path + ": " + std::strerror(std::abs(error)));
    }
}

std::optional<std::string> Evidence::file(const std::string& path, Need need) {
    host::ReadResult read = m_host.readFile(path);
    if (read.error() != 0) {
        fail(path, read.error(), need);
        return std::nullopt;
    }
    return std::move(read.content);
}

std::optional<Evidence::Names> Evidence::list(const std::string& path, Need need) {
    host::DirectoryListing listing = m_host.listDirectory(path);
    const int error = listing.openError != 0 ? listing.openError : listing.readError;
    if (error != 0) {
        // What was there and ended early is never "not there".
        fail(path, error, listing.openError != 0 ? need : Need::kMustExist);
        return std::nullopt;
    }
    Names& names = listing.names;
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name) { return name == "." || name == ".."; }),
                names.end());
    return names;
}

std::optional<std::string> Evidence::link(const std::string& path) {
    std::string target;
    const int error = m_host.readLink(path, target);
    if (error < 0) {
        fail(path, error, Need::kMayBeMissing);
        return std::nullopt;
    }
    return target;
}

std::optional<host::DeviceNumber> Evidence::number(const std::string& path) {
    host::DeviceNumber number;
    const int error = m_host.deviceNumber(path, number);
    if (error < 0) {
        fail(path, error, Need::kMayBeMissing);
        return std::nullopt;
    }
    return number;
}

}  // namespace recording::guard
