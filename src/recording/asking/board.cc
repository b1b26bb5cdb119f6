#include "recording/asking/board.h"

#include <algorithm>
#include <cstring>

namespace recording {
namespace {

// Memory that nobody writes to costs nothing; a usual disk needs some 500 bytes.
constexpr std::size_t kRoomAnItem = 16384;

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

void Board::put(std::size_t seat, std::size_t item, const std::string& result) {
    Slot& slot = m_slots[item];
    const std::size_t offset = result.size() <= kLargestResult ? m_head->used += result.size() : 0;
    if (result.size() > kLargestResult || offset > m_room) {
        slot.state = static_cast<std::uint32_t>(State::kTooLong);
    } else {
        slot.offset = offset - result.size();
        slot.length = static_cast<std::uint32_t>(result.size());
        std::memcpy(m_results + slot.offset, result.data(), result.size());
        slot.state = static_cast<std::uint32_t>(State::kDone);
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
    const std::size_t offset = m_slots[item].offset;
    const std::size_t length = m_slots[item].length;
    if (state(item) != State::kDone || length > kLargestResult || offset > m_room ||
        length > m_room - offset) {
        return false;
    }
    result.assign(reinterpret_cast<const char*>(m_results) + offset, length);
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
