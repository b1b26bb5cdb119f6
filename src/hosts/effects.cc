// The hosts that journal effects, carried out or not.
#include <utility>

#include "hosts/journal_inside.h"
#include "recording/effects/dry_run_host.h"
#include "recording/effects/journaling_host.h"
#include "scsitool/hosts/dry_run_host.h"
#include "scsitool/hosts/journaling_host.h"

namespace hosts {

class [[gnu::visibility("hidden")]] DryRunHost::Inside : public recording::DryRunHost {
    using recording::DryRunHost::DryRunHost;
};

DryRunHost::DryRunHost(std::unique_ptr<Inside> inside)
    : ForwardingHost(*inside), m_inside(std::move(inside)) {}

DryRunHost::DryRunHost(host::Host& inner, Journal& journal)
    : DryRunHost(std::make_unique<Inside>(inner, *journal.m_inside)) {}

DryRunHost::~DryRunHost() = default;

class [[gnu::visibility("hidden")]] JournalingHost::Inside : public recording::JournalingHost {
    using recording::JournalingHost::JournalingHost;
};

JournalingHost::JournalingHost(std::unique_ptr<Inside> inside)
    : ForwardingHost(*inside), m_inside(std::move(inside)) {}

JournalingHost::JournalingHost(host::Host& inner, Journal& journal)
    : JournalingHost(std::make_unique<Inside>(inner, *journal.m_inside)) {}

JournalingHost::~JournalingHost() = default;

}  // namespace hosts
