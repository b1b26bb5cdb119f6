#include "cli/comparison/handover.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace cli::comparison {
namespace {

// Both directions go through `fields` below, so that they cannot differ. Numbers stand in the
// machine's own order.

class Writer {
  public:
    std::string take() { return std::move(m_text); }

    void number(const std::uint64_t& value) {
        m_text.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void flag(const bool& value) { m_text += value ? '\1' : '\0'; }
    void text(const std::string& value) {
        number(value.size());
        m_text += value;
    }
    template <class Items, class Each>
    void list(const Items& items, const Each& each) {
        number(items.size());
        for (const auto& item : items) {
            each(item);
        }
    }

  private:
    std::string m_text;
};

class Reader {
  public:
    explicit Reader(const std::string& text) : m_text(text) {}
    bool isWell() const { return m_isWell && m_at == m_text.size(); }

    void number(std::uint64_t& value) {
        if (has(sizeof value)) {
            std::memcpy(&value, m_text.data() + m_at, sizeof value);
            m_at += sizeof value;
        }
    }
    void flag(bool& value) {
        if (has(1)) {
            value = m_text[m_at++] != '\0';
        }
    }
    void text(std::string& value) {
        std::uint64_t length = 0;
        number(length);
        if (has(length)) {
            value.assign(m_text, m_at, length);
            m_at += length;
        }
    }
    template <class Items, class Each>
    void list(Items& items, const Each& each) {
        std::uint64_t count = 0;
        number(count);
        // Whatever the count says, nothing is made that the text does not hold.
        while (m_isWell && items.size() < count) {
            each(items.emplace_back());
        }
    }

  private:
    bool has(std::uint64_t bytes) {
        m_isWell = m_isWell && bytes <= m_text.size() - m_at;
        return m_isWell;
    }

    const std::string& m_text;
    std::size_t m_at = 0;
    bool m_isWell = true;
};

template <class Direction, class TheSize>
void size(Direction& direction, TheSize& sizeKb) {
    bool isTold = sizeKb.has_value();
    std::uint64_t value = sizeKb.value_or(0);
    direction.flag(isTold);
    direction.number(value);
    if constexpr (!std::is_const_v<TheSize>) {
        sizeKb = isTold ? std::optional<std::uint64_t>(value) : std::nullopt;
    }
}

template <class Direction, class TheVolume>
void volume(Direction& direction, TheVolume& one) {
    direction.text(one.udid);
    direction.flag(one.isPathUdid);
    direction.text(one.unitName);
    direction.list(one.maps, [&](auto& map) { direction.text(map); });
    direction.list(one.paths, [&](auto& path) {
        direction.text(path.name);
        direction.text(path.address);
        direction.flag(path.isWell);
    });
    size(direction, one.sizeKb);
    direction.text(one.revision);
}

template <class Direction, class TheReading>
void fields(Direction& direction, TheReading& reading) {
    direction.list(reading.hosts, [&](auto& host) {
        direction.text(host.host);
        direction.text(host.time);
        direction.list(host.volumes, [&](auto& one) { volume(direction, one); });
    });
    direction.list(reading.doubts, [&](auto& doubt) { direction.text(doubt); });
}

}  // namespace

std::string packed(const Reading& reading) {
    Writer writer;
    fields(writer, reading);
    return writer.take();
}

std::optional<Reading> unpacked(const std::string& text) {
    Reader reader(text);
    Reading reading;
    fields(reader, reading);
    return reader.isWell() ? std::optional<Reading>(std::move(reading)) : std::nullopt;
}

}  // namespace cli::comparison
