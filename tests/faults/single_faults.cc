// Each call at the seam fails in turn, in each way it can, in every operation of the library and in
// commands on every sample. What holds: nothing is thrown but what is promised, no descriptor stays
// open, the rescan lock is free again, and nothing is done to the host that a run without the fault
// does not do. The sanitizers, where they are built in, look at the memory.
//
//     single_faults [--all | --faults N] FOLDER
#include <cstdint>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "arguments.h"
#include "effects.h"
#include "fault_host.h"
#include "operations.h"
#include "prescriptions.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "sample.h"

namespace {

using faults::FaultHost;
using faults::Operation;
using faults::Sample;

// What one run left.
struct Outcome {
    std::vector<std::size_t> ways;
    faults::Answer answer;
    faults::Fault failed;
    std::string wrong;  // empty when all holds
};

Outcome run(const Sample& sample, const Operation& operation, std::size_t call, std::size_t way) {
    recording::Journal journal;
    recording::RecordedHost recorded(journal, sample.tree);
    FaultHost host(recorded);
    host.failAt(call, way);
    Outcome outcome;
    {
        const host::Scope scope(host);
        faults::Answering answering([&] { return host.failed().happened(); }, outcome.answer);
        operation.run(answering, sample.disk);
    }
    outcome.ways = host.ways();
    outcome.answer.effects = faults::effectsOf(journal);
    outcome.failed = host.failed();
    if (host.openDescriptors() != 0 || recorded.openDescriptors() != 0) {
        outcome.wrong += "; a descriptor is open";
    }
    if (!host.hasFailedRelease() && !faults::isLockFree(recorded)) {
        outcome.wrong += "; the lock is held";
    }
    return outcome;
}

// Which faults a sample of the matrix has hangs by themselves alone (FNV-1a): one call more in an
// operation leaves those of all others as they are.
std::size_t hashOf(const Sample& sample, const Operation& operation, std::size_t call,
                   std::size_t way) {
    std::uint64_t hash = 14695981039346656037U;
    for (const char letter : sample.name + "," + operation.name + "," + std::to_string(call) + "," +
                                 std::to_string(way)) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 1099511628211U;
    }
    return hash ^ (hash >> 32U);
}

// Every fault of every operation on every sample.
class Matrix {
  public:
    explicit Matrix(const std::vector<Sample>& samples) {
        for (const Sample& sample : samples) {
            std::set<std::string> udids;
            for (const Operation& operation : faults::operations()) {
                Row row = {sample, operation, run(sample, operation, 0, 0)};
                faults::tellUdids(row.sound.answer, udids);
                for (const std::size_t ways : row.sound.ways) {
                    m_size += ways;
                }
                judge(row, row.sound);
                m_rows.push_back(std::move(row));
            }
        }
    }

    std::size_t size() const { return m_size; }

    // Tries one of that many faults. Tells whether all held.
    bool tryEach(std::size_t stride) {
        std::size_t tried = 0;
        for (const Row& row : m_rows) {
            for (std::size_t call = 1; call <= row.sound.ways.size(); ++call) {
                for (std::size_t way = 0; way < row.sound.ways[call - 1]; ++way) {
                    if (hashOf(row.sample, row.operation, call, way) % stride == 0) {
                        judge(row, run(row.sample, row.operation, call, way));
                        ++tried;
                    }
                }
            }
        }
        std::cout << "single faults: " << m_rows.size() << " operations on samples, " << m_size
                  << " faults, " << tried << " tried, " << m_wrong << " broke a promise\n";
        return m_wrong == 0 && tried > 0;
    }

  private:
    struct Row {
        const Sample& sample;
        Operation operation;
        Outcome sound;
    };

    void judge(const Row& row, const Outcome& outcome) {
        const std::string wrong = outcome.wrong + faults::wrongIn(outcome.answer, row.sound.answer,
                                                                  outcome.failed, row.operation);
        if (!wrong.empty()) {
            ++m_wrong;
            std::cout << row.sample.name << ", " << row.operation.name << ", "
                      << faults::textOf(outcome.failed) << ": " << wrong << "\n";
            for (const std::string& line : outcome.answer.said) {
                std::cout << "    it said: " << line << "\n";
            }
        }
    }

    std::vector<Row> m_rows;
    std::size_t m_size = 0;
    std::size_t m_wrong = 0;
};

}  // namespace

int main(int argc, char** argv) {
    constexpr std::size_t kFaults = 2000;
    const auto arguments = faults::readArguments(argc, argv, "single_faults", kFaults);
    if (!arguments) {
        return 2;
    }
    const std::vector<Sample> samples = faults::samplesIn(arguments->folder);
    if (samples.empty()) {
        std::cerr << "single_faults: no sample in " << arguments->folder << "\n";
        return 2;
    }
    Matrix matrix(samples);
    std::size_t stride = 1;  // a power of two: it stays when the matrix grows a little
    while (arguments->most != 0 && matrix.size() / stride > arguments->most) {
        stride *= 2;
    }
    return matrix.tryEach(stride) ? 0 : 1;
}
