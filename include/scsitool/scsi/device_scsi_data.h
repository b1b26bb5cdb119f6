#ifndef SCSITOOL_SCSI_DEVICE_SCSI_DATA_H
#define SCSITOOL_SCSI_DEVICE_SCSI_DATA_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/scsi/adapter_auto_ptr_array.h"

/// One page as the device returned it: the standard INQUIRY data or a vital product data page. A
/// copy owns bytes of its own.
struct SCSITOOL_EXPORT CScsiModePage {
    CScsiModePage();
    CScsiModePage(const CScsiModePage& other);
    CScsiModePage& operator=(const CScsiModePage& other);
    ~CScsiModePage();

    /// The bytes, or null while there is no buffer.
    unsigned char* bytes() const { return buffer.get() != nullptr ? buffer->get() : nullptr; }

    PageBytes<> buffer;
    std::uint32_t length;  ///< valid bytes in the buffer; 0 for an empty page
};

/// What is known of one SCSI disk: its names, its address, its identity and its pages. Discovery
/// makes the record, the SCSI tool fills it from the device, the UDID generators read it.
/// A record is used by one thread at a time.
class SCSITOOL_EXPORT CScsiDeviceData {
  public:
    /// All texts are copied. `sizeKb` is in units of 1,024 bytes.
    CScsiDeviceData(const std::string& deviceName, const std::string& secondName,
                    const std::string& hostName, int target, unsigned int bus, int lun, int port,
                    const std::string& vendorId, const std::string& productId,
                    const std::string& firmwareLevel, unsigned long sizeKb);
    /// Copies every page's bytes.
    CScsiDeviceData(const CScsiDeviceData& other);
    CScsiDeviceData& operator=(const CScsiDeviceData& other);
    virtual ~CScsiDeviceData();

    /// The product identification without trailing blanks. The record keeps the trimmed text, so
    /// that every later reader sees it.
    std::string GetProductId();

    /// Looks a stored page up; nothing is read from the device. `page` is a VPD page code, 0 is
    /// the standard INQUIRY data. `buffer` gets the record's own bytes, valid until the record is
    /// changed or destroyed, and `length` their number; null and 0 when the page is not stored.
    void GetScsiModePage(unsigned int page, unsigned char** buffer, unsigned int& length);

    std::string m_deviceName;     ///< the node the device is opened by; key of the device map
    std::string m_secondName;     ///< empty in every record that discovery makes
    std::string m_hostName;       ///< the host's name
    std::string m_vendorId;       ///< INQUIRY bytes 8-15 (SPC-4 T10 vendor identification)
    std::string m_productId;      ///< INQUIRY bytes 16-31
    std::string m_firmwareLevel;  ///< INQUIRY bytes 32-35
    std::string m_firstSpare;     ///< empty
    std::string m_secondSpare;    ///< empty
    int m_target;                 ///< SCSI target id
    int m_lun;                    ///< logical unit number, eight bits of it
    unsigned int m_bus;           ///< SCSI channel
    int m_port;                   ///< host adapter number, -1 until it is known
    std::map<unsigned int, CScsiModePage> m_pages;  ///< by page code; 0 is the INQUIRY data
    int m_dmpClaimLevel;                            ///< 16 for a multipath pseudo-device, else 0
    unsigned int m_busType;    ///< 1 on records of pseudo-devices, 0 also for an unknown type
    unsigned int m_multipath;  ///< 1 on records of pseudo-devices
    std::uint64_t m_sizeKb;    ///< size in units of 1,024 bytes where it was measured
    std::vector<unsigned int> m_supportedPages;  ///< codes of VPD page 0x00, as received
    std::string m_osName;                        ///< "Linux" once the SCSI tool has seen the record
    unsigned int m_invalid;  ///< non-zero marks a record whose device is no longer valid
};

/// One entry of the device map.
struct SDeviceInfo {
    int dmpClaimLevel = 0;                 ///< 16 for a multipath pseudo-device, else 0
    std::string deviceName;                ///< equal to the key in maps that the factory builds
    std::string uid;                       ///< the UDID; empty when it could not be computed
    std::vector<std::string> nativePaths;  ///< native devices below a pseudo-device
};

/// From device name to what is known of it, in ascending byte order of the name.
using DeviceMap = std::map<std::string, SDeviceInfo>;

#endif
