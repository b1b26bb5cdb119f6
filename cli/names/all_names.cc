#include "cli/names/all_names.h"

#include <algorithm>

#include "cli/view/natural_order.h"

namespace cli::names {
namespace {

using picture::Device;
using picture::Kind;
using Names = std::vector<Name>;

void add(Names& names, const char* kind, const std::string& text) {
    if (!text.empty()) {
        names.push_back({kind, text});
    }
}

void addKernelNames(Names& names, Catalogue& catalogue, const Entry& entry) {
    add(names, "kernel", entry.kernelName);
    add(names, "number", catalogue.numberOf(entry));
    add(names, "address", entry.address ? addressText(*entry.address) : std::string());
    add(names, "generic", catalogue.genericNodeOf(entry));
    std::vector<std::string> links =
        entry.kernelName.empty() ? std::vector<std::string>() : catalogue.linksTo(entry.kernelName);
    std::sort(links.begin(), links.end(), view::goesBefore);
    for (const std::string& link : links) {
        add(names, "link", link);
    }
}

void addMountPoints(Names& names, Catalogue& catalogue, const Entry& entry) {
    const auto users = catalogue.users().usersOf(entry.kernelName, entry.node);
    for (const view::User& user : users.value_or(view::Users())) {
        if (user.kind == view::User::Kind::kMount) {
            add(names, "mount", user.name);
        }
    }
}

void addIdentity(Names& names, const Device& device) {
    for (const picture::UnitName& name : picture::namesOf(device)) {
        add(names, "unit", name.text);
    }
    const bool isLastKnown = !device.lastKnownUdid.empty();
    add(names, "udid", isLastKnown ? device.lastKnownUdid : device.udid);
}

// Of a map its paths, of a path its map, as the kernel relates them.
void addRelated(Names& names, const Catalogue& catalogue, const Entry& entry) {
    std::vector<std::string> related;
    for (const Entry* const other : catalogue.related(entry)) {
        related.push_back(other->node);
    }
    std::sort(related.begin(), related.end(), view::goesBefore);
    for (const std::string& node : related) {
        add(names, entry.kind == Kind::kDisk ? "map" : "path", node);
    }
}

}  // namespace

std::vector<Name> allNames(Catalogue& catalogue, const picture::Picture& picture,
                           const std::string& node) {
    Names names;
    add(names, "node", node);
    const Entry* const entry = catalogue.entryOf(node);
    if (entry != nullptr) {
        addKernelNames(names, catalogue, *entry);
        addMountPoints(names, catalogue, *entry);
    }
    for (const Device& device : picture.devices) {
        if (device.name == node) {
            addIdentity(names, device);
        }
    }
    if (entry != nullptr) {
        addRelated(names, catalogue, *entry);
    }
    return names;
}

}  // namespace cli::names
