// The plug-in as its caller runs it: the disks on standard output, a line for people and the trace
// on standard error, its own result as exit status.
#include <cstdio>

#include "disks.h"

namespace {

class StandardError : public qzfi_pdk_4_4::CFiTraceSink {
  public:
    void write(int level, const std::string& message) override {
        std::fprintf(stderr, "[%d] %s\n", level, message.c_str());
    }
};

}  // namespace

int main() {
    constexpr int kWarnings = 2;
    const plugin::Disks disks = plugin::findDisks(std::make_shared<StandardError>(), kWarnings);
    for (const auto& [node, udid] : disks.udids) {
        std::printf("%s\t%s\n", node.c_str(), udid.c_str());
    }
    for (const auto& [node, reason] : disks.without) {
        std::printf("%s\t-\t%s\n", node.c_str(), reason.c_str());
    }
    std::fprintf(stderr, "plugin: %s\n", plugin::explain(disks.result));
    return static_cast<int>(disks.result);
}
