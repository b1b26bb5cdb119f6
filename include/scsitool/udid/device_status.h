#ifndef SCSITOOL_UDID_DEVICE_STATUS_H
#define SCSITOOL_UDID_DEVICE_STATUS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/udid/identity.h"

/// What stands beside a device map: why a device is not in it, or has a UDID that no page of it
/// vouches for.
namespace udid {

/// How far the library came with a device. Each value means that everything before it went well.
enum class DeviceState {
    kNotOpened,  ///< the node did not open
    kOpened,     ///< it opened, and nothing was asked of it
    kNoAnswer,   ///< the standard INQUIRY failed, or came back as zeros: it reached no device
    kNoDisk,     ///< the INQUIRY data are too short, or not those of a connected disk
    kNoAddress,  ///< SCSI_IOCTL_GET_IDLUN failed: no page was asked for
    kAnswered,   ///< the device answered, and nobody asked for its UDID
    kNoUdid,     ///< no generator made a UDID: none claimed the record, or those that did failed
    kHostNamed,  ///< the UDID is made of the device's and the host's names: good on this host alone
    kIdentified,  ///< the device has a UDID
};

/// Sense data (SPC-4) of a current or a deferred error, in fixed or descriptor format.
struct Sense {
    std::uint8_t responseCode = 0;  ///< 70h to 73h; 0 where there are no sense data
    std::uint8_t key = 0;           ///< SENSE KEY
    std::uint8_t code = 0;          ///< ADDITIONAL SENSE CODE; 0 where they end before it
    std::uint8_t qualifier = 0;     ///< ADDITIONAL SENSE CODE QUALIFIER; the same
};

/// A request that failed, as the host answered it. One of `error`, `scsiStatus` and `hostStatus` is
/// not 0.
struct FailedRequest {
    enum class Kind {
        kOpen,           ///< open of the node
        kInquiry,        ///< standard INQUIRY
        kPage,           ///< INQUIRY for a vital product data page
        kAddress,        ///< SCSI_IOCTL_GET_IDLUN
        kGeneratorsOwn,  ///< SG_IO of a generator
    };
    Kind kind = Kind::kOpen;
    unsigned page = 0;  ///< VPD page code, of kPage
    /// errno; of a page also EIO for a response of zeros, which the kernel hands over for a command
    /// that never reached the device
    int error = 0;
    unsigned scsiStatus = 0;  ///< status byte (SAM-5), 2 for CHECK CONDITION
    unsigned hostStatus = 0;  ///< the kernel's host byte, 1 for DID_NO_CONNECT; of SG_IO alone
    Sense sense;              ///< of CHECK CONDITION, where the kernel handed it on
};

/// What a generator made of a device.
struct GeneratorAnswer {
    std::string generator;             ///< vendor key, ":", product key
    std::string family;                ///< what people call its arrays; else the same
    bool claimed = false;              ///< it claimed the record
    std::string failure;               ///< message id of its exception; empty when it did not fail
    std::vector<std::string> remarks;  ///< why it went this way, and why it failed
};

/// What became of one device. A value.
struct DeviceStatus {
    std::string deviceName;  ///< the node; the key in the device map
    DeviceState state = DeviceState::kNotOpened;
    /// The factory was given its record: the map has an entry for it. A device that opened and then
    /// did not answer has one: its UDID is the one assigned in advance, or is made of names.
    bool isInMap = false;
    std::vector<FailedRequest> failedRequests;  ///< in order, since it was opened for the last time
    std::size_t inquiryLength = 0;  ///< bytes that the INQUIRY data state; 0 where none came
    std::uint8_t peripheral = 0;    ///< their byte 0: peripheral qualifier and device type
    /// The generator of the UDID, and what the UDID says of array and volume. Empty where no
    /// generator made it.
    Identity identity;
    /// The generators that claimed the record or remarked on it, in the order in which they were
    /// asked. What the others compared is told by `explain`.
    std::vector<GeneratorAnswer> generators;
    std::vector<std::string> remarks;  ///< of no generator, such as that the UDID was assigned
};

/// A list of devices that could not be read: the devices in it are not known.
struct UnreadList {
    std::string path;
    int error = 0;  ///< errno
};

/// What an enumeration found as a whole: the furthest that it came with any device.
enum class Finding {
    kNothingAsked,     ///< no list was read and no device opened
    kDisks,            ///< at least one disk answered
    kNothingAnswered,  ///< devices opened, and none answered as a disk
    kNoRight,          ///< each device refused the open or the INQUIRY with EACCES or EPERM
    kNoneOpened,       ///< no device opened
    kNoList,           ///< no device is known, and a list of them could not be read
    kNoDisk,           ///< the lists name no disk, or not the one that was asked for
};

/// Looks on while the library enumerates, and keeps what became of every device. It is in place
/// from its construction to its end, on the thread that made it, for every operation of the library
/// there: enumeration, validation, a look-up by name. These do what they always do, with the same
/// requests, traces and results; whoever was looking on before (a host::Scope, a ReportScope) goes
/// on seeing everything. The watch does not see what is asked of a host::Scope that is put in place
/// after it, and its statuses then lack that: the host comes first, then the watch. What is opened
/// meanwhile is closed before the watch ends.
///
///     udid::StatusWatch watch;
///     const DeviceMap devices = factory.enumerateDeviceMap(false, false, false, "", "");
///     for (const udid::DeviceStatus& status : watch.statuses()) { ... }
///
/// A device that is enumerated again has its last status. Several threads may each have their own.
class SCSITOOL_EXPORT StatusWatch {
  public:
    StatusWatch();
    ~StatusWatch();
    StatusWatch(const StatusWatch&) = delete;
    StatusWatch& operator=(const StatusWatch&) = delete;

    /// Every device that the library tried to open, in the order in which it first did. Names in
    /// /dev/mapper that are no SCSI device ("control", directories) are among them.
    std::vector<DeviceStatus> statuses() const;
    /// The status of one device: kNotOpened without a failed request where nobody tried to open it.
    DeviceStatus statusOf(const std::string& deviceName) const;
    /// The lists that could not be read, each once. A directory that is not there is no failure.
    std::vector<UnreadList> unreadLists() const;
    /// What came of it as a whole. What is no SCSI device counts for nothing.
    Finding finding() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

/// The names of states and findings as documents and programs have them.
SCSITOOL_EXPORT const char* nameOf(DeviceState state);
SCSITOOL_EXPORT const char* nameOf(Finding finding);

/// A status and a finding in words, in one line without the device's name. Remarks of a generator
/// of the caller's own stand in it as they are.
SCSITOOL_EXPORT std::string textOf(const DeviceStatus& status);
SCSITOOL_EXPORT std::string textOf(Finding finding);

}  // namespace udid

#endif
