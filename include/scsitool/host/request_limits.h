#ifndef SCSITOOL_HOST_REQUEST_LIMITS_H
#define SCSITOOL_HOST_REQUEST_LIMITS_H

#include "scsitool/host/host.h"

/// What every implementation of `Host` refuses before it sends anything. Pure and safe for any
/// number of threads.
namespace host {

/// 0, or -EINVAL when the kernel would read or write behind the buffer: it takes the input length
/// from behind the command descriptor block, and it hands back the whole output length.
SCSITOOL_EXPORT int checkRequest(const CommandBuffer& buffer);

/// 0, or -EINVAL when the sizes are beyond those that SgIoRequest states.
SCSITOOL_EXPORT int checkRequest(const SgIoRequest& request);

}  // namespace host

#endif
