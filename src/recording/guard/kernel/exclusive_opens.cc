#include "recording/guard/kernel/exclusive_opens.h"

namespace recording::guard {

ExclusiveOpens::~ExclusiveOpens() {
    release();
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
    for (const int descriptor : m_descriptors) {
        m_host.closeDevice(descriptor);
    }
    m_descriptors.clear();
}

}  // namespace recording::guard
