#include <cstring>
#include <utility>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/common/acting.h"
#include "cli/common/command.h"
#include "cli/common/refusals.h"
#include "cli/common/script_arguments.h"
#include "cli/names/resolver.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

constexpr const char* kMapper = "/dev/mapper/";

// The name of a map; empty for a path that the library leaves alone. A path that only has the
// folder somewhere in it would reach dmsetup, and with it what dmsetup makes of it.
std::string mapNameOf(const std::string& path) {
    requirePlainWord("path", path);
    const std::size_t at = path.find(kMapper);
    if (at == std::string::npos) {
        return {};
    }
    const std::string name = path.substr(std::strlen(kMapper));
    if (at != 0 || name.empty() || name.find('/') != std::string::npos || name[0] == '.') {
        throw UsageError("path '" + path + "' is no map: expected /dev/mapper/NAME");
    }
    return name;
}

class Remove : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand("remove", "Remove a device-mapper map");
        app->add_option("PATH", m_path, "/dev/mapper/NAME, or another name of one map")->required();
        m_force.declare(*app);
        return app;
    }

    Report run(Context& context) override {
        requirePlainWord("path", m_path);
        const std::string word = std::exchange(m_path, names::mapNamed(context, m_path));
        const std::string mapName = mapNameOf(m_path);
        m_force.apply(context);
        CUDIDFactory factory;
        context.traceInto(factory);
        factory.removeDevice(m_path);
        Report report;
        report.data["name"] = jsonText(m_path);
        if (word != m_path) {
            report.text = visible(word) + " is " + visible(m_path) + "\n";
        }
        addEffects(report, context);
        report.failure = mapName.empty()
                             ? m_path +
                                   ": only maps under /dev/mapper are removed by their path; "
                                   "for a disk use 'scsitool remove-address'"
                             : failedCommand(context);
        return report;
    }

  private:
    std::string m_path;
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeRemove() {
    return std::make_unique<Remove>();
}

}  // namespace cli
