#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "scripted_host.h"
#include "scsi_table_text.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "trace_capture.h"

namespace {

using test::appended;
using test::kScsiTable;
using test::ScriptedHost;
using test::tableEntry;
using test::tableOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;
using Maximums = std::map<int, int>;
using Addresses = std::vector<SLinuxScsiDevice>;

/// A kernel that makes some addresses appear when it is asked for them.
class ProbedHost : public ScriptedHost {
  public:
    explicit ProbedHost(const Addresses& present, const Texts& appearing = {}) {
        files[kScsiTable] = tableOf(present);
        appendResults[kScsiTable] = {};
        afterAppend = [this, appearing](const std::string& path, const std::string& text) {
            EXPECT_EQ(path, kScsiTable);
            SLinuxScsiDevice address{};
            ASSERT_EQ(std::sscanf(text.c_str(), "scsi add-single-device %d %d %d %d\n",
                                  &address.host, &address.channel, &address.id, &address.lun),
                      4);
            note(address, text);
            for (const std::string& appears : appearing) {
                if (appears == test::textOf(address)) {
                    files[kScsiTable] += tableEntry(address);
                }
            }
        };
    }

    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override {
        const auto told = appendResults.find(path);
        if (told == appendResults.end() || told->second.openError != 0) {
            return ScriptedHost::appendFile(path, text, beforeWrite);
        }
        afterAppend(path, text);
        return told->second;
    }

    /// The addresses that were asked for, in order, neighbouring LUNs as "h:c:t:first-last".
    Texts probed() const {
        Texts runs;
        for (const Run& run : m_runs) {
            runs.push_back(test::textOf(run.first) + "-" + std::to_string(run.lastLun));
        }
        return runs;
    }
    std::size_t probes() const { return m_probes; }

  private:
    struct Run {
        SLinuxScsiDevice first;
        int lastLun;
    };

    void note(const SLinuxScsiDevice& address, const std::string& text) {
        EXPECT_EQ(text, "scsi add-single-device " + std::to_string(address.host) + " " +
                            std::to_string(address.channel) + " " + std::to_string(address.id) +
                            " " + std::to_string(address.lun) + "\n");
        ++m_probes;
        if (!m_runs.empty()) {
            Run& last = m_runs.back();
            if (last.first.host == address.host && last.first.channel == address.channel &&
                last.first.id == address.id && last.lastLun + 1 == address.lun) {
                last.lastLun = address.lun;
                return;
            }
        }
        m_runs.push_back({address, address.lun});
    }

    std::vector<Run> m_runs;
    std::size_t m_probes = 0;
};

int scan(Maximums luns, Maximums ids, Maximums channels) {
    CLinuxDeviceDiscovery discovery;
    return discovery.scanForNewDevices(luns, ids, channels);
}

TEST(ProbingScan, GoesOneChannelOneTargetAndFifteenLunsBeyondTheMaximums) {
    const ProbedHost host({{0, 0, 0, 0}, {0, 0, 3, 0}});
    EXPECT_EQ(scan({{0, 0}}, {{0, 3}}, {{0, 0}}), 2);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:1-15", "0:0:1:0-15", "0:0:2:0-15", "0:0:3:1-15",
                                    "0:0:4:0-7", "0:1:0:0-7"}));
}

TEST(ProbingScan, DeviceInTheUnknownTargetKeepsTheScanOnItsChannel) {
    const ProbedHost host({{0, 0, 0, 0}, {0, 0, 3, 0}}, {"0:0:4:7"});
    EXPECT_EQ(scan({{0, 0}}, {{0, 3}}, {{0, 0}}), 3);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:1-15", "0:0:1:0-15", "0:0:2:0-15", "0:0:3:1-15",
                                    "0:0:4:0-15", "0:1:0:0-7"}));
}

TEST(ProbingScan, DeviceBehindLunSevenOfAnUnknownTargetIsNotFound) {
    const ProbedHost host({{0, 0, 0, 0}, {0, 0, 3, 0}}, {"0:0:4:8"});
    EXPECT_EQ(scan({{0, 0}}, {{0, 3}}, {{0, 0}}), 2);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:1-15", "0:0:1:0-15", "0:0:2:0-15", "0:0:3:1-15",
                                    "0:0:4:0-7", "0:1:0:0-7"}));
}

TEST(ProbingScan, DeviceOnAKnownTargetKeepsTheScanOnItsChannelToo) {
    const ProbedHost host({{0, 0, 0, 0}, {0, 0, 3, 0}}, {"0:0:1:15"});
    EXPECT_EQ(scan({{0, 0}}, {{0, 3}}, {{0, 0}}), 3);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:1-15", "0:0:1:0-15", "0:0:2:0-15", "0:0:3:1-15",
                                    "0:0:4:0-15", "0:1:0:0-7"}));
}

