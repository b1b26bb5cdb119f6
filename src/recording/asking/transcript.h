#ifndef SCSITOOL_RECORDING_ASKING_TRANSCRIPT_H
#define SCSITOOL_RECORDING_ASKING_TRANSCRIPT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace recording {

/// What one device was asked and what came of it, question by question in their order. A recorded
/// device has one answer to a page; here a question that was asked twice has both, a refusal its
/// SCSI status and its sense data, so that an operation that asks again from the start hears word
/// for word what the device said.
class Transcript {
  public:
    enum class Question : std::uint8_t {
        kOpen = 1,  ///< the key is the mode
        kClose,
        kCommand,       ///< the key is the head of the buffer and the command descriptor block
        kAddressWords,  ///< the answer's data are the two words
        kSgIo,          ///< the key is the block and the sizes
        kSize,          ///< the answer's data are the bytes
    };
    /// The result of the operation and the bytes that came with it.
    struct Answer {
        int result = 0;
        std::string_view data;
    };

    /// Puts an answer down behind the others.
    void add(Question question, std::string_view key, const Answer& answer);

    /// The text of it, to be handed from one process to another.
    const std::string& text() const { return m_text; }
    /// The other way round. False, and nothing is taken, for a text that is no transcript: what
    /// asked the device may have lost its mind over the answer.
    bool read(std::string text);

    /// The next answer to a question: the first time the first, and once all have been given the
    /// last stays. False for a question that was not asked. The data lie in the transcript.
    bool next(Question question, std::string_view key, Answer& answer);

  private:
    // In front of each answer's key and data. Both processes are one program.
    struct Head {
        std::uint32_t dataLength;
        std::int32_t result;
        std::uint16_t keyLength;
        Question question;
        bool isGiven;
    };
    static_assert(sizeof(Head) == 12, "no byte of it is left unwritten");

    Head headAt(std::size_t at) const;
    static std::size_t lengthOf(const Head& head);

    std::string m_text;  // of many thousands of devices: nothing stands beside it
};

}  // namespace recording

#endif
