// Who opens a device closes it, also when the host runs out of memory meanwhile.
#include <gtest/gtest.h>

#include <new>
#include <set>
#include <string>
#include <vector>

#include "guard_machine.h"
#include "host/open_node.h"
#include "recording/effects/journal.h"
#include "recording/guard/guarded_host.h"
#include "recording/guard/kernel/answering.h"
#include "recording/guard/kernel/evidence.h"
#include "recording/guard/kernel/exclusive_opens.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"

namespace {

/// A host that has no memory for the requests that it is told of.
class PoorHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int openDevice(const std::string& path, host::OpenMode mode) override {
        const int opened = ForwardingHost::openDevice(path, mode);
        if (opened >= 0) {
            open.insert(opened);
        }
        return opened;
    }
    int closeDevice(int descriptor) override {
        open.erase(descriptor);
        ForwardingHost::closeDevice(descriptor);
        if (hasNoneToClose) {
            throw std::bad_alloc();
        }
        return 0;
    }
    int sendCommand(int /*descriptor*/, host::CommandBuffer& /*buffer*/) override {
        throw std::bad_alloc();
    }
    int sgIo(int /*descriptor*/, host::SgIoRequest& /*request*/) override {
        throw std::bad_alloc();
    }

    std::set<int> open;
    bool hasNoneToClose = false;
};

class DescriptorOwners : public testing::Test {
  protected:
    recording::Journal m_journal;
    recording::RecordedHost m_recorded{test::guardedMachine(), m_journal};
    PoorHost m_host{m_recorded};
};

TEST_F(DescriptorOwners, ANodeIsClosedAndEndsNothingWithoutMemory) {
    m_host.hasNoneToClose = true;
    {
        const host::OpenNode node(m_host, "/dev/sdb", host::OpenMode::kReadOnlyNonBlocking);
        EXPECT_EQ(m_host.open.size(), 1U);
    }
    EXPECT_TRUE(m_host.open.empty());
}

TEST_F(DescriptorOwners, ExclusiveOpensAreAllLetGoWithoutMemory) {
    m_host.hasNoneToClose = true;
    {
        recording::guard::ExclusiveOpens opens(m_host);
        EXPECT_EQ(opens.hold("/dev/sdb"), 0);
        EXPECT_EQ(opens.hold("/dev/sdc"), 0);
        EXPECT_EQ(m_host.open.size(), 2U);
    }
    EXPECT_TRUE(m_host.open.empty());
}

TEST_F(DescriptorOwners, AnInquiryThatThrowsLeavesNoNodeOpen) {
    recording::guard::Evidence evidence(m_host, false);
    EXPECT_THROW(recording::guard::askDisk(evidence, "/dev/sdb"), std::bad_alloc);
    EXPECT_TRUE(m_host.open.empty());
}

TEST_F(DescriptorOwners, AJudgementThatThrowsLeavesNoNodeOpen) {
    recording::RecordedHost below(test::guardedMachine(), m_journal);
    recording::GuardedHost guard(
        below, [this]() -> host::Host& { return m_host; }, recording::Silence::kIsRefusal);
    guard.setPurpose(recording::GuardedHost::Purpose::kOnlyDead);
    bool isHandedOn = false;
    try {
        guard.appendFile("/proc/scsi/scsi", "scsi remove-single-device 2 0 0 5\n", {});
    } catch (const std::bad_alloc&) {
        isHandedOn = true;
    }
    EXPECT_TRUE(isHandedOn || !guard.refusals().empty());
    EXPECT_TRUE(m_host.open.empty());
    for (const std::string& line : m_journal.lines()) {
        EXPECT_EQ(line.find("remove-single-device"), std::string::npos);
    }
}

}  // namespace
