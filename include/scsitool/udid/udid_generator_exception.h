#ifndef SCSITOOL_UDID_UDID_GENERATOR_EXCEPTION_H
#define SCSITOOL_UDID_UDID_GENERATOR_EXCEPTION_H

#include <string>

#include "scsitool/host/export.h"

namespace udid {

/// A vendor page is there but shorter than the byte positions that are needed.
inline constexpr char kInvalidPageSize[] = "MSG_UDID_ERROR_INVALID_SCSI_PAGE_SIZE";
/// A needed page is missing, or its contents fail the generator's checks.
inline constexpr char kInvalidPageData[] = "MSG_UDID_ERROR_INVALID_SCSI_PAGE_DATA";
/// The array's serial number cannot be obtained or is invalid.
inline constexpr char kInvalidEnclosureData[] = "MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA";
/// The unit's own identification is missing or too short.
inline constexpr char kInvalidDeviceData[] = "MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA";

}  // namespace udid

/// The one exception of the generators: which of the four failures it was, and the keys of the
/// generator that raised it (some failures leave them empty).
class SCSITOOL_EXPORT CUdidGeneratorException {
  public:
    CUdidGeneratorException(std::string messageId, std::string vendor, std::string product);
    CUdidGeneratorException(const CUdidGeneratorException& other);
    CUdidGeneratorException& operator=(const CUdidGeneratorException& other);
    ~CUdidGeneratorException();

    /// Message id, vendor key and product key, ":" between them.
    std::string getMessageId() const;

  private:
    std::string m_messageId;
    std::string m_vendor;
    std::string m_product;
};

#endif
