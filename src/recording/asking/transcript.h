#ifndef SCSITOOL_RECORDING_ASKING_TRANSCRIPT_H
#define SCSITOOL_RECORDING_ASKING_TRANSCRIPT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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
    struct Entry {
        Question question;
        bool given;
        int result;
        std::size_t key;
        std::size_t keyLength;
        std::size_t dataLength;  // the data follow the key
    };

    std::string m_text;
    std::vector<Entry> m_entries;
};

}  // namespace recording

#endif
