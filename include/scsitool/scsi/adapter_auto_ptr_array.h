#ifndef SCSITOOL_SCSI_ADAPTER_AUTO_PTR_ARRAY_H
#define SCSITOOL_SCSI_ADAPTER_AUTO_PTR_ARRAY_H

#include <memory>

/// Owner of one array that was allocated with array new; it is released with array delete. The
/// holder is handed over in `PageBytes`.
template <class T>
class AdapterAutoPtrArray {
  public:
    /// Takes ownership of `array`, which may be null.
    explicit AdapterAutoPtrArray(T* array = nullptr) : m_array(array) {}
    ~AdapterAutoPtrArray() { delete[] m_array; }
    AdapterAutoPtrArray(const AdapterAutoPtrArray&) = delete;
    AdapterAutoPtrArray& operator=(const AdapterAutoPtrArray&) = delete;

    T* get() const { return m_array; }

  private:
    T* m_array;
};

// The published interface hands page bytes over in an auto_ptr; its deprecation is silenced here
// and nowhere else. Clang would report every use of a plain alias, but not of an alias template.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
/// Owner of the bytes of one page.
template <class Byte = unsigned char>
using PageBytes = std::auto_ptr<AdapterAutoPtrArray<Byte>>;
#pragma GCC diagnostic pop

#endif
