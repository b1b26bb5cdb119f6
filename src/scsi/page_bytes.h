#ifndef SCSITOOL_SCSI_PAGE_BYTES_H
#define SCSITOOL_SCSI_PAGE_BYTES_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "scsitool/scsi/adapter_auto_ptr_array.h"

namespace scsi {

/// The bytes have an owner from the first one on: when there is no memory for the holder the array
/// goes with the exception.
inline PageBytes<> keepBytes(std::unique_ptr<unsigned char[]> array) {
    PageBytes<> holder(new AdapterAutoPtrArray<unsigned char>(array.get()));
    static_cast<void>(array.release());
    return holder;
}

/// Bytes of a page, all 0.
inline PageBytes<> makeBytes(std::size_t count) {
    return keepBytes(std::make_unique<unsigned char[]>(count));
}

/// A copy of `length` bytes, with `more` that are 0 behind them.
inline PageBytes<> copyBytes(const unsigned char* bytes, std::size_t length, std::size_t more) {
    std::unique_ptr<unsigned char[]> array(new unsigned char[length + more]);
    std::copy_n(bytes, length, array.get());
    std::fill_n(array.get() + length, more, static_cast<unsigned char>(0));
    return keepBytes(std::move(array));
}

}  // namespace scsi

#endif
