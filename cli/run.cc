#include "cli/run.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>

#include "cli/base/failure.h"
#include "cli/base/files_apart.h"
#include "cli/base/memory_watch.h"
#include "cli/base/text.h"
#include "cli/command_line.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/context.h"
#include "cli/common/incomplete.h"
#include "cli/common/interrupted.h"
#include "cli/common/refusals.h"
#include "cli/hosts/sg_io_host.h"
#include "cli/output/line_file.h"
#include "cli/output/progress_line.h"
#include "cli/output/trace_sink.h"
#include "cli/output/utc_time.h"
#include "cli/print_report.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/host/interruption.h"
#include "scsitool/kit/context_singleton.h"
#include "scsitool/udid/udid_generator_exception.h"

namespace cli {
namespace {

using qzfi_pdk_4_4::CFiTraceLog;
using ProcessTrace = qzfi_pdk_4_4::CFiContextSingleton<CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;

// The trace log in place for one run, for the objects and process-wide.
class TraceScope {
  public:
    TraceScope(const Options& options, std::ostream* stream, const Surroundings& surroundings) {
        if (stream == nullptr) {
            return;
        }
        m_log = Context::TraceLog(new CFiTraceLog);
        m_log->setSink(
            std::make_shared<TraceSink>(*stream, options.traceTime ? surroundings.processId : 0),
            options.traceLevel);
        m_former = ProcessTrace::instance(false);
        ProcessTrace::registerInstance(m_log);
    }
    ~TraceScope() {
        if (!m_log.isNull()) {
            m_log->setSink(nullptr, 0);
            ProcessTrace::registerInstance(m_former);
        }
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;
    Context::TraceLog& log() { return m_log; }

  private:
    Context::TraceLog m_log;
    Context::TraceLog m_former;
};

class Run {
  public:
    Run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
        const Surroundings& surroundings, host::Host& live)
        : m_arguments(arguments),
          m_out(out),
          m_err(err),
          m_surroundings(surroundings),
          m_live(live) {}

    int execute() {
        try {
            const CommandList commands = makeCommands();
            m_request = readCommandLine(commands, m_arguments);
            if (m_request.command == nullptr) {
                return write(m_request.text) ? kDone : kFailed;
            }
            return executeCommand();
        } catch (const UsageError& error) {
            return refuse(error.what(), kWrong);
        } catch (const recording::RecordedHostError& error) {
            return refuse(error.what(), kWrong);
        } catch (const OperationError& error) {
            return refuse(error.what(), kFailed);
        } catch (const std::exception& error) {
            return refuse(unforeseen(error), kFailed);
        }
    }

  private:
    int executeCommand() {
        const Options& options = m_request.options;
        demandFilesApart(options);
        std::optional<LineFile> journal;
        if (!options.journalFile.empty()) {
            journal.emplace(options.journalFile, "journal", LineFile::Mode::kAppend, m_err);
        }
        std::optional<LineFile> trace;
        if (options.traceLevel > 0) {
            trace.emplace(options.traceFile.empty() ? "-" : options.traceFile, "trace",
                          LineFile::Mode::kReplace, m_err);
        }
        SgIoHost bySgIo(m_live);
        host::Host& live = m_request.sendsBySgIo ? bySgIo : m_live;
        HostStack hosts(options, live, journal ? &journal->stream() : nullptr, progress());
        hosts.top().tellOfLongWaits([this](const std::string& message) { notice(message); });
        if (journal) {
            journal->stream() << recording::runLine(versionText(), m_arguments, utcTime()) << '\n';
            journal->finish();  // a journal that takes nothing is known before there are effects
        }
        Report report = runCommand(hosts, trace ? &trace->stream() : nullptr);
        clearProgress();
        const std::string unaided = askedWithoutHelp(hosts);
        if (!unaided.empty()) {
            say(unaided, kDone);
        }
        finish(journal, report);
        finish(trace, report);
        return present(report, hosts);
    }

    Report runCommand(HostStack& hosts, std::ostream* traceStream) {
        TraceScope trace(m_request.options, traceStream, m_surroundings);
        const host::Scope scope(hosts.top());
        const bool tty = m_surroundings.outIsTerminal;
        const Layout layout = {tty ? m_surroundings.width : 0, tty && m_surroundings.colour};
        Context context = {m_request.options, layout, hosts, trace.log(), m_surroundings.isRoot};
        const MemoryWatch memory;
        Report report = runCommand(context);
        addRefusals(report, context);
        if (memory.hasRunOut() && report.failure.empty()) {
            report.doubts.emplace_back(
                "memory ran out on the way: what is shown and what was done may not be all");
        }
        addUnanswered(report, context);
        addIncomplete(report, context);
        host::ignoreInterruption();
        m_interruption = host::interruption();
        return m_interruption == 0 ? report : interruptedReport(m_interruption, context);
    }

