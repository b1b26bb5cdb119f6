#ifndef SCSITOOL_CLI_DOCTOR_ABILITIES_H
#define SCSITOOL_CLI_DOCTOR_ABILITIES_H

#include <vector>

#include "cli/doctor/ability.h"
#include "cli/doctor/finding.h"
#include "cli/doctor/survey.h"

namespace cli::doctor {

/// What the tool can do on this host, in the order in which docs/doctor.md describes it, and a
/// finding for each that is missing and matters here.
class Abilities {
  public:
    /// `isRoot` says whether who asks is root; it counts on a live machine alone. The view and the
    /// survey must outlive the object.
    Abilities(const HostView& view, const Survey& seen, bool isRoot)
        : m_view(view), m_seen(seen), m_isRoot(isRoot) {}

    /// Tries each; nothing is changed on the host.
    void tryAll();

    const std::vector<Ability>& list() const { return m_list; }
    const std::vector<Finding>& findings() const { return m_findings; }

  private:
    /// What is known of a path that an operation asks for.
    enum class Path { kThere, kAbsent, kUntold };

    Path look(const std::string& path) const;
    /// Looks for a tool; what is not there is taken down. Tells whether it is there.
    bool needs(Ability& ability, const std::string& path, const std::string& remedy) const;
    void add(Ability ability) { m_list.push_back(std::move(ability)); }
    void find(Kind kind, const std::vector<std::string>& devices, const std::string& seen);

    void tryDisks();
    void tryCommands();
    void tryTable();
    void tryRescan();
    void tryStaleRemoval();
    void tryScript(Ability& ability, const std::string& path, const std::string& genericNode);
    void tryPrune();
    void tryMaps();
    void tryFlush();
    void tryPowerPath();
    void tryIscsi();
    void tryInitiatorName();
    void needName(Ability& ability) const;
    void tryPortNames();

    std::string script() const;
    bool isOldKernel() const;
    std::vector<std::string> sessions() const;

    const HostView& m_view;
    const Survey& m_seen;
    const bool m_isRoot;
    std::vector<Ability> m_list;
    std::vector<Finding> m_findings;
};

}  // namespace cli::doctor

#endif
