#ifndef SCSITOOL_KIT_CONTEXT_SINGLETON_H
#define SCSITOOL_KIT_CONTEXT_SINGLETON_H

#include "scsitool/host/export.h"
#include "scsitool/kit/smart_ptr.h"
#include "scsitool/kit/trace_log.h"

namespace qzfi_pdk_4_4 {

/// The plug-ins whose process-wide objects are kept apart. Numbers and no texts: every compiler
/// then gives the class below the same symbols.
enum SCSITOOL_EXPORT EFiPlugin {
    FI_PGN_NAME = 1,  ///< "devicefi"
};

/// The process-wide object of type T for the plug-in NAME. Safe for any number of threads.
template <class T, EFiPlugin NAME>
class SCSITOOL_EXPORT CFiContextSingleton {
  public:
    /// The registered object. Without one: a new one when `create` is set, else a null pointer.
    static CFiSmartPtr<T> instance(bool create);
    /// Puts an object in place; a null pointer takes the present one away.
    static void registerInstance(const CFiSmartPtr<T>& object);
};

// One copy of the object for the process: only the library instantiates the class.
extern template class CFiContextSingleton<CFiTraceLog, FI_PGN_NAME>;

}  // namespace qzfi_pdk_4_4

#endif
