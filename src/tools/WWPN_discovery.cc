#include "scsitool/tools/WWPN_discovery.h"

#include <exception>
#include <stdexcept>

#include "scsitool/host/host.h"
#include "scsitool/kit/string_tool.h"
#include "tools/host_command.h"
#include "tools/line_reader.h"
#include "tools/trace.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiStringTool;
using qzfi_pdk_4_4::CFiTraceLog;
using tools::traceTo;
using Texts = std::vector<std::string>;

constexpr char kOperation[] = "getWWPN";
constexpr char kBlanks[] = " \n\t\r";
constexpr std::size_t kLineBuffer = 1024;

constexpr const char* kDriverDirectories[] = {"/proc/scsi/qla2xxx/", "/proc/scsi/qla2300/",
                                              "/proc/scsi/lpfc/"};

// The value of a driver's line, as in "scsi-qla0-adapter-port=21000024ff000001;".
bool portNameInDriverLine(const std::string& line, std::string& name) {
    const Texts tokens = CFiStringTool::tokenize(line, "=");
    if (tokens.size() < 2) {
        return false;
    }
    name = CFiStringTool::trim(tokens[1], "; \n\t\r");
    return true;
}

std::string portNamePath(const std::string& begin, const std::string& adapter) {
    return begin + adapter + "/port_name";
}

// The port names in a port_name file of sysfs.
void appendPortNames(const host::ReadResult& file, const std::string& adapter, Texts& names) {
    constexpr std::size_t kShortestName = 4;
    for (const std::string& line : tools::fgetsLines(file, kLineBuffer)) {
        // "host" and a number: another kind of entry means that the layout is not understood.
        if (adapter.size() < kShortestName) {
            throw std::out_of_range("basic_string::substr");
        }
        names.push_back(CFiStringTool::trim(line, kBlanks) + "@@" + adapter);
    }
}

/// One discovery: what it has found stays when an exception ends it.
class Discovery {
  public:
    Discovery(host::Host& host, const CFiSmartPtr<CFiTraceLog>& log, Texts& names)
        : m_host(host), m_log(log), m_names(names) {}

    void discover() {
        Texts entries;
        for (const char* const directory : kDriverDirectories) {
            if (list(directory, entries)) {
                readDriverDirectory(directory, entries);
                return;
            }
        }
        if (list("/sys/class/fc_host/", entries)) {
            readFibreChannelHosts(entries);
        } else if (list("/sys/class/scsi_host/", entries)) {
            readScsiHosts(entries);
        }
    }

  private:
    bool list(const std::string& directory, Texts& entries) {
        const std::string command = "/bin/ls " + directory;
        const tools::CommandRun run = tools::runCommand(m_host, command, m_log);
        if (run.result != 0) {
            traceTo(m_log, 1, "Error: command %s failed.\n", command.c_str());
            return false;
        }
        entries.clear();
        for (const std::string& line : run.output) {
            entries.push_back(CFiStringTool::trim(line, kBlanks));
        }
        return true;
    }

    void readDriverDirectory(const std::string& directory, const Texts& entries) {
        for (const std::string& entry : entries) {
            const std::string path = directory + entry;
            const host::ReadResult file = m_host.readFile(path);
            if (file.openError != 0) {
                traceTo(m_log, 1, "Error: failed to open file %s", path.c_str());
                continue;
            }
            traceTo(m_log, 3, "Reading file %s", path.c_str());
            readDriverFile(file);
        }
    }

    void readDriverFile(const host::ReadResult& file) {
        for (const std::string& read : tools::fgetsLines(file, kLineBuffer)) {
            const std::string line = CFiStringTool::trim(read, kBlanks);
            if (line.find("-adapter-port") != std::string::npos) {
                std::string name;
                if (portNameInDriverLine(line, name)) {
                    m_names.push_back(name);
                }
                return;
            }
        }
    }

    void readFibreChannelHosts(const Texts& entries) {
        for (const std::string& entry : entries) {
            const std::string path = portNamePath("/sys/class/fc_host/", entry);
            const host::ReadResult file = m_host.readFile(path);
            if (file.openError != 0) {
                traceTo(m_log, 1, "Error: failed to open file %s", path.c_str());
                continue;
            }
            appendPortNames(file, entry, m_names);
        }
    }

    void readScsiHosts(const Texts& entries) {
        for (const std::string& entry : entries) {
            const std::string device = "/sys/class/scsi_host/" + entry + "/device/";
            // Older kernels have the class in the name of a link, with a colon behind it.
            const std::string path = portNamePath(device + "fc_host/", entry);
            const std::string olderPath = portNamePath(device + "fc_host:", entry);
            host::ReadResult file = m_host.readFile(path);
            if (file.openError != 0) {
                file = m_host.readFile(olderPath);
            }
            if (file.openError != 0) {
                traceTo(m_log, 1, "Error: failed to open file %s and %s", path.c_str(),
                        olderPath.c_str());
                continue;
            }
            appendPortNames(file, entry, m_names);
        }
    }

    host::Host& m_host;
    const CFiSmartPtr<CFiTraceLog>& m_log;
    Texts& m_names;
};

}  // namespace

WWPN::WWPN() = default;
WWPN::~WWPN() = default;

std::vector<std::string> WWPN::getWWPN() {
    traceTo(m_traceLog, 3, "Entering fuction %s", kOperation);
    Texts names;
    try {
        Discovery(host::current(), m_traceLog, names).discover();
    } catch (const std::exception& exception) {
        traceTo(m_traceLog, 1, "%s Error: Caught exception: [%s]", kOperation, exception.what());
    } catch (...) {
        traceTo(m_traceLog, 1, "%s Error: Caught exception: [%s]", kOperation, "unknown exception");
    }
    traceTo(m_traceLog, 3, "Exiting fuction %s", kOperation);
    return names;
}
