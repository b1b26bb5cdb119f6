#include "cli/picture/enumeration.h"

#include "cli/picture/drawing.h"
#include "scsitool/discovery/device_discovery_linux.h"

namespace cli::picture {

Enumeration::Enumeration(const Context& context) : m_context(context), m_watch(host::current()) {
    context.traceInto(m_factory);
}

const DeviceMap& Enumeration::run(bool rescan, const std::string& name,
                                  const std::string& scriptArguments) {
    m_only = name;
    const host::Scope scope(m_watch);
    const udid::ReportScope listening(&m_identities);
    m_factory.enumerateDeviceMap(rescan, false, false, name, scriptArguments);
    return m_factory.deviceMap();
}

int Enumeration::runNative(std::vector<CScsiDeviceData>& disks) {
    CLinuxDeviceDiscovery discovery;
    m_context.traceInto(discovery);
    const host::Scope scope(m_watch);
    const int result = discovery.enumerateNativeDevicePathsExt(disks);
    m_disks = disks;
    m_withMaps = false;
    return result;
}

Picture Enumeration::drawn(bool withFields) {
    DeviceMap native;
    Records records;
    for (const auto& record : m_factory.records()) {
        records[record->m_deviceName] = record.get();
    }
    for (const CScsiDeviceData& disk : m_disks) {
        native[disk.m_deviceName].deviceName = disk.m_deviceName;
        records[disk.m_deviceName] = &disk;
    }
    const Sighting sighting = {m_disks.empty() ? m_factory.deviceMap() : native, records, m_watch,
                               &m_identities};
    return pictureOf(drawDevices(
        sighting, {m_context.view(), m_context.options.deadline, m_only, m_withMaps, withFields}));
}

std::string Enumeration::hint() const {
    return m_context.isRoot || !m_context.isLive() ? "" : "; run it as root";
}

}  // namespace cli::picture
