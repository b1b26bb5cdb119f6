#ifndef SCSITOOL_RECORDING_EFFECTS_APPEND_FORECAST_H
#define SCSITOOL_RECORDING_EFFECTS_APPEND_FORECAST_H

#include <string>

#include "scsitool/host/host.h"

namespace recording {

/// The errno that an append to a path would end in before anything is written (its `openError`), 0
/// when the file would open: told from what the path is and from the rights, without opening it. An
/// open for writing is no read, and a device node takes it for more than a look.
int forecastAppend(host::Host& host, const std::string& path);

}  // namespace recording

#endif
