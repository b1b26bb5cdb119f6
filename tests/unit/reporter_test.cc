#include "scsitool/udid/reporter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "family_samples.h"
#include "recording_reporter.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/explanation.h"
#include "scsitool/udid/udid_text.h"

namespace {

using test::FamilySample;
using test::RecordingReporter;
using Lines = std::vector<std::string>;

TEST(Reporter, NobodyListensAtFirst) {
    EXPECT_EQ(udid::reporter(), nullptr);
}

TEST(Reporter, ScopesNestAndGiveBackTheFormerListener) {
    RecordingReporter outer;
    RecordingReporter inner;
    {
        const udid::ReportScope first(&outer);
        EXPECT_EQ(udid::reporter(), &outer);
        {
            const udid::ReportScope second(&inner);
            EXPECT_EQ(udid::reporter(), &inner);
            const udid::ReportScope silence(nullptr);
            EXPECT_EQ(udid::reporter(), nullptr);
        }
        EXPECT_EQ(udid::reporter(), &outer);
    }
    EXPECT_EQ(udid::reporter(), nullptr);
}

TEST(Reporter, AScopeEndsWhenItsWorkThrows) {
    RecordingReporter reporter;
    try {
        const udid::ReportScope scope(&reporter);
        throw 6;
    } catch (int) {
        EXPECT_EQ(udid::reporter(), nullptr);
    }
}

TEST(Reporter, ListensOnItsThreadAlone) {
    RecordingReporter reporter;
    const udid::ReportScope scope(&reporter);
    std::thread([] { EXPECT_EQ(udid::reporter(), nullptr); }).join();
}

/// Holds a thread until as many threads as it waits for have arrived.
class Meeting : public CUdidGenerator {
  public:
    Meeting(std::atomic<int>& arrived, int awaited)
        : CUdidGenerator("MEETING", std::to_string(awaited)),
          m_arrived(arrived),
          m_awaited(awaited) {}
    bool claimDevice(CScsiDeviceData*) override {
        ++m_arrived;
        while (m_arrived < m_awaited) {
            std::this_thread::yield();
        }
        return false;
    }
    std::string getUniqueDeviceID(CScsiDeviceData*) override { return {}; }

