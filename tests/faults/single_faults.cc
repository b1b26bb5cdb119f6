// Each call at the seam fails in turn, in each way it can, in every operation of the library and in
// commands on every sample. What holds: nothing is thrown but what is promised, no descriptor stays
// open, the rescan lock is free again, and nothing is done to the host that a run without the fault
// does not do. The sanitizers, where they are built in, look at the memory.
//
//     single_faults [--all | --faults N] FOLDER
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "fault_host.h"
#include "operations.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "recording/replay/recorded_host_file.h"

namespace {

using faults::FaultHost;
using faults::Operation;
using recording::RecordedTree;

constexpr int kLockKey = 1001;

struct Sample {
    std::string name;
    std::string disk;
    std::shared_ptr<const RecordedTree> tree;
};

// What one run left.
struct Outcome {
    std::vector<std::size_t> ways;
    std::set<std::string> effects;
    std::string failed;
    std::string wrong;  // empty when all holds
};

// What takes nothing away: a pause, a read, what was not in the recording, and whatever has the
// kernel look at addresses; a disk that is there stays.
bool isHarmless(const std::string& kind, const std::string& command, const std::string& data) {
    const bool looks = data.find("scsi add-single-device") == 0 ||
                       command == "/bin/rescan-scsi-bus.sh --alltargets --issue-lip -d" ||
                       command.find("/bin/sg_inq ") == 0;
    return kind == "sleep" || kind == "unanswered" || host::isReadCommand(command) || looks;
}

// The same for commands that do the same: a tool that is not seen in one folder is taken from the
// other, and where there is no multipath a map is taken by dmsetup. Either takes that one map, and
// only when nobody has it open.
std::string deedOf(std::string command) {
    const std::string usr = "/usr";
    const std::string flush = "/sbin/multipath -f ";
    if (command.compare(0, usr.size() + 1, usr + "/") == 0) {
        command.erase(0, usr.size());
    }
    return command.compare(0, flush.size(), flush) == 0
               ? "/sbin/dmsetup remove " + command.substr(flush.size())
               : command;
}

// What an effect does; empty for what is harmless.
std::string effectIn(const std::string& line) {
    const nlohmann::json entry = nlohmann::json::parse(line);
    const std::string kind = entry.value("effect", "");
    const std::string data = entry.value("data", "");
    const std::string command = deedOf(entry.value("command", ""));
    return isHarmless(kind, command, data) ? ""
                                           : kind + " " + command + entry.value("path", "") + data;
}

std::set<std::string> effectsOf(const recording::Journal& journal) {
    std::set<std::string> effects;
    for (const std::string& line : journal.lines()) {
        effects.insert(effectIn(line));
    }
    effects.erase("");
    return effects;
}

bool isLockFree(host::Host& host) {
    const int set = host.openSemaphore(kLockKey, 1, 0666 | 01000);
    return set >= 0 && host.operateSemaphore(set, {{0, false, true}}) == 0;
}

// An operation may throw a number, and hands on that memory ran out.
std::string thrownBy(const Operation& operation, const std::string& disk) {
    try {
        operation.run(disk);
    } catch (int) {
        return "";
    } catch (const std::bad_alloc&) {
        return "";
    } catch (const std::exception& error) {
        return std::string("threw ") + error.what();
    } catch (...) {
        return "threw what nobody knows";
    }
    return "";
}

Outcome run(const Sample& sample, const Operation& operation, std::size_t call, std::size_t way) {
    recording::Journal journal;
    recording::RecordedHost recorded(journal, sample.tree);
    FaultHost host(recorded);
    host.failAt(call, way);
    Outcome outcome;
    {
        const host::Scope scope(host);
        outcome.wrong = thrownBy(operation, sample.disk);
    }
    outcome.ways = host.ways();
    outcome.effects = effectsOf(journal);
    outcome.failed = host.failed();
    if (host.openDescriptors() != 0 || recorded.openDescriptors() != 0) {
        outcome.wrong += "; a descriptor is open";
    }
    if (!host.hasFailedRelease() && !isLockFree(recorded)) {
        outcome.wrong += "; the lock is held";
    }
    return outcome;
}

// Every fault of every operation on every sample.
class Matrix {
  public:
    explicit Matrix(const std::vector<Sample>& samples) {
        for (const Sample& sample : samples) {
            for (const Operation& operation : faults::operations()) {
                Row row = {sample, operation, run(sample, operation, 0, 0)};
                for (const std::size_t ways : row.sound.ways) {
                    m_size += ways;
                }
                judge(row, row.sound);
                m_rows.push_back(std::move(row));
            }
        }
    }

    std::size_t size() const { return m_size; }

    // Tries every that manieth fault. Tells whether all held.
    bool tryEach(std::size_t stride) {
        std::size_t tried = 0;
        std::size_t number = 0;
        for (const Row& row : m_rows) {
            for (std::size_t call = 1; call <= row.sound.ways.size(); ++call) {
                for (std::size_t way = 0; way < row.sound.ways[call - 1]; ++way) {
                    if (number++ % stride == 0) {
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
        std::string wrong = outcome.wrong;
        for (const std::string& effect : outcome.effects) {
            if (row.sound.effects.count(effect) == 0 && !row.operation.takesSilenceForGone) {
                wrong += "; it did " + effect;
            }
        }
        if (!wrong.empty()) {
            ++m_wrong;
            std::cout << row.sample.name << ", " << row.operation.name << ", "
                      << (outcome.failed.empty() ? "no fault" : outcome.failed) << ": " << wrong
                      << "\n";
        }
    }

    std::vector<Row> m_rows;
    std::size_t m_size = 0;
    std::size_t m_wrong = 0;
};

std::vector<Sample> samplesIn(const std::string& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".json") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<Sample> samples;
    for (const std::filesystem::path& file : files) {
        recording::RecordedHostData data = recording::loadRecordedHost(file);
        std::string disk;
        for (const auto& [name, device] : data.devices) {
            if (disk.empty() && device.standardInquiry && device.openError == 0) {
                disk = name;
            }
        }
        samples.push_back(
            {file.stem(), disk, std::make_shared<const RecordedTree>(std::move(data))});
    }
    return samples;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr std::size_t kFaults = 2000;
    std::size_t most = kFaults;
    int at = 1;
    if (argc > at && std::strcmp(argv[at], "--all") == 0) {
        most = 0;
        ++at;
    } else if (argc > at + 1 && std::strcmp(argv[at], "--faults") == 0) {
        most = std::strtoul(argv[at + 1], nullptr, 10);
        at += 2;
    }
    if (argc != at + 1) {
        std::cerr << "usage: single_faults [--all | --faults N] FOLDER\n";
        return 2;
    }
    const std::vector<Sample> samples = samplesIn(argv[at]);
    if (samples.empty()) {
        std::cerr << "single_faults: no sample in " << argv[at] << "\n";
        return 2;
    }
    Matrix matrix(samples);
    const std::size_t stride = most == 0 ? 1 : matrix.size() / most + 1;
    return matrix.tryEach(stride) ? 0 : 1;
}
