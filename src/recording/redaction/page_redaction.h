#ifndef SCSITOOL_RECORDING_REDACTION_PAGE_REDACTION_H
#define SCSITOOL_RECORDING_REDACTION_PAGE_REDACTION_H

#include <cstdint>
#include <optional>
#include <string>

#include "recording/redaction/secret_table.h"
#include "recording/replay/recorded_host_data.h"

namespace recording {

/// What an INQUIRY response is: a VPD page's code, or none for the standard INQUIRY data.
using PageCode = std::optional<std::uint8_t>;

/// Adds the words of vendor, product and firmware in standard INQUIRY data as known ones.
void learnProduct(const Bytes& inquiry, SecretTable& table);

/// Adds what a response names.
void collectPage(PageCode code, const Bytes& bytes, SecretTable& table);
/// The response with other names of the same shape.
void redactPage(PageCode code, Bytes& bytes, const SecretTable& table);

/// Adds what stands in any other answer of a device, and replaces it. Bytes that are no text are
/// changed from 0x80 on; the smaller ones are lengths and codes.
void collectRegion(const Bytes& bytes, SecretTable& table);
void redactRegion(Bytes& bytes, const SecretTable& table);

/// The same for what came of an SG_IO request: an INQUIRY response is one, whatever asked for it.
void collectAnswer(const Bytes& block, const RecordedPage& answer, SecretTable& table);
void redactAnswer(const Bytes& block, RecordedPage& answer, const SecretTable& table);

/// The same for sense data, of which only what stands behind SPC's own fields may name anything.
void collectSense(const Bytes& sense, SecretTable& table);
void redactSense(Bytes& sense, const SecretTable& table);

}  // namespace recording

#endif
