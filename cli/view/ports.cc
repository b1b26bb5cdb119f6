#include "cli/view/ports.h"

#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli::view {
namespace {

constexpr const char* kClass = "/sys/class/";

// A component of a path by how it begins: "rport-2:0-3" of ".../host2/rport-2:0-3/target2:0:0/...".
std::string componentOf(const std::string& path, const std::string& start) {
    const std::size_t at = path.find("/" + start);
    return at == std::string::npos ? std::string()
                                   : path.substr(at + 1, path.find('/', at + 1) - at - 1);
}

std::string firstOf(const std::string& one, const std::string& other) {
    return one.empty() ? other : one;
}

}  // namespace

// Some drivers have no name: the kernel writes "<NULL>" or "(null)" then.
const std::string& PortBook::line(const std::string& path) {
    const auto [place, isNew] = m_lines.try_emplace(path);
    if (isNew) {
        std::string text = recording::guard::trimmed(
            recording::guard::firstLine(m_host.readFile(kClass + path).content));
        const bool isNothing = text == "<NULL>" || text == "(null)";
        place->second = isNothing ? std::string() : std::move(text);
    }
    return place->second;
}

Ports PortBook::portsOf(const picture::ScsiAddress& address) {
    const std::string adapter = "host" + std::to_string(address.host);
    Ports ports;
    ports.driver = line("scsi_host/" + adapter + "/proc_name");
    std::string place;
    m_host.readLink(std::string(kClass) + "scsi_device/" + addressText(address), place);
    const std::string session = componentOf(place, "session");
    const std::string endDevice = componentOf(place, "end_device-");
    if (!session.empty()) {
        ports.initiator = firstOf(line("iscsi_session/" + session + "/initiatorname"),
                                  line("iscsi_host/" + adapter + "/initiatorname"));
        ports.target = line("iscsi_session/" + session + "/targetname");
        ports.portalGroup =
            recording::guard::parseDecimal(line("iscsi_session/" + session + "/tpgt"));
    } else if (!endDevice.empty()) {
        ports.initiator = line("scsi_host/" + adapter + "/host_sas_address");
        ports.target = line("sas_device/" + endDevice + "/sas_address");
    } else {
        const std::string remote = componentOf(place, "rport-");
        ports.initiator = line("fc_host/" + adapter + "/port_name");
        ports.target = remote.empty() ? remote : line("fc_remote_ports/" + remote + "/port_name");
    }
    return ports;
}

}  // namespace cli::view