TEST(ProbingScan, DeviceOnTheUnknownChannelKeepsTheScanThere) {
    const ProbedHost host({{0, 0, 0, 0}}, {"0:1:0:3"});
    EXPECT_EQ(scan({{0, 0}}, {{0, 0}}, {{0, 0}}), 2);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:1-15", "0:0:1:0-7", "0:1:0:0-15", "0:1:1:0-15"}));
}

TEST(ProbingScan, AdapterWithoutDevicesIsProbedAtItsFirstAddresses) {
    const ProbedHost host({});
    EXPECT_EQ(scan({{6, 0}}, {{6, 0}}, {{6, 0}}), 0);
    EXPECT_EQ(host.probed(), (Texts{"6:0:0:0-15", "6:0:1:0-7", "6:1:0:0-7"}));
}

TEST(ProbingScan, AdaptersAreProbedInAscendingOrderWithTheirOwnMaximums) {
    const ProbedHost host({{5, 1, 0, 2}, {1, 0, 1, 0}, {9, 0, 0, 0}});
    EXPECT_EQ(scan({{5, 2}, {1, 0}}, {{5, 0}, {1, 1}}, {{5, 1}, {1, 0}}), 3);
    EXPECT_EQ(host.probed(),
              (Texts{"1:0:0:0-15", "1:0:1:1-15", "1:0:2:0-7", "1:1:0:0-7", "5:0:0:0-17",
                     "5:0:1:0-7", "5:1:0:0-1", "5:1:0:3-17", "5:1:1:0-7", "5:2:0:0-7"}));
}

TEST(ProbingScan, MaximumsThatAreMissingReadAsZero) {
    const ProbedHost host({});
    EXPECT_EQ(scan({{0, 1}}, {{1, 4}}, {}), 0);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:0-16", "0:0:1:0-7", "0:1:0:0-7"}));
}

TEST(ProbingScan, AdapterThatIsNotSeededIsNotProbed) {
    const ProbedHost host({{3, 0, 0, 0}});
    EXPECT_EQ(scan({}, {{3, 0}}, {{3, 0}}), 1);
    EXPECT_EQ(host.probed(), Texts{});
}

// The kernel reads "-1" as 0.
TEST(ProbingScan, AdapterBelowZeroIsNotProbed) {
    const ProbedHost host({{0, 0, 0, 0}});
    EXPECT_EQ(scan({{-1, 0}}, {}, {}), 1);
    EXPECT_EQ(host.probed(), Texts{});
    EXPECT_EQ(scan({{-1, 0}, {0, 0}}, {}, {}), 1);
    EXPECT_EQ(host.probed().front(), "0:0:0:1-15");
}

TEST(ProbingScan, KnownLunSevenDoesNotEndTheChannel) {
    // The cut-off is looked at only where the address itself was asked for.
    const ProbedHost host({{0, 0, 1, 7}});
    EXPECT_EQ(scan({{0, 0}}, {{0, 0}}, {{0, 0}}), 1);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:0-15", "0:0:1:0-6", "0:0:1:8-15", "0:1:0:0-7"}));
}

TEST(ProbingScan, InventoryIsNotRefreshedDuringTheScan) {
    // What appears elsewhere in the meantime is asked for all the same.
    ProbedHost host({{0, 0, 0, 0}}, {"0:0:0:1"});
    const auto appear = host.afterAppend;
    host.afterAppend = [&host, appear](const std::string& path, const std::string& text) {
        appear(path, text);
        if (text == "scsi add-single-device 0 0 0 1\n") {
            host.files[kScsiTable] += tableEntry({0, 0, 1, 0});
        }
    };
    EXPECT_EQ(scan({{0, 0}}, {{0, 0}}, {{0, 0}}), 3);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:1-15", "0:0:1:0-15", "0:1:0:0-7"}));
}

TEST(ProbingScan, DeviceThatDisappearsChangesTheCountToo) {
    ProbedHost host({{0, 0, 0, 0}, {0, 0, 0, 1}});
    const auto appear = host.afterAppend;
    host.afterAppend = [&host, appear](const std::string& path, const std::string& text) {
        appear(path, text);
        host.files[kScsiTable] = tableOf({{0, 0, 0, 0}});
    };
    EXPECT_EQ(scan({{0, 1}}, {{0, 0}}, {{0, 0}}), 1);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:2-16", "0:0:1:0-16", "0:1:0:0-7"}));
}

TEST(ProbingScan, CountThatIsNeverStableEndsAtTheBounds) {
    ProbedHost host({});
    const auto appear = host.afterAppend;
    int count = 0;
    host.afterAppend = [&](const std::string& path, const std::string& text) {
        appear(path, text);
        host.files[kScsiTable] = std::string("Host:\n") + (++count % 2 == 0 ? "Host:\n" : "");
    };
    EXPECT_EQ(scan({{0, 99}}, {{0, 1}}, {{0, 1}}), 1);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:0-114", "0:0:1:0-114", "0:0:2:0-114", "0:1:0:0-114",
                                    "0:1:1:0-114", "0:1:2:0-7", "0:2:0:0-7"}));
}

