#ifndef SCSITOOL_CLI_BASE_FAILURE_H
#define SCSITOOL_CLI_BASE_FAILURE_H

#include <exception>
#include <stdexcept>
#include <string>

namespace cli {

/// How the command ends.
enum ExitStatus : int {
    kDone = 0,
    kFailed = 1,         ///< the operation failed or found nothing
    kWrong = 2,          ///< the command line or an input file is wrong
    kPartly = 3,         ///< done, but for what could not be told
    kInterrupted = 128,  ///< this and the number of the signal that ended it
};

/// The operation cannot be carried out: one line that says what, where, and what to do about it.
class OperationError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The command line or an input file is wrong: one line as above.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The line for an exception that nobody foresaw. Its own text alone ("stoi") says nothing to who
/// reads it.
std::string unforeseen(const std::exception& error);

}  // namespace cli

#endif
