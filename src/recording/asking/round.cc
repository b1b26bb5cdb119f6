#include "recording/asking/round.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "scsitool/host/interruption.h"

namespace recording {
namespace {

constexpr std::uint64_t kSecond = 1000;

// How long a device is in hand until another one is asked in its stead, and how short that becomes
// as more and more of them do not answer: a thousand silent disks have to be in hand soon.
constexpr std::uint64_t kLongestPatience = 200;
constexpr std::uint64_t kShortestPatience = 25;

// Devices that answer in less time than a process takes to begin are not worth more processes.
constexpr std::size_t kFastDevices = 8;  // a millisecond
constexpr std::size_t kFastWorkers = 2;
// Of so many and so fast ones the first are worked on while the others are asked.
constexpr std::size_t kManyDevices = 256;
constexpr std::size_t kVeryFastDevices = 20;  // a millisecond
constexpr std::size_t kAhead = 64;
constexpr std::uint64_t kFirstWindow = 3;  // a process takes a while to begin
constexpr std::uint64_t kWindow = 4;

// A wait that takes so long was one of a process that somebody stopped, and its workers with it.
constexpr std::uint64_t kLongestWait = 1000;

constexpr std::uint64_t kReapAge = 20;
constexpr std::uint64_t kForkAgain = 100;
constexpr std::uint64_t kBetweenWords = 100;
constexpr std::uint64_t kFirstWord = 200;

}  // namespace

Round::Round(std::vector<std::string> names, Work work, const AskingLimits& limits, Told told)
    : m_names(std::move(names)),
      m_work(std::move(work)),
      m_limits(limits),
      m_told(std::move(told)),
      m_begun(host::monotonicMilliseconds()),
      m_board(m_names.size()),
      m_fates(m_names.size(), Fate::kOpen),
      m_measuredAt(m_begun),
      m_rate(kFastDevices) {
    if (!m_board.isThere()) {
        m_forkError = ENOMEM;
        leaveUnasked();
        return;
    }
    for (std::size_t seat = Board::kSeats; seat > 0; --seat) {
        m_freeSeats.push_back(seat - 1);
    }
    look();
}

Round::~Round() = default;

void Round::settle() {
    while (!m_isOver) {
        look();
        const bool isAllFresh = m_view.now - m_view.oldest < kReapAge;
        const bool isFast = m_board.ended() >= kManyDevices && m_rate >= kVeryFastDevices;
        if (m_isOver || (isFast && isAllFresh)) {
            return;
        }
        wait(m_names.size());
    }
}

Round::End Round::settle(std::size_t item) {
    End end = endOf(item);
    while (end == End::kNone) {
        look();
        end = endOf(item);
        if (end == End::kNone) {
            wait(std::min(m_board.ended() + kAhead, m_names.size()));
        }
    }
    return end;
}

void Round::giveUp(std::size_t item) {
    m_fates[item] = Fate::kGivenUp;
    ++m_givenUp;
}

Round::End Round::endOf(std::size_t item) const {
    if (m_fates[item] == Fate::kGivenUp) {
        return End::kGivenUp;
    }
    if (m_fates[item] == Fate::kNotAsked) {
        return End::kNotAsked;
    }
    switch (m_board.state(item)) {
        case Board::State::kDone:
            return End::kAnswered;
        case Board::State::kTooLong:
            return End::kNotAsked;
        default:
            return End::kNone;
    }
}

bool Round::isWaiting() const {
    return !m_again.empty() || m_board.taken() < m_names.size();
}

void Round::measure() {
    const std::uint64_t elapsed = m_view.now - m_measuredAt;
    const bool isFirst = m_measuredAt == m_begun;
    if (elapsed >= (isFirst ? kFirstWindow : kWindow)) {
        const std::size_t ended = m_board.ended();
        m_rate = (ended - std::min(ended, m_endedThen)) / elapsed;
        m_endedThen = ended;
        m_measuredAt = m_view.now;
    }
}

// Sees to the workers: gives up what is late, takes note of those that have ended, starts others.
void Round::look() {
    if (m_isOver || wasInterrupted()) {
        return;
    }
    const std::size_t stuck = m_view.stuck;
    m_view = View();
    m_view.now = host::monotonicMilliseconds();
    m_view.oldest = m_view.now;
    m_view.stuck = stuck;
    if (m_waitedAt != 0 && m_view.now > m_waitedAt + kLongestWait) {
        m_pardoned += m_view.now - m_waitedAt;
    }
    m_waitedAt = 0;
    std::size_t stuckNow = 0;
    for (auto worker = m_workers.begin(); worker != m_workers.end();) {
        const auto one = worker++;
        const std::size_t counted = m_view.active;
        if (!stays(*one, m_view)) {
            m_leftBehind.splice(m_leftBehind.end(), m_workers, one);
        } else if (m_view.active == counted) {
            ++stuckNow;
        }
    }
    m_view.stuck = stuckNow;
    reap();
    measure();
    if (!isWaiting() && m_workers.empty()) {
        findLost();
        m_isOver = m_again.empty();
    }
    startMore(m_view);
    tell(m_view);
}

// Tells whether a worker is still at work or on its way to more.
bool Round::stays(Worker& worker, View& view) {
    const Board::Sight sight = m_board.at(worker.seat);
    if (sight.hasLeft) {
        return false;
    }
    const std::uint64_t age = ageOf(worker, std::min(sight.since, view.now));
    if (m_limits.deadline != 0 && age >= m_limits.deadline * kSecond) {
        giveUpAt(worker, sight);
        return false;
    }
    if (age >= kReapAge && worker.process.hasEnded()) {
        // What it had in hand may have come to its end all the same.
        const Board::Sight last = m_board.at(worker.seat);
        if (last.hasItem) {
            lose(last.item);
        }
        return false;
    }
    if (sight.hasItem && sight.since <= view.oldest) {
        view.oldest = sight.since;
        view.slowest = sight.item;
    }
    const std::uint64_t patience = kLongestPatience / (1 + view.stuck / m_limits.jobs);
    view.active += age < std::max(patience, kShortestPatience) ? 1U : 0U;
    view.waiting += sight.hasItem ? 0U : 1U;
    return true;
}

std::uint64_t Round::ageOf(Worker& worker, std::uint64_t since) const {
    if (worker.since != since) {
        worker.since = since;
        worker.pardoned = m_pardoned;
    }
    const std::uint64_t age = m_view.now - since;
    return age - std::min(age, m_pardoned - worker.pardoned);
}

void Round::giveUpAt(Worker& worker, const Board::Sight& sight) {
    worker.process.kill();
    if (sight.hasItem && endOf(sight.item) == End::kNone) {
        giveUp(sight.item);
    }
}

void Round::reap() {
    for (auto worker = m_leftBehind.begin(); worker != m_leftBehind.end();) {
        const auto one = worker++;
        if (one->process.hasEnded()) {
            m_freeSeats.push_back(one->seat);
            m_leftBehind.erase(one);
        }
    }
}

void Round::lose(std::size_t item) {
    if (endOf(item) != End::kNone) {
        return;
    }
    if (m_fates[item] == Fate::kLost) {
        giveUp(item);
    } else {
        m_fates[item] = Fate::kLost;
        m_again.push_back(item);
    }
}

// A worker may have been killed between taking a device from the queue and saying so.
void Round::findLost() {
    for (std::size_t item = 0; item < m_names.size(); ++item) {
        lose(item);
    }
}

void Round::startMore(const View& view) {
    std::size_t jobs = m_limits.jobs;
    if (m_rate >= kFastDevices) {
        jobs = std::min<std::size_t>(jobs, kFastWorkers);
    }
    std::size_t wanted = m_names.size() - m_board.taken() + m_again.size();
    wanted -= std::min(wanted, view.waiting);
    wanted = std::min(wanted, jobs - std::min(jobs, view.active));
    while (wanted > 0 && view.now >= m_mayForkAt && startOne()) {
        --wanted;
    }
}

// Without another process those that work go on alone. Once none does, the rest is not asked here.
bool Round::startOne() {
    const std::size_t seat = m_freeSeats.empty() ? 0 : m_freeSeats.back();
    const std::size_t* const first = m_again.empty() ? nullptr : &m_again.back();
    Worker worker;
    worker.seat = seat;
    int error = EAGAIN;
    if (!m_freeSeats.empty()) {
        m_board.seat(seat);
        error = -worker.process.start([this, seat, first] { work(seat, first); });
    }
    if (error != 0) {
        m_mayForkAt = host::monotonicMilliseconds() + kForkAgain;
        if (m_workers.empty()) {
            m_forkError = error;
            leaveUnasked();
        }
        return false;
    }
    m_freeSeats.pop_back();
    if (first != nullptr) {
        m_again.pop_back();
    }
    m_workers.push_back(std::move(worker));
    return true;
}

// Where disks do not answer, this process is not to be the next that hangs.
void Round::leaveUnasked() {
    const Fate fate = m_givenUp == 0 ? Fate::kNotAsked : Fate::kGivenUp;
    for (std::size_t item = 0; item < m_names.size(); ++item) {
        if (!m_board.isThere() || endOf(item) == End::kNone) {
            m_fates[item] = fate;
            m_givenUp += fate == Fate::kGivenUp ? 1 : 0;
        }
    }
    m_again.clear();
    m_isOver = true;
}

void Round::work(std::size_t seat, const std::size_t* first) {
    std::size_t item = 0;
    if (first != nullptr) {
        item = *first;
        m_board.takeAgain(seat, item);
        workOn(seat, item);
    }
    while (m_board.take(seat, item)) {
        workOn(seat, item);
    }
}

void Round::workOn(std::size_t seat, std::size_t item) {
    const Draft draft = [this, item](const std::string& text) { m_board.putDraft(item, text); };
    m_board.put(seat, item, m_work(m_names[item], draft));
}

bool Round::wasInterrupted() {
    if (host::interruption() == 0) {
        return false;
    }
    m_workers.clear();
    m_givenUp = 0;
    leaveUnasked();
    return true;
}

void Round::wait(std::size_t ended) {
    constexpr unsigned kShort = 1;
    constexpr unsigned kLong = 10;
    constexpr std::size_t kManyWorkers = 128;
    m_waitedAt = host::monotonicMilliseconds();
    const bool isEarly = m_view.now - m_begun < kReapAge;
    m_board.waitFor(ended, isEarly && m_workers.size() < kManyWorkers ? kShort : kLong);
}

void Round::tell(const View& view) {
    if (!m_told || view.now < m_begun + kFirstWord || view.now < m_toldAt + kBetweenWords) {
        return;
    }
    m_toldAt = view.now;
    AskingProgress progress;
    progress.all = m_names.size();
    const std::size_t ended = m_board.ended() + m_givenUp;
    progress.left = progress.all - std::min(progress.all, ended);
    if (view.oldest < view.now) {
        progress.slowest = m_names[view.slowest];
        progress.slowSeconds = static_cast<unsigned>((view.now - view.oldest) / kSecond);
    }
    m_told(progress);
}

}  // namespace recording
