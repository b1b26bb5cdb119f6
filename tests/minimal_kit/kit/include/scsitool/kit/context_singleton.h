#ifndef MINIMAL_KIT_CONTEXT_SINGLETON_H
#define MINIMAL_KIT_CONTEXT_SINGLETON_H

#include "scsitool/kit/smart_ptr.h"

namespace qzfi_pdk_4_4 {

inline constexpr char FI_PGN_NAME[] = "devicefi";

template <class T, const char* NAME>
class CFiContextSingleton {
  public:
    static CFiSmartPtr<T> instance(bool /*create*/) { return CFiSmartPtr<T>(); }
};

}  // namespace qzfi_pdk_4_4

#endif
