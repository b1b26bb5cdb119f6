#ifndef SCSITOOL_UDID_GENERATOR_LIST_H
#define SCSITOOL_UDID_GENERATOR_LIST_H

#include <vector>

#include "scsitool/udid/device_udid_generator.h"

namespace udid {

/// New generators of every array family in the order in which they are asked. The first that
/// claims a device wins, so the specific ones come first and the one that claims everything last.
std::vector<CUdidGenerator*> createGenerators();

}  // namespace udid

#endif
