#ifndef SCSITOOL_RECORDING_ASKING_QUESTIONS_H
#define SCSITOOL_RECORDING_ASKING_QUESTIONS_H

#include <string>
#include <string_view>

#include "recording/asking/transcript.h"
#include "scsitool/host/host.h"

/// How the requests of a host and their answers stand in a transcript: written where a device is
/// asked, read where it is answered for.
namespace recording::questions {

std::string keyOf(host::OpenMode mode);
/// The head of the buffer and the largest command block, which lie in the buffer: the answer is
/// going to overwrite them. Empty for a request that sends data: it is not put down.
std::string_view keyOf(const host::CommandBuffer& buffer);
std::string keyOf(const host::SgIoRequest& request);

/// The response or the sense data without the zeros behind them; nothing where the request did not
/// reach the device.
std::string dataOf(int result, const host::CommandBuffer& buffer);
std::string dataOf(const host::SgIoRequest& request);
std::string dataOf(const host::AddressWords& words);
std::string dataOf(std::uint64_t bytes);

/// Each gives the answer's result and puts its data where the request's belong. False for data that
/// do not fit there.
bool take(const Transcript::Answer& answer, host::CommandBuffer& buffer);
bool take(const Transcript::Answer& answer, host::SgIoRequest& request);
bool take(const Transcript::Answer& answer, host::AddressWords& words);
bool take(const Transcript::Answer& answer, std::uint64_t& bytes);

}  // namespace recording::questions

#endif
