#include "scsitool/hosts/guarded_host.h"

#include <utility>

#include "recording/guard/guarded_host.h"

namespace hosts {
namespace {

recording::Silence meaningOf(GuardedHost::Silence silence) {
    return silence == GuardedHost::Silence::kIsNoEvidence ? recording::Silence::kIsNoEvidence
                                                          : recording::Silence::kIsRefusal;
}

std::vector<Refusal> published(const std::vector<recording::Refusal>& refusals) {
    std::vector<Refusal> result;
    result.reserve(refusals.size());
    for (const recording::Refusal& refusal : refusals) {
        result.push_back({refusal.device, refusal.reason, refusal.risk});
    }
    return result;
}

}  // namespace

class [[gnu::visibility("hidden")]] GuardedHost::Inside : public recording::GuardedHost {
    using recording::GuardedHost::GuardedHost;
};

GuardedHost::GuardedHost(std::unique_ptr<Inside> inside)
    : ForwardingHost(*inside), m_inside(std::move(inside)) {}

GuardedHost::GuardedHost(host::Host& inner, host::Host& questions, Silence silence)
    : GuardedHost(std::make_unique<Inside>(
          inner, [&questions]() -> host::Host& { return questions; }, meaningOf(silence))) {}

GuardedHost::~GuardedHost() = default;

void GuardedHost::setPurpose(Purpose purpose) {
    m_inside->setPurpose(purpose == Purpose::kOnlyDead ? recording::GuardedHost::Purpose::kOnlyDead
                                                       : recording::GuardedHost::Purpose::kNamed);
}

std::vector<Refusal> GuardedHost::refusals() const {
    return published(m_inside->refusals());
}

std::vector<Refusal> GuardedHost::kept() const {
    return published(m_inside->kept());
}

}  // namespace hosts
