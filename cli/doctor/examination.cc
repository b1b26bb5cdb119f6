#include "cli/doctor/examination.h"

#include "cli/doctor/abilities.h"
#include "cli/doctor/survey.h"

namespace cli::doctor {

Examination examine(const HostView& view, bool isRoot) {
    const Survey seen = survey(view);
    Abilities abilities(view, seen, isRoot);
    abilities.tryAll();
    Examination result;
    result.abilities = abilities.list();
    result.findings = abilities.findings();
    result.untold = seen.untold;
    sortFindings(result.findings);
    return result;
}

}  // namespace cli::doctor
