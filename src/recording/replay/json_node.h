#ifndef SCSITOOL_RECORDING_REPLAY_JSON_NODE_H
#define SCSITOOL_RECORDING_REPLAY_JSON_NODE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "recording/replay/recorded_host_data.h"
#include "recording/text/json_tree.h"
#include "recording/text/strict_json.h"

/// Reading a recorded host's document value by value: whatever is not as expected is refused with
/// its place (JsonError).
namespace recording {

/// What a value is, for a message.
std::string describe(const JsonValue& value);

/// A value and the way to it from the root.
class JsonNode {
  public:
    /// All must outlive the node.
    JsonNode(const JsonValue& value, const JsonNode* parent, std::string_view step)
        : m_value(value), m_parent(parent), m_step(step) {}

    const JsonValue& value() const { return m_value; }
    std::string_view step() const { return m_step; }
    std::string place() const {
        return m_parent == nullptr ? "" : m_parent->place() + pointerStep(std::string(m_step));
    }

    [[noreturn]] void refuse(const std::string& expected, const std::string& found) const {
        throw JsonError(place(), "expected " + expected + ", found " + found);
    }
    [[noreturn]] void refuse(const std::string& expected) const {
        refuse(expected, describe(m_value));
    }

    /// Calls `use(member)` for each member but the comments, in the order of their names.
    template <class Use>
    void forEachMember(Use use) const {
        if (!m_value.isObject()) {
            refuse("an object");
        }
        for (const JsonMember& member : m_value.members) {
            if (member.name != "comment") {
                use(JsonNode(member.value, this, member.name));
            }
        }
    }

    template <class Use>
    void forEachElement(const std::string& expected, Use use) const {
        if (!m_value.isArray()) {
            refuse(expected);
        }
        std::size_t index = 0;
        for (const JsonMember& element : m_value.members) {
            const std::string step = std::to_string(index++);
            use(JsonNode(element.value, this, step));
        }
    }

  private:
    const JsonValue& m_value;
    const JsonNode* m_parent;
    std::string_view m_step;
};

std::string readText(const JsonNode& node, const std::string& expected = "a string");
std::uint64_t readNumber(const JsonNode& node, std::uint64_t lowest, std::uint64_t highest);
int readErrno(const JsonNode& node);
bool readBool(const JsonNode& node);
/// Bytes from hexadecimal digits that stand somewhere in a node.
Bytes decodeHex(const JsonNode& node, std::string_view digits);
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
