#include "recording/guard/kernel/processes.h"

#include <algorithm>
#include <cerrno>
#include <set>

namespace recording::guard {
namespace {

constexpr const char* kProc = "/proc/";

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

// All processes but this one.
std::vector<std::string> Processes::others() {
    const std::string self = m_evidence.link("/proc/self").value_or("");
    std::vector<std::string> names =
        m_evidence.list(kProc, Need::kMustExist).value_or(Evidence::Names());
    names.erase(
        std::remove_if(names.begin(), names.end(),
                       [&](const std::string& name) { return !isNumber(name) || name == self; }),
        names.end());
    return names;
}

bool Processes::isGone(const std::string& process) {
    const host::ReadResult stat = m_evidence.host().readFile(kProc + process + "/stat");
    const int error = stat.error();
    return error == ENOENT || error == ESRCH || (error == 0 && isEnded(stat.content));
}

std::optional<std::string> Processes::fileOf(const std::string& process, const std::string& name) {
    const std::string path = kProc + process + "/" + name;
    host::ReadResult read = m_evidence.host().readFile(path);
    const int error = read.error();
    if (error != 0) {
        if (!isMissing(error) && !isGone(process)) {
            m_evidence.fail(path, error, Need::kMustExist);
        }
        return std::nullopt;
    }
    return std::move(read.content);
}

void Processes::addMountsOf(const std::string& process) {
    const std::string text = fileOf(process, "mountinfo").value_or("");
    const std::vector<Mount> more = parseMountInfo(text);
    m_mounts->insert(m_mounts->end(), more.begin(), more.end());
}

// A file system may be mounted in another mount namespace only, a container's for instance.
const std::vector<Mount>& Processes::mounts() {
    if (m_mounts) {
        return *m_mounts;
    }
    m_mounts =
        parseMountInfo(m_evidence.file("/proc/self/mountinfo", Need::kMustExist).value_or(""));
    std::set<std::string> seen;
    if (const auto own = m_evidence.link("/proc/self/ns/mnt")) {
        seen.insert(*own);
    }
    for (const std::string& process : others()) {
        const std::string path = kProc + process + "/ns/mnt";
        std::string space;
        const int error = m_evidence.host().readLink(path, space);
        const bool isTold = error >= 0;
        if (!isTold && !isMissing(error) && !isGone(process)) {
            m_evidence.fail(path, error, Need::kMustExist);
            continue;
        }
        // A kernel that does not tell namespaces apart by a link leaves each process to be looked
        // at.
        if (isTold ? seen.insert(space).second : seen.empty()) {
            addMountsOf(process);
        }
    }
    return *m_mounts;
}

void Processes::addIfWriter(const std::string& process, const std::string& descriptor, Look look) {
    const std::string path = kProc + process + "/fd/" + descriptor;
    std::string node;
    const int error = m_evidence.host().readLink(path, node);
    if (error < 0) {
        if (!isMissing(error) && !isGone(process)) {
            m_evidence.fail(path, error, Need::kMustExist);
        }
        return;
    }
    // Sockets, pipes and the like have no path. Whether it is open for writing is asked before
    // what it is: a stat of a file on a dead server does not come back.
    const bool isLookedAt = look == Look::kAll ? node[0] == '/' : node.compare(0, 5, "/dev/") == 0;
    const auto info = isLookedAt ? fileOf(process, "fdinfo/" + descriptor) : std::nullopt;
    if (!info || !isOpenForWriting(*info)) {
        return;
    }
    const host::DeviceNumber number = m_evidence.number(path).value_or(host::DeviceNumber());
    const bool isNode = number.kind != host::DeviceNumber::Kind::kNone;
    if (isNode || (m_evidence.isRecorded() && node.compare(0, 5, "/dev/") == 0)) {
        m_writers->push_back(
            {process, firstLine(fileOf(process, "comm").value_or("")), node, number});
    }
}

void Processes::addWritersOf(const std::string& process, Look look) {
    const std::string folder = kProc + process + "/fd/";
    const host::DirectoryListing listing = m_evidence.host().listDirectory(folder);
    const int error = listing.openError != 0 ? listing.openError : listing.readError;
    if (error != 0 && !isMissing(error) && !isGone(process)) {
        m_evidence.fail(folder, error, Need::kMustExist);
    }
    for (const std::string& descriptor : listing.names) {
        if (isNumber(descriptor)) {
            addIfWriter(process, descriptor, look);
        }
    }
}

const std::vector<Writer>& Processes::writers(Look look) {
    if (!m_writers) {
        m_writers.emplace();
        for (const std::string& process : others()) {
            addWritersOf(process, look);
        }
    }
    return *m_writers;
}

}  // namespace recording::guard
