#ifndef SCSITOOL_SCSI_SCSITOOLBASE_H
#define SCSITOOL_SCSI_SCSITOOLBASE_H

#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/scsi/scsi_device_handle.h"

/// Fills a device record from the device. The requests that an operating system has its own way
/// for are virtual and come from a derived class. A tool keeps nothing between calls; one tool is
/// used by one thread at a time.
///
/// Results: 0 success, 4 not supported, 6 failure.
class SCSITOOL_EXPORT CScsiToolBase : public virtual qzfi_pdk_4_4::CFiTraceable {
  public:
    CScsiToolBase();
    ~CScsiToolBase() override;

    /// Reads the Supported VPD Pages page (SPC-4, page 0x00) and appends its codes, bytes 4 to
    /// n + 3, to the record's list, which is not emptied first. Gives 0, also when the page is
    /// malformed; when an exception comes up the bus type is set to 0 and 6, or the exception's
    /// number, is given.
    virtual unsigned UpdateSupportedModePageList(CScsiDeviceHandle& handle,
                                                 CScsiDeviceData& device);
    /// Tells whether INQUIRY byte 0 is that of a connected direct access block device: peripheral
    /// qualifier 0 and peripheral device type 0 (SPC-4).
    virtual bool CheckForDiskDevice(unsigned char peripheral);
    /// Collects all of one device: operating-system name, standard INQUIRY data, address,
    /// supported pages, vendor, product, firmware, capacity and, of the pages 0x83, 0x80, 0xC0,
    /// 0xC8, 0x10, 0x11 and 0xD0, those that the device lists. Opens the device and closes it
    /// again. Gives 6, or the number of a thrown int, for a null record and for a device that
    /// cannot be opened, is no disk or does not answer.
    virtual unsigned UpdateDevice(CScsiDeviceData* device);
    /// Asks the operating system to forget the device; not supported here.
    virtual unsigned RemoveDevice(CScsiDeviceData* device);
    /// Reads the standard INQUIRY data into the page map under 0. Gives 6 when less than 32 bytes
    /// came or the device is no disk.
    virtual unsigned UpdateStdInquiryString(CScsiDeviceHandle& handle, CScsiDeviceData& device);
    /// Sets the vendor from INQUIRY bytes 8-15, without trailing blanks.
    virtual unsigned UpdateVendorId(CScsiDeviceData& device);
    /// Sets the product from INQUIRY bytes 16-31, without trailing blanks.
    virtual unsigned UpdateProductId(CScsiDeviceData& device);
    /// Sets the firmware level from INQUIRY bytes 32-35, trailing blanks kept.
    virtual unsigned UpdateFirmwareLevel(CScsiDeviceData& device);
    /// Reads one VPD page into the page map; a page that does not come is left out. Throws an int
    /// when an exception comes up. Gives 0.
    virtual unsigned UpdateModePageString(CScsiDeviceHandle& handle, unsigned int page,
                                          CScsiDeviceData& device);
    /// Measures the capacity; here it does nothing and gives 0.
    virtual unsigned GetScsiDeviceCapacity(CScsiDeviceHandle& handle, CScsiDeviceData& device);
    /// Sets the record's target, LUN, bus and port.
    virtual unsigned GetTargetLunPortInfo(CScsiDeviceHandle& handle, CScsiDeviceData& device) = 0;
    /// Sends one INQUIRY. A `page` other than 0, and `evpd` 1, ask for a VPD page. On success
    /// `data` holds `length` bytes.
    virtual unsigned GetModePageInfo(CScsiDeviceHandle& handle, CScsiDeviceData& device,
                                     const unsigned int& page, unsigned int& length,
                                     unsigned int evpd, PageBytes<>& data) = 0;
};

#endif
