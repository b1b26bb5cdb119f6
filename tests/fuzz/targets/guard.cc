// The guard over a machine that is in use and says more than it should: it never lets a disk go
// that the model knows to be used.
#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "guard_machine.h"
#include "invariants.h"
#include "recording/effects/journal.h"
#include "recording/guard/guarded_host.h"
#include "recording/replay/recorded_host.h"

namespace {

using recording::RecordedHostData;

// What the input decides, byte by byte and line by line.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_text(reinterpret_cast<const char*>(data), size) {}

    std::size_t number(std::size_t below) {
        return m_at < m_text.size() ? static_cast<unsigned char>(m_text[m_at++]) % below : 0;
    }
    std::string line() {
        const std::size_t end = std::min(m_text.find('\n', m_at), m_text.size());
        std::string text = m_text.substr(m_at, end - m_at);
        m_at = std::min(end + 1, m_text.size());
        return text;
    }
    bool isAtEnd() const { return m_at >= m_text.size(); }

  private:
    const std::string m_text;
    std::size_t m_at = 0;
};

// Tables that the kernel adds lines to at any time. What stands in them stays.
void addLine(RecordedHostData& data, Input& input) {
    static const std::vector<std::string> tables = {"/proc/self/mountinfo", "/proc/swaps",
                                                    "/proc/partitions",     "/proc/scsi/scsi",
                                                    "/proc/77/mountinfo",   "/proc/mdstat"};
    const std::string& path = tables[input.number(tables.size())];
    const bool isFirst = input.number(2) == 0;
    const std::string line = input.line() + "\n";
    std::string& content = data.files[path].content;
    const std::size_t behindTitle = content.find('\n');
    // Swaps have a title, which stays the first line.
    const std::size_t place =
        !isFirst || behindTitle == std::string::npos ? content.size() : behindTitle + 1;
    content.insert(place, line);
}

template <class Map>
typename Map::iterator oneOf(Map& map, Input& input) {
    const std::size_t which = input.number(256) % map.size();
    return std::next(map.begin(), static_cast<std::ptrdiff_t>(which));
}

void addName(RecordedHostData& data, Input& input) {
    const auto directory = oneOf(data.directories, input);
    std::string name = input.line();
    name.erase(std::remove(name.begin(), name.end(), '/'), name.end());
    if (!name.empty()) {
        directory->second.insert(directory->second.begin(), name);
    }
}

// A file that cannot be read to its end, or not at all; none that is away: that would be a word on
// what is there.
void spoil(RecordedHostData& data, Input& input) {
    static const std::vector<int> errors = {EIO, EACCES, EPERM, ENOMEM, EMFILE};
    const int error = errors[input.number(errors.size())];
    recording::RecordedFile& file = oneOf(data.files, input)->second;
    (input.number(2) == 0 ? file.readError : file.error) = error;
}

void addProcess(RecordedHostData& data, Input& input) {
    const std::string id = std::to_string(100 + input.number(3));
    const std::string folder = "/proc/" + id + "/";
    data.directories["/proc/"].push_back(id);
    data.links[folder + "ns/mnt"] = input.line();
    data.directories[folder + "fd/"] = {".", "..", "3"};
    data.links[folder + "fd/3"] = input.line();
    data.files[folder + "fdinfo/3"] = input.line() + "\n";
    data.files[folder + "mountinfo"] = input.line() + "\n";
}

void worsen(RecordedHostData& data, Input& input) {
    switch (input.number(4)) {
        case 0:
            addLine(data, input);
            break;
        case 1:
            addName(data, input);
            break;
        case 2:
            spoil(data, input);
            break;
        default:
            addProcess(data, input);
    }
}

bool isEffect(const std::string& line) {
    return line.find("\"unanswered\"") == std::string::npos;
}

bool append(host::Host& guard, const std::string& path, const std::string& text) {
    return guard.appendFile(path, text, {}).openError == EBUSY;
}

bool run(host::Host& guard, const std::string& command) {
    return guard.runCommand(command, 600).waitStatus == EBUSY << 8;
}

// Removes disk sdb in one of the ways that there are. Tells whether it was refused.
bool isRefused(host::Host& guard, std::size_t way) {
    switch (way) {
        case 0:
            return append(guard, "/proc/scsi/scsi", "scsi remove-single-device 2 0 0 5\n");
        case 1:
            return append(guard, "/sys/class/scsi_device/2:0:0:5/device/delete", "1");
        case 2:
            return append(guard, "/sys/block/sdb/device/delete", "1");
        case 3:
            return run(guard, "/usr/bin/rescan-scsi-bus.sh --forceremove --hosts=2");
        default:
            return run(guard, "/sbin/iscsiadm -m node -T iqn.2026-01.org.acme:a --logout");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<test::UseKind> kinds = test::kindsOfUse();
    constexpr std::size_t kWays = 5;
    Input input(data, size);
    RecordedHostData machine = test::guardedMachine();
    const std::size_t kind = input.number(kinds.size() + 1);
    const bool isUsed = kind < kinds.size();
    if (isUsed) {
        kinds[kind].begin(machine);
    }
    const std::size_t way = input.number(kWays);
    for (int i = 0; i < 8 && !input.isAtEnd(); ++i) {
        worsen(machine, input);
    }
    recording::Journal journal;
    recording::Journal unread;
    recording::RecordedHost below(machine, journal);
    recording::RecordedHost aside(machine, unread);
    recording::GuardedHost guard(
        below, [&]() -> host::Host& { return aside; }, recording::Silence::kIsRefusal);
    const bool refused = isRefused(guard, way);
    const std::vector<std::string> lines = journal.lines();
    const bool went = std::any_of(lines.begin(), lines.end(), isEffect);
    fuzz::demand(!isUsed || !went, "a disk in use stays", isUsed ? kinds[kind].name : "");
    fuzz::demand(refused == !guard.refusals().empty(), "what is refused is told, and nothing else");
    fuzz::demand(!refused || !went, "what is refused does not happen");
    fuzz::demand(below.openDescriptors() == 0 && aside.openDescriptors() == 0,
                 "no descriptor is left open");
    return 0;
}
