#ifndef SCSITOOL_TESTS_FAULTY_HOST_H
#define SCSITOOL_TESTS_FAULTY_HOST_H

#include <csignal>
#include <cstddef>
#include <string>

#include "scsitool/host/forwarding_host.h"

namespace test {

/// Passes questions on and fails one of them. ENOENT is not among the faults: it is an answer.
class FaultyHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    /// The call of this number (from 1) fails with `error`, or a listing breaks off with it.
    void failAt(std::size_t call, int error, bool breaksOff) {
        m_calls = 0;
        m_at = call;
        m_error = error;
        m_breaksOff = breaksOff;
    }
    std::size_t calls() const { return m_calls; }

    int openDevice(const std::string& path, host::OpenMode mode) override {
        return fails() ? -m_error : ForwardingHost::openDevice(path, mode);
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        return fails() ? -m_error : ForwardingHost::sendCommand(descriptor, buffer);
    }
    int sgIo(int descriptor, host::SgIoRequest& request) override {
        return fails() ? -m_error : ForwardingHost::sgIo(descriptor, request);
    }
    host::ReadResult readFile(const std::string& path) override {
        const bool isFaulty = fails();
        host::ReadResult read = ForwardingHost::readFile(path);
        if (isFaulty && m_breaksOff) {
            read.content.resize(read.content.size() / 2);
            read.readError = m_error;
        } else if (isFaulty) {
            read = {m_error, 0, {}};
        }
        return read;
    }
    int readLink(const std::string& path, std::string& target) override {
        return fails() ? -m_error : ForwardingHost::readLink(path, target);
    }
    int deviceNumber(const std::string& path, host::DeviceNumber& number) override {
        return fails() ? -m_error : ForwardingHost::deviceNumber(path, number);
    }
    host::DirectoryListing listDirectory(const std::string& path) override {
        const bool isFaulty = fails();
        host::DirectoryListing listing = ForwardingHost::listDirectory(path);
        if (isFaulty && m_breaksOff) {
            listing.names.resize(listing.names.size() / 2);
            listing.readError = m_error;
        } else if (isFaulty) {
            listing.names.clear();
            listing.openError = m_error;
        }
        return listing;
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        if (!fails()) {
            return ForwardingHost::runCommand(command, timeoutSeconds);
        }
        host::CommandResult result;
        result.waitStatus = m_breaksOff ? SIGKILL : 1 << 8;
        result.timedOut = m_breaksOff;
        return result;
    }

  private:
    bool fails() { return ++m_calls == m_at; }

    std::size_t m_calls = 0;
    std::size_t m_at = 0;
    int m_error = 0;
    bool m_breaksOff = false;
};

}  // namespace test

#endif
