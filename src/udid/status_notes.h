#ifndef SCSITOOL_UDID_STATUS_NOTES_H
#define SCSITOOL_UDID_STATUS_NOTES_H

#include <map>
#include <string>
#include <vector>

#include "scsitool/host/host.h"
#include "scsitool/udid/device_status.h"

namespace udid {

/// Gathers what became of the devices, from what the host answered and what the generators report.
class StatusNotes {
  public:
    /// How an open ended: 0 or more, or a negated errno.
    void opened(const std::string& path, host::OpenMode mode, int result);
    /// How an INQUIRY ended; `request` is the buffer as it was sent.
    void inquired(const std::string& path, const host::CommandBuffer& request, int result,
                  const host::CommandBuffer& answer);
    void toldAddress(const std::string& path, int result);
    void askedByGenerator(const std::string& path, int result, const host::SgIoRequest& request);
    /// A list of devices was read, or not (errno).
    void listRead(const std::string& path, int error);

    /// The UDID of a device is asked for.
    void began(const std::string& deviceName);
    void stepped(Step step, const std::string& text, const std::string& generator);
    void added(Format format);
    void remarked(const std::string& text);

    /// What is known of the devices but for their identities.
    std::vector<DeviceStatus> statuses() const;
    DeviceStatus statusOf(const std::string& deviceName) const;
    const std::vector<UnreadList>& unreadLists() const { return m_unreadLists; }
    bool hasList() const { return m_hasList; }

  private:
    struct Device {
        DeviceStatus status;  // its generators also those that merely declined
        bool isMadeOfNames = false;
    };

    Device& of(const std::string& path);
    Device* known(const std::string& path);
    static void forgetUdid(Device& device);
    static DeviceStatus finished(const Device& device);
    static void takeInquiry(DeviceStatus& status, int result, const host::CommandBuffer& answer);

    Device* current() { return m_current < m_devices.size() ? &m_devices[m_current] : nullptr; }

    std::vector<Device> m_devices;                // in the order in which they were first opened
    std::map<std::string, std::size_t> m_places;  // by name
    std::size_t m_current = ~std::size_t{0};      // whose UDID is being built
    std::vector<UnreadList> m_unreadLists;
    bool m_hasList = false;
};

}  // namespace udid

#endif
