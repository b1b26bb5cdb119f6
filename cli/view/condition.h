#ifndef SCSITOOL_CLI_VIEW_CONDITION_H
#define SCSITOOL_CLI_VIEW_CONDITION_H

#include <string>

#include "cli/view/column.h"

namespace cli::view {

/// How a row's devices are and what contradicts itself. What holds for all of them stands alone,
/// other things with the devices that they hold for; those that are well are not named.
std::string conditionOf(const Row& row);

/// A UDID marked where it is the last known one, or one of a path: such a one is no identity of the
/// volume. Empty for none.
std::string udidText(const std::string& udid, bool isLastKnown, bool isPathUdid);

/// The UDID with what is to be said of it; empty without one.
std::string identityText(const Row& row);

}  // namespace cli::view

#endif
