#ifndef SCSITOOL_TESTS_FUZZ_OUTPUT_SCHEMA_H
#define SCSITOOL_TESTS_FUZZ_OUTPUT_SCHEMA_H

#include <nlohmann/json.hpp>
#include <string>

namespace fuzz {

/// As much of JSON Schema (2020-12) as the schema of the command's output uses.
class Schema {
  public:
    explicit Schema(nlohmann::json schema) : m_root(std::move(schema)) {}

    /// What is wrong with a document, with its place; empty when it validates.
    std::string complaint(const nlohmann::json& document) const {
        return complaint(m_root, document, "");
    }

  private:
    using Json = nlohmann::json;

    std::string complaint(const Json& rule, const Json& value, const std::string& place) const;
    std::string ofObject(const Json& rule, const Json& value, const std::string& place) const;
    std::string ofArray(const Json& rule, const Json& value, const std::string& place) const;
    std::string ofChoices(const Json& rule, const Json& value, const std::string& place) const;
    std::size_t matches(const Json& rules, const Json& value) const;
    bool holds(const Json& rule, const Json& value) const {
        return complaint(rule, value, "").empty();
    }

    const Json m_root;
};

/// The schema of what the command prints with --json. Read once.
const Schema& outputSchema();

}  // namespace fuzz

#endif
