#include "recording/asking/board.h"

#include <algorithm>
#include <cstring>

namespace recording {
namespace {

// Memory that nobody writes to costs nothing; a usual disk needs some 500 bytes.
constexpr std::size_t kRoomAnItem = 16384;

// A length of a draft; its offset stands above it. A length of none is one more.
constexpr unsigned kLengthBits = 24;
constexpr std::uint64_t kLengthMask = (std::uint64_t{1} << kLengthBits) - 1;
static_assert(Board::kLargestResult < kLengthMask);

constexpr std::size_t aligned(std::size_t bytes) {
    constexpr std::size_t kLine = 64;
    return (bytes + kLine - 1) / kLine * kLine;
}

}  // namespace

Board::Board(std::size_t items)
    : m_items(items),
      m_room(items * kRoomAnItem + kLargestResult),
      m_memory(aligned(sizeof(Head)) + kSeats * sizeof(Seat) + aligned(items * sizeof(Slot)) +
               m_room) {
    if (isThere()) {
        unsigned char* at = m_memory.data();
        m_head = new (at) Head();
        at += aligned(sizeof(Head));
        // All zeros, which is how each of these begins.
        m_seats = reinterpret_cast<Seat*>(at);
        at += kSeats * sizeof(Seat);
        m_slots = reinterpret_cast<Slot*>(at);
        m_results = at + aligned(items * sizeof(Slot));
    }
}

void Board::sit(std::size_t seat, std::uint32_t item) {
    m_seats[seat].since = host::monotonicMilliseconds();
    m_seats[seat].item = item;
}

void Board::seat(std::size_t seat) {
    sit(seat, kBetween);
}

bool Board::take(std::size_t seat, std::size_t& item) {
    // Looked at first, or those that find nothing would count on for ever.
    if (m_head->next >= m_items || (item = m_head->next++) >= m_items) {
        sit(seat, kLeft);
        return false;
    }
    sit(seat, static_cast<std::uint32_t>(item) + kFirst);
    return true;
}

void Board::takeAgain(std::size_t seat, std::size_t item) {
    sit(seat, static_cast<std::uint32_t>(item) + kFirst);
}

// Room for so many bytes of results.
bool Board::reserve(std::size_t length, std::size_t& offset) {
    const std::size_t end = length <= kLargestResult ? m_head->used += length : 0;
    offset = end - std::min(end, length);
    return length <= kLargestResult && end <= m_room;
}

void Board::putDraft(std::size_t item, const std::string& text) {
    std::size_t offset = 0;
    if (reserve(text.size(), offset)) {
        std::memcpy(m_results + offset, text.data(), text.size());
        m_slots[item].draft = std::uint64_t{offset} << kLengthBits | (text.size() + 1);
    }
}

void Board::put(std::size_t seat, std::size_t item, const std::string& result) {
    Slot& slot = m_slots[item];
    std::size_t offset = 0;
    if (reserve(result.size(), offset)) {
        slot.offset = offset;
        slot.length = static_cast<std::uint32_t>(result.size());
        std::memcpy(m_results + offset, result.data(), result.size());
        slot.state = static_cast<std::uint32_t>(State::kDone);
    } else {
        slot.state = static_cast<std::uint32_t>(State::kTooLong);
    }
    m_seats[seat].item = kBetween;
    if (++m_head->ended == m_head->wakeAt) {
        host::wakeWaiting(m_head->ended);
    }
}

Board::Sight Board::at(std::size_t seat) const {
    const std::uint32_t item = m_seats[seat].item;
    Sight sight;
    sight.since = m_seats[seat].since;
    sight.hasLeft = item == kLeft;
    sight.hasItem = item >= kFirst && item - kFirst < m_items;
    sight.item = sight.hasItem ? item - kFirst : 0;
    return sight;
}

std::size_t Board::taken() const {
    return std::min<std::size_t>(m_head->next, m_items);
}

std::size_t Board::ended() const {
    return m_head->ended;
}

Board::State Board::state(std::size_t item) const {
    const std::uint32_t state = m_slots[item].state;
    return state <= static_cast<std::uint32_t>(State::kTooLong) ? static_cast<State>(state)
                                                                : State::kOpen;
}

bool Board::result(std::size_t item, std::string& result) const {
    return state(item) == State::kDone && read(m_slots[item].offset, m_slots[item].length, result);
}

bool Board::draft(std::size_t item, std::string& text) const {
    const std::uint64_t place = m_slots[item].draft;
    const std::size_t length = place & kLengthMask;
    return length != 0 && read(place >> kLengthBits, length - 1, text);
}

bool Board::read(std::size_t offset, std::size_t length, std::string& text) const {
    if (length > kLargestResult || offset > m_room || length > m_room - offset) {
        return false;
    }
    text.assign(reinterpret_cast<const char*>(m_results) + offset, length);
    return true;
}

void Board::waitFor(std::size_t ended, unsigned milliseconds) {
    m_head->wakeAt = static_cast<std::uint32_t>(ended);
    const std::uint32_t seen = m_head->ended;
    if (seen < ended) {
        host::waitForChange(m_head->ended, seen, milliseconds);
    }
    m_head->wakeAt = 0;
}

}  // namespace recording
