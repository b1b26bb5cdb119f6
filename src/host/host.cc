#include "scsitool/host/host.h"

#include <map>
#include <mutex>

#include "scsitool/host/linux_host.h"

namespace host {
namespace {

/// The hosts that live, by their numbers.
class Register {
  public:
    std::uint32_t enter(Host* host) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_hosts[m_next] = host;
        return m_next++;
    }
    void remove(std::uint32_t instance) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_hosts.erase(instance);
    }
    Host* find(std::uint32_t instance) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_hosts.find(instance);
        return found != m_hosts.end() ? found->second : nullptr;
    }

  private:
    std::mutex m_mutex;
    std::map<std::uint32_t, Host*> m_hosts;
    std::uint32_t m_next = 1;
};

Register& hosts() {
    // Never destroyed: hosts with static storage end in an order that nobody knows.
    static Register* const only = new Register;
    return *only;
}

thread_local Host* scopedHost = nullptr;

bool startsWithWord(const std::string& command, const char* word) {
    const std::string name(word);
    return command.compare(0, name.size(), name) == 0 &&
           (command.size() == name.size() || command[name.size()] == ' ');
}

}  // namespace

Host::Host() : m_instance(hosts().enter(this)) {}
Host::~Host() {
    hosts().remove(m_instance);
}

Host& current() {
    return scopedHost != nullptr ? *scopedHost : linuxHost();
}

Host* hostOf(std::uint32_t instance) {
    return hosts().find(instance);
}

Scope::Scope(Host& host) : m_former(scopedHost) {
    scopedHost = &host;
}
Scope::~Scope() {
    scopedHost = m_former;
}

bool isReadCommand(const std::string& command) {
    return startsWithWord(command, "/bin/ls") || startsWithWord(command, "/sbin/pidof") ||
           startsWithWord(command, "/usr/sbin/dmsetup status") ||
           startsWithWord(command, "/usr/sbin/dmsetup table") ||
           startsWithWord(command, "/sbin/powermt display");
}

}  // namespace host
