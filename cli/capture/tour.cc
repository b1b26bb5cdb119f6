#include "cli/capture/tour.h"

namespace cli {

const std::vector<TourStep>& tourSteps() {
    static const std::vector<TourStep> kSteps = {
        {"library", askLibrary},
        {"nodes", askNodes},
        {"tools", askTools},
        {"tables", askTables},
        {"block devices", askBlockDevices},
        {"SCSI devices", askScsiDevices},
        {"targets", askTargets},
        {"processes", askProcesses},
        {"guard", askGuard},
        {"prune", askPrune},
        {"links", askLinks},
        {"doctor", askDoctor},
    };
    return kSteps;
}

void takeTour(host::Host& host) {
    const host::Scope scope(host);
    for (const TourStep& step : tourSteps()) {
        step.ask(host);
    }
}

}  // namespace cli
