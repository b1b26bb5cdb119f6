#include "cli/hosts/host_stack.h"

#include <utility>

#include "cli/hosts/interruptible_host.h"
#include "recording/effects/dry_run_host.h"
#include "recording/effects/journaling_host.h"
#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"

namespace cli {
namespace {

std::unique_ptr<recording::Journal> makeJournal(std::ostream* stream) {
    return stream != nullptr ? std::make_unique<recording::Journal>(*stream)
                             : std::make_unique<recording::Journal>();
}

bool asksSideBySide(const Options& options) {
    return options.hostFile.empty() && (options.jobs > 1 || options.deadline > 0);
}

// "asking 12 of 64 disks (/dev/sdx for 3 s)"
std::string progressText(const recording::AskingProgress& progress) {
    std::string text = "asking " + std::to_string(progress.left) + " of " +
                       std::to_string(progress.all) + " disks";
    if (!progress.slowest.empty()) {
        text += " (" + progress.slowest + " for " + std::to_string(progress.slowSeconds) + " s)";
    }
    return text;
}

recording::Round::Told progressOf(const WatchedHost::Progress& show) {
    if (!show) {
        return {};
    }
    return [show](const recording::AskingProgress& progress) { show(progressText(progress)); };
}

}  // namespace

HostStack::HostStack(const Options& options, host::Host& live, std::ostream* journalStream,
                     WatchedHost::Progress progress,
                     std::optional<recording::RecordedHostData> recorded)
    : m_live(live) {
    host::Host* below = &live;
    if (asksSideBySide(options)) {
        const recording::AskingLimits limits = {options.jobs, options.deadline};
        m_answering =
            std::make_unique<recording::AnsweringHost>(live, limits, progressOf(progress));
        below = m_answering.get();
    }
    recording::Journal& journal = *m_journals.emplace_back(makeJournal(journalStream));
    if (!options.hostFile.empty()) {
        recording::RecordedHostData data =
            recorded ? std::move(*recorded) : recording::loadRecordedHost(options.hostFile);
        if (options.deadline == 0) {
            recording::waitForAll(data);
        }
        m_recording = std::make_shared<const recording::RecordedTree>(std::move(data));
        m_asked.emplace(m_recording->data());
        m_refusal.emplace();
        m_hosts.push_back(std::make_unique<recording::RecordedHost>(journal, m_recording));
        m_hosts.push_back(std::make_unique<recording::GivenUpHost>(*m_hosts.back(), *m_asked));
        below = m_hosts.back().get();
    }
    if (options.dryRun) {
        // Without a journal file the dry run is read on standard output: effects only, none of the
        // reads that a recorded host journals too.
        recording::Journal& effects =
            journalStream != nullptr ? journal : *m_journals.emplace_back(makeJournal(nullptr));
        m_dryRunJournal = journalStream != nullptr ? nullptr : &effects;
        m_hosts.push_back(std::make_unique<recording::DryRunHost>(*below, effects));
        below = m_hosts.back().get();
    } else if (journalStream != nullptr && m_recording == nullptr) {
        m_hosts.push_back(std::make_unique<recording::JournalingHost>(*below, journal));
        below = m_hosts.back().get();
    }
    auto guard = std::make_unique<recording::GuardedHost>(
        *below, [this]() -> host::Host& { return aside(); },
        m_recording != nullptr ? recording::Silence::kIsNoEvidence
                               : recording::Silence::kIsRefusal);
    m_guard = guard.get();
    m_hosts.push_back(std::move(guard));
    // Above whatever journals or judges: what an interruption has prevented was not attempted.
    m_hosts.push_back(std::make_unique<InterruptibleHost>(*m_guard));
    auto pages = std::make_unique<MissingPages>(*m_hosts.back());
    m_missingPages = pages.get();
    m_hosts.push_back(std::move(pages));
    m_top = std::make_unique<WatchedHost>(*m_hosts.back(), std::move(progress));
}

HostStack::~HostStack() = default;

host::Host& HostStack::aside() {
    if (m_recording == nullptr) {
        // A disk that was given up must not hold up the command's own questions either.
        return m_answering != nullptr ? *m_answering : m_live;
    }
    if (m_aside == nullptr) {
        recording::Journal& unread = *m_journals.emplace_back(makeJournal(nullptr));
        m_aside = std::make_unique<recording::RecordedHost>(unread, m_recording);
        m_asideAsked = std::make_unique<recording::GivenUpHost>(*m_aside, *m_asked);
    }
    return *m_asideAsked;
}

std::vector<std::string> HostStack::dryRunLines() const {
    return m_dryRunJournal != nullptr ? m_dryRunJournal->lines() : std::vector<std::string>();
}

}  // namespace cli
