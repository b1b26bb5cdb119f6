#ifndef SCSITOOL_RECORDING_TEXT_STRICT_JSON_H
#define SCSITOOL_RECORDING_TEXT_STRICT_JSON_H

#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace recording {

/// What is wrong with a JSON text: the place (line:column or a JSON pointer) and the reason.
class JsonError : public std::runtime_error {
  public:
    JsonError(std::string place, const std::string& reason)
        : std::runtime_error(reason), m_place(std::move(place)) {}
    const std::string& place() const { return m_place; }

  private:
    std::string m_place;
};

/// One step of a JSON pointer with "~" and "/" escaped and the "/" in front.
std::string pointerStep(const std::string& key);

/// How many containers may lie in one another, the document itself included.
constexpr std::size_t kDeepestJson = 32;

/// Parses a JSON text strictly: UTF-8, no member twice in one object, no deeper than a sane
/// document goes. Throws JsonError.
nlohmann::json parseStrictJson(const std::string& text);

/// A text without anything that would break a one-line message, cut to a readable length.
std::string printable(const std::string& text, std::size_t longest = 80);

}  // namespace recording

#endif
