#ifndef SCSITOOL_CLI_UDEV_SAFE_TEXT_H
#define SCSITOOL_CLI_UDEV_SAFE_TEXT_H

#include <string>

/// Text of a device as udev takes it. Both forms write a byte as \xNN and a backslash too, so that
/// the text can be had back.
namespace cli::udev {

/// As udev writes a text into the name of a link: letters, digits and #+-.:=@_ stay. There is no
/// blank and no slash in it.
std::string encoded(const std::string& text);

/// The value of a property: printable ASCII stays as well, but for what quotes or substitutes
/// (\ " ' ` $) and for blanks at either end, which udev takes off.
std::string propertyValue(const std::string& text);

/// The text behind either form; what is no escape stays as it is.
std::string decoded(const std::string& text);

}  // namespace cli::udev

#endif
