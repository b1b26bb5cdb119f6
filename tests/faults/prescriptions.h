#ifndef SCSITOOL_TESTS_FAULTS_PRESCRIPTIONS_H
#define SCSITOOL_TESTS_FAULTS_PRESCRIPTIONS_H

#include <set>
#include <string>

#include "answer.h"
#include "fault.h"
#include "operations.h"

namespace faults {

/// What an answer that was given while something failed has that it may not have, beside the answer
/// without a fault; empty when it is as the interface says.
std::string wrongIn(const Answer& answer, const Answer& sound, const Fault& fault,
                    const Operation& operation);

/// Gives an answer the UDIDs that are known of its host, and those that it tells to the ones behind
/// it: the first operation on a host enumerates its devices, the first command tells the last
/// known.
void tellUdids(Answer& answer, std::set<std::string>& udids);

}  // namespace faults

#endif
