#ifndef SCSITOOL_CLI_COMMON_FACTORY_OPTIONS_H
#define SCSITOOL_CLI_COMMON_FACTORY_OPTIONS_H

#include <CLI/CLI.hpp>
#include <string>

#include "cli/common/context.h"
#include "cli/output/report.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {

/// The options that set a factory up.
class FactoryOptions {
  public:
    void declare(CLI::App& command);
    /// Throws UsageError for a preset file that is no JSON object of texts.
    void apply(CUDIDFactory& factory) const;

  private:
    bool m_taq = false;
    std::string m_presetFile;
};

/// The device map as the member "devices".
Json devicesJson(const DeviceMap& devices);

}  // namespace cli

#endif
