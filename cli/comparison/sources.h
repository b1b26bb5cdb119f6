#ifndef SCSITOOL_CLI_COMPARISON_SOURCES_H
#define SCSITOOL_CLI_COMPARISON_SOURCES_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "cli/common/context.h"
#include "cli/comparison/host_volumes.h"
#include "recording/replay/recorded_host_data.h"

namespace cli::comparison {

/// What a comparison is made of, as the command line names it: "live" for the host that the command
/// works on, else a file, "-" for standard input.
class Sources {
  public:
    /// The context must outlive the object.
    explicit Sources(const Context& context) : m_context(context) {}

    /// The hosts that a source tells of, of a recorded host or the live one just this. Throws
    /// UsageError and recording::RecordedHostError.
    std::vector<HostVolumes> read(const std::string& word);
    /// The same of a source that has to tell of one host at one time.
    HostVolumes readOne(const std::string& word);
    /// Reads several sources, two files at a time, each in a process of its own, and calls `use`
    /// for each host in the order of the sources.
    using Use = std::function<void(const HostVolumes& host, const std::string& word)>;
    void readAll(const std::vector<std::string>& words, const Use& use);

    /// What could not be told of the hosts that were enumerated, each with its source in front.
    const std::vector<std::string>& doubts() const { return m_doubts; }

  private:
    std::size_t lanesFor(std::size_t files) const;
    std::string readAside(const std::string& word) const;
    HostVolumes enumerate(const Context& context, const std::string& word);
    HostVolumes replay(recording::RecordedHostData data, const std::string& word);

    const Context& m_context;
    std::vector<std::string> m_doubts;
};

/// The name of the host that a context works on; empty where it is not told.
std::string hostNameOf(const Context& context);
/// When a context's host is seen: now, or empty for a recorded one, which does not say when.
std::string timeOf(const Context& context);

}  // namespace cli::comparison

#endif
