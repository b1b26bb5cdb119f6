#ifndef SCSITOOL_RECORDING_ASKING_ANSWERING_HOST_H
#define SCSITOOL_RECORDING_ASKING_ANSWERING_HOST_H

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "recording/asking/round.h"
#include "recording/asking/transcript.h"
#include "scsitool/host/forwarding_host.h"

namespace recording {

/// What is asked of devices ahead.
struct Asking {
    using List = std::function<std::vector<std::string>()>;
    /// Asks one device, on the current host, all that an operation is going to ask it. It runs in
    /// another process and must leave no trace.
    using Interview = std::function<void(const std::string& name)>;

    List devices;
    List devicesAfterEffect;  ///< which are asked again
    Interview interview;
    /// For who writes down what devices say: one that does not answer in time gives once more what
    /// it has said by then, and ETIMEDOUT to everything else.
    bool keepsFirstAnswers = false;
};

/// Passes everything on to another host, but for the devices that it has had asked side by side by
/// other processes: it answers for these with what they said there, question by question, so that
/// an operation hears what it would have heard. What they were not asked goes to the device.
///
/// A device that did not answer in time fails every open with ETIMEDOUT for good, under whatever
/// name (see `Asking::keepsFirstAnswers`). An effect on the host makes all other answers worthless:
/// they are asked again when the next device is opened for reading and writing, as the discovery
/// does it.
///
/// For one thread.
class AnsweringHost : public host::ForwardingHost {
  public:
    /// The inner host must outlive this one; it is what the devices are asked on. `told` may be
    /// empty.
    AnsweringHost(host::Host& inner, const AskingLimits& limits, Round::Told told);
    ~AnsweringHost() override;

    /// Has devices asked now, and again after an effect.
    void ask(Asking asking);

    /// The devices that did not answer in time.
    std::set<std::string> givenUp() const;
    /// How many were asked in all.
    std::size_t asked() const;
    /// The errno of the fork because of which this process asks devices itself; 0 for none.
    int forkError() const { return m_forkError; }

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int addressWords(int descriptor, host::AddressWords& words) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override;
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;

  private:
    /// An open that was answered for.
    struct Open {
        int descriptor = -1;
        std::shared_ptr<Transcript> transcript;
        std::string path;
        host::OpenMode mode = host::OpenMode::kReadOnly;
        bool isSilent = false;  // it has no other answers
        int real = -1;          // the device's, from the first question that it was not asked
    };

    void begin(const Asking::List& list);
    void forget();
    void giveUp(const std::string& path);
    bool isGivenUp(const std::string& path);
    bool isAsked(const std::string& path);
    Open* findOpen(int descriptor);
    int openAsked(std::size_t item, host::OpenMode mode);
    std::shared_ptr<Transcript> transcriptOf(std::size_t item, Round::End end);
    int openAnswered(std::size_t item, host::OpenMode mode, bool isSilent);
    template <class Request, class Pass>
    int answered(int descriptor, Transcript::Question question, std::string_view key,
                 Request& request, const Pass& pass);

    const AskingLimits m_limits;
    const Round::Told m_told;
    Asking m_asking;
    bool m_isStale = false;  // the answers have been thrown away
    std::unique_ptr<Round> m_round;
    std::unordered_map<std::string, std::size_t> m_items;
    std::size_t m_item = 0;  // that was found last
    std::vector<std::shared_ptr<Transcript>> m_transcripts;
    std::vector<Open> m_open;  // few at a time
    int m_nextDescriptor;
    std::vector<std::string> m_asked;  // in the rounds before this one; some more than once
    std::set<std::string> m_givenUp;
    std::vector<host::DeviceNumber> m_givenUpNumbers;
    int m_forkError = 0;
};

}  // namespace recording

#endif
