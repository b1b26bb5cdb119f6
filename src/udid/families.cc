#include "udid/families.h"

#include <iterator>
#include <memory>

#include "tools/kept.h"

namespace udid {

std::vector<CUdidGenerator*> createGenerators() {
    std::vector<CUdidGenerator*> generators;
    generators.reserve(std::size(kFamilies));
    for (const Family& family : kFamilies) {
        generators.push_back(tools::kept(std::unique_ptr<CUdidGenerator>(family.create(family))));
    }
    return generators;
}

}  // namespace udid
