#ifndef SCSITOOL_RECORDING_REDACTION_TEXT_SCAN_H
#define SCSITOOL_RECORDING_REDACTION_TEXT_SCAN_H

#include <string>

#include "recording/redaction/secret_table.h"

namespace recording {

/// Adds what any text may name and what can be told by its form alone: iSCSI names, IPv4 and IPv6
/// addresses, MAC addresses and port names with separators, UUIDs, binary names in hexadecimal
/// digits (16 or 32 of them, with the digit of the kind of name that udev puts in front of them
/// or without), and words of twenty and more characters with a digit (LVM's identifiers).
void scanText(const std::string& text, SecretTable& table);

/// Adds what a name that udev or the kernel made of an identifier holds besides
/// ("ata-KINGSTON_SKC6005_50026B7785A1C2D3", "t10.ATA     KINGSTON ..."): each word with a digit
/// in it that is no known one.
void scanIdentifier(const std::string& text, SecretTable& table);

/// Adds the words of a path or of a name that somebody gave.
void scanNames(const std::string& text, SecretTable& table);

}  // namespace recording

#endif
