#ifndef SCSITOOL_CLI_MAILED_PAGE_KIND_H
#define SCSITOOL_CLI_MAILED_PAGE_KIND_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace cli::mailed {

/// An answer to INQUIRY that was found in bytes.
struct FoundPage {
    bool isStandard = false;  ///< standard INQUIRY data, else a VPD page
    std::uint8_t code = 0;    ///< of a VPD page
    std::vector<std::uint8_t> bytes;
};

/// The pages at the beginning of bytes, one behind the other, each as long as it says or as the
/// bytes go; what is behind them and is no page is counted in `rest`. Zeros there are padding.
struct FoundPages {
    std::vector<FoundPage> pages;
    std::size_t rest = 0;
};
FoundPages pagesIn(const std::vector<std::uint8_t>& bytes);

}  // namespace cli::mailed

#endif
