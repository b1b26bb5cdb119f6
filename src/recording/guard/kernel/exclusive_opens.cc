#include "recording/guard/kernel/exclusive_opens.h"

namespace recording::guard {

ExclusiveOpens::~ExclusiveOpens() {
    while (!m_descriptors.empty()) {
        try {
            release();
        } catch (...) {
            // A host that has no memory left: an exception here would end the process. The one it
            // was about is off the list; the others are still to be closed.
            continue;
        }
    }
}

int ExclusiveOpens::tryNode(const std::string& node) {
    const int descriptor = m_host.openDevice(node, host::OpenMode::kReadOnlyExclusive);
    if (descriptor < 0) {
        return descriptor;
    }
    m_host.closeDevice(descriptor);
    return 0;
}

int ExclusiveOpens::hold(const std::string& node) {
    m_descriptors.reserve(m_descriptors.size() + 1);
    const int descriptor = m_host.openDevice(node, host::OpenMode::kReadOnlyExclusive);
    if (descriptor < 0) {
        return descriptor;
    }
    m_descriptors.push_back(descriptor);
    return 0;
}

void ExclusiveOpens::release() {
    while (!m_descriptors.empty()) {
        const int descriptor = m_descriptors.front();
        m_descriptors.erase(m_descriptors.begin());
        m_host.closeDevice(descriptor);
    }
}

}  // namespace recording::guard
