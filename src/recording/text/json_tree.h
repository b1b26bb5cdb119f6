#ifndef SCSITOOL_RECORDING_TEXT_JSON_TREE_H
#define SCSITOOL_RECORDING_TEXT_JSON_TREE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace recording {

struct JsonMember;

/// The members of an object or an array, one behind the other.
class JsonMembers {
  public:
    class Iterator {
      public:
        explicit Iterator(const JsonMember* member) : m_member(member) {}
        const JsonMember& operator*() const { return *m_member; }
        const JsonMember* operator->() const { return m_member; }
        inline Iterator& operator++();
        bool operator!=(const Iterator& other) const { return m_member != other.m_member; }

      private:
        const JsonMember* m_member;
    };

    Iterator begin() const { return Iterator(m_first); }
    Iterator end() const { return Iterator(nullptr); }
    inline std::size_t size() const;

  private:
    friend class JsonMemberList;
    const JsonMember* m_first = nullptr;
};

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
    std::string_view text;  ///< a string's characters; any other scalar as it is written
    JsonMembers members;    ///< an object's, in the order of their names; or an array's
};

/// A member of an object; of an array, without a name.
struct JsonMember {
    std::string_view name;
    JsonValue value;
    JsonMember* next = nullptr;
};

inline JsonMembers::Iterator& JsonMembers::Iterator::operator++() {
    m_member = m_member->next;
    return *this;
}

inline std::size_t JsonMembers::size() const {
    std::size_t count = 0;
    for (const JsonMember* member = m_first; member != nullptr; member = member->next) {
        ++count;
    }
    return count;
}

/// Room for the members of a whole tree, many at a time: they come and go together.
class JsonMemberStore {
  public:
    JsonMember* add();
    std::size_t bytes() const { return m_blocks.size() * kInABlock * sizeof(JsonMember); }

  private:
    static constexpr std::size_t kInABlock = 1024;
    std::vector<std::unique_ptr<JsonMember[]>> m_blocks;
    std::size_t m_used = kInABlock;  // of the last block
};

/// A JSON text taken to pieces where it lies: texts of many megabytes, of which all is wanted, cost
/// little more than the reading. It takes what `parseStrictJson` takes.
class JsonTree {
  public:
    /// The text must outlive the tree, which points into it. Throws JsonError.
    explicit JsonTree(const std::string& text);

    const JsonValue& root() const { return m_root; }

    /// What all members together take: of whatever lists a text is made, no more than that.
    std::size_t memberBytes() const { return m_members.bytes(); }

  private:
    std::unique_ptr<char[]> m_unescaped;  // the strings that do not stand in the text as they are
    JsonMemberStore m_members;
    JsonValue m_root;
};

}  // namespace recording

#endif
