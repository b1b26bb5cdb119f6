#include "scsitool/kit/context_singleton.h"

#include <mutex>
#include <utility>

namespace qzfi_pdk_4_4 {
namespace {

template <class T>
struct Slot {
    std::mutex mutex;
    CFiSmartPtr<T> object;
};

// Never destroyed: objects with static storage may still trace while the process ends.
template <class T, EFiPlugin NAME>
Slot<T>& slot() {
    static Slot<T>* const only = new Slot<T>;
    return *only;
}

}  // namespace

template <class T, EFiPlugin NAME>
CFiSmartPtr<T> CFiContextSingleton<T, NAME>::instance(bool create) {
    Slot<T>& place = slot<T, NAME>();
    const std::lock_guard<std::mutex> lock(place.mutex);
    if (place.object.isNull() && create) {
        place.object = CFiSmartPtr<T>(new T);
    }
    return place.object;
}

template <class T, EFiPlugin NAME>
void CFiContextSingleton<T, NAME>::registerInstance(const CFiSmartPtr<T>& object) {
    Slot<T>& place = slot<T, NAME>();
    // The former object goes when the lock is free again: its end may ask for the instance.
    CFiSmartPtr<T> exchanged(object);
    const std::lock_guard<std::mutex> lock(place.mutex);
    std::swap(place.object, exchanged);
}

template class CFiContextSingleton<CFiTraceLog, FI_PGN_NAME>;

}  // namespace qzfi_pdk_4_4
