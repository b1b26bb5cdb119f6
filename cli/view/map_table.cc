#include "cli/view/map_table.h"

#include <optional>
#include <sstream>

#include "cli/view/map_lines.h"
#include "recording/guard/effect/scsi_address.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli::view {
namespace {

/// The words of a table, taken one after the other; what ends early is not whole any more.
class Words {
  public:
    explicit Words(const std::string& text) : m_words(text) {}

    bool isWhole() const { return m_isWhole; }

    std::string next() {
        std::string word;
        m_isWhole = m_isWhole && static_cast<bool>(m_words >> word);
        return word;
    }
    std::uint64_t number() {
        const auto number = recording::guard::parseDecimal(next());
        m_isWhole = m_isWhole && number;
        return m_isWhole ? *number : 0;
    }
    // A number and so many words: "2 a b".
    std::string counted() {
        const std::uint64_t count = number();
        std::string text = std::to_string(count);
        for (std::uint64_t i = 0; i < count && m_isWhole; ++i) {
            text += " ";
            text += next();
        }
        return text;
    }

  private:
    std::istringstream m_words;
    bool m_isWhole = true;
};

// "service-time 0 1 2 8:16 1 1": how a path is chosen, and the paths with as many words each.
void readGroup(Words& words, MapTable& table) {
    std::string policy = words.next();
    policy += " ";
    policy += words.counted();
    const std::uint64_t paths = words.number();
    const std::uint64_t arguments = words.number();
    for (std::uint64_t i = 0; i < paths && words.isWhole(); ++i) {
        const auto number =
            recording::guard::parseNumber(words.next(), host::DeviceNumber::Kind::kBlock);
        if (number) {
            table.policies[recording::guard::numberText(*number)] = policy;
        }
        for (std::uint64_t j = 0; j < arguments && words.isWhole(); ++j) {
            words.next();
        }
    }
}

std::optional<MapTable> tableIn(const std::string& text) {
    Words words(text);
    MapTable table;
    table.features = words.counted();
    table.handler = words.counted();
    const std::uint64_t groups = words.number();
    words.number();  // the group to begin with
    for (std::uint64_t i = 0; i < groups && words.isWhole(); ++i) {
        readGroup(words, table);
    }
    return words.isWhole() ? std::optional<MapTable>(std::move(table)) : std::nullopt;
}

MapTables tablesIn(const MapLines& lines) {
    MapTables tables;
    for (const auto& [map, text] : lines) {
        if (auto table = tableIn(text)) {
            tables[map] = std::move(*table);
        }
    }
    return tables;
}

}  // namespace

// "mpatha: 0 131072 multipath 1 queue_if_no_path 0 1 1 service-time 0 2 2 8:16 1 1 8:48 1 1"
MapTables parseMapTables(const std::vector<std::string>& lines) {
    return tablesIn(multipathLinesIn(lines));
}

MapTables askMapTables(host::Host& host, std::string& failure) {
    return tablesIn(askDmsetup(host, "table", failure));
}

}  // namespace cli::view
