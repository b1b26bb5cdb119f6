#include "cli/doctor/examination.h"

#include "cli/doctor/abilities.h"
#include "cli/doctor/device_findings.h"
#include "cli/doctor/survey.h"

namespace cli::doctor {

Examination examine(const HostView& view, bool isRoot, unsigned deadline) {
    const Survey seen = survey(view, deadline);
    Abilities abilities(view, seen, isRoot);
    abilities.tryAll();
    Examination result;
    result.abilities = abilities.list();
    result.findings = abilities.findings();
    addDiskFindings(view, seen, result.findings);
    addMapFindings(seen, result.findings);
    addContradictions(seen, result.findings);
    result.findings.insert(result.findings.end(), seen.identities.begin(), seen.identities.end());
    result.untold = seen.untold;
    sortFindings(result.findings);
    return result;
}

}  // namespace cli::doctor
