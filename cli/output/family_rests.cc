#include "cli/output/family_rests.h"

namespace cli {
namespace {

struct FamilyRest {
    const char* family;
    const char* sentence;
};

constexpr FamilyRest kRests[] = {
    {"HP MSA",
     "It rests on INQUIRY bytes 96 to 109 and on bytes 36 to 67 of page 0x83, a part of its second "
     "designator; it changes when the array shows its designators in another order."},
    {"HP EVA",
     "It rests on the node name in INQUIRY bytes 130 to 137 and on bytes 8 to 23 of page 0x83; it "
     "changes when another designator comes first."},
    {"HP XP",
     "It rests on the numbers of the array and of the logical device in INQUIRY bytes 36 to 47; it "
     "changes when the volume moves to another logical device."},
    {"IBM ESS, DS8000, SVC",
     "It rests on the array's number and on bytes 22 and 23 of page 0x83 alone; volumes of one "
     "array that agree in these two bytes have the same UDID."},
    {"IBM DS",
     "It rests on the array's name and on bytes 8 to 23 of page 0x83; it changes when another "
     "designator comes first, or when page 0xD0 appears or goes."},
    {"EMC CLARiiON",
     "It rests on the array's serial number in page 0xC0, else 0x80, and on bytes 8 to 23 of page "
     "0x83; it changes when page 0xC0 appears or goes, or when another designator comes first."},
    {"EMC Symmetrix",
     "It rests on the array's number in INQUIRY bytes 124 to 128 and on the device's characters; "
     "it changes when the volume moves to another device."},
    {"Hitachi",
     "It rests on the numbers of the array and of the logical device in INQUIRY bytes 36 to 47; it "
     "changes when the volume moves to another logical device."},
    {"LSI",
     "It rests on the array's name in page 0xC8 and on bytes 8 to 23 of page 0x83; it changes when "
     "another designator comes first."},
    {"NetApp",
     "It rests on the identifier that the controller tells when it is asked and on bytes 21 to 32 "
     "of page 0x83; it changes when another controller answers, or none."},
    {"HP 3PAR",
     "It rests on the serial number of page 0x80 and on bytes 8 to 23 of page 0x83; it changes "
     "when another designator comes first."},
    {"Fujitsu Eternus",
     "It rests on INQUIRY bytes 36 to 43 and on bytes 8 to 23 of page 0x83; it changes when "
     "another designator comes first."},
    {"Everything else",
     "It rests on vendor, product, the serial number of page 0x80 and the best designator of page "
     "0x83; it changes when one of them does, or when the device shows a better designator."},
    {"TAQ",
     "It rests on the vendor and on the best designator of page 0x83; it changes when the device "
     "shows a better one."},
};

}  // namespace

std::string familyRestsOn(const std::string& family) {
    for (const FamilyRest& rest : kRests) {
        if (family == rest.family) {
            return rest.sentence;
        }
    }
    return std::string();
}

}  // namespace cli
