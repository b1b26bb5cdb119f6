#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_PROCESSES_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_PROCESSES_H

#include <optional>
#include <string>
#include <vector>

#include "recording/guard/kernel/evidence.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace recording::guard {

/// A node that a process has open for writing.
struct Writer {
    std::string process;
    std::string command;        ///< empty when it was not told
    std::string node;           ///< as the process knows it
    host::DeviceNumber number;  ///< kNone where a recorded host does not tell it
};

/// What the processes of a host have mounted and open. Each table is read once, when it is first
/// asked for. A process that ends meanwhile uses nothing any more.
class Processes {
  public:
    /// The evidence must outlive the object.
    explicit Processes(Evidence& evidence) : m_evidence(evidence) {}

    /// The mounts of every mount namespace that a process is in.
    const std::vector<Mount>& mounts();
    /// What is looked at of what processes have open.
    enum class Look {
        kAll,      ///< whatever path it has: a node may lie anywhere in a container
        kDevOnly,  ///< only what lies below /dev, which spares the rest of many thousand files
    };
    /// Nodes that another process has open for writing. As the first call has it.
    const std::vector<Writer>& writers(Look look = Look::kAll);

  private:
    std::vector<std::string> others();
    bool isGone(const std::string& process);
    std::optional<std::string> fileOf(const std::string& process, const std::string& name);
    void addMountsOf(const std::string& process);
    void addWritersOf(const std::string& process, Look look);
    void addIfWriter(const std::string& process, const std::string& descriptor, Look look);

    Evidence& m_evidence;
    std::optional<std::vector<Mount>> m_mounts;
    std::optional<std::vector<Writer>> m_writers;
};

}  // namespace recording::guard

#endif
