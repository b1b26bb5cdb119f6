#ifndef SCSITOOL_TESTS_FAULTS_ANSWER_H
#define SCSITOOL_TESTS_FAULTS_ANSWER_H

#include <functional>
#include <map>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace faults {

/// What came out of one call into the library.
struct CallResult {
    enum class Thrown { kNothing, kNumber, kNoMemory, kOther };
    std::string call;
    long code = 0;
    Thrown thrown = Thrown::kNothing;
    bool isStruck = false;  ///< the fault was in this call
};

/// What an operation gave: the result of each call, and what was found, each under a name ("UDID of
/// /dev/sdb"). A command has its exit status, and its lines are what was found.
struct Answer {
    std::vector<CallResult> calls;
    std::map<std::string, std::string> found;
    std::set<std::string> said;     ///< the lines that a command writes to its standard error
    std::set<std::string> effects;  ///< what was done to the host
    std::set<std::string> udids;    ///< of all devices of the host, for a command
};

/// Takes down what an operation gives.
class Answering {
  public:
    /// `hasFailed` tells whether the fault has been by now.
    Answering(std::function<bool()> hasFailed, Answer& answer)
        : m_hasFailed(std::move(hasFailed)), m_answer(answer) {}

    /// Makes a call that gives a number. What it throws is taken down and goes no further.
    template <class Call>
    void code(const char* name, Call call) {
        CallResult result;
        result.call = name;
        const bool hadFailed = m_hasFailed();
        try {
            result.code = static_cast<long>(call());
        } catch (int number) {
            result.code = number;
            result.thrown = CallResult::Thrown::kNumber;
        } catch (const std::bad_alloc&) {
            result.thrown = CallResult::Thrown::kNoMemory;
        } catch (...) {
            result.thrown = CallResult::Thrown::kOther;
        }
        result.isStruck = !hadFailed && m_hasFailed();
        m_answer.calls.push_back(result);
    }
    /// The same of a call that gives no number.
    template <class Call>
    void call(const char* name, Call call) {
        code(name, [&] {
            call();
            return 0;
        });
    }
    void found(const std::string& name, const std::string& what) { m_answer.found[name] = what; }
    void said(const std::string& line) { m_answer.said.insert(line); }

  private:
    const std::function<bool()> m_hasFailed;
    Answer& m_answer;
};

}  // namespace faults

#endif
