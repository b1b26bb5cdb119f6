#include "cli/base/files_apart.h"

#include <string>
#include <utility>
#include <vector>

#include "cli/base/failure.h"
#include "scsitool/host/own_files.h"

namespace cli {

void demandFilesApart(const Options& options) {
    const std::vector<std::pair<std::string, std::string>> files = {
        {"--host", options.hostFile},
        {"--journal", options.journalFile},
        {"--trace-file", options.traceFile},
    };
    for (auto left = files.begin(); left != files.end(); ++left) {
        for (auto right = left + 1; right != files.end(); ++right) {
            // Standard error ("-") takes the lines of both.
            const bool isNamed = !left->second.empty() && !right->second.empty() &&
                                 left->second != "-" && right->second != "-";
            if (isNamed && host::isOneFile(left->second, right->second)) {
                throw UsageError(left->first + " " + left->second + " and " + right->first + " " +
                                 right->second + " are one file; name a file of its own for each");
            }
        }
    }
}

}  // namespace cli
