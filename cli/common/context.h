#ifndef SCSITOOL_CLI_COMMON_CONTEXT_H
#define SCSITOOL_CLI_COMMON_CONTEXT_H

#include <cstddef>
#include <string>

#include "cli/base/options.h"
#include "cli/common/host_view.h"
#include "cli/hosts/host_stack.h"
#include "cli/hosts/watched_host.h"
#include "cli/output/table.h"
#include "scsitool/kit/trace_log.h"

namespace cli {

/// What a command works with. It lives for one run of the command.
struct Context {
    using TraceLog = qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>;

    const Options& options;
    const Layout& layout;
    HostStack& hosts;
    TraceLog& traceLog;  ///< null unless a trace was asked for
    bool isRoot;

    /// The host in effect: the library's calls go to it (it is the thread's current host).
    WatchedHost& host() const { return hosts.top(); }
    bool isLive() const { return options.hostFile.empty(); }
    /// The same host for questions of the command's own.
    HostView view() const { return {hosts.aside(), hosts.recording()}; }
    /// The disks that were asked and did not answer within the deadline, with its seconds.
    recording::GivenUp givenUp() const;
    /// How many disks were asked ahead.
    std::size_t asked() const;

    /// Registers the trace log with an object of the library, if there is one.
    template <class Traceable>
    void traceInto(Traceable& object) const {
        if (!traceLog.isNull()) {
            object.registerTraceLog(traceLog);
        }
    }
};

/// Why there is no disk, to stand behind "no SCSI disk found: ".
std::string hintWithoutDisks(const Context& context);

/// Why a device that opened has no identity, for a message: what INQUIRY ended in.
std::string whyNoAnswer(const Context& context, const std::string& name);

/// Why the library found nothing under a device name, for a message.
std::string whyNotFound(const Context& context, const std::string& name);

}  // namespace cli

#endif
