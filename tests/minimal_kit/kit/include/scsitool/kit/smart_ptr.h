#ifndef MINIMAL_KIT_SMART_PTR_H
#define MINIMAL_KIT_SMART_PTR_H

#include <memory>

namespace qzfi_pdk_4_4 {

template <class T>
class CFiSmartPtr {
  public:
    CFiSmartPtr() = default;
    explicit CFiSmartPtr(T* object) : m_object(object) {}
    T* get() const { return m_object.get(); }
    T* operator->() const { return get(); }
    T& operator*() const { return *get(); }
    bool isNull() const { return get() == nullptr; }
    explicit operator bool() const { return !isNull(); }

  private:
    std::shared_ptr<T> m_object;
};

}  // namespace qzfi_pdk_4_4

#endif
