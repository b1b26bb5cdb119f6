#ifndef SCSITOOL_CLI_DOCTOR_DOCTOR_TEXT_H
#define SCSITOOL_CLI_DOCTOR_DOCTOR_TEXT_H

#include <string>
#include <vector>

#include "cli/doctor/examination.h"
#include "cli/output/report.h"
#include "cli/output/table.h"

namespace cli::doctor {

/// The members "abilities" and "findings" of the JSON document.
Json abilitiesJson(const std::vector<Ability>& abilities);
Json findingsJson(const std::vector<Finding>& findings);

/// What works here, a line an ability.
std::string abilitiesText(const std::vector<Ability>& abilities, const Layout& layout);
/// What was found, the findings of one kind together.
std::string findingsText(const std::vector<Finding>& findings, const Layout& layout);
/// "found 1 error and 2 warnings"; empty without findings.
std::string summary(const std::vector<Finding>& findings);

}  // namespace cli::doctor

#endif
