#include "discovery/scsi_table.h"

#include <algorithm>

#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"
#include "tools/line_reader.h"

namespace discovery {

bool readScsiTable(host::Host& host, std::vector<std::string>& lines) {
    constexpr std::size_t kLineBuffer = 255;
    const host::ReadResult file = host.readFile(kScsiTable);
    if (file.openError != 0) {
        return false;
    }
    lines = tools::fgetsPieces(file, kLineBuffer);
    return true;
}

bool isDeviceLine(const std::string& line) {
    return line.find("Host:") != std::string::npos;
}

bool parseAddress(const std::string& line, SLinuxScsiDevice& address) {
    constexpr int kItems = 4;
    return isDeviceLine(line) &&
           qzfi_pdk_4_4::V_sscanf(line.c_str(), line.size(),
                                  "Host: scsi%d Channel: %02d Id: %02d Lun: %02d", &address.host,
                                  &address.channel, &address.id, &address.lun) == kItems;
}

const std::string* typeLine(const std::vector<std::string>& lines, std::size_t index) {
    constexpr std::size_t kLinesBehind = 2;
    return lines.size() > index + kLinesBehind ? &lines[index + kLinesBehind] : nullptr;
}

int countDevices(host::Host& host) {
    try {
        std::vector<std::string> lines;
        readScsiTable(host, lines);
        return static_cast<int>(std::count_if(lines.begin(), lines.end(), isDeviceLine));
    } catch (...) {
        return 0;
    }
}

}  // namespace discovery
