#ifndef SCSITOOL_HOST_RETRYING_H
#define SCSITOOL_HOST_RETRYING_H

namespace host {

/// Tells, right after a system call, whether it was interrupted by a signal that has nothing to do
/// with what the library is doing. One that asks to end is an error of the call.
bool mayRetry(long result);

}  // namespace host

#endif
