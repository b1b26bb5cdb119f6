#ifndef SCSITOOL_CLI_HOSTS_HOST_STACK_H
#define SCSITOOL_CLI_HOSTS_HOST_STACK_H

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "cli/base/options.h"
#include "cli/hosts/missing_pages.h"
#include "cli/hosts/watched_host.h"
#include "recording/asking/answering_host.h"
#include "recording/effects/journal.h"
#include "recording/guard/guarded_host.h"
#include "recording/replay/recorded_asking.h"
#include "recording/replay/recorded_tree.h"
#include "scsitool/host/host.h"
#include "scsitool/host/linux_host.h"

namespace cli {

/// The host that a command works on, put together from the options: this machine or a recorded
/// one, the answers of disks asked ahead, a dry run or a journal over it, the guard above these,
/// and on top of all the watch. For as long as a recorded one stands in, no thread of the process
/// reaches this machine.
class HostStack {
  public:
    /// `live` is this machine. `journalStream` may be null. Both must outlive the stack. `recorded`
    /// is what the file of the recorded host holds, where somebody has read it already. Throws
    /// recording::RecordedHostError.
    HostStack(const Options& options, host::Host& live, std::ostream* journalStream,
              WatchedHost::Progress progress,
              std::optional<recording::RecordedHostData> recorded = std::nullopt);
    ~HostStack();
    HostStack(const HostStack&) = delete;
    HostStack& operator=(const HostStack&) = delete;

    WatchedHost& top() { return *m_top; }

    /// The guard over the effects.
    recording::GuardedHost& guard() { return *m_guard; }

    /// The pages that did not come of devices that the library's operations asked.
    const MissingPages& missingPages() const { return *m_missingPages; }

    /// The same host for questions of the command's own: they leave no line in the journal, use up
    /// no recorded answer and are not watched. Nothing with an effect may be asked of it.
    host::Host& aside();

    /// What the recorded host was loaded from; null on this machine.
    const recording::RecordedHostData* recording() const {
        return m_recording != nullptr ? &m_recording->data() : nullptr;
    }

    /// What has disks asked side by side; null where they are not: on a recorded host, and for one
    /// at a time without a deadline.
    recording::AnsweringHost* answering() { return m_answering.get(); }
    const recording::AnsweringHost* answering() const { return m_answering.get(); }

    /// Which devices an operation on a recorded host asks, and who of them did not answer; null on
    /// this machine.
    recording::RecordedAsking* recordedAsking() { return m_asked ? &*m_asked : nullptr; }
    const recording::RecordedAsking* recordedAsking() const {
        return m_asked ? &*m_asked : nullptr;
    }

    /// What a dry run would have done, as journal lines; empty otherwise.
    std::vector<std::string> dryRunLines() const;

  private:
    host::Host& m_live;
    std::unique_ptr<recording::AnsweringHost> m_answering;  // on the live one
    std::optional<host::LiveHostRefusal> m_refusal;  // set for as long as a recording stands in
    std::shared_ptr<const recording::RecordedTree> m_recording;
    std::optional<recording::RecordedAsking> m_asked;  // of the recording
    std::vector<std::unique_ptr<recording::Journal>> m_journals;
    std::vector<std::unique_ptr<host::Host>> m_hosts;  // each stands on the one before
    const recording::Journal* m_dryRunJournal = nullptr;
    std::unique_ptr<host::Host> m_aside;
    std::unique_ptr<host::Host> m_asideAsked;      // stands on it
    recording::GuardedHost* m_guard = nullptr;     // one of them
    const MissingPages* m_missingPages = nullptr;  // one of them
    std::unique_ptr<WatchedHost> m_top;
};

}  // namespace cli

#endif
