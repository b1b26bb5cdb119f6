#include <cerrno>
#include <iostream>

#include "faulty_host.h"
#include "guard_machine.h"
#include "recording/effects/journal.h"
#include "recording/guard/guarded_host.h"
#include "recording/replay/recorded_host.h"

namespace {

using recording::GuardedHost;
using recording::RecordedHostData;
using recording::Silence;
using test::FaultyHost;

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
