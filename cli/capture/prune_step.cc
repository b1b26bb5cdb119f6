// The step that has prune look at every disk and map.
#include "cli/capture/tour.h"
#include "cli/prune/look.h"

namespace cli {

// As of a live host: every question is asked then.
void askPrune(host::Host& host) {
    const prune::View view{host, false};
    for (const auto& address : prune::findDisks(view).list) {
        prune::lookAtDisk(view, address);
        prune::usersOfDisk(view, address);
    }
    for (const std::string& map : prune::findMaps(view).list) {
        prune::lookAtMap(view, map);
        prune::usersOfMap(view, map);
    }
}

}  // namespace cli