  private:
    std::atomic<int>& m_arrived;
    int m_awaited;
};

/// Neither thread ends before the other one has gone on from the middle of its work.
TEST(Reporter, TwoThreadsThatExplainAtOnceDoNotMix) {
    const std::vector<FamilySample> samples = test::familySamples();
    std::atomic<int> arrived = 0;
    const auto explainOne = [&](const FamilySample& sample) {
        CUDIDFactory factory;
        Meeting first(arrived, 2);
        Meeting second(arrived, 4);
        factory.askFirst({&first, &second});
        const udid::Explanation explanation = udid::explain(factory, test::recordOf(sample));
        EXPECT_EQ(explanation.udid, sample.udid);
        ASSERT_GE(explanation.generators.size(), 3U) << sample.name;
        EXPECT_EQ(explanation.generators[0].name, "MEETING:2");
        EXPECT_EQ(explanation.generators[1].name, "MEETING:4");
        for (const udid::Comparison& made : explanation.generators.back().comparisons) {
            EXPECT_EQ(made.value, made.field == "vendor" ? sample.vendor : sample.product);
        }
    };
    std::thread other([&] { explainOne(samples[0]); });
    explainOne(samples[2]);
    other.join();
}

TEST(Reporter, WhatAGeneratorReportsIsTheSameWhenItWorksOnACopyOfTheRecord) {
    class Copying : public CUdidGenerator {
      public:
        explicit Copying(bool copies) : CUdidGenerator("HP", "XP"), m_copies(copies) {}
        std::string getUniqueDeviceID(CScsiDeviceData* device) override {
            CScsiDeviceData copy(*device);
            udid::UdidText body;
            body.bytes(udid::takePage(m_copies ? copy : *device, 0), udid::Format::kText, 8, 2);
            return body.take();
        }

      private:
        bool m_copies;
    };
    CScsiDeviceData record = test::recordOf(test::familySamples()[2]);
    Lines reports[2];
    for (const bool copies : {false, true}) {
        Copying generator(copies);
        RecordingReporter reporter;
        const udid::ReportScope scope(&reporter);
        EXPECT_EQ(generator.getUniqueDeviceID(&record), "HP");
        reports[copies ? 1 : 0] = reporter.lines;
    }
    EXPECT_EQ(reports[0], (Lines{"page 0, 96 bytes", "piece text 0:8+2 HP"}));
    EXPECT_EQ(reports[1], reports[0]);
}

TEST(Reporter, HearsEveryStepInOrder) {
    CUDIDFactory factory;
    CScsiDeviceData record = test::recordOf(test::familySamples()[2]);
    factory.m_generators.erase(factory.m_generators.begin());
    RecordingReporter reporter;
    const udid::ReportScope scope(&reporter);
    factory.getUniqueDeviceID(&record);
    EXPECT_EQ(reporter.lines,
              (Lines{"asked HP:HSV", "vendor HP not equals COMPAQ", "vendor HP equals HP",
                     "product OPEN-V not begins-with HSV", "declined", "asked HP:XP",
                     "vendor HP equals HP", "product OPEN-V begins-with OPEN-V", "claimed",
                     "prefix", "piece literal UDID##HP##XP##", "body", "page 0, 96 bytes",
                     "piece decimal-of-hex-text 0:39+5 74565", "piece literal ##",
                     "piece decimal-of-hex-text 0:44+4 16"}));
}

TEST(Reporter, AFailureIsHeardWithItsReasonFirst) {
    CUDIDFactory factory;
    CScsiDeviceData record = test::recordOf(test::familySamples()[0]);
    test::store(record, 0x83, test::unitNames().cut(67));
    RecordingReporter reporter;
    const udid::ReportScope scope(&reporter);
    factory.getUniqueDeviceID(&record);
    const auto failed = std::find(reporter.lines.begin(), reporter.lines.end(),
                                  "failed MSG_UDID_ERROR_INVALID_SCSI_DEVICE_DATA:HP:MSA");
    ASSERT_NE(failed, reporter.lines.end());
    EXPECT_EQ(*(failed - 1), "remark page 0x83 has 67 bytes, 68 are needed");
}

/// What a plug-in's own generator may look like: it never heard of reports.
class Silent : public CUdidGenerator {
  public:
    Silent() : CUdidGenerator("OWN", "DISK") {}
    bool claimDevice(CScsiDeviceData*) override { return true; }
    std::string getUniqueDeviceID(CScsiDeviceData*) override { return "body"; }
};

TEST(Reporter, AGeneratorNeedNotReport) {
    CUDIDFactory factory;
    Silent own;
    factory.askFirst({&own});
    const udid::Explanation explanation =
        udid::explain(factory, test::recordOf(test::familySamples()[2]));
    EXPECT_EQ(explanation.udid, "UDID##OWN##DISK##BODY");
    ASSERT_EQ(explanation.generators.size(), 1U);
    EXPECT_TRUE(explanation.generators[0].claimed);
    EXPECT_TRUE(explanation.generators[0].body.empty());
}

TEST(Reporter, UdidsAreTheSameWhoeverListens) {
    CUDIDFactory factory;
    for (const FamilySample& sample : test::familySamples()) {
        const test::FamilyHost host(sample);
        CScsiDeviceData heard = test::recordOf(sample);
        RecordingReporter reporter;
        const udid::ReportScope scope(&reporter);
        EXPECT_EQ(factory.getUniqueDeviceID(&heard), sample.udid);
        const udid::ReportScope silence(nullptr);
        CScsiDeviceData unheard = test::recordOf(sample);
        EXPECT_EQ(factory.getUniqueDeviceID(&unheard), sample.udid);
    }
}

}  // namespace
