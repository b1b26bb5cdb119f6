#include "cli/comparison/matrix_text.h"

#include <set>

#include "cli/base/text.h"

namespace cli::comparison {
namespace {

// Where all names begin alike the rest tells more.
std::string shortName(const std::string& name) {
    for (const char* const start : {"/dev/mapper/", "/dev/"}) {
        const std::string folder = start;
        if (name.compare(0, folder.size(), folder) == 0) {
            return name.substr(folder.size());
        }
    }
    return name;
}

// "mpatha 4", or "mpatha 3/4" where a path does not answer.
std::string cellOf(const Sighting& seen) {
    const std::string all = std::to_string(seen.paths);
    return shortName(*seen.name) + " " +
           (seen.wellPaths == seen.paths ? all : std::to_string(seen.wellPaths) + "/" + all);
}

// Hosts that have not looked again since a volume grew say another size.
std::string sizesOf(const SharedVolume& volume) {
    std::set<std::uint64_t> sizes;
    for (const Sighting& seen : volume.sightings) {
        if (seen.sizeKb) {
            sizes.insert(*seen.sizeKb);
        }
    }
    std::vector<std::string> texts;
    for (const std::uint64_t size : sizes) {
        texts.push_back(sizeText(size));
    }
    return texts.empty() ? "-" : joined(texts, ", ");
}

std::vector<std::string> rowOf(const Matrix& matrix, const SharedVolume& volume) {
    std::vector<std::string> cells = {
        sizesOf(volume),
        std::to_string(volume.sightings.size()) + "/" + std::to_string(matrix.hosts().size())};
    const std::size_t first = cells.size();
    cells.resize(first + matrix.hosts().size(), "-");
    for (const Sighting& seen : volume.sightings) {
        cells[first + seen.host] = cellOf(seen);
    }
    cells.push_back(volume.udid.empty()            ? volume.unitName
                    : matrix.sharesItsUdid(volume) ? volume.udid + " (" + volume.unitName + ")"
                                                   : volume.udid);
    return cells;
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : jsonText(text);
}

}  // namespace

std::string matrixText(const Matrix& matrix, const SharedVolumes& rows, const Layout& layout) {
    std::vector<Column> columns = {{"SIZE", true}, {"HOSTS", true}};
    for (const HostColumn& host : matrix.hosts()) {
        columns.push_back({host.title, false, true});
    }
    columns.push_back({"UDID", false, true, true});
    Table table(std::move(columns));
    for (const SharedVolume* const volume : rows) {
        table.addRow(rowOf(matrix, *volume));
    }
    std::string text = table.str(layout);
    for (const HostColumn& host : matrix.hosts()) {
        if (host.leftOut != 0) {
            text += visible(host.title) + ": " + std::to_string(host.leftOut) + " of " +
                    std::to_string(host.volumes) +
                    " volumes left out: they tell nothing that another host could know them by\n";
        }
    }
    return text;
}

Json hostsJson(const Matrix& matrix) {
    Json list = Json::array();
    for (const HostColumn& host : matrix.hosts()) {
        list.push_back({{"host", textOrNull(host.host)},
                        {"time", textOrNull(host.time)},
                        {"source", jsonText(host.source)},
                        {"volumes", host.volumes},
                        {"left_out", host.leftOut}});
    }
    return list;
}

Json sharedVolumeJson(const Matrix& matrix, const SharedVolume& volume) {
    Json json = {{"udid", jsonText(volume.udid)},
                 {"logical_unit_name", textOrNull(volume.unitName)},
                 {"hosts", matrix.hosts().size()},
                 {"seen_by", Json::array()}};
    for (const Sighting& seen : volume.sightings) {
        const HostColumn& host = matrix.hosts()[seen.host];
        Json entry = {{"host", textOrNull(host.host)},
                      {"time", textOrNull(host.time)},
                      {"name", jsonText(*seen.name)},
                      {"paths", seen.paths},
                      {"paths_well", seen.wellPaths},
                      {"size_kb", seen.sizeKb ? Json(*seen.sizeKb) : Json(nullptr)}};
        if (seen.udid != nullptr) {
            entry["udid"] = jsonText(*seen.udid);
        }
        json["seen_by"].push_back(std::move(entry));
    }
    return json;
}

}  // namespace cli::comparison
