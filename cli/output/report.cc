#include "cli/output/report.h"

#include "recording/text/utf8.h"

namespace cli {

Json jsonText(const std::string& text) {
    return recording::toUtf8(text);
}

}  // namespace cli
