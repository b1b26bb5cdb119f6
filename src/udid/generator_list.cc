#include "udid/generator_list.h"

#include "scsitool/udid/default_udid_generator.h"
#include "scsitool/udid/emc_udid_generators.h"
#include "scsitool/udid/fujitsu_udid_generator.h"
#include "scsitool/udid/hitachi_udid_generators.h"
#include "scsitool/udid/hp_udid_generators.h"
#include "scsitool/udid/ibm_udid_generators.h"
#include "scsitool/udid/lsi_udid_generator.h"
#include "scsitool/udid/netapp_udid_generator.h"

namespace udid {

std::vector<CUdidGenerator*> createGenerators() {
    return {
        new CHpMsaUdidGenerator("HP", "MSA"),
        new CHpEvaUdidGenerator("HP", "HSV"),
        new CHpXpUdidGenerator("HP", "XP"),
        new CIbmUdidGenerator("IBM", "TOTALSTORAGE"),
        new CIbmDsUdidGenerator("IBM", "DISKSYSTEM"),
        new CEmcClariionUdidGenerator("DGC", ""),
        new CEmcSymmetrixUdidGenerator("EMC", "SYMMETRIX"),
        new CHitachiUdidGenerator("HITACHI", "HDS"),
        new CLsiUdidGenerator("ENGENIO", "UNIVERSAL"),
        new CNetAppUdidGenerator("NETAPP", "LUN"),
        new CHp3parUdidGenerator("HP", "3PAR"),
        new CFujitsuEternusUdidGenerator("FUJITSU", "ETERNUS"),
        new CDefaultUdidGenerator("", ""),
    };
}

}  // namespace udid
