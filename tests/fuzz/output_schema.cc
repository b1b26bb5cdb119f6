#include "output_schema.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>

#include "invariants.h"

namespace fuzz {
namespace {

using Json = nlohmann::json;

bool isOfType(const std::string& type, const Json& value) {
    return type == "object"    ? value.is_object()
           : type == "array"   ? value.is_array()
           : type == "string"  ? value.is_string()
           : type == "integer" ? value.is_number_integer()
           : type == "number"  ? value.is_number()
           : type == "boolean" ? value.is_boolean()
                               : type == "null" && value.is_null();
}

bool isOfAType(const Json& types, const Json& value) {
    return types.is_string() ? isOfType(types, value)
                             : std::any_of(types.begin(), types.end(),
                                           [&](const Json& type) { return isOfType(type, value); });
}

// A member of a rule, or what stands for none; nothing of the schema is copied.
const Json& memberOf(const Json& rule, const char* name, const Json& otherwise) {
    const auto found = rule.find(name);
    return found != rule.end() ? *found : otherwise;
}

const Json kNoList = Json::array();
const Json kNoMembers = Json::object();

// The expression's matcher recurses once a character: a long text would end the stack.
bool matchesPattern(const std::string& pattern, const std::string& text) {
    constexpr std::size_t kLongest = 256;
    static std::map<std::string, std::regex> known;
    const auto found = known.try_emplace(pattern, pattern, std::regex::ECMAScript).first;
    return text.size() > kLongest || std::regex_search(text, found->second);
}

std::string ofScalar(const Json& rule, const Json& value, const std::string& place) {
    if (rule.contains("type") && !isOfAType(rule["type"], value)) {
        return place + ": not of type " + rule["type"].dump();
    }
    if (rule.contains("const") && value != rule["const"]) {
        return place + ": not " + rule["const"].dump();
    }
    if (rule.contains("enum") &&
        std::find(rule["enum"].begin(), rule["enum"].end(), value) == rule["enum"].end()) {
        return place + ": none of " + rule["enum"].dump();
    }
    if (value.is_number() && ((rule.contains("minimum") && value < rule["minimum"]) ||
                              (rule.contains("maximum") && value > rule["maximum"]))) {
        return place + ": out of range";
    }
    if (value.is_string() && rule.contains("pattern") &&
        !matchesPattern(rule["pattern"], value.get_ref<const std::string&>())) {
        return place + ": does not match " + rule["pattern"].dump();
    }
    return "";
}

}  // namespace

std::string Schema::ofObject(const Json& rule, const Json& value, const std::string& place) const {
    for (const Json& name : memberOf(rule, "required", kNoList)) {
        if (!value.contains(name.get_ref<const std::string&>())) {
            return place + ": without " + name.dump();
        }
    }
    const Json& properties = memberOf(rule, "properties", kNoMembers);
    for (const auto& [name, member] : value.items()) {
        const std::string inside = place + "/" + name;
        const Json* const how = properties.contains(name) ? &properties[name]
                                : rule.contains("additionalProperties")
                                    ? &rule["additionalProperties"]
                                    : nullptr;
        std::string wrong = how == nullptr ? "" : complaint(*how, member, inside);
        if (wrong.empty() && rule.contains("propertyNames")) {
            wrong = complaint(rule["propertyNames"], name, inside);
        }
        if (!wrong.empty()) {
            return wrong;
        }
    }
    return "";
}

std::string Schema::ofArray(const Json& rule, const Json& value, const std::string& place) const {
    if (value.size() < rule.value("minItems", std::size_t{0}) ||
        value.size() > rule.value("maxItems", value.size())) {
        return place + ": " + std::to_string(value.size()) + " elements";
    }
    for (std::size_t i = 0; rule.contains("items") && i < value.size(); ++i) {
        std::string wrong = complaint(rule["items"], value[i], place + "/" + std::to_string(i));
        if (!wrong.empty()) {
            return wrong;
        }
    }
    return "";
}

std::size_t Schema::matches(const Json& rules, const Json& value) const {
    return static_cast<std::size_t>(std::count_if(
        rules.begin(), rules.end(), [&](const Json& rule) { return holds(rule, value); }));
}

std::string Schema::ofChoices(const Json& rule, const Json& value, const std::string& place) const {
    for (const Json& each : memberOf(rule, "allOf", kNoList)) {
        std::string wrong = complaint(each, value, place);
        if (!wrong.empty()) {
            return wrong;
        }
    }
    if (rule.contains("anyOf") && matches(rule["anyOf"], value) == 0) {
        return place + ": none of anyOf";
    }
    if (rule.contains("oneOf") && matches(rule["oneOf"], value) != 1) {
        return place + ": not one of oneOf";
    }
    if (rule.contains("not") && holds(rule["not"], value)) {
        return place + ": what must not be";
    }
    if (rule.contains("if")) {
        const char* const branch = holds(rule["if"], value) ? "then" : "else";
        return rule.contains(branch) ? complaint(rule[branch], value, place) : "";
    }
    return "";
}

std::string Schema::complaint(const Json& rule, const Json& value, const std::string& place) const {
    if (rule.is_boolean()) {
        return rule.get<bool>() ? "" : place + ": not known";
    }
    std::string wrong = ofScalar(rule, value, place);
    if (wrong.empty() && rule.contains("$ref")) {
        const std::string target = rule["$ref"].get_ref<const std::string&>().substr(1);
        wrong = complaint(m_root.at(Json::json_pointer(target)), value, place);
    }
    if (wrong.empty() && value.is_object()) {
        wrong = ofObject(rule, value, place);
    }
    if (wrong.empty() && value.is_array()) {
        wrong = ofArray(rule, value, place);
    }
    return wrong.empty() ? ofChoices(rule, value, place) : wrong;
}

const Schema& outputSchema() {
    static const Schema schema = [] {
        std::ifstream file(SCSITOOL_OUTPUT_SCHEMA);
        demand(file.good(), "the schema can be read", SCSITOOL_OUTPUT_SCHEMA);
        return Schema(Json::parse(file));
    }();
    return schema;
}

}  // namespace fuzz
