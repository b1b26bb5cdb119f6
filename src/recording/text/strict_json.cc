#include "recording/text/strict_json.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "recording/text/utf8.h"

namespace recording {
namespace {

using nlohmann::json;

// The library's message without its own number and place in front.
std::string reasonOf(const json::exception& error) {
    const std::string text = error.what();
    const std::string marker = "syntax error ";
    const std::size_t start = text.find(marker);
    if (start != std::string::npos) {
        return text.substr(start);
    }
    const std::size_t bracket = text.find("] ");
    return bracket == std::string::npos ? text : text.substr(bracket + 2);
}

// Builds the document while the parser goes through its text, so that what is wrong can be told
// with its place. The library's own builder looks through all members of an object again at the end
// of each of them.
class Builder : public nlohmann::json_sax<json> {
  public:
    json takeDocument() { return std::move(m_document); }

    bool null() override { return put(nullptr); }
    bool boolean(bool value) override { return put(value); }
    bool number_integer(std::int64_t value) override { return put(value); }
    bool number_unsigned(std::uint64_t value) override { return put(value); }
    bool number_float(double value, const std::string& /*text*/) override { return put(value); }
    bool string(std::string& value) override { return put(std::move(value)); }
    bool binary(json::binary_t& value) override { return put(std::move(value)); }

    bool start_object(std::size_t /*count*/) override { return begin(json::object()); }
    bool start_array(std::size_t /*count*/) override { return begin(json::array()); }
    bool end_object() override { return end(); }
    bool end_array() override { return end(); }

    bool key(std::string& name) override {
        Frame& frame = m_frames.back();
        auto& members = frame.value->get_ref<json::object_t&>();
        const auto [member, isNew] = members.emplace(std::move(name), nullptr);
        frame.key = &member->first;
        frame.member = &member->second;
        if (!isNew) {
            throw JsonError(place(), "expected each member once, found it again");
        }
        return true;
    }

    // The library gives what it would throw by its base class.
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::detail::exception& error) override {
        if (const auto* const wrongText = dynamic_cast<const json::parse_error*>(&error)) {
            throw *wrongText;
        }
        throw JsonError(place(), "not JSON: " + reasonOf(error));
    }

  private:
    struct Frame {
        json* value;                       // an object or an array
        const std::string* key = nullptr;  // the member in hand
        json* member = nullptr;
    };

    // JSON pointer to the value that was begun last.
    std::string place() const {
        std::string pointer;
        for (const Frame& frame : m_frames) {
            if (frame.key != nullptr) {
                pointer += pointerStep(*frame.key);
            } else if (frame.value->is_array() && !frame.value->empty()) {
                pointer += "/" + std::to_string(frame.value->size() - 1);
            }
        }
        return pointer;
    }

    template <class Value>
    json* put(Value&& value) {
        if (m_frames.empty()) {
            m_document = std::forward<Value>(value);
            return &m_document;
        }
        Frame& frame = m_frames.back();
        if (frame.value->is_array()) {
            auto& elements = frame.value->get_ref<json::array_t&>();
            return &elements.emplace_back(std::forward<Value>(value));
        }
        *frame.member = std::forward<Value>(value);
        return frame.member;
    }

    bool begin(json container) {
        m_frames.push_back({put(std::move(container))});
        if (m_frames.size() > kDeepestJson) {
            throw JsonError(
                place(), "expected at most " + std::to_string(kDeepestJson) + " levels of nesting");
        }
        return true;
    }

    bool end() {
        m_frames.pop_back();
        return true;
    }

    json m_document;
    std::vector<Frame> m_frames;
};

std::string lineAndColumn(const std::string& text, std::size_t offset) {
    const std::string before = text.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineFeed = before.rfind('\n');
    const std::size_t column = offset - (lineFeed == std::string::npos ? 0 : lineFeed + 1) + 1;
    return std::to_string(line) + ":" + std::to_string(column);
}

}  // namespace

std::string pointerStep(const std::string& key) {
    std::string step = "/";
    for (const char character : key) {
        if (character == '~') {
            step += "~0";
        } else if (character == '/') {
            step += "~1";
        } else {
            step += character;
        }
    }
    return step;
}

json parseStrictJson(const std::string& text) {
    // The library's words for it are other ones in each of its releases.
    if (text.empty()) {
        throw JsonError("1:1", "not JSON: there is nothing in it");
    }
    Builder builder;
    try {
        json::sax_parse(text, &builder);
    } catch (const json::parse_error& error) {
        // `byte` counts from 1 and is one past the end when the text ends too early.
        const std::size_t offset = std::min(error.byte == 0 ? 0 : error.byte - 1, text.size());
        throw JsonError(lineAndColumn(text, offset), "not JSON: " + reasonOf(error));
    }
    return builder.takeDocument();
}

std::string printable(const std::string& text, std::size_t longest) {
    const std::string readable = toUtf8(text);
    std::string result;
    for (const char character : readable) {
        const auto byte = static_cast<unsigned char>(character);
        if (result.size() >= longest && (byte & 0xC0U) != 0x80) {
            return result + "...";
        }
        result += byte < 0x20 || byte == 0x7F ? '?' : character;
    }
    return result;
}

}  // namespace recording
