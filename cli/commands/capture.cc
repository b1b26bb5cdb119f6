#include <cerrno>
#include <cstring>
#include <set>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/base/whole_file.h"
#include "cli/capture/tour.h"
#include "cli/command_line.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "recording/capture/open_descriptors.h"
#include "recording/capture/recorded_host_writer.h"
#include "recording/capture/recording_host.h"
#include "recording/redaction/host_redaction.h"
#include "recording/replay/recorded_absence.h"
#include "recording/replay/recorded_asking.h"
#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"
#include "scsitool/host/interruption.h"
#include "scsitool/host/own_files.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

using recording::RecordedHostData;

// Which native disks are one volume, by their names.
std::set<std::set<std::string>> volumesOf(const RecordedHostData& data) {
    recording::Journal unread;
    recording::RecordedHost host(data, unread);
    const host::Scope scope(host);
    CUDIDFactory factory;
    std::map<std::string, std::set<std::string>> byUdid;
    for (const auto& [name, info] : factory.enumerateDeviceMap(false, false, false, "", "")) {
        if (name.compare(0, 7, "/dev/sd") == 0) {
            byUdid[info.uid].insert(name);
        }
    }
    std::set<std::set<std::string>> volumes;
    for (const auto& [udid, names] : byUdid) {
        volumes.insert(names);
    }
    return volumes;
}

// Short numbers may meet by chance under one key; another key then tells them apart.
recording::RedactedHost redacted(const RecordedHostData& data,
                                 const std::vector<std::string>& remarks) {
    constexpr int kMostKeys = 10;
    const auto volumes = volumesOf(data);
    for (int attempt = 0; attempt < kMostKeys; ++attempt) {
        try {
            recording::RedactedHost result =
                recording::redactHost(data, remarks, recording::randomKey());
            if (volumesOf(result.data) == volumes) {
                return result;
            }
        } catch (const recording::RedactionError&) {
            continue;
        }
    }
    throw OperationError(
        "the recording cannot be redacted: what is replaced stands too close to what stays; "
        "nothing was written");
}

Json countsJson(const RecordedHostData& data) {
    return {{"devices", data.devices.size()},
            {"files", data.files.size()},
            {"directories", data.directories.size()},
            {"links", data.links.size()},
            {"commands", data.commands.size()}};
}

class Capture : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app =
            parent.add_subcommand("capture", "Write this host down as a recorded host, for --host");
        app->add_option("FILE", m_file, "The file to write, or to replace")->required();
        app->add_flag("--redact", m_redact,
                      "Put others in the place of serial numbers, names and addresses");
        return app;
    }

    Report run(Context& context) override {
        const WholeFile file(m_file, "recording");
        file.demandWritable();
        host::Host& aside = context.hosts.aside();
        askForKeeps(
            context, [&aside] { return tourNodes(aside); }, tourInterview());
        recording::RecordingHost recorder(context.host());
        takeTour(recorder);
        if (host::interruption() != 0) {
            throw OperationError(m_file + ": ended before all was asked; nothing was written");
        }
        RecordedHostData data = recorder.data();
        if (const RecordedHostData* const original = context.hosts.recording()) {
            recording::keepSilenceOf(*original, data);
            recording::keepGivenUpOf(*original, data);
        } else {
            recording::noteGivenUp(context.givenUp(), data);
        }
        recording::keepOpenDevices(data);
        std::vector<std::string> remarks = recorder.remarks();
        if (m_redact) {
            recording::RedactedHost other = redacted(data, remarks);
            data = std::move(other.data);
            remarks = std::move(other.remarks);
        }
        if (context.isLive() && !context.isRoot) {
            remarks.emplace_back("not asked as root: most devices do not open");
        }
        const bool written = !context.options.dryRun;
        const std::string text = textOf(data, remarks);
        if (written) {
            file.write(text);
        }
        return reportOf(data, remarks, written);
    }

  private:
    std::string textOf(const RecordedHostData& data,
                       const std::vector<std::string>& remarks) const {
        std::vector<std::string> comment = {"Captured by scsitool " + versionText() +
                                            (m_redact ? ", names and addresses replaced." : ".")};
        comment.insert(comment.end(), remarks.begin(), remarks.end());
        const std::string text = recording::recordedHostText(data, comment);
        if (text.size() > recording::kLargestRecordedHost) {
            throw OperationError(m_file + ": the recording has " + std::to_string(text.size()) +
                                 " bytes, more than the " +
                                 std::to_string(recording::kLargestRecordedHost) +
                                 " that a recorded host may have; nothing was written");
        }
        return text;
    }

    Report reportOf(const RecordedHostData& data, const std::vector<std::string>& remarks,
                    bool written) const {
        Report report;
        report.data["file"] = jsonText(m_file);
        report.data["written"] = written;
        report.data["redacted"] = m_redact;
        report.data["recorded"] = countsJson(data);
        report.data["remarks"] = Json::array();
        report.text = (written ? "" : "would write ") + visible(m_file) + ": " +
                      std::to_string(data.devices.size()) + " devices, " +
                      std::to_string(data.files.size()) + " files, " +
                      std::to_string(data.directories.size()) + " directories, " +
                      std::to_string(data.links.size()) + " links, " +
                      std::to_string(data.commands.size()) + " commands\n";
        for (const std::string& remark : remarks) {
            report.data["remarks"].push_back(jsonText(remark));
            report.text += visible(remark) + "\n";
        }
        return report;
    }

    std::string m_file;
    bool m_redact = false;
};

}  // namespace

std::unique_ptr<Command> makeCapture() {
    return std::make_unique<Capture>();
}

}  // namespace cli
