#ifndef SCSITOOL_HOST_NOTED_OPEN_H
#define SCSITOOL_HOST_NOTED_OPEN_H

#include "scsitool/host/host.h"

namespace host {

/// Has a host that looks on note what it saw of an open, and gives the open's result. Where there
/// is no memory for the note the device is closed again: nobody else has its descriptor.
template <class Note>
int notedOpen(Host& inner, int descriptor, const Note& note) {
    try {
        note();
        return descriptor;
    } catch (...) {
        if (descriptor >= 0) {
            inner.closeDevice(descriptor);
        }
        throw;
    }
}

}  // namespace host

#endif
