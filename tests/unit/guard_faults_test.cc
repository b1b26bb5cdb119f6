#include <cerrno>
#include <csignal>
#include <iostream>

#include "guard_machine.h"
#include "recording/effects/journal.h"
#include "recording/guard/guarded_host.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using recording::GuardedHost;
using recording::RecordedHostData;
using recording::Silence;

// Passes questions on and fails one of them. ENOENT is not among the faults: it is an answer.
class FaultyHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    // The call of this number (from 1) fails with `error`, or a listing breaks off with it.
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

struct Removal {
    std::string name;
    GuardedHost::Purpose purpose;
    std::function<void(host::Host&)> run;
};

std::vector<Removal> removals() {
    const auto append = [](const std::string& path, const std::string& text) {
        return [=](host::Host& host) { host.appendFile(path, text); };
    };
    const auto run = [](const std::string& command) {
        return [=](host::Host& host) { host.runCommand(command, 600); };
    };
    using Purpose = GuardedHost::Purpose;
    return {
        {"table", Purpose::kNamed,
         append("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 5\n")},
        {"dead", Purpose::kOnlyDead,
         append("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 5\n")},
        {"dead path", Purpose::kDeadPath,
         append("/sys/class/scsi_device/2:0:0:5/device/delete", "1")},
        {"block", Purpose::kNamed, append("/sys/block/sdb/device/delete", "1")},
        {"script", Purpose::kNamed, run("/usr/bin/rescan-scsi-bus.sh --remove --flush -d")},
        {"logout", Purpose::kNamed, run("/sbin/iscsiadm -m node -T iqn.2026-01.org.acme:a -u")},
    };
}

// What the whole matrix came to.
struct Matrix {
    std::size_t hosts = 0;
    std::size_t faults = 0;
};

// Every single fault of one removal on one host: what a run without a fault refuses is refused.
void tryEveryFault(const RecordedHostData& data, Silence silence, const Removal& removal,
                   const std::string& name, Matrix& matrix) {
    recording::Journal journal;
    recording::Journal unread;
    recording::RecordedHost below(data, journal);
    recording::RecordedHost recorded(data, unread);
    FaultyHost aside(recorded);
    const auto passes = [&] {
        const std::size_t before = journal.lines().size();
        GuardedHost guard(
            below, [&]() -> host::Host& { return aside; }, silence);
        guard.setPurpose(removal.purpose);
        removal.run(guard);
        EXPECT_EQ(recorded.openDescriptors(), 0U);
        return journal.lines().size() != before;
    };
    aside.failAt(0, 0, false);
    if (passes()) {
        return;  // nothing to protect
    }
    ++matrix.hosts;
    const std::size_t calls = aside.calls();
    for (const auto& [error, breaksOff] : std::vector<std::pair<int, bool>>{
             {EIO, false}, {EACCES, false}, {EMFILE, false}, {EIO, true}}) {
        for (std::size_t call = 1; call <= calls; ++call) {
            aside.failAt(call, error, breaksOff);
            ASSERT_FALSE(passes())
                << name << ", " << removal.name << ": call " << call << " fails with " << error;
            ++matrix.faults;
        }
    }
}

TEST(GuardFaults, NoSingleFaultLetsGoWhatIsProtected) {
    Matrix matrix;
    for (const Silence silence : {Silence::kIsRefusal, Silence::kIsNoEvidence}) {
        for (const test::UseKind& kind : test::kindsOfUse()) {
            RecordedHostData data = test::guardedMachine();
            kind.begin(data);
            for (const Removal& removal : removals()) {
                // The script takes what it finds changed.
                RecordedHostData changed = data;
                changed.files["/sys/class/scsi_device/2:0:0:5/device/model"] = "Old\n";
                tryEveryFault(removal.name == "script" ? changed : data, silence, removal,
                              kind.name, matrix);
            }
        }
    }
    std::cout << "single faults: " << matrix.hosts << " refused removals (kinds of use, ways of "
              << "removal, live and recorded), " << matrix.faults << " faults, none let a removal "
              << "pass\n";
    EXPECT_GT(matrix.hosts, 200U);
}

TEST(GuardFaults, NoSingleFaultLetsAScriptGoThatCannotReadSgInq) {
    RecordedHostData data = test::guardedMachine();
    data.files["/usr/bin/rescan-scsi-bus.sh"] = test::rescanScript(test::kUnreadable);
    Matrix matrix;
    for (const Silence silence : {Silence::kIsRefusal, Silence::kIsNoEvidence}) {
        tryEveryFault(data, silence, removals()[4], "unreadable", matrix);
    }
    EXPECT_EQ(matrix.hosts, 2U);
}

TEST(GuardFaults, NoSingleFaultLetsGoWhatAnswers) {
    Matrix matrix;
    for (const Silence silence : {Silence::kIsRefusal, Silence::kIsNoEvidence}) {
        tryEveryFault(test::guardedMachine(), silence, removals()[1], "answers", matrix);
    }
    EXPECT_EQ(matrix.hosts, 2U);
}

}  // namespace
