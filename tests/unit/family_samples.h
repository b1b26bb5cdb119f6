#ifndef SCSITOOL_TESTS_FAMILY_SAMPLES_H
#define SCSITOOL_TESTS_FAMILY_SAMPLES_H

#include <algorithm>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "page_builder.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/udid/reporter.h"

namespace test {

/// One volume of an array family: what the device answers and the UDID that this makes.
struct FamilySample {
    std::string name;
    std::string vendor;
    std::string product;
    std::map<unsigned, Page> pages;  ///< the controller's own reply is udid::kControllerReply
    std::string udid;
    /// Bytes that decide how others are read: changing one may change the UDID although it does
    /// not stand in it.
    std::set<std::pair<unsigned, std::size_t>> deciding;
};

inline void PrintTo(const FamilySample& sample, std::ostream* stream) {
    *stream << sample.name;
}

inline Page unitNames() {
    return Page::names().naa({0x60, 0x06, 0x01, 0x60, 0xA1, 0xB2, 0xC3, 0xD4, 0x11, 0x22, 0x33,
                              0x44, 0x55, 0x66, 0x77, 0x88});
}

/// A volume of each way that the array generators go.
inline std::vector<FamilySample> familySamples() {
    const std::string colons = "60:06:01:60:A1:B2:C3:D4:11:22:33:44:55:66:77:88";
    const std::string dashes = "6006-0160-A1B2-C3D4-1122-3344-5566-7788";
    const std::string digits = "60060160A1B2C3D41122334455667788";
    const auto inquiry = [](const std::string& vendor, const std::string& product,
                            std::size_t length = 96) {
        return Page::inquiry(vendor, product, length);
    };
    const Page names = unitNames();
    const Page arrayPage = Page::vpd(0xC8, 120).bytes(90, counting(16, 0xA1));
    const std::string array = "A1A2A3A4A5A6A7A8A9AAABACADAEAFB0";
    Page msaNames = unitNames();
    msaNames.designator(2, 0, 1, Bytes(40, ' ')).text(28, "HP      ");
    msaNames.text(36, "600C0FF000D5A1B2C3D4E5F601000000");
    Page netAppNames = unitNames();
    netAppNames.cut(40).pageLength(36).bytes(21, counting(12, 0x6E));
    Page controllerReply = Page(Bytes(4096));
    controllerReply.set(8, 0x22).set(11, 64).text(36, "4082368-508");

    return {
        {"Msa",
         "HP",
         "MSA2012fc",
         {{0, inquiry("HP", "MSA2012fc", 130).text(96, "00C0FFD5A1B200")}, {0x83, msaNames}},
         "UDID##HP##MSA##00C0FFD5A1B200##600C0FF000D5A1B2C3D4E5F601000000",
         {}},
        {"Eva",
         "HP",
         "HSV300",
         {{0, inquiry("HP", "HSV300", 140)
                  .bytes(130, {0x50, 0x01, 0x43, 0x80, 0x11, 0x22, 0x33, 0x44})},
          {0x83, names}},
         "UDID##HP##HSV##5001-4380-1122-3344##" + dashes,
         {{0x83, 2}, {0x83, 3}}},
        {"Xp",
         "HP",
         "OPEN-V",
         {{0, inquiry("HP", "OPEN-V").text(36, "500123450010")}},
         "UDID##HP##XP##74565##16",
         {{0, 36}, {0, 37}}},
        {"XpWithoutSerial",
         "HP",
         "OPEN-V",
         {{0, inquiry("HP", "OPEN-V").text(36, "R60123450010")}},
         "UDID##HP##XP##0##16",
         {}},
        {"Ds8000",
         "IBM",
         "2107900",
         {{0, inquiry("IBM", "2107900").text(36, "7512345")}, {0x83, names}},
         "UDID##IBM##TOTALSTORAGE##IBM.2107-7512345##7788",
         {}},
        {"Ess",
         "IBM",
         "2105F20",
         {{0, inquiry("IBM", "2105F20")}, {0x80, Page::serial("10823456")}, {0x83, names}},
         "UDID##IBM##TOTALSTORAGE##IBM.2105-1082345##7788",
         {{0x80, 3}}},
        {"Fastt",
         "IBM",
         "3542",
         {{0, inquiry("IBM", "3542")}, {0xC8, arrayPage}, {0x83, names}},
         "UDID##IBM##TOTALSTORAGE##IBM.3542-" + array + "##7788",
         {}},
        {"Ds4000",
         "IBM",
         "1742-900",
         {{0, inquiry("IBM", "1742-900")},
          {0x80, Page::serial("1T23456789")},
          {0xD0, Page::vpd(0xD0, 24).bytes(8, counting(16, 0xA1))},
          {0x83, names}},
         "UDID##IBM##DISKSYSTEM##IBM.1742-" + array + "##" + colons,
         {{0x80, 3}}},
        {"Ds4100",
         "IBM",
         "1724-100  FAStT",
         {{0, inquiry("IBM", "1724-100  FAStT", 60).text(36, "SQ54310042")}, {0x83, names}},
         "UDID##IBM##DISKSYSTEM##IBM.1724-SQ54310042##" + colons,
         {{0, 46}}},
        {"Clariion",
         "DGC",
         "RAID 5",
         {{0, inquiry("DGC", "RAID 5")},
          {0xC0, Page::vpd(0xC0, 80).set(49, 14).text(50, "APM00123456789")},
          {0x83, names}},
         "UDID##DGC##CLARIION##APM00123456789##" + colons,
         {{0xC0, 49}}},
        {"ClariionSerialOfPage80",
         "DGC",
         "VRAID",
         {{0, inquiry("DGC", "VRAID")}, {0x80, Page::serial("CX500123")}, {0x83, names}},
         "UDID##DGC##CLARIION##CX500123##" + colons,
         {{0x80, 3}}},
        {"Symmetrix",
         "EMC",
         "SYMMETRIX",
         {{0, inquiry("EMC", "SYMMETRIX", 140)
                  .bytes(124, {0x01, 0x29, 0x31, 0x45, 0x67})
                  .text(132, "0A5C")}},
         "UDID##EMC##SYMMETRIX##000129314567##0A5C",
         {}},
        {"SymmetrixOldVolume",
         "EMC",
         "SYMMETRIX",
         {{0, inquiry("EMC", "SYMMETRIX", 140)
                  .bytes(124, {0x01, 0x29, 0x31, 0x45, 0x67})
                  .text(38, "5C1")}},
         "UDID##EMC##SYMMETRIX##000129314567##05C1",
         {{0, 132}}},
        {"Hitachi",
         "HITACHI",
         "OPEN-V",
         {{0, inquiry("HITACHI", "OPEN-V").text(36, "500123450010")}},
         "UDID##HITACHI##HDS##74565##16",
         {{0, 36}, {0, 37}}},
        {"HitachiModular",
         "HITACHI",
         "DF600F",
         {{0, inquiry("HITACHI", "DF600F").text(36, "D600123400A5")}},
         "UDID##HITACHI##HDS##4660##165",
         {}},
        {"HitachiDecimal",
         "HITACHI",
         "9500V",
         {{0, inquiry("HITACHI", "9500V").text(36, "7001234500A5")}},
         "UDID##HITACHI##HDS##70012345##165",
         {}},
        {"Lsi",
         "LSI",
         "INF-01-00",
         {{0, inquiry("LSI", "INF-01-00")}, {0xC8, arrayPage}, {0x83, names}},
         "UDID##ENGENIO##UNIVERSAL##" + array + "##" + digits,
         {{0x83, 2}, {0x83, 3}}},
        {"NetApp",
         "NETAPP",
         "LUN",
         {{0, inquiry("NETAPP", "LUN")},
          {0x83, netAppNames},
          {udid::kControllerReply, controllerReply}},
         "UDID##NETAPP##LUN##4082368-508##6E6F70717273747576777879",
         {{udid::kControllerReply, 8}, {udid::kControllerReply, 47}}},
        {"ThreePar",
         "3PARdata",
         "VV",
         {{0, inquiry("3PARdata", "VV")}, {0x80, Page::serial("1303421X")}, {0x83, names}},
         "UDID##HP##3PAR##1303421X##" + digits,
         {{0x80, 3}}},
        {"Eternus",
         "FUJITSU",
         "ETERNUS_DXL",
         {{0, inquiry("FUJITSU", "ETERNUS_DXL").text(36, "4601A2B3")}, {0x83, names}},
         "UDID##FUJITSU##ETERNUS##4601A2B3##" + digits,
         {}},
        // A new family's sample stands here.
    };
}

/// The one of that name.
inline const FamilySample& sampleNamed(std::string_view name) {
    static const std::vector<FamilySample> kSamples = familySamples();
    return *std::find_if(kSamples.begin(), kSamples.end(),
                         [&](const FamilySample& sample) { return sample.name == name; });
}

/// The record that discovery makes of the volume.
inline CScsiDeviceData recordOf(const FamilySample& sample,
                                const std::string& deviceName = "/dev/sda") {
    CScsiDeviceData record = recordOf(sample.vendor, sample.product, deviceName);
    for (const auto& [code, page] : sample.pages) {
        if (code <= 0xFF) {
            store(record, code, page);
        }
        if (code != 0 && code <= 0xFF) {
            record.m_supportedPages.push_back(code);
        }
    }
    return record;
}

/// A host whose devices all answer the vendor-specific command as the sample's controller does. It
/// is the current host for as long as it exists.
class FamilyHost : public host::ForwardingHost {
  public:
    explicit FamilyHost(const FamilySample& sample)
        : ForwardingHost(host::current()), m_sample(sample), m_scope(*this) {}

    int openDevice(const std::string&, host::OpenMode) override {
        ++openDescriptors;
        return 3;
    }
    int closeDevice(int) override {
        --openDescriptors;
        return 0;
    }
    int sgIo(int, host::SgIoRequest& request) override {
        const auto reply = m_sample.pages.find(udid::kControllerReply);
        if (reply == m_sample.pages.end()) {
            return -25;
        }
        const Bytes& bytes = reply->second.data();
        std::copy_n(bytes.begin(), std::min(bytes.size(), request.data.size()),
                    request.data.begin());
        return 0;
    }
    int hostName(std::string& name) override {
        name = nodeName;
        return 0;
    }

    std::string nodeName = "db01";
    int openDescriptors = 0;

  private:
    const FamilySample& m_sample;
    host::Scope m_scope;
};

}  // namespace test

#endif
