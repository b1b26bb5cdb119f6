// Each allocation of every operation and command fails in turn, on samples with
// few disks. What holds: nothing is thrown but std::bad_alloc, and that by no
// call that promises to throw nothing; no descriptor stays open, the rescan
// lock is free again, nothing is done to the host that a run without a failure
// does not do, and a command that ends with exit status 0 has shown and done
// all. The leak sanitizer, where it is built in, looks at the memory of the
// library's operations.
//
// A command runs in a process of its own: a JSON value allocates to be
// destroyed, and its library ends the process when it cannot. That is counted,
// and no promise.
//
//     failing_allocations [--all | --faults N] FOLDER
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "allocation_failure.h"
#include "arguments.h"
#include "effects.h"
#include "operations.h"
#include "prescriptions.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "sample.h"
#include "spared_host.h"

namespace {

using faults::Operation;
using faults::Sample;

// An ordinary server, a path that is dead, a LUN that was withdrawn.
const std::set<std::string> kSamples = {"plain-server", "sick-dead-path", "sick-withdrawn-lun"};

// What one run left.
struct Outcome {
    faults::Answer answer;
    faults::Fault failed;
    std::size_t allocations = 0;
    bool isOurs = false;  // it was an allocation of the test that failed
    std::string wrong;    // empty when all holds
};

bool isCommand(const Operation& operation) {
    return operation.name.compare(0, std::strlen(faults::kCommand), faults::kCommand) == 0;
}

// Runs an operation; the allocation of this number fails, from 1, and 0 for none.
Outcome run(const Sample& sample, const Operation& operation, std::size_t number) {
    recording::Journal journal;
    recording::RecordedHost host(journal, sample.tree);
    Outcome outcome;
    {
        test::SparedHost spared(host);
        const host::Scope scope(spared);
        faults::Answering answering([] { return test::AllocationFailure::happened(); },
                                    outcome.answer);
        const test::AllocationFailure failure(number - 1);
        const std::size_t first = test::allocations();
        try {
            operation.run(answering, sample.disk);
        } catch (const std::bad_alloc&) {
            outcome.isOurs = true;
        } catch (...) {
            outcome.wrong = "; something else than std::bad_alloc was thrown";
        }
        outcome.allocations = test::allocations() - first;
    }
    if (test::AllocationFailure::happened()) {
        outcome.failed = {faults::kAllocation, std::to_string(number), 0, true};
    }
    outcome.answer.effects = faults::effectsOf(journal);
    // Those of a command are closed when it ends.
    if (host.openDescriptors() != 0 && !isCommand(operation)) {
        outcome.wrong += "; a descriptor is open";
    }
    if (!faults::isLockFree(host)) {
        outcome.wrong += "; the lock is held";
    }
    return outcome;
}

constexpr int kHeld = 0;
constexpr int kBroke = 1;
constexpr int kTerminated = 42;

// Gives what `judge` gives in a process of its own, or `kTerminated`.
template <class Judge>
int inProcess(Judge judge) {
    std::cout << std::flush;
    const pid_t child = ::fork();
    if (child == 0) {
        std::set_terminate([] { ::_exit(kTerminated); });
        const int held = judge();
        std::cout << std::flush;
        ::_exit(held);
    }
    int status = 0;
    const bool hasEnded = child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status);
    return hasEnded ? WEXITSTATUS(status) : kBroke;
}

// Every allocation of every operation on every sample.
class Matrix {
  public:
    explicit Matrix(const std::vector<Sample>& samples) {
        for (const Sample& sample : samples) {
            std::set<std::string> udids;
            for (const Operation& operation : faults::operations()) {
                run(sample, operation, 0);  // what is made once is made
                Row row = {sample, operation, run(sample, operation, 0)};
                faults::tellUdids(row.sound.answer, udids);
                m_size += row.sound.allocations;
                count(judge(row, row.sound));
                m_rows.push_back(std::move(row));
            }
        }
    }

    std::size_t size() const { return m_size; }

    // Has every that manieth allocation fail. Tells whether all held.
    bool tryEach(std::size_t stride) {
        std::size_t tried = 0;
        std::size_t number = 0;
        for (const Row& row : m_rows) {
            for (std::size_t one = 1; one <= row.sound.allocations; ++one) {
                if (number++ % stride == 0) {
                    tryOne(row, one);
                    ++tried;
                }
            }
        }
        std::cout << "failing allocations: " << m_rows.size() << " operations on samples, "
                  << m_size << " allocations, " << tried << " failed, " << m_terminated
                  << " of them in a JSON value's end, " << m_wrong << " broke a promise\n";
        return m_wrong == 0 && tried > 0;
    }

  private:
    struct Row {
        const Sample& sample;
        Operation operation;
        Outcome sound;
    };

    void tryOne(const Row& row, std::size_t number) {
        const auto judgeIt = [&] { return judge(row, run(row.sample, row.operation, number)); };
        const int end = isCommand(row.operation) ? inProcess(judgeIt) : judgeIt();
        if (end == kBroke) {
            std::cout << "that was allocation " << number << " in " << row.operation.name << " of "
                      << row.sample.name << std::endl;
        }
        count(end);
    }

    void count(int end) {
        m_terminated += end == kTerminated ? 1U : 0U;
        m_wrong += end == kBroke ? 1U : 0U;
    }

    static int judge(const Row& row, const Outcome& outcome) {
        if (outcome.isOurs) {
            return kHeld;
        }
        const std::string wrong = outcome.wrong + faults::wrongIn(outcome.answer, row.sound.answer,
                                                                  outcome.failed, row.operation);
        if (!wrong.empty()) {
            std::cout << row.sample.name << ", " << row.operation.name << ", "
                      << faults::textOf(outcome.failed) << ": " << wrong << "\n";
        }
        return wrong.empty() ? kHeld : kBroke;
    }

    std::vector<Row> m_rows;
    std::size_t m_size = 0;
    std::size_t m_wrong = 0;
    std::size_t m_terminated = 0;
};

}  // namespace

int main(int argc, char** argv) {
    constexpr std::size_t kFaults = 500;
    const auto arguments = faults::readArguments(argc, argv, "failing_allocations", kFaults);
    if (!arguments) {
        return 2;
    }
    std::vector<Sample> samples;
    for (Sample& sample : faults::samplesIn(arguments->folder)) {
        if (kSamples.count(sample.name) != 0) {
            samples.push_back(std::move(sample));
        }
    }
    if (samples.size() != kSamples.size()) {
        std::cerr << "failing_allocations: not all samples are in " << arguments->folder << "\n";
        return 2;
    }
    Matrix matrix(samples);
    return matrix.tryEach(arguments->most == 0 ? 1 : matrix.size() / arguments->most + 1) ? 0 : 1;
}
