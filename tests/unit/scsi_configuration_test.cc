#include "scsitool/scsi/scsi_configuration.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>

#include "device_host.h"

namespace {

using recording::RecordedHostData;
using test::DeviceHost;

constexpr char kFile[] = "/etc/scsitool/devicefi.conf";

CScsiTuningParams importedFrom(const RecordedHostData& data) {
    const DeviceHost host(data);
    CScsiTuningParams params;
    CScsiConfiguration::importTuningSettings(params);
    EXPECT_EQ(host.settingsRead, 1U);
    return params;
}

CScsiTuningParams importedFrom(const std::string& text) {
    RecordedHostData data;
    data.files[kFile] = text;
    return importedFrom(data);
}

std::string inSection(const std::string& lines) {
    return "[TUNING_PARAMS]\n" + lines;
}

void expectDefaults(const CScsiTuningParams& params, const std::string& what) {
    EXPECT_EQ(params.openRetryDelaySeconds, 3U) << what;
    EXPECT_EQ(params.openRetryAttempts, 8U) << what;
}

TEST(ScsiConfiguration, DefaultsStandWithoutAFile) {
    expectDefaults(importedFrom(RecordedHostData()), "no file");
}

TEST(ScsiConfiguration, DefaultsStandForAFileThatCannotBeRead) {
    RecordedHostData data;
    data.files[kFile].error = EACCES;
    expectDefaults(importedFrom(data), "no right");
}

TEST(ScsiConfiguration, BothKeysAreTaken) {
    const CScsiTuningParams params = importedFrom(
        inSection("OPEN_DEVICE_RETRY_DELAY_IN_SEC = 11\nOPEN_DEVICE_RETRY_ATTEMPTS = 22\n"));
    EXPECT_EQ(params.openRetryDelaySeconds, 11U);
    EXPECT_EQ(params.openRetryAttempts, 22U);
}

TEST(ScsiConfiguration, AttemptsAloneKeepTheDelayAtThree) {
    const CScsiTuningParams params = importedFrom(inSection("OPEN_DEVICE_RETRY_ATTEMPTS = 22\n"));
    EXPECT_EQ(params.openRetryDelaySeconds, 3U);
    EXPECT_EQ(params.openRetryAttempts, 22U);
}

TEST(ScsiConfiguration, DelayAloneKeepsTheAttemptsAtEight) {
    const CScsiTuningParams params =
        importedFrom(inSection("OPEN_DEVICE_RETRY_DELAY_IN_SEC = 0\n"));
    EXPECT_EQ(params.openRetryDelaySeconds, 0U);
    EXPECT_EQ(params.openRetryAttempts, 8U);
}

TEST(ScsiConfiguration, WhatTheCallerSetBeforeStandsForAMissingKey) {
    RecordedHostData data;
    data.files[kFile] = inSection("OPEN_DEVICE_RETRY_ATTEMPTS = 22\n");
    const DeviceHost host(data);
    CScsiTuningParams params;
    params.openRetryDelaySeconds = 100;
    params.openRetryAttempts = 200;
    CScsiConfiguration::importTuningSettings(params);
    EXPECT_EQ(params.openRetryDelaySeconds, 100U);
    EXPECT_EQ(params.openRetryAttempts, 22U);
}

TEST(ScsiConfiguration, OtherSectionsAreNotLookedAt) {
    expectDefaults(importedFrom("OPEN_DEVICE_RETRY_ATTEMPTS = 1\n[OTHER]\n"
                                "OPEN_DEVICE_RETRY_ATTEMPTS = 2\n[TUNING_PARAMS]\n[tuning_params]\n"
                                "OPEN_DEVICE_RETRY_ATTEMPTS = 3\n"),
                   "other sections");
}

TEST(ScsiConfiguration, ValueOfThirtyTwoBitsIsTakenAndOneMoreIsNot) {
    EXPECT_EQ(
        importedFrom(inSection("OPEN_DEVICE_RETRY_ATTEMPTS = 4294967294\n")).openRetryAttempts,
        4294967294U);
    EXPECT_EQ(
        importedFrom(inSection("OPEN_DEVICE_RETRY_ATTEMPTS = 4294967295\n")).openRetryAttempts,
        4294967295U);
    EXPECT_EQ(
        importedFrom(inSection("OPEN_DEVICE_RETRY_ATTEMPTS = 4294967296\n")).openRetryAttempts, 8U);
}

TEST(ScsiConfiguration, ValueThatIsNoNumberLeavesTheDefault) {
    for (const char* const value :
         {"", "x", "-1", "+1", "1.5", "0x10", "1 2", "9x", "99999999999999999999999999"}) {
        expectDefaults(importedFrom(inSection("OPEN_DEVICE_RETRY_ATTEMPTS = " + std::string(value) +
                                              "\nOPEN_DEVICE_RETRY_DELAY_IN_SEC = " + value)),
                       value);
    }
}

TEST(ScsiConfiguration, GarbageLeavesTheDefaults) {
    const std::string garbage[] = {
        "",
        "\n\n\n",
        "[",
        "]",
        "[]",
        "[TUNING_PARAMS",
        "[TUNING_PARAMS]",
        "=",
        "====\n[=]\n=[",
        inSection("= 5\nOPEN_DEVICE_RETRY_ATTEMPTS\nOPEN_DEVICE_RETRY_ATTEMPTS 5\n"),
        inSection(std::string("OPEN_DEVICE_RETRY_ATTEMPTS\0 = 5\n", 32)),
        std::string("\0\0\0\xFF\xFE[T\0U]\n", 11),
        std::string(100000, '['),
        std::string(100000, '\xFF'),
        "[" + std::string(100000, 'T') + "]\nOPEN_DEVICE_RETRY_ATTEMPTS = 5\n",
    };
    for (const std::string& text : garbage) {
        expectDefaults(importedFrom(text), text.substr(0, 40));
    }
}

TEST(ScsiConfiguration, HostThatThrowsLeavesTheDefaults) {
    DeviceHost host;
    host.onRead = [](const std::string&) { throw std::bad_alloc(); };
    CScsiTuningParams params;
    EXPECT_NO_THROW(CScsiConfiguration::importTuningSettings(params));
    expectDefaults(params, "exception");
    host.onRead = [](const std::string&) { throw 6; };
    EXPECT_NO_THROW(CScsiConfiguration::importTuningSettings(params));
    expectDefaults(params, "int");
}

}  // namespace
