#ifndef SCSITOOL_RECORDING_REPLAY_PATH_TABLE_H
#define SCSITOOL_RECORDING_REPLAY_PATH_TABLE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace recording {

/// Values by path, for hosts with tens of thousands of paths that are asked for over and over, and
/// for as many that are not there: a look-up goes through slots that lie side by side and touches a
/// path only where its hash is the one wanted. Nothing is ever removed.
template <class Value>
class PathTable {
  public:
    /// Makes room for so many paths; more can be added.
    explicit PathTable(std::size_t expected = 0) {
        m_entries.reserve(expected);
        spread(slotsFor(expected));
    }

    /// The value of a path, a new one where there is none. It moves when another path is added; the
    /// path must outlive the table.
    Value& operator[](std::string_view path) {
        if (m_entries.size() + 1 > m_slots.size() / kSlotsAPath) {
            spread(slotsFor(m_entries.size() + 1));
        }
        const std::uint32_t hash = hashOf(path);
        Slot& slot = m_slots[slotOf(path, hash)];
        if (slot.entry == kFree) {
            m_entries.emplace_back(path, Value());
            slot = {hash, static_cast<std::uint32_t>(m_entries.size())};
        }
        return m_entries[slot.entry - 1].second;
    }

    /// Null where there is none. It stays until a path is added.
    const Value* find(std::string_view path) const {
        const Slot& slot = m_slots[slotOf(path, hashOf(path))];
        return slot.entry == kFree ? nullptr : &m_entries[slot.entry - 1].second;
    }

    std::size_t size() const { return m_entries.size(); }

  private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t entry = 0;  // its place among the entries and one more; 0 for a free slot
    };
    static constexpr std::uint32_t kFree = 0;
    static constexpr std::size_t kSlotsAPath = 2;  // at least, so that a free one is always near
    static constexpr std::size_t kFewestSlots = 16;

    static std::uint32_t hashOf(std::string_view path) {
        return static_cast<std::uint32_t>(std::hash<std::string_view>()(path));
    }

    // A power of two, that a mask of the hash is a slot.
    static std::size_t slotsFor(std::size_t paths) {
        std::size_t slots = kFewestSlots;
        while (slots < paths * kSlotsAPath) {
            slots *= 2;
        }
        return slots;
    }

    /// The slot that a path is in, or the free one that it would go into.
    std::size_t slotOf(std::string_view path, std::uint32_t hash) const {
        const std::size_t mask = m_slots.size() - 1;
        std::size_t place = hash & mask;
        while (m_slots[place].entry != kFree &&
               (m_slots[place].hash != hash || m_entries[m_slots[place].entry - 1].first != path)) {
            place = (place + 1) & mask;
        }
        return place;
    }

    void spread(std::size_t slots) {
        std::vector<Slot> former(slots);
        former.swap(m_slots);
        const std::size_t mask = slots - 1;
        for (const Slot& slot : former) {
            if (slot.entry == kFree) {
                continue;
            }
            std::size_t place = slot.hash & mask;
            while (m_slots[place].entry != kFree) {
                place = (place + 1) & mask;
            }
            m_slots[place] = slot;
        }
    }

    std::vector<Slot> m_slots;
    std::vector<std::pair<std::string_view, Value>> m_entries;
};

}  // namespace recording

#endif