    Report runCommand(Context& context) const {
        try {
            return m_request.command->run(context);
        } catch (const OperationError& error) {
            return failed(error.what());
        } catch (const CUdidGeneratorException& error) {
            return failed("no UDID: " + error.getMessageId());
        } catch (int code) {
            return failed("the operation failed with code " + std::to_string(code));
        } catch (const UsageError&) {
            throw;
        } catch (const recording::RecordedHostError&) {
            throw;
        } catch (const std::exception& error) {
            // What was done until then still goes into the document.
            return failed(unforeseen(error));
        }
    }

    static Report failed(const std::string& message) {
        Report report;
        report.failure = message;
        return report;
    }

    static void finish(std::optional<LineFile>& file, Report& report) {
        try {
            if (file) {
                file->finish();
            }
        } catch (const OperationError& error) {
            report.failure = report.failure.empty() ? error.what() : report.failure;
        }
    }

    int present(const Report& report, const HostStack& hosts) {
        const std::vector<std::string> journal = hosts.dryRunLines();
        if (m_interruption != 0) {
            return presentFailure(report, kInterrupted + m_interruption, journal);
        }
        if (!report.failure.empty()) {
            return presentFailure(report, kFailed, journal);
        }
        const int status = report.doubts.empty() ? kDone : kPartly;
        sayAll(report.doubts, status);
        const std::string text =
            wantsDocument() ? document(report, status, journal) : readableText(report, journal);
        return write(text) ? status : kFailed;
    }

    int presentFailure(const Report& report, int status, const std::vector<std::string>& journal) {
        std::string text;
        if (wantsDocument()) {
            text = document(report, status, journal);
        } else if (!report.remarks.empty()) {
            text = readableText(report, journal);
        }
        sayAll(report.remarks, status);
        sayAll(report.doubts, status);
        say(report.failure, status);
        // One line is enough: what the reader of the output missed is the lesser trouble.
        m_out << text << std::flush;
        return status;
    }

    // Nothing was found, and mostly nothing was begun.
    int refuse(const std::string& message, int status) {
        return presentFailure(failed(message), status, {});
    }

    std::string document(const Report& report, int status,
                         const std::vector<std::string>& journal) const {
        const Options& options = m_request.options;
        const bool dry = options.dryRun && options.journalFile.empty();
        return documentText(report, m_arguments, status, dry, journal);
    }

    // Where the command line cannot be read, its words tell.
    bool wantsDocument() const {
        return m_request.options.json ||
               (m_request.command == nullptr &&
                std::find(m_arguments.begin(), m_arguments.end(), "--json") != m_arguments.end());
    }

    bool write(const std::string& text) {
        errno = 0;
        if (m_out << text << std::flush) {
            return true;
        }
        const int error = errno;
        if (error == EPIPE) {
            return true;  // a reader that has seen enough, as "| head" has
        }
        say(std::string("cannot write to standard output") +
                (error != 0 ? std::string(": ") + std::strerror(error) : ""),
            kFailed);
        return false;
    }

    void sayAll(const std::vector<std::string>& messages, int status) {
        for (const std::string& message : messages) {
            say(message, status);
        }
    }

    int say(const std::string& message, int status) {
        clearProgress();
        m_err << messageLine(message) << std::endl;
        return status;
    }

    std::string messageLine(const std::string& message) const {
        const bool red = m_surroundings.errIsTerminal && m_surroundings.colour;
        return (red ? "\033[31mscsitool:\033[0m " : "scsitool: ") + visible(message);
    }

    // Of what is waited for: the work goes on after it.
    void notice(const std::string& message) {
        if (m_progress) {
            m_progress->print(messageLine(message));
        } else {
            m_err << messageLine(message) << std::endl;
        }
    }

    // Only on a terminal, and only where no trace or journal lines go.
    WatchedHost::Progress progress() {
        const Options& options = m_request.options;
        const bool traced =
            options.traceLevel > 0 && (options.traceFile.empty() || options.traceFile == "-");
        if (!m_surroundings.errIsTerminal || m_surroundings.isDumb || traced ||
            options.journalFile == "-") {
            return {};
        }
        m_progress.emplace(m_err, m_surroundings.width);
        return [this](const std::string& inHand) { m_progress->show(inHand); };
    }

    void clearProgress() {
        if (m_progress) {
            m_progress->clear();
        }
    }

    const std::vector<std::string>& m_arguments;
    std::ostream& m_out;
    std::ostream& m_err;
    const Surroundings& m_surroundings;
    host::Host& m_live;
    Request m_request;
    std::optional<ProgressLine> m_progress;
    int m_interruption = 0;  // the signal that has ended the command early
};

}  // namespace

int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
        const Surroundings& surroundings, host::Host& live) {
    return Run(arguments, out, err, surroundings, live).execute();
}

}  // namespace cli
