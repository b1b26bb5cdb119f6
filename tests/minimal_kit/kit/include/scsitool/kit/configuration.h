#ifndef MINIMAL_KIT_CONFIGURATION_H
#define MINIMAL_KIT_CONFIGURATION_H

#include <string>

namespace qzfi_pdk_4_4 {

/// Holds nothing: every setting keeps its default.
class CFiConfiguration {
  public:
    int importConfig(const std::string& /*directory*/, const std::string& /*file*/) { return 6; }
    int openSection(const std::string& /*name*/, int /*create*/) { return 6; }
    int getIntegerValue(const std::string& /*key*/, unsigned int& /*value*/) { return 6; }
};

class CFiConfigurationPathTool {
  public:
    static void getConfigFileInfo(const std::string& /*name*/, std::string& /*directory*/,
                                  std::string& /*file*/) {}
};

}  // namespace qzfi_pdk_4_4

#endif
