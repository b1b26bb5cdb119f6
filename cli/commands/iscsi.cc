#include <functional>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/common/acting.h"
#include "cli/common/changes.h"
#include "cli/common/command.h"
#include "cli/common/packages.h"
#include "cli/common/refusals.h"
#include "cli/common/script_arguments.h"
#include "cli/common/wait_option.h"
#include "scsitool/scsi/scsitool.h"

namespace cli {
namespace {

constexpr unsigned kNameFileUnreadable = 26;
constexpr const char* kNameFile = "/etc/iscsi/initiatorname.iscsi";
constexpr const char* kIscsiadm = "/sbin/iscsiadm";

class Iscsi : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand("iscsi", "Drive the host's iSCSI initiator");
        app->require_subcommand(1);
        m_iqn = app->add_subcommand("iqn", "Show the initiator's name");
        m_discover = app->add_subcommand("discover", "Discover the targets behind a portal");
        m_discover->add_option("PORTAL", m_word, "address or address:port")->required();
        m_login = app->add_subcommand("login", "Log in to a target");
        m_login->add_option("IQN", m_word, "The target's name")->required();
        m_logout = app->add_subcommand("logout", "Log out of a target");
        m_logout->add_option("IQN", m_word, "The target's name")->required();
        m_rescan = app->add_subcommand("rescan", "Rescan the open sessions");
        for (CLI::App* const one : {m_discover, m_login, m_logout, m_rescan}) {
            m_force.declare(*one);
        }
        for (CLI::App* const one : {m_login, m_logout, m_rescan}) {
            one->add_flag("--changes", m_changes,
                          "Show what appeared, disappeared, grew and was renamed, by UDID");
        }
        m_wait.declare(*m_login);
        return app;
    }

    Report run(Context& context) override {
        m_force.apply(context);
        if (m_iqn->parsed()) {
            return showIqn(context);
        }
        if (m_discover->parsed()) {
            requirePlainWord("portal", m_word);
            return act(context,
                       [this](CScsiTool& tool) { return tool.DiscoverIscsiTargets(m_word); });
        }
        if (m_rescan->parsed()) {
            return act(context, [](CScsiTool& tool) { return tool.RescanIscsiSessions(); });
        }
        requirePlainWord("target name", m_word);
        if (m_login->parsed()) {
            return act(context, [this](CScsiTool& tool) { return tool.LoginToIscsiIQN(m_word); });
        }
        return act(context, [this](CScsiTool& tool) { return tool.LogoutFromIscsiIQN(m_word); });
    }

  private:
    static Report showIqn(Context& context) {
        CScsiTool tool;
        context.traceInto(tool);
        std::string iqn;
        const unsigned result = tool.GetHostIQN(iqn);
        Report report;
        report.data["result"] = result;
        report.data["iqn"] = jsonText(iqn);
        report.text = visible(iqn) + "\n";
        const HostView view = context.view();
        if (result == kNameFileUnreadable) {
            report.failure = whyNotThere(view, kNameFile, view.host.readFile(kNameFile).error());
        } else if (result != 0) {
            report.failure = view.isUntold(kIscsiadm) ? noAnswerFor(kIscsiadm)
                                                      : std::string("there is no ") + kIscsiadm +
                                                            "; " + howToInstall(kIscsiadm);
        } else if (iqn.empty()) {
            report.failure = std::string(kNameFile) + " has no InitiatorName";
        }
        return report;
    }

    // These operations give 0 whatever came of their command; only its end tells.
    Report act(Context& context, const std::function<unsigned(CScsiTool&)>& operation) const {
        ChangeWatch changes(context, m_changes);
        CScsiTool tool;
        context.traceInto(tool);
        Report report;
        report.data["result"] = operation(tool);
        addEffects(report, context);
        report.failure = failedCommand(context);
        m_wait.addTo(report, context);
        changes.addTo(report, context);
        return report;
    }

    CLI::App* m_iqn = nullptr;
    CLI::App* m_discover = nullptr;
    CLI::App* m_login = nullptr;
    CLI::App* m_logout = nullptr;
    CLI::App* m_rescan = nullptr;
    std::string m_word;
    bool m_changes = false;
    WaitOption m_wait;
    ForceOption m_force;
};

}  // namespace

std::unique_ptr<Command> makeIscsi() {
    return std::make_unique<Iscsi>();
}

}  // namespace cli
