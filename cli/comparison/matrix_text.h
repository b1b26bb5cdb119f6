#ifndef SCSITOOL_CLI_COMPARISON_MATRIX_TEXT_H
#define SCSITOOL_CLI_COMPARISON_MATRIX_TEXT_H

#include <string>
#include <vector>

#include "cli/comparison/matrix.h"
#include "cli/output/report.h"
#include "cli/output/table.h"

namespace cli::comparison {

using SharedVolumes = std::vector<const SharedVolume*>;

/// One row a volume, one column a host; then who saw volumes that others could not know.
std::string matrixText(const Matrix& matrix, const SharedVolumes& rows, const Layout& layout);

/// The hosts, an object each.
Json hostsJson(const Matrix& matrix);
/// A volume with all who see it.
Json sharedVolumeJson(const Matrix& matrix, const SharedVolume& volume);

}  // namespace cli::comparison

#endif
