#ifndef SCSITOOL_UDID_GENERIC_UDID_GENERATOR_H
#define SCSITOOL_UDID_GENERIC_UDID_GENERATOR_H

#include <string>

#include "scsitool/host/export.h"
#include "scsitool/udid/device_scsi_info.h"
#include "scsitool/udid/device_udid_generator.h"

/// Draws an identifier from the standard pages of any disk: the Device Identification page (SPC-4,
/// page 0x83) by a fixed precedence of designators, else the Unit Serial Number page (0x80). It
/// claims no device and builds no UDID; other generators use what it finds. Nothing throws, and
/// only the stored pages are read. Used by one thread at a time.
class SCSITOOL_EXPORT CGenericUdidGenerator : public CUdidGenerator {
  public:
    CGenericUdidGenerator(std::string vendor, std::string product);
    ~CGenericUdidGenerator() override;

    /// Always false.
    bool claimDevice(CScsiDeviceData* device) override;
    /// "UDID##", vendor, "##", product with its blanks as "_", "##", in upper case; the record
    /// keeps the trimmed texts.
    std::string getUniqueDeviceIDPrefix(CScsiDeviceData* device) override;
    /// Always "NO_DEVICE_INFORMATION".
    std::string getUniqueDeviceID(CScsiDeviceData* device) override;
    /// The serial of page 0x80: as many bytes from byte 4 on as byte 3 says, untrimmed; empty
    /// without the page.
    virtual std::string getEnclousureId(CScsiDeviceData* device);
    /// Fills `info`, which must be zeros, from the record. Gives 0, or 1 when neither page has an
    /// identifier (vendor and what follows it are then not filled).
    virtual int getDeviceScsiInfo(CScsiDeviceData* device, CDeviceScsiInfo& info);

    /// Searches page 0x83, designator kinds outermost. The buffers hold `maxLength` characters
    /// (`serial`, `serialShort`), 17 (`wwn`, `wwnVendorExtension`) and 8 (`tgptGroup`);
    /// `unitSerialNumber` is not used. Gives 0 found, 1 not found.
    int getInformationFromPage83(CScsiDeviceData* device, CDeviceScsiInfo& info, char* serial,
                                 char* serialShort, int maxLength, char* unitSerialNumber,
                                 char* wwn, char* wwnVendorExtension, char* tgptGroup);
    /// Takes one designation descriptor, 4 bytes and as many as its byte 3 says but at least 8, if
    /// it is of the kind that is looked for. A target port group is only recorded. `wwn`,
    /// `wwnVendorExtension` and `tgptGroup` may be null. Gives 0 taken, 1 not taken.
    int checkFillIdPage0x83(CDeviceScsiInfo& info, const unsigned char* descriptor,
                            const SScsiIdSearchValues& searchRow, char* serial, char* serialShort,
                            int maxLength, char* wwn, char* wwnVendorExtension, char* tgptGroup);
    /// Takes the whole of a page 0x83 in the layout before SPC-3, 4 bytes and as many as its byte
    /// 3 says. Gives 0.
    int checkFillPreSPC3Page0x83(CDeviceScsiInfo& info, const unsigned char* page,
                                 const SScsiIdSearchValues& searchRow, char* serial,
                                 char* serialShort, int maxLength);
    /// Takes the serial of page 0x80 behind "S", vendor and model; its first byte takes the place
    /// of the model's last. `serial` and `serialShort` may be null. Gives 0 found, 1 not found.
    int getInformationFromPage80(CScsiDeviceData* device, CDeviceScsiInfo& info, char* serial,
                                 char* serialShort, int maxLength);
    /// Writes vendor and model to `out`, which holds 25 characters. Gives 24, or -1 when they are
    /// not 24 characters together.
    int prependVendorModel(CDeviceScsiInfo& info, char* out);
    /// Traces every field at level 6.
    void printDeviceScsiInfo(CDeviceScsiInfo& info);
};

#endif
