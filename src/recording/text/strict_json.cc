#include "recording/text/strict_json.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <vector>

#include "recording/text/utf8.h"

namespace recording {
namespace {

using nlohmann::json;

constexpr std::size_t kDeepest = 32;

// Follows the parser through a document, so that what is wrong can be told with its place.
class Follower {
  public:
    void onEvent(json::parse_event_t event, const json& parsed) {
        switch (event) {
            case json::parse_event_t::key:
                onKey(parsed.get<std::string>());
                break;
            case json::parse_event_t::object_start:
            case json::parse_event_t::array_start:
                onValue();
                m_frames.push_back({event == json::parse_event_t::array_start, 0, {}, {}});
                if (m_frames.size() > kDeepest) {
                    throw JsonError(place(), "expected at most " + std::to_string(kDeepest) +
                                                 " levels of nesting");
                }
                break;
            case json::parse_event_t::object_end:
            case json::parse_event_t::array_end:
                m_frames.pop_back();
                break;
            case json::parse_event_t::value:
                onValue();
                break;
        }
    }

    // JSON pointer to the value that was begun last.
    std::string place() const {
        std::string pointer;
        for (const Frame& frame : m_frames) {
            if (frame.isArray) {
                pointer += frame.count == 0 ? "" : "/" + std::to_string(frame.count - 1);
            } else {
                pointer += frame.keys.empty() ? "" : pointerStep(frame.key);
            }
        }
        return pointer;
    }

  private:
    struct Frame {
        bool isArray;
        std::size_t count;  // elements begun so far
        std::string key;    // the member in hand
        std::set<std::string> keys;
    };

    void onKey(const std::string& key) {
        m_frames.back().key = key;
        if (!m_frames.back().keys.insert(key).second) {
            throw JsonError(place(), "expected each member once, found it again");
        }
    }

    void onValue() {
        if (!m_frames.empty() && m_frames.back().isArray) {
            ++m_frames.back().count;
        }
    }

    std::vector<Frame> m_frames;
};

std::string lineAndColumn(const std::string& text, std::size_t offset) {
    const std::string before = text.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineFeed = before.rfind('\n');
    const std::size_t column = offset - (lineFeed == std::string::npos ? 0 : lineFeed + 1) + 1;
    return std::to_string(line) + ":" + std::to_string(column);
}

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
    Follower follower;
    const auto follow = [&follower](int, json::parse_event_t event, json& parsed) {
        follower.onEvent(event, parsed);
        return true;
    };
    try {
        return json::parse(text, follow);
    } catch (const json::parse_error& error) {
        // `byte` counts from 1 and is one past the end when the text ends too early.
        const std::size_t offset = std::min(error.byte == 0 ? 0 : error.byte - 1, text.size());
        throw JsonError(lineAndColumn(text, offset), "not JSON: " + reasonOf(error));
    } catch (const json::exception& error) {
        throw JsonError(follower.place(), "not JSON: " + reasonOf(error));
    }
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
