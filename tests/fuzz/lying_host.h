#ifndef SCSITOOL_TESTS_FUZZ_LYING_HOST_H
#define SCSITOOL_TESTS_FUZZ_LYING_HOST_H

#include <cstdint>
#include <string>

#include "pages.h"
#include "scsitool/host/forwarding_host.h"

namespace fuzz {

/// A host whose disks answer anything: other pages than were asked for, more bytes than there is
/// room for, lengths that are not theirs, something else the second time.
class LyingHost : public host::ForwardingHost {
  public:
    LyingHost(host::Host& inner, const Pages& pages);

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int addressWords(int descriptor, host::AddressWords& words) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;

    int openDescriptors() const { return m_open; }

  private:
    const recording::Bytes* next(std::uint8_t code);
    int result();

    Pages m_pages;
    std::vector<bool> m_said;
    recording::Bytes m_results;
    std::size_t m_asked = 0;
    int m_open = 0;
};

}  // namespace fuzz

#endif