TEST(ProbingScan, TableThatGrowsWithEveryWriteEndsAtTheBounds) {
    ProbedHost host({});
    const auto appear = host.afterAppend;
    host.afterAppend = [&](const std::string& path, const std::string& text) {
        appear(path, text);
        host.files[kScsiTable] += "Host:\n";
    };
    EXPECT_EQ(scan({{0, 99}}, {{0, 1}}, {{0, 1}}), 3 * 3 * 115);
    EXPECT_EQ(host.probes(), std::size_t{3} * 3 * 115);
}

TEST(ProbingScan, LargestMaximumsDoNotOverflow) {
    ProbedHost host({});
    host.afterAppend = [](const std::string&, const std::string&) {
        throw std::runtime_error("out of reach");
    };
    EXPECT_EQ(scan({{0, INT_MAX}}, {{0, INT_MAX}}, {{0, INT_MAX}}), 0);
    EXPECT_EQ(scan({{0, INT_MIN}}, {{0, INT_MIN}}, {{0, INT_MIN}}), 0);
}

TEST(ProbingScan, RefusedTextIsNotToldApart) {
    ProbedHost host({{0, 0, 0, 0}});
    host.appendResults[kScsiTable] = {0, EINVAL};
    EXPECT_EQ(scan({{0, 0}}, {{0, 0}}, {{0, 0}}), 1);
    EXPECT_EQ(host.probed(), (Texts{"0:0:0:1-15", "0:0:1:0-7", "0:1:0:0-7"}));
}

TEST(ProbingScan, TableThatCannotBeWrittenIsTriedAtEveryAddress) {
    ProbedHost host({{0, 0, 0, 0}});
    host.appendResults[kScsiTable] = {EACCES, 0};
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace(2);
    discovery.m_traceLog = trace.log();
    Maximums luns = {{0, 0}};
    Maximums ids = {{0, 0}};
    Maximums channels = {{0, 0}};
    EXPECT_EQ(discovery.scanForNewDevices(luns, ids, channels), 1);
    EXPECT_EQ(host.probed(), Texts{});
    // Two channels of two targets of sixteen LUNs, but the one that is known.
    EXPECT_EQ(trace.lines(),
              Texts(63, "[2] Warning: scan for devices failed to open /proc/scsi/scsi"));
}

TEST(ProbingScan, HostWithoutTheTableHasNoDevices) {
    const ScriptedHost host;
    EXPECT_EQ(scan({{0, 0}}, {{0, 0}}, {{0, 0}}), 0);
    EXPECT_EQ(host.effects(), Texts{});
}

TEST(ProbingScan, ExceptionEndsTheScanWithTheCount) {
    ProbedHost host({{0, 0, 0, 0}}, {"0:0:0:1"});
    const auto appear = host.afterAppend;
    host.afterAppend = [&host, appear](const std::string& path, const std::string& text) {
        appear(path, text);
        if (host.probes() == 3) {
            throw std::runtime_error("out of reach");
        }
    };
    EXPECT_EQ(scan({{0, 0}}, {{0, 0}}, {{0, 0}}), 2);
    EXPECT_EQ(host.probed(), Texts{"0:0:0:1-3"});
}

TEST(ProbingScan, EffectsAreOneAppendAnAddress) {
    recording::RecordedHostData data;
    data.files[kScsiTable] = tableOf({{0, 0, 0, 0}});
    const ScriptedHost host(data);
    scan({{0, -14}}, {{0, -1}}, {{0, -1}});
    EXPECT_EQ(host.effects(), Texts{appended(kScsiTable, "scsi add-single-device 0 0 0 1\n")});
}

TEST(ProbingScan, IsTraced) {
    // All but LUN 7 of the unknown target and of the unknown channel is known.
    Addresses present;
    for (int lun = 0; lun < 16; ++lun) {
        present.push_back({0, 0, 0, lun});
    }
    for (int lun = 0; lun < 7; ++lun) {
        present.push_back({0, 0, 1, lun});
        present.push_back({0, 1, 0, lun});
    }
    const ProbedHost host(present);
    CLinuxDeviceDiscovery discovery;
    TraceCapture trace;
    discovery.m_traceLog = trace.log();
    Maximums luns = {{0, 0}};
    Maximums none;
    EXPECT_EQ(discovery.scanForNewDevices(luns, none, none), 30);
    EXPECT_EQ(trace.stableLines(),
              (Texts{"[6] Entering Function scanForNewDevices [N, device_discovery_linux]",
                     "[3] INFO: reading /proc/scsi/scsi\n",
                     "[3] INFO: trying add device: scsi add-single-device 0 0 1 7\n\n",
                     "[3] INFO: current count [30]",
                     "[3] INFO: trying add device: scsi add-single-device 0 1 0 7\n\n",
                     "[3] INFO: current count [30]",
                     "[6] Exiting Function scanForNewDevices [N, device_discovery_linux]"}));
}

}  // namespace
