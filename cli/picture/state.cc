#include "cli/picture/state.h"

#include <cerrno>
#include <optional>

#include "cli/base/text.h"

namespace cli::picture {
namespace {

using recording::guard::Answer;
using recording::guard::isNoDevice;

// Without a deadline it is the kernel that gave up.
State noAnswerIn(unsigned deadline) {
    const std::string time = deadline == 0 ? "time" : std::to_string(deadline) + " s";
    return {Condition::kNoAnswer, "no answer in " + time};
}

// What the kernel's word alone decides, whatever the device said before.
std::optional<State> givenUp(const std::string& state) {
    if (state == "offline" || state == "transport-offline") {
        return State{Condition::kOffline, "offline"};
    }
    if (state == "cancel" || state == "deleted") {
        return State{Condition::kGone, "gone"};
    }
    return std::nullopt;
}

// In these states the kernel lets commands wait.
bool isHeldBack(const std::string& state) {
    return state == "blocked" || state == "created-blocked" || state == "quiesce";
}

State notOpened(int error, unsigned deadline) {
    if (error == -ETIMEDOUT) {
        return noAnswerIn(deadline);
    }
    return isNoDevice(error)
               ? State{Condition::kGone, "gone"}
               : State{Condition::kNotOpened, "cannot be opened: " + errorText(error)};
}

State notAnswered(const SeenAnswer& seen, unsigned deadline) {
    if (seen.inquiryResult == -ETIMEDOUT) {
        return noAnswerIn(deadline);
    }
    if (seen.answer.kind == Answer::Kind::kGone) {
        return {Condition::kGone, "gone"};
    }
    const int result = seen.inquiryResult.value_or(0);
    return {Condition::kNoAnswer,
            "no answer: " + (result < 0 ? errorText(result) : seen.answer.why)};
}

State answeredInPart(const SeenAnswer& seen, unsigned deadline) {
    if (seen.laterError == -ETIMEDOUT) {
        return noAnswerIn(deadline);
    }
    const std::string why = seen.laterError != 0 ? errorText(seen.laterError) : seen.missingPage;
    return {Condition::kInPart, "answered in part: " + why};
}

State answered(const std::string& accessState) {
    const bool isStandby = accessState == "standby" || accessState == "unavailable";
    return isStandby ? State{Condition::kStandby, "standby"} : State();
}

}  // namespace

State stateOf(const SeenAnswer& seen, const KernelState& kernel, unsigned deadline) {
    if (const auto known = givenUp(kernel.state)) {
        return *known;
    }
    if (!seen.openResult) {
        return {Condition::kNotAsked, "not asked"};
    }
    State state = answered(kernel.accessState);
    if (*seen.openResult != 0) {
        state = notOpened(*seen.openResult, deadline);
    } else if (seen.answer.kind == Answer::Kind::kConnected &&
               (seen.laterError != 0 || !seen.missingPage.empty())) {
        state = answeredInPart(seen, deadline);
    } else if (seen.inquiryResult && seen.answer.kind != Answer::Kind::kConnected) {
        state = notAnswered(seen, deadline);
    }
    if (state.condition == Condition::kNoAnswer && isHeldBack(kernel.state)) {
        return {Condition::kBlocked, "blocked"};
    }
    return state;
}

bool isAnswering(Condition condition) {
    return condition == Condition::kOk || condition == Condition::kStandby ||
           condition == Condition::kNoScsi;
}

}  // namespace cli::picture
