#include "scsitool/kit/exec_pipe.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/linux_host.h"
#include "scsitool/kit/trace_log.h"

namespace {

using qzfi_pdk_4_4::CFiExecPipePosix;
using Lines = std::vector<std::string>;

/// Answers every command with the same result and keeps what was asked.
class OneAnswerHost : public host::ForwardingHost {
  public:
    OneAnswerHost() : ForwardingHost(host::linuxHost()) {}
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        asked.push_back(command + " within " + std::to_string(timeoutSeconds));
        return answer;
    }
    host::CommandResult answer;
    Lines asked;
};

class ExecPipe : public testing::Test {
  protected:
    int exec(const std::string& command) { return pipe.Exec(command, output, "", 600, "", "", ""); }
    OneAnswerHost host;
    const host::Scope scope{host};
    CFiExecPipePosix pipe{1};
    Lines output{"former output"};
};

TEST_F(ExecPipe, HandsTheCommandToTheCurrentHost) {
    host.answer.lines = {"a", "", "b"};
    EXPECT_EQ(exec("/sbin/iscsiadm -m session -R"), 0);
    EXPECT_EQ(host.asked, Lines{"/sbin/iscsiadm -m session -R within 600"});
    EXPECT_EQ(output, (Lines{"a", "", "b"}));
    EXPECT_EQ(pipe.getWaitPidStatus(), 0);
}

TEST_F(ExecPipe, AnyOtherEndThanExitStatusZeroFails) {
    for (const int status : {1 << 8, 255 << 8, 127 << 8, SIGKILL, SIGSEGV, SIGSEGV | 0x80}) {
        host.answer.waitStatus = status;
        EXPECT_EQ(exec("/bin/ls"), 11) << status;
        EXPECT_EQ(pipe.getWaitPidStatus(), status);
    }
}

TEST_F(ExecPipe, TimeOutHasAResultOfItsOwn) {
    host.answer.waitStatus = SIGKILL;
    host.answer.timedOut = true;
    host.answer.lines = {"what came until then"};
    EXPECT_EQ(exec("/bin/ls"), 5);
    EXPECT_EQ(pipe.getWaitPidStatus(), 9);
    EXPECT_EQ(output, Lines{"what came until then"});
}

TEST_F(ExecPipe, EachCommandReplacesTheFormerOnesOutputAndStatus) {
    host.answer.waitStatus = 1 << 8;
    host.answer.lines = {"first"};
    EXPECT_EQ(exec("/bin/first"), 11);
    host.answer = {};
    EXPECT_EQ(exec("/bin/second"), 0);
    EXPECT_TRUE(output.empty());
    EXPECT_EQ(pipe.getWaitPidStatus(), 0);
}

TEST_F(ExecPipe, HasNoStatusBeforeTheFirstCommand) {
    EXPECT_EQ(pipe.getWaitPidStatus(), 0);
}

TEST_F(ExecPipe, RunsNothingWithWhatItDoesNotOffer) {
    EXPECT_EQ(pipe.Exec("/bin/ls", output, "input", 600, "", "", ""), 11);
    EXPECT_EQ(pipe.Exec("/bin/ls", output, "", 600, "nobody", "", ""), 11);
    EXPECT_EQ(pipe.Exec("/bin/ls", output, "", 600, "", "nogroup", ""), 11);
    EXPECT_EQ(pipe.Exec("/bin/ls", output, "", 600, "", "", "/tmp"), 11);
    EXPECT_EQ(pipe.getWaitPidStatus(), 127 << 8);
    EXPECT_TRUE(output.empty());
    EXPECT_TRUE(host.asked.empty());
}

TEST_F(ExecPipe, HoldsATraceLog) {
    const qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog> log(new qzfi_pdk_4_4::CFiTraceLog);
    pipe.registerTraceLog(log);
    EXPECT_EQ(pipe.m_traceLog.get(), log.get());
}

TEST(ExecPipeOnLinux, RunsACommand) {
    CFiExecPipePosix pipe(1);
    Lines output;
    EXPECT_EQ(pipe.Exec(SCSITOOL_RUNNER_HELPER " words a", output, "", 600, "", "", ""), 0);
    EXPECT_EQ(output, Lines{"[a]"});
    EXPECT_EQ(pipe.Exec("/nonexistent/program", output, "", 600, "", "", ""), 11);
    EXPECT_EQ(pipe.getWaitPidStatus(), 127 << 8);
}

}  // namespace
