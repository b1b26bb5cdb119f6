#ifndef SCSITOOL_UDID_DEVICE_SCSI_INFO_H
#define SCSITOOL_UDID_DEVICE_SCSI_INFO_H

/// What the generic extraction finds, in fields of fixed size that end in a NUL. The caller fills
/// the record with zeros first: the extraction does not always write the NUL.
struct CDeviceScsiInfo {
    char vendor[9];               ///< INQUIRY vendor identification without trailing blanks
    char model[17];               ///< INQUIRY product identification without trailing blanks
    char revision[5];             ///< product revision level
    char devicePath[64];          ///< the record's device name
    char serial[256];             ///< the chosen identifier behind the digit of its kind
    char serialShort[256];        ///< the chosen identifier alone
    char unitSerialNumber[256];   ///< the serial of page 0x80 without blanks at either end
    char wwn[17];                 ///< an NAA identifier's first 16 hexadecimal digits
    char wwnVendorExtension[17];  ///< its next 16
    char tgptGroup[8];            ///< target port group, lower-case hexadecimal
};

/// One kind of identification descriptor that is looked for (SPC-4, designation descriptor).
struct SScsiIdSearchValues {
    unsigned char idType;   ///< designator type
    unsigned char naaType;  ///< NAA format, 255 for any
    unsigned char codeSet;  ///< 1 binary, 2 ASCII
};

#endif
