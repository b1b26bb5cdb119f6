#ifndef SCSITOOL_RECORDING_ASKING_TRANSCRIBING_HOST_H
#define SCSITOOL_RECORDING_ASKING_TRANSCRIBING_HOST_H

#include <functional>
#include <string>
#include <vector>

#include "recording/asking/transcript.h"
#include "scsitool/host/forwarding_host.h"

namespace recording {

/// Passes the questions to one device on to another host and puts each down with its answer. What a
/// question ends in that the host throws out of is not put down, nor are the questions to other
/// paths. Nothing with an effect is passed on, the semaphores of the host included: it fails with
/// EPERM. For one thread.
class TranscribingHost : public host::ReadForwardingHost {
  public:
    using Draft = std::function<void(const std::string& text)>;

    /// The inner host must outlive this one. `draft` hears before each question to the device what
    /// it has said so far: the question may have no answer. It may be empty.
    TranscribingHost(host::Host& inner, std::string path, Draft draft = {})
        : ReadForwardingHost(inner), m_path(std::move(path)), m_draft(std::move(draft)) {}

    const Transcript& transcript() const { return m_transcript; }

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
    int openSemaphore(int key, int count, int flags) override;
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override;
    void sleepSeconds(unsigned seconds) override;

  private:
    bool isOpen(int descriptor) const;
    void putDraft() const;

    const std::string m_path;
    const Draft m_draft;
    Transcript m_transcript;
    std::vector<int> m_descriptors;  // those of the path
};

}  // namespace recording

#endif
