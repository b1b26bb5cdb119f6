#ifndef SCSITOOL_RECORDING_TEXT_JSON_TREE_H
#define SCSITOOL_RECORDING_TEXT_JSON_TREE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace recording {

struct JsonMember;

/// A value of a JSON document.
struct JsonValue {
    enum class Kind : std::uint8_t { kNull, kBoolean, kNumber, kString, kArray, kObject };

    bool isNull() const { return kind == Kind::kNull; }
    bool isBoolean() const { return kind == Kind::kBoolean; }
    bool isNumber() const { return kind == Kind::kNumber; }
    bool isString() const { return kind == Kind::kString; }
    bool isArray() const { return kind == Kind::kArray; }
    bool isObject() const { return kind == Kind::kObject; }
    /// An object's member of that name; null where there is none.
    const JsonValue* find(std::string_view name) const;

    Kind kind = Kind::kNull;
    std::string_view text;            ///< a string's characters; any other scalar as it is written
    std::vector<JsonMember> members;  ///< an object's, in the order of their names; or an array's
};

/// A member of an object; of an array, without a name.
struct JsonMember {
    std::string_view name;
    JsonValue value;
};

/// A JSON text taken to pieces where it lies: texts of many megabytes, of which all is wanted, cost
/// little more than the reading. It takes what `parseStrictJson` takes.
class JsonTree {
  public:
    /// The text must outlive the tree, which points into it. Throws JsonError.
    explicit JsonTree(const std::string& text);

    const JsonValue& root() const { return m_root; }

  private:
    std::unique_ptr<char[]> m_unescaped;  // the strings that do not stand in the text as they are
    JsonValue m_root;
};

}  // namespace recording

#endif
