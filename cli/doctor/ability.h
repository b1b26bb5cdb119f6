#ifndef SCSITOOL_CLI_DOCTOR_ABILITY_H
#define SCSITOOL_CLI_DOCTOR_ABILITY_H

#include <string>
#include <utility>

namespace cli::doctor {

/// Something that the tool can do, and whether it does on this host.
struct Ability {
    enum class State {
        kWorks,
        kDoesNot,
        kUntold,  ///< the recording has no answer, or there is nothing to try it on
    };
    std::string name;
    State state = State::kWorks;
    std::string missing;  ///< what is missing, or why it cannot be told; empty when it works
    std::string remedy;   ///< what brings it; empty when there is nothing to be done

    void lack(std::string what, std::string howToGetIt) {
        state = State::kDoesNot;
        missing = std::move(what);
        remedy = std::move(howToGetIt);
    }
    void leaveUntold(std::string why) {
        state = State::kUntold;
        missing = std::move(why);
    }
};

}  // namespace cli::doctor

#endif
