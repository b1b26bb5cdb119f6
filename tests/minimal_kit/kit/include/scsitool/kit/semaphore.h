#ifndef MINIMAL_KIT_SEMAPHORE_H
#define MINIMAL_KIT_SEMAPHORE_H

namespace qzfi_pdk_4_4 {

/// Excludes nobody.
class CFiSemaphoreLinux {
  public:
    CFiSemaphoreLinux(int /*key*/, int /*count*/, int /*flags*/) {}
};

class CFiSemaphoreLockFunction {
  public:
    explicit CFiSemaphoreLockFunction(CFiSemaphoreLinux& /*semaphore*/) {}
    ~CFiSemaphoreLockFunction() {}
};

}  // namespace qzfi_pdk_4_4

#endif
