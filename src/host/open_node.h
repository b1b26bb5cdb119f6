#ifndef SCSITOOL_HOST_OPEN_NODE_H
#define SCSITOOL_HOST_OPEN_NODE_H

#include <string>

#include "scsitool/host/host.h"

namespace host {

/// Owner of a descriptor on one host, closed there at its end, also when the host throws meanwhile.
class OpenNode {
  public:
    OpenNode(Host& host, const std::string& path, OpenMode mode)
        : m_host(host), m_descriptor(host.openDevice(path, mode)) {}
    ~OpenNode() {
        try {
            close();
        } catch (...) {
            // A host that has no memory left: an exception here would end the process.
            m_descriptor = kClosed;
        }
    }
    OpenNode(const OpenNode&) = delete;
    OpenNode& operator=(const OpenNode&) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    /// The descriptor, or the negated errno of the open.
    int descriptor() const { return m_descriptor; }
    /// Closes once and gives what came of it; 0 when nothing is open.
    int close() {
        const int descriptor = m_descriptor;
        m_descriptor = kClosed;
        return descriptor >= 0 ? m_host.closeDevice(descriptor) : 0;
    }

  private:
    static constexpr int kClosed = -1;

    Host& m_host;
    int m_descriptor;
};

}  // namespace host

#endif
