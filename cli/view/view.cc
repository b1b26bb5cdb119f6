#include "cli/view/view.h"

#include <algorithm>
#include <cstring>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/view/facts_json.h"
#include "cli/view/natural_order.h"
#include "cli/view/path_tree.h"

namespace cli::view {
namespace {

using Columns = std::vector<const Column*>;

constexpr const char* kHelp = "help";
constexpr const char* kUdid = "udid";
constexpr const char* kState = "state";

std::vector<std::string> wordsOf(const std::string& list) {
    std::vector<std::string> words(1);
    for (const char c : list) {
        if (c == ',') {
            words.emplace_back();
        } else {
            words.back() += c;
        }
    }
    return words;
}

const Column& demanded(const std::string& option, const std::string& name) {
    if (const Column* const column = findColumn(name)) {
        return *column;
    }
    std::vector<std::string> names;
    for (const Column& column : allColumns()) {
        names.emplace_back(column.name);
    }
    throw UsageError(option + ": there is no column '" + name + "'; the columns are " +
                     joined(names, ", "));
}

Columns columnsOf(const std::string& option, const std::vector<std::string>& names) {
    Columns columns;
    for (const std::string& name : names) {
        columns.push_back(&demanded(option, name));
    }
    return columns;
}

bool isNamed(const Column* column, const char* name) {
    return std::strcmp(column->name, name) == 0;
}

// What is not told goes last, whatever the direction.
bool goesBefore(const Cell& left, const Cell& right, bool isReversed) {
    if (left.text.empty() || right.text.empty()) {
        return !left.text.empty() && right.text.empty();
    }
    const Cell& one = isReversed ? right : left;
    const Cell& other = isReversed ? left : right;
    return one.number && other.number && *one.number != *other.number
               ? *one.number < *other.number
               : view::goesBefore(one.text, other.text);
}

void sortBy(Rows& rows, const Column& column, bool isReversed) {
    std::vector<std::pair<Cell, Row>> keyed;
    keyed.reserve(rows.size());
    for (Row& row : rows) {
        Cell cell = column.cellOf(row);
        keyed.emplace_back(std::move(cell), std::move(row));
    }
    std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& left, const auto& right) {
        return goesBefore(left.first, right.first, isReversed);
    });
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i] = std::move(keyed[i].second);
    }
}

// device-mapper's control node and the like: there is nothing to be told of them.
bool holdsNothing(const picture::Device& device) {
    return device.state.condition == picture::Condition::kNoScsi && !device.sizeKb;
}

}  // namespace

Rows volumeRows(const Scene& scene) {
    Rows rows;
    for (std::size_t i = 0; i < scene.picture.volumes.size(); ++i) {
        const std::vector<std::size_t>& devices = scene.picture.volumes[i].devices;
        rows.push_back({&scene, devices, leaderOf(scene, devices), i, true});
    }
    return rows;
}

Rows deviceRows(const Scene& scene) {
    Rows rows;
    for (std::size_t i = 0; i < scene.picture.devices.size(); ++i) {
        if (!holdsNothing(scene.picture.devices[i])) {
            rows.push_back({&scene, {i}, i, scene.volumeOf[i], false});
        }
    }
    return rows;
}

View::View(std::vector<std::string> columns, bool hidesStateThatIsWell)
    : m_default(std::move(columns)), m_hidesStateThatIsWell(hidesStateThatIsWell) {}

void View::declare(CLI::App& app) {
    app.add_option("-o,--columns", m_wanted,
                   "The columns, in this order; +COLUMN adds to those shown without; "
                   "'-o help' lists them")
        ->type_name("COLUMN,...");
    app.add_option("--sort", m_sort, "Sort by this column")->type_name("COLUMN");
    app.add_flag("--reverse", m_isReversed, "Sort the other way round");
    app.add_flag("--no-headings", m_hasNoTitles, "Leave the line of headings out");
    m_filter.declare(app);
}

bool View::wantsHelp() const {
    return m_wanted == kHelp;
}

void View::demandColumns() const {
    if (!m_sort.empty()) {
        demanded("--sort", m_sort);
    }
    if (!wantsHelp()) {
        columnsFor({});
    }
}

Report View::columnHelp() {
    cli::Table table({{"COLUMN"}, {"HEADING"}, {"WHAT IT SHOWS"}});
    Report report;
    report.data["columns"] = Json::array();
    for (const Column& column : allColumns()) {
        table.addRow({column.name, column.heading, column.meaning});
        report.data["columns"].push_back(
            {{"name", column.name}, {"heading", column.heading}, {"meaning", column.meaning}});
    }
    report.text = table.str({});
    return report;
}

// What is added goes before the UDID, which stays the last.
Columns View::columnsFor(const Rows& rows) const {
    const bool isAdded = !m_wanted.empty() && m_wanted.front() == '+';
    if (!m_wanted.empty() && !isAdded) {
        return columnsOf("-o", wordsOf(m_wanted));
    }
    Columns columns = columnsOf("-o", m_default);
    const bool isWell = std::none_of(rows.begin(), rows.end(), isRemarkable);
    if (m_hidesStateThatIsWell && isWell) {
        columns.erase(std::remove_if(columns.begin(), columns.end(),
                                     [](const Column* one) { return isNamed(one, kState); }),
                      columns.end());
    }
    if (isAdded) {
        const Columns more = columnsOf("-o", wordsOf(m_wanted.substr(1)));
        const bool hasUdid = !columns.empty() && isNamed(columns.back(), kUdid);
        columns.insert(columns.end() - (hasUdid ? 1 : 0), more.begin(), more.end());
    }
    return columns;
}

Rows View::chosen(Rows rows) const {
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&](const Row& row) { return !m_filter.takes(row); }),
               rows.end());
    sortBy(rows, demanded("-o", "device"), m_isReversed && m_sort.empty());
    if (!m_sort.empty()) {
        sortBy(rows, demanded("--sort", m_sort), m_isReversed);
    }
    return rows;
}

void View::addFacts(Json& devices, const Scene& scene, const Rows& rows) const {
    view::addFacts(devices, scene);
    if (!m_filter.text().empty()) {
        keepThese(devices, scene, rows);
    }
}

std::string View::text(const Rows& rows, const Layout& layout, bool withPaths) const {
    const Columns columns = columnsFor(rows);
    std::vector<cli::Column> titles;
    for (const Column* const column : columns) {
        const bool isLast = column == columns.back();
        // What is not shown takes no room either.
        titles.push_back({m_hasNoTitles ? "" : column->heading, column->isRightAligned,
                          column->mayWrap, isLast && isNamed(column, kUdid)});
    }
    const PathTree tree = withPaths ? PathTree(rows, layout) : PathTree();
    cli::Table table(std::move(titles));
    table.addBelow(tree.titles());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::vector<std::string> cells;
        for (const Column* const column : columns) {
            std::string text = column->cellOf(rows[i]).text;
            cells.push_back(text.empty() ? "-" : std::move(text));
        }
        table.addRow(cells, isAlarming(rows[i]) ? Tone::kAlarm : Tone::kPlain);
        table.addBelow(tree.below(i));
    }
    return table.str(layout, !m_hasNoTitles);
}

std::string View::whyEmpty(const Rows& all, const Rows& taken, const std::string& what) const {
    return !all.empty() && taken.empty()
               ? "no " + what + " with " + m_filter.text() + ", of " + std::to_string(all.size())
               : std::string();
}

}  // namespace cli::view
