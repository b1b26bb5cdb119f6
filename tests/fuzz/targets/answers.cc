// What a process that asked a device left in the memory that it shares: it may have lost its mind.
#include <algorithm>
#include <string>
#include <utility>

#include "invariants.h"
#include "recording/asking/board.h"
#include "recording/asking/questions.h"
#include "recording/asking/transcript.h"
#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

using recording::Board;
using recording::Transcript;
using Question = Transcript::Question;
namespace questions = recording::questions;

// Answers as a transcript has it; what that does not answer goes to the device.
class ToldHost : public host::ForwardingHost {
  public:
    ToldHost(host::Host& inner, Transcript transcript)
        : ForwardingHost(inner), m_transcript(std::move(transcript)) {}

    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        const std::string key(questions::keyOf(buffer));
        return told(Question::kCommand, key, buffer,
                    [&] { return ForwardingHost::sendCommand(descriptor, buffer); });
    }
    int addressWords(int descriptor, host::AddressWords& words) override {
        return told(Question::kAddressWords, {}, words,
                    [&] { return ForwardingHost::addressWords(descriptor, words); });
    }
    int sgIo(int descriptor, host::SgIoRequest& request) override {
        return told(Question::kSgIo, questions::keyOf(request), request,
                    [&] { return ForwardingHost::sgIo(descriptor, request); });
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        return told(Question::kSize, {}, bytes,
                    [&] { return ForwardingHost::deviceSize(descriptor, bytes); });
    }

  private:
    template <class Request, class Pass>
    int told(Question question, const std::string& key, Request& request, const Pass& pass) {
        Transcript::Answer answer;
        return m_transcript.next(question, key, answer) && questions::take(answer, request)
                   ? answer.result
                   : pass();
    }

    Transcript m_transcript;
};

recording::RecordedHostData machine() {
    recording::RecordedHostData data;
    data.files["/proc/partitions"] = "major minor  #blocks  name\n\n   8  0  1048576 sda\n";
    data.devices["/dev/sda"].idLun = 1;
    return data;
}

void believe(const std::string& text) {
    Transcript transcript;
    if (!transcript.read(text)) {
        fuzz::demand(transcript.text().empty(), "nothing is taken of what is no transcript");
        return;
    }
    fuzz::demand(transcript.text() == text, "a transcript is kept as it is");
    recording::Journal journal;
    recording::RecordedHost below(machine(), journal);
    ToldHost host(below, std::move(transcript));
    const host::Scope scope(host);
    static CUDIDFactory factory;
    factory.enumerateDeviceMap(false, false, false, "", "");
    fuzz::demand(below.openDescriptors() == 0, "no descriptor is left open");
}

// The first byte says how many devices, the next two from where on the worker has written.
void readBoard(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kHead = 3;
    if (size < kHead) {
        return;
    }
    const std::size_t items = 1 + data[0] % 4U;
    Board board(items);
    fuzz::demand(board.isThere(), "there is shared memory");
    const std::string result(reinterpret_cast<const char*>(data) + kHead, size - kHead);
    std::size_t taken = 0;
    board.seat(0);
    board.take(0, taken);
    board.putDraft(taken, result);
    board.put(0, taken, result);
    const std::size_t from = std::size_t{data[1]} << 8U | data[2];
    constexpr std::size_t kSeatsEnd = 64 + Board::kSeats * 16;
    const std::size_t places[] = {from % 128, kSeatsEnd + from % 128};
    std::copy_n(data + kHead, std::min<std::size_t>(size - kHead, 64),
                board.shared() + places[data[0] >> 7U]);
    board.at(0);
    board.at(Board::kSeats - 1);
    board.taken();
    board.ended();
    for (std::size_t item = 0; item < items; ++item) {
        std::string text;
        board.state(item);
        if (board.result(item, text)) {
            fuzz::demand(text.size() <= Board::kLargestResult, "a result has its bounds");
            believe(text);
        }
        if (board.draft(item, text)) {
            fuzz::demand(text.size() <= Board::kLargestResult, "a draft has its bounds");
            Transcript().read(text);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    believe(std::string(reinterpret_cast<const char*>(data), size));
    readBoard(data, size);
    return 0;
}
