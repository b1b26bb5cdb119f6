#ifndef SCSITOOL_SCSI_PAGE_BYTES_H
#define SCSITOOL_SCSI_PAGE_BYTES_H

#include <cstddef>
#include <memory>

#include "scsitool/scsi/adapter_auto_ptr_array.h"

namespace scsi {

/// Bytes of a page, all 0. They have an owner from the first one on: when there is no memory for
/// the holder the array goes with the exception.
inline PageBytes<> makeBytes(std::size_t count) {
    auto array = std::make_unique<unsigned char[]>(count);
    PageBytes<> holder(new AdapterAutoPtrArray<unsigned char>(array.get()));
    static_cast<void>(array.release());
    return holder;
}

}  // namespace scsi

#endif
