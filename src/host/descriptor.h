#ifndef SCSITOOL_HOST_DESCRIPTOR_H
#define SCSITOOL_HOST_DESCRIPTOR_H

#include <unistd.h>

namespace host {

/// Owner of one file descriptor; -1 when there is none.
class Descriptor {
  public:
    explicit Descriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }
    /// Gives the descriptor away.
    int release() {
        const int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor;
    }
    /// Closes what is held and takes another one.
    void reset(int descriptor = -1) {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
        m_descriptor = descriptor;
    }

  private:
    int m_descriptor;
};

}  // namespace host

#endif
