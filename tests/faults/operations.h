#ifndef SCSITOOL_TESTS_FAULTS_OPERATIONS_H
#define SCSITOOL_TESTS_FAULTS_OPERATIONS_H

#include <functional>
#include <string>
#include <vector>

#include "answer.h"

namespace faults {

/// The call that is the command.
constexpr const char* kCommand = "scsitool";

/// One operation of the library or one command, on the current host.
struct Operation {
    std::string name;
    std::function<void(Answering& answering, const std::string& disk)> run;
    /// It takes what it cannot see for gone: a disk that does not open is removed. That is its
    /// interface; whoever does not want it asks the guard.
    bool takesSilenceForGone = false;
};

/// All of the library that ask a host for something, and commands. `disk` is a device node of it.
std::vector<Operation> operations();

}  // namespace faults

#endif
