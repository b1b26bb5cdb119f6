#ifndef SCSITOOL_UDID_FAMILIES_H
#define SCSITOOL_UDID_FAMILIES_H

#include <vector>

#include "scsitool/udid/default_udid_generator.h"
#include "scsitool/udid/emc_udid_generators.h"
#include "scsitool/udid/family.h"
#include "scsitool/udid/fujitsu_udid_generator.h"
#include "scsitool/udid/hitachi_udid_generators.h"
#include "scsitool/udid/hp_udid_generators.h"
#include "scsitool/udid/ibm_udid_generators.h"
#include "scsitool/udid/lsi_udid_generator.h"
#include "scsitool/udid/netapp_udid_generator.h"

namespace udid {

/// Every array family, in the order in which the generators are asked. The first that claims a
/// device wins, so the specific ones come first and the one that claims everything last.
inline constexpr Family kFamilies[] = {
    {"HP MSA",
     "HP",
     "MSA",
     {{{Asked::kProduct, Rule::kContains, {"MSA"}},
       {Asked::kVendor, Rule::kContains, {"COMPAQ", "HP"}}}},
     &create<CHpMsaUdidGenerator>},
    {"HP EVA",
     "HP",
     "HSV",
     {{{Asked::kVendor, Rule::kEquals, {"COMPAQ", "HP"}},
       {Asked::kProduct, Rule::kBeginsWith, {"HSV"}}},
      TrimsProduct::kAlways},
     &create<CHpEvaUdidGenerator>},
    {"HP XP",
     "HP",
     "XP",
     {{{Asked::kVendor, Rule::kEquals, {"HP"}},
       {Asked::kProduct, Rule::kBeginsWith, {"OPEN-V", "OPEN-0V"}}}},
     &create<CHpXpUdidGenerator>},
    // The product is for isESS and isFASTT, which a derived generator may override.
    {"IBM ESS, DS8000, SVC",
     "IBM",
     "TOTALSTORAGE",
     {{{Asked::kVendor, Rule::kBeginsWith, {"IBM"}}}},
     &create<CIbmUdidGenerator>},
    {"IBM DS",
     "IBM",
     "DISKSYSTEM",
     {{{Asked::kVendor, Rule::kBeginsWith, {"IBM"}}}},
     &create<CIbmDsUdidGenerator>},
    {"EMC CLARiiON",
     "DGC",
     "",
     {{{Asked::kVendor, Rule::kEquals},
       {Asked::kProduct, Rule::kContains, {"RAID", "DISK", "VNX", "CX"}}}},
     &create<CEmcClariionUdidGenerator>},
    {"EMC Symmetrix", "EMC", "SYMMETRIX", kClaimsItsKeys, &create<CEmcSymmetrixUdidGenerator>},
    {"Hitachi",
     "HITACHI",
     "HDS",
     {{{Asked::kVendor, Rule::kEquals, {"HITACHI"}},
       {Asked::kProduct,
        Rule::kBeginsWith,
        {"9200", "9500V", "DF600F", "DF600F-V", "OPEN-V", "OPEN-0V", "9900", "9910", "9980V",
         "9970V", "9960", "USP"}}}},
     &create<CHitachiUdidGenerator>},
    {"LSI",
     "ENGENIO",
     "UNIVERSAL",
     {{{Asked::kVendor, Rule::kEquals, {"LSI"}},
       {Asked::kProduct, Rule::kBeginsWith, {"INF", "UNIVERSAL", "MPP_VIRTUAL_DISK"}}},
      TrimsProduct::kAlways},
     &create<CLsiUdidGenerator>},
    {"NetApp", "NETAPP", "LUN", kClaimsItsKeys, &create<CNetAppUdidGenerator>},
    {"HP 3PAR",
     "HP",
     "3PAR",
     {{{Asked::kVendor, Rule::kEquals, {"3PARdata"}}, {Asked::kProduct, Rule::kEquals, {"VV"}}},
      TrimsProduct::kAlways},
     &create<CHp3parUdidGenerator>},
    {"Fujitsu Eternus",
     "FUJITSU",
     "ETERNUS",
     {{{Asked::kVendor, Rule::kEquals, {"FUJITSU"}},
       {Asked::kProduct, Rule::kBeginsWith, {"ETERNUS"}}}},
     &create<CFujitsuEternusUdidGenerator>},
    {"Everything else", "", "", {}, &create<CDefaultUdidGenerator>},
};

/// A new generator of every family, in their order; the caller owns them.
std::vector<CUdidGenerator*> createGenerators();

}  // namespace udid

#endif
