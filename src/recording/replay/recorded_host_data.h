#ifndef SCSITOOL_RECORDING_REPLAY_RECORDED_HOST_DATA_H
#define SCSITOOL_RECORDING_REPLAY_RECORDED_HOST_DATA_H

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "scsitool/host/host.h"

namespace recording {

using Bytes = std::vector<std::uint8_t>;

/// A file's content, or the errno that every open of it ends in. With `readError` every read ends
/// in that errno behind the content.
struct RecordedFile {
    RecordedFile() = default;
    RecordedFile(std::string text) : content(std::move(text)) {}
    RecordedFile(const char* text) : content(text) {}

    std::string content;
    int error = 0;
    int readError = 0;
};

/// What came of one request to a device: the data, or what the request ended in instead of them.
/// Data with a status or a host byte beside them are what the device had sent until then.
struct RecordedPage {
    RecordedPage() = default;
    RecordedPage(Bytes response) : bytes(std::move(response)) {}
    RecordedPage(std::initializer_list<std::uint8_t> response) : bytes(response) {}

    /// Whether the device answered the request with status GOOD.
    bool isAnswer() const { return error == 0 && status == 0 && hostStatus == 0; }

    Bytes bytes;
    int error = 0;            ///< errno of the request, 0 when it was sent
    std::uint8_t status = 0;  ///< the SCSI status it ended with
    Bytes sense;              ///< the sense data that came with the status
    std::uint16_t hostStatus =
        0;  ///< the kernel's host byte (DID_...): it did not reach the device
};

inline bool operator==(const RecordedPage& left, const RecordedPage& right) {
    return left.bytes == right.bytes && left.error == right.error && left.status == right.status &&
           left.sense == right.sense && left.hostStatus == right.hostStatus;
}

/// A device node and what the device behind it answers.
struct RecordedDevice {
    int openError = 0;                            ///< errno of the open, 0 when it opens
    int writeError = 0;                           ///< errno of an open for writing alone
    unsigned givenUpAfter = 0;                    ///< seconds that it was waited for; 0: it was not
    std::optional<RecordedPage> standardInquiry;  ///< INQUIRY without EVPD
    std::map<std::uint8_t, RecordedPage> pages;   ///< page code to the whole VPD page
    std::map<Bytes, RecordedPage> sgIo;           ///< command descriptor block to what came of it
    std::optional<std::uint32_t> idLun;           ///< first word of SCSI_IOCTL_GET_IDLUN
    int idLunError = 0;                           ///< errno of SCSI_IOCTL_GET_IDLUN, 0 for none
    std::optional<std::uint64_t> sizeBytes;
    host::DeviceNumber number;  ///< `kNone` when it was not recorded
    bool inUse = false;         ///< an exclusive open is refused with EBUSY
};

/// One answer to one command text. At most one of the three ends is set.
struct RecordedCommand {
    std::string command;
    std::vector<std::string> output;
    int exitStatus = 0;     ///< 0 to 255
    int signal = 0;         ///< the signal that ended it, 0 for none
    bool timedOut = false;  ///< the time limit ended it
};

/// Everything that is known of a recorded host: a plain value.
struct RecordedHostData {
    std::map<std::string, RecordedFile> files;
    /// Path, with or without its last "/", to the names in it, in the operating system's order.
    std::map<std::string, std::vector<std::string>> directories;
    /// Directories that are there and do not open, with the errno.
    std::map<std::string, int> directoryErrors;
    std::map<std::string, RecordedDevice> devices;
    /// Path of a symbolic link to where it points, as readlink(2) tells it.
    std::map<std::string, std::string> links;
    /// The same text again is the answer to its next run; the last answer stays for good.
    std::vector<RecordedCommand> commands;
    std::optional<std::string> hostName = "localhost";  ///< none: it cannot be read
    std::string kernelRelease = "5.10.0";
};

}  // namespace recording

#endif
