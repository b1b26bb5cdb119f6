#ifndef SCSITOOL_CLI_VIEW_FACTS_JSON_H
#define SCSITOOL_CLI_VIEW_FACTS_JSON_H

#include "cli/output/report.h"
#include "cli/view/view.h"

namespace cli::view {

/// The member "volumes": one object a row, with what `picture::volumesJson` says of it.
Json volumesJson(const Rows& rows);

/// Adds to each entry of a list of devices, found by its name, the facts that the views show of it.
void addFacts(Json& devices, const Scene& scene);

/// Takes the entries out of a list of devices that no row is of.
void keepThese(Json& devices, const Scene& scene, const Rows& rows);

}  // namespace cli::view

#endif
