#ifndef SCSITOOL_KIT_SMART_PTR_H
#define SCSITOOL_KIT_SMART_PTR_H

#include <memory>
#include <mutex>
#include <utility>

namespace qzfi_pdk_4_4 {

/// Shared owner of one heap object. The reference count is guarded by a mutex, so that copies of
/// one pointer may be made and dropped by several threads; one pointer object itself is used by
/// one thread at a time.
// NOLINTBEGIN(clang-analyzer-cplusplus.NewDelete): the analyzer loses the count at the mutex.
template <class T>
class CFiSmartPtr {
  public:
    CFiSmartPtr() = default;
    /// Takes ownership of `object` (deleted with the last owner); null gives a null pointer.
    explicit CFiSmartPtr(T* object) {
        if (object != nullptr) {
            std::unique_ptr<T> owned(object);
            m_shared = new Shared(object);
            static_cast<void>(owned.release());
        }
    }
    CFiSmartPtr(const CFiSmartPtr& other) : m_shared(other.m_shared) { acquire(); }
    CFiSmartPtr(CFiSmartPtr&& other) noexcept : m_shared(std::exchange(other.m_shared, nullptr)) {}
    ~CFiSmartPtr() { release(); }

    /// Releases what was held, last of all: its end may take this pointer or `other` along.
    /// Assigning a pointer to itself changes nothing.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the copy keeps the object
    CFiSmartPtr& operator=(const CFiSmartPtr& other) {
        CFiSmartPtr exchanged(other);
        std::swap(m_shared, exchanged.m_shared);
        return *this;
    }
    CFiSmartPtr& operator=(CFiSmartPtr&& other) noexcept {
        CFiSmartPtr exchanged(std::move(other));
        std::swap(m_shared, exchanged.m_shared);
        return *this;
    }

    T* get() const { return m_shared != nullptr ? m_shared->object : nullptr; }
    T* operator->() const { return get(); }
    T& operator*() const { return *get(); }
    bool isNull() const { return m_shared == nullptr; }
    explicit operator bool() const { return m_shared != nullptr; }

  private:
    struct Shared {
        explicit Shared(T* owned) : object(owned) {}
        T* object;
        std::mutex mutex;
        unsigned long count = 1;
    };

    void acquire() const {
        if (m_shared != nullptr) {
            const std::lock_guard<std::mutex> lock(m_shared->mutex);
            ++m_shared->count;
        }
    }

    void release() {
        Shared* const shared = m_shared;
        m_shared = nullptr;
        if (shared == nullptr) {
            return;
        }
        unsigned long left = 0;
        {
            const std::lock_guard<std::mutex> lock(shared->mutex);
            left = --shared->count;
        }
        if (left == 0) {
            delete shared->object;
            delete shared;
        }
    }

    Shared* m_shared = nullptr;
};
// NOLINTEND(clang-analyzer-cplusplus.NewDelete)

}  // namespace qzfi_pdk_4_4

#endif
