#ifndef SCSITOOL_RECORDING_REPLAY_JSON_NODE_H
#define SCSITOOL_RECORDING_REPLAY_JSON_NODE_H

#include <cstdint>
#include <string>
#include <utility>

#include "recording/replay/recorded_host_data.h"
#include "recording/text/strict_json.h"

/// Reading a recorded host's document value by value: whatever is not as expected is refused with
/// its place (JsonError).
namespace recording {

/// What a value is, for a message.
std::string describe(const nlohmann::json& value);

/// A value and the way to it from the root.
class JsonNode {
  public:
    JsonNode(const nlohmann::json& value, const JsonNode* parent, std::string step)
        : m_value(value), m_parent(parent), m_step(std::move(step)) {}

    const nlohmann::json& value() const { return m_value; }
    const std::string& step() const { return m_step; }
    std::string place() const {
        return m_parent == nullptr ? "" : m_parent->place() + pointerStep(m_step);
    }

    [[noreturn]] void refuse(const std::string& expected, const std::string& found) const {
        throw JsonError(place(), "expected " + expected + ", found " + found);
    }
    [[noreturn]] void refuse(const std::string& expected) const {
        refuse(expected, describe(m_value));
    }

    /// Calls `use(member)` for each member but the comments.
    template <class Use>
    void forEachMember(Use use) const {
        if (!m_value.is_object()) {
            refuse("an object");
        }
        for (const auto& [key, member] : m_value.items()) {
            if (key != "comment") {
                use(JsonNode(member, this, key));
            }
        }
    }

    template <class Use>
    void forEachElement(const std::string& expected, Use use) const {
        if (!m_value.is_array()) {
            refuse(expected);
        }
        std::size_t index = 0;
        for (const nlohmann::json& element : m_value) {
            use(JsonNode(element, this, std::to_string(index++)));
        }
    }

  private:
    const nlohmann::json& m_value;
    const JsonNode* m_parent;
    std::string m_step;
};

std::string readText(const JsonNode& node, const std::string& expected = "a string");
std::uint64_t readNumber(const JsonNode& node, std::uint64_t lowest, std::uint64_t highest);
int readErrno(const JsonNode& node);
bool readBool(const JsonNode& node);
/// Bytes from hexadecimal digits that stand somewhere in a node.
Bytes decodeHex(const JsonNode& node, const std::string& digits);
Bytes readHex(const JsonNode& node);
/// Text that need not be UTF-8: a string, or {"hex": "..."}.
std::string readRawText(const JsonNode& node);
/// The member's own name, which has to be an absolute path.
std::string readAbsolutePath(const JsonNode& node);
[[noreturn]] void refuseMember(const JsonNode& member, const std::string& known);

/// A string, or an object with the one member that is asked for: `use` reads that member.
template <class Use>
void readOnlyMember(const JsonNode& node, const std::string& name, Use use) {
    bool isThere = false;
    node.forEachMember([&](const JsonNode& member) {
        if (member.step() != name) {
            refuseMember(member, name);
        }
        isThere = true;
        use(member);
    });
    if (!isThere) {
        node.refuse("the member " + name, "an object without it");
    }
}

/// {"errno": N}, the one member: its number.
int readOnlyErrno(const JsonNode& node);

}  // namespace recording

#endif
