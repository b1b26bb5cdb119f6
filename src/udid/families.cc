#include "udid/families.h"

#include <iterator>

namespace udid {

std::vector<CUdidGenerator*> createGenerators() {
    std::vector<CUdidGenerator*> generators;
    generators.reserve(std::size(kFamilies));
    for (const Family& family : kFamilies) {
        generators.push_back(family.create(family));
    }
    return generators;
}

}  // namespace udid
