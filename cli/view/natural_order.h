#ifndef SCSITOOL_CLI_VIEW_NATURAL_ORDER_H
#define SCSITOOL_CLI_VIEW_NATURAL_ORDER_H

#include <string>

namespace cli::view {

/// Tells whether a name goes before another as people count: numbers by their value (2:0:0:9 before
/// 2:0:0:10), and disks and maps that the kernel, multipathd or PowerPath name by letters as these
/// count them: sdz before sdaa, mpathz before mpathaa. A strict weak order.
bool goesBefore(const std::string& left, const std::string& right);

}  // namespace cli::view

#endif
