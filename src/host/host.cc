#include "scsitool/host/host.h"

#include <atomic>

#include "scsitool/host/linux_host.h"

namespace host {
namespace {

std::atomic<std::uint64_t> nextInstance{1};
thread_local Host* scopedHost = nullptr;

bool startsWithWord(const std::string& command, const char* word) {
    const std::string name(word);
    return command.compare(0, name.size(), name) == 0 &&
           (command.size() == name.size() || command[name.size()] == ' ');
}

}  // namespace

Host::Host() : m_instance(nextInstance++) {}
Host::~Host() = default;

Host& current() {
    return scopedHost != nullptr ? *scopedHost : linuxHost();
}

Scope::Scope(Host& host) : m_former(scopedHost) {
    scopedHost = &host;
}
Scope::~Scope() {
    scopedHost = m_former;
}

bool isReadCommand(const std::string& command) {
    return startsWithWord(command, "/bin/ls") || startsWithWord(command, "/sbin/pidof");
}

}  // namespace host
