#ifndef SCSITOOL_SCSI_SCSI_RESULT_H
#define SCSITOOL_SCSI_SCSI_RESULT_H

/// Result codes of the library's operations.
namespace scsi {

inline constexpr unsigned kSuccess = 0;
inline constexpr unsigned kNotSupported = 4;
inline constexpr unsigned kFailure = 6;  ///< also the value of the int that is thrown

}  // namespace scsi

#endif
