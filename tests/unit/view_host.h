#ifndef SCSITOOL_TESTS_VIEW_HOST_H
#define SCSITOOL_TESTS_VIEW_HOST_H

#include <string>
#include <vector>

#include "cli_harness.h"
#include "sick_host.h"

namespace test {

using Words = std::vector<std::string>;

// Volume 1 on sdb and sdc below mpatha, volume 2 on sdaa and volume 3 on sdz, each of these alone.
class ViewHost : public SickHost {
  public:
    ViewHost() {
        disk("sdb", "2:0:0:1", "8:16", 1);
        disk("sdc", "3:0:0:1", "8:32", 1);
        disk("sdaa", "2:0:0:12", "65:160", 2);
        disk("sdz", "2:0:0:3", "65:144", 3);
        addMap("dm-0", "mpatha", {"sdb", "sdc"}, namedDisk("A1", 1));
        number("dm-0", "253:0");
        holders("sdb", {"dm-0"});
        holders("sdc", {"dm-0"});
        holders("dm-0", {});
        data.files["/proc/self/mountinfo"] = "";
        mount("", "", "");
    }

    void disk(const std::string& name, const std::string& address, const std::string& at, int id) {
        addDisk(name, address, namedDisk("A" + std::to_string(id), static_cast<std::uint8_t>(id)));
        number(name, at);
        holders(name, {});
    }
    void number(const std::string& name, const std::string& number) {
        data.files["/sys/class/block/" + name + "/dev"] = number + "\n";
    }
    void holders(const std::string& name, const Words& names) {
        data.directories["/sys/class/block/" + name + "/holders/"] = names;
    }
    void block(const std::string& name, const std::string& at, const std::string& dmName,
               const std::string& uuid) {
        data.directories["/sys/class/block/"].push_back(name);
        data.directories["/sys/class/block/" + name + "/"] = {".", ".."};
        number(name, at);
        holders(name, {});
        if (!dmName.empty()) {
            data.files["/sys/class/block/" + name + "/dm/name"] = dmName + "\n";
            data.files["/sys/class/block/" + name + "/dm/uuid"] = uuid + "\n";
        }
    }
    void mount(const std::string& at, const std::string& source, const std::string& point) {
        std::string& table = data.files["/proc/self/mountinfo"].content;
        table += point.empty() ? "30 20 0:22 / /sys rw - sysfs sysfs rw\n"
                               : "30 20 " + at + " / " + point + " rw - xfs " + source + " rw\n";
    }
    void status(const std::string& line) { answer("status", line); }
    void table(const std::string& line) { answer("table", line); }

    CliResult run(const Words& arguments) const {
        CliMachine machine(data);
        CliResult result = machine.run(arguments);
        EXPECT_THAT(machine.journal(), testing::Each(testing::HasSubstr("/usr/sbin/dmsetup ")));
        EXPECT_EQ(machine.openDescriptors(), 0U);
        return result;
    }
    // One column, a line a row.
    std::string column(const std::string& names, const Words& more = {}) const {
        Words arguments = {"volumes", "--no-headings", "-o", names};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments).out;
    }

  private:
    void answer(const std::string& question, const std::string& line) {
        recording::RecordedCommand command;
        command.command = "/usr/sbin/dmsetup " + question + " --target multipath";
        command.output = {line};
        data.commands.push_back(command);
    }
};

}  // namespace test

#endif
