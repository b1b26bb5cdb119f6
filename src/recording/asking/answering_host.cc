#include "recording/asking/answering_host.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "recording/asking/questions.h"
#include "recording/asking/transcribing_host.h"
#include "scsitool/host/interruption.h"

namespace recording {
namespace {

using Question = Transcript::Question;
using questions::keyOf;

// Above every limit on open files, and apart from those of a recorded host.
constexpr int kFirstDescriptor = 0x60000000;

// What a worker does with one device.
std::string askOn(host::Host& host, const Asking::Interview& interview, const std::string& name,
                  const Round::Draft& draft) {
    TranscribingHost transcribing(host, name, draft);
    const host::Scope scope(transcribing);
    try {
        interview(name);
    } catch (...) {
        // What it was asked by then stands; the operation itself throws for the rest.
        return transcribing.transcript().text();
    }
    return transcribing.transcript().text();
}

}  // namespace

AnsweringHost::AnsweringHost(host::Host& inner, const AskingLimits& limits, Round::Told told)
    : ForwardingHost(inner),
      m_limits(limits),
      m_told(std::move(told)),
      m_nextDescriptor(kFirstDescriptor) {}

AnsweringHost::~AnsweringHost() = default;

void AnsweringHost::ask(Asking asking) {
    forget();
    m_asking = std::move(asking);
    begin(m_asking.devices);
}

void AnsweringHost::begin(const Asking::List& list) {
    m_isStale = false;
    std::vector<std::string> listed = list();
    std::vector<std::string> names;
    names.reserve(listed.size());
    m_items.reserve(listed.size());
    for (std::string& name : listed) {
        if (!isGivenUp(name) && m_items.emplace(name, names.size()).second) {
            names.push_back(std::move(name));
        }
    }
    if (names.empty()) {
        return;
    }
    m_transcripts.assign(names.size(), nullptr);
    const auto work = [this](const std::string& name, const Round::Draft& draft) {
        return askOn(inner(), m_asking.interview, name,
                     m_asking.keepsFirstAnswers ? draft : Round::Draft());
    };
    m_round = std::make_unique<Round>(std::move(names), work, m_limits, m_told);
    m_round->settle();
    for (const std::string& name : givenUp()) {
        giveUp(name);
    }
    m_forkError = m_round->forkError() != 0 ? m_round->forkError() : m_forkError;
}

void AnsweringHost::forget() {
    for (const std::string& name : givenUp()) {
        giveUp(name);
    }
    if (m_round != nullptr) {
        m_asked.insert(m_asked.end(), m_round->names().begin(), m_round->names().end());
        m_round.reset();
    }
    m_items.clear();
    m_transcripts.clear();
    m_isStale = static_cast<bool>(m_asking.interview);
}

std::size_t AnsweringHost::asked() const {
    std::set<std::string> all(m_asked.begin(), m_asked.end());
    if (m_round != nullptr) {
        all.insert(m_round->names().begin(), m_round->names().end());
    }
    return all.size();
}

std::set<std::string> AnsweringHost::givenUp() const {
    std::set<std::string> names = m_givenUp;
    const std::size_t items = m_round != nullptr ? m_round->names().size() : 0;
    for (std::size_t item = 0; item < items; ++item) {
        if (m_round->endOf(item) == Round::End::kGivenUp) {
            names.insert(m_round->names()[item]);
        }
    }
    return names;
}

void AnsweringHost::giveUp(const std::string& path) {
    host::DeviceNumber number;
    if (m_givenUp.insert(path).second && ForwardingHost::deviceNumber(path, number) >= 0 &&
        number.kind != host::DeviceNumber::Kind::kNone) {
        m_givenUpNumbers.push_back(number);
    }
}

// A link to the node, or another node of the same number, would hang just the same.
bool AnsweringHost::isGivenUp(const std::string& path) {
    if (m_givenUp.count(path) != 0) {
        return true;
    }
    host::DeviceNumber number;
    return !m_givenUpNumbers.empty() && ForwardingHost::deviceNumber(path, number) >= 0 &&
           std::find(m_givenUpNumbers.begin(), m_givenUpNumbers.end(), number) !=
               m_givenUpNumbers.end();
}

int AnsweringHost::openDevice(const std::string& path, host::OpenMode mode) {
    if (m_isStale && mode == host::OpenMode::kReadWriteNonBlocking) {
        begin(m_asking.devicesAfterEffect);
    }
    if (isAsked(path)) {
        return openAsked(m_item, mode);
    }
    return isGivenUp(path) ? -ETIMEDOUT : ForwardingHost::openDevice(path, mode);
}

// Finds the item. They are opened in the order in which they were listed, each of them twice.
bool AnsweringHost::isAsked(const std::string& path) {
    const std::size_t items = m_round != nullptr ? m_round->names().size() : 0;
    for (const std::size_t near : {m_item, m_item + 1}) {
        if (near < items && m_round->names()[near] == path) {
            m_item = near;
            return true;
        }
    }
    const auto found = m_items.find(path);
    if (found == m_items.end()) {
        return false;
    }
    m_item = found->second;
    return true;
}

AnsweringHost::Open* AnsweringHost::findOpen(int descriptor) {
    const auto found = std::find_if(m_open.begin(), m_open.end(), [descriptor](const Open& open) {
        return open.descriptor == descriptor;
    });
    return found == m_open.end() ? nullptr : &*found;
}

int AnsweringHost::openAsked(std::size_t item, host::OpenMode mode) {
    const Round::End end = m_round->settle(item);
    if (host::interruption() != 0) {
        return -EINTR;
    }
    const bool isAnswered = end == Round::End::kAnswered && transcriptOf(item, end) != nullptr;
    const bool isSilent = end != Round::End::kNotAsked && !isAnswered;
    if (isSilent) {
        giveUp(m_round->names()[item]);
    }
    if (isSilent && (!m_asking.keepsFirstAnswers || transcriptOf(item, end) == nullptr)) {
        return -ETIMEDOUT;
    }
    return isSilent || isAnswered ? openAnswered(item, mode, isSilent)
                                  : ForwardingHost::openDevice(m_round->names()[item], mode);
}

int AnsweringHost::openAnswered(std::size_t item, host::OpenMode mode, bool isSilent) {
    const std::string& path = m_round->names()[item];
    std::shared_ptr<Transcript> transcript = m_transcripts[item];
    Transcript::Answer answer;
    if (!transcript->next(Question::kOpen, keyOf(mode), answer)) {
        return isSilent ? -ETIMEDOUT : ForwardingHost::openDevice(path, mode);
    }
    if (answer.result < 0) {
        return answer.result;
    }
    const int descriptor = m_nextDescriptor++;
    m_open.push_back({descriptor, std::move(transcript), path, mode, isSilent, -1});
    return descriptor;
}

// Null for what is no transcript. Of a device that was given up it is what it has said by then.
std::shared_ptr<Transcript> AnsweringHost::transcriptOf(std::size_t item, Round::End end) {
    std::shared_ptr<Transcript>& transcript = m_transcripts[item];
    std::string text;
    const bool isThere =
        transcript == nullptr &&
        (end == Round::End::kGivenUp ? m_round->draft(item, text) : m_round->answer(item, text));
    if (isThere) {
        auto read = std::make_shared<Transcript>();
        if (read->read(std::move(text))) {
            transcript = std::move(read);
        }
    }
    return transcript;
}

int AnsweringHost::closeDevice(int descriptor) {
    Open* const found = findOpen(descriptor);
    if (found == nullptr) {
        return ForwardingHost::closeDevice(descriptor);
    }
    const Open open = std::move(*found);
    m_open.erase(m_open.begin() + (found - m_open.data()));
    Transcript::Answer answer;
    const bool isAnswered = open.transcript->next(Question::kClose, {}, answer);
    const int closed = open.real >= 0 ? ForwardingHost::closeDevice(open.real) : 0;
    return isAnswered ? answer.result : closed;
}

// Answers a question to a device that was asked. `pass` puts it to the device itself.
template <class Request, class Pass>
int AnsweringHost::answered(int descriptor, Question question, std::string_view key,
                            Request& request, const Pass& pass) {
    Open* const found = findOpen(descriptor);
    if (found == nullptr) {
        return pass(descriptor);
    }
    Open& open = *found;
    Transcript::Answer answer;
    if (open.transcript->next(question, key, answer) && questions::take(answer, request)) {
        return answer.result;
    }
    if (open.isSilent) {
        return -ETIMEDOUT;
    }
    if (open.real < 0) {
        open.real = ForwardingHost::openDevice(open.path, open.mode);
    }
    return open.real < 0 ? open.real : pass(open.real);
}

int AnsweringHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    return answered(descriptor, Question::kCommand, keyOf(buffer), buffer,
                    [&](int device) { return ForwardingHost::sendCommand(device, buffer); });
}

int AnsweringHost::addressWords(int descriptor, host::AddressWords& words) {
    return answered(descriptor, Question::kAddressWords, {}, words,
                    [&](int device) { return ForwardingHost::addressWords(device, words); });
}

int AnsweringHost::sgIo(int descriptor, host::SgIoRequest& request) {
    return answered(descriptor, Question::kSgIo, keyOf(request), request,
                    [&](int device) { return ForwardingHost::sgIo(device, request); });
}

int AnsweringHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    return answered(descriptor, Question::kSize, {}, bytes,
                    [&](int device) { return ForwardingHost::deviceSize(device, bytes); });
}

host::AppendResult AnsweringHost::appendFile(const std::string& path, const std::string& text,
                                             const host::BeforeWrite& beforeWrite) {
    forget();
    return ForwardingHost::appendFile(path, text, beforeWrite);
}

host::CommandResult AnsweringHost::runCommand(const std::string& command, int timeoutSeconds) {
    if (!host::isReadCommand(command)) {
        forget();
    }
    return ForwardingHost::runCommand(command, timeoutSeconds);
}

int AnsweringHost::runShell(const std::string& line) {
    forget();
    return ForwardingHost::runShell(line);
}

}  // namespace recording
