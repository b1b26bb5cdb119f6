#ifndef SCSITOOL_UDID_DEVICE_UDID_GENERATOR_H
#define SCSITOOL_UDID_DEVICE_UDID_GENERATOR_H

#include <string>

#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/udid_generator_exception.h"

namespace udid {

inline constexpr char udid_prefix[] = "UDID##";          ///< start of every ordinary prefix
inline constexpr char udid_separator[] = "##";           ///< between the parts of a UDID
inline constexpr char taq_udid_prefix[] = "TAQ_UDID##";  ///< start of a TAQ virtual disk's prefix

}  // namespace udid

/// Base of the UDID generators: each knows where one array family keeps a volume's identity. A
/// generator keeps nothing but its two keys and its trace log. Claiming and building write the
/// trimmed vendor and product back into the record, so no two threads may work on one record.
class SCSITOOL_EXPORT CUdidGenerator : public qzfi_pdk_4_4::CFiTraceable {
  public:
    /// Stores the vendor key and the product key.
    CUdidGenerator(std::string vendor, std::string product);
    ~CUdidGenerator() override;

    /// The two keys with ":" between them.
    virtual std::string getGeneratorName();
    /// Tells whether the record is of this generator's family: here, vendor and product without
    /// trailing blanks equal the keys. Upper and lower case differ.
    virtual bool claimDevice(CScsiDeviceData* device);
    /// The UDID's prefix: here "UDID##", vendor key, "##", product key, "##", in upper case; the
    /// device is not consulted.
    virtual std::string getUniqueDeviceIDPrefix(CScsiDeviceData* device);
    /// The UDID's body. Throws CUdidGeneratorException when the record lacks what it is made of.
    virtual std::string getUniqueDeviceID(CScsiDeviceData* device) = 0;

    /// The key that a record's vendor is compared with.
    const std::string& vendorKey() const { return m_vendor; }
    /// The key that a record's product is compared with.
    const std::string& productKey() const { return m_product; }

  protected:
    /// Throws the generator's exception with its own keys.
    [[noreturn]] void fail(const char* messageId) const;

    std::string m_vendor;
    std::string m_product;
};

#endif
