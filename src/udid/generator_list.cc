#include "udid/generator_list.h"

#include "udid/default_udid_generator.h"

namespace udid {

std::vector<CUdidGenerator*> createGenerators() {
    return {
        new CDefaultUdidGenerator("", ""),
    };
}

}  // namespace udid
