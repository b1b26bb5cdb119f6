#ifndef SCSITOOL_CLI_PRUNE_PRUNING_H
#define SCSITOOL_CLI_PRUNE_PRUNING_H

#include <optional>
#include <string>
#include <vector>

#include "cli/common/context.h"
#include "cli/prune/look.h"

namespace cli::prune {

/// What became of something that is gone or stale.
enum class Outcome {
    kDone,     ///< removed or flushed; in a dry run that would be done
    kRefused,  ///< the guard refused it
    kFailed,   ///< it was tried in vain
    kStays,    ///< right before the removal the verdict was another one
};

/// A disk or map that is gone or stale.
struct Row {
    std::string device;                                    ///< node, address or /dev/mapper/NAME
    std::optional<recording::guard::ScsiAddress> address;  ///< none for a map
    Verdict verdict;
    std::vector<std::string> users;
    Outcome outcome = Outcome::kDone;
    std::string message;  ///< why, for kFailed and kStays
};

/// Something that could not be told to be gone or not; it stays.
struct Untold {
    std::string device;
    std::string reason;
};

/// Finds what is gone or stale and removes it, one by one: first the maps without a path, so that
/// they let go of their disks, then the disks. For one run.
class Pruning {
  public:
    explicit Pruning(Context& context)
        : m_context(context), m_view{context.hosts.aside(), !context.isLive()} {}

    /// Looks at all disks and maps; nothing is done yet.
    void look();
    /// Removes what `look` found. Right before each removal the verdict is taken again.
    void remove();

    const std::vector<Row>& rows() const { return m_rows; }
    const std::vector<Untold>& untold() const { return m_untold; }
    /// The number of disks that the kernel has.
    std::size_t disks() const { return m_disks; }

  private:
    void lookAtDisks();
    void lookAtMaps();
    void enter(Row row);
    void removeDisk(Row& row);
    void flushMap(Row& row);
    bool staysByNow(Row& row, const Verdict& verdict);
    bool isRefused(Row& row, std::size_t refusalsBefore) const;

    Context& m_context;
    View m_view;
    std::vector<Row> m_rows;
    std::vector<Untold> m_untold;
    std::size_t m_disks = 0;
};

}  // namespace cli::prune

#endif
