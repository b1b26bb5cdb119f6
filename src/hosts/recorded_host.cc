#include "scsitool/hosts/recorded_host.h"

#include <utility>

#include "hosts/journal_inside.h"
#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"

namespace hosts {
namespace {

// What leaves the library is an exception that its users know.
template <typename Read>
recording::RecordedHostData readBy(const Read& read) {
    try {
        return read();
    } catch (const recording::RecordedHostError& error) {
        throw RecordedHostError(error.what());
    }
}

recording::RecordedHostData fromFile(const std::string& path) {
    return readBy([&path] { return recording::loadRecordedHost(path); });
}

}  // namespace

RecordedHostError::RecordedHostError(const std::string& message) : std::runtime_error(message) {}
RecordedHostError::RecordedHostError(const RecordedHostError&) noexcept = default;
RecordedHostError& RecordedHostError::operator=(const RecordedHostError&) noexcept = default;
RecordedHostError::~RecordedHostError() = default;

// A journal of its own stands before the host that writes to it.
class [[gnu::visibility("hidden")]] RecordedHost::Inside {
  public:
    Inside(recording::RecordedHostData data, std::unique_ptr<Journal> own)
        : m_own(std::move(own)), m_journal(*m_own), m_host(std::move(data), *m_journal.m_inside) {}
    Inside(recording::RecordedHostData data, Journal & journal)
        : m_journal(journal), m_host(std::move(data), *m_journal.m_inside) {}

    recording::RecordedHost& host() {
        return m_host;
    }
    const Journal& journal() const {
        return m_journal;
    }

  private:
    const std::unique_ptr<Journal> m_own;
    Journal& m_journal;
    recording::RecordedHost m_host;
};

RecordedHost::RecordedHost(std::unique_ptr<Inside> inside)
    : ForwardingHost(inside->host()),
      m_inside(std::move(inside)),
      m_journal(&m_inside->journal()) {}

RecordedHost::RecordedHost(const std::string& path)
    : RecordedHost(std::make_unique<Inside>(fromFile(path), std::make_unique<Journal>())) {}

RecordedHost::RecordedHost(const std::string& path, Journal& journal)
    : RecordedHost(std::make_unique<Inside>(fromFile(path), journal)) {}

RecordedHost RecordedHost::fromText(const std::string& text, const std::string& name) {
    return RecordedHost(
        std::make_unique<Inside>(readBy([&] { return recording::parseRecordedHost(text, name); }),
                                 std::make_unique<Journal>()));
}

RecordedHost::~RecordedHost() = default;

std::size_t RecordedHost::openDescriptors() const {
    return m_inside->host().openDescriptors();
}

}  // namespace hosts
