#ifndef SCSITOOL_CLI_HOSTS_READ_WATCH_H
#define SCSITOOL_CLI_HOSTS_READ_WATCH_H

#include <string>
#include <utility>

#include "scsitool/host/forwarding_host.h"

namespace cli {

/// Looks on while a file is read, possibly several times, and keeps the first failure: the library
/// takes the lines that came before it for the whole, and tells nobody. For one thread.
class ReadWatch : public host::ForwardingHost {
  public:
    /// The inner host must outlive this one.
    ReadWatch(host::Host& inner, std::string path)
        : ForwardingHost(inner), m_path(std::move(path)) {}

    host::ReadResult readFile(const std::string& path) override {
        host::ReadResult result = ForwardingHost::readFile(path);
        if (path == m_path && m_error == 0) {
            m_error = result.error();
        }
        return result;
    }

    /// The errno of the first read that did not give the whole file, 0 for none.
    int error() const { return m_error; }

  private:
    const std::string m_path;
    int m_error = 0;
};

}  // namespace cli

#endif
