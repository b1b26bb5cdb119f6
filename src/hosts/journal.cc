#include "scsitool/hosts/journal.h"

#include "hosts/journal_inside.h"

namespace hosts {

Journal::Journal() : m_inside(std::make_unique<Inside>()) {}
Journal::~Journal() = default;

std::vector<std::string> Journal::lines() const {
    return m_inside->lines();
}

std::vector<std::string> Journal::unanswered() const {
    return m_inside->unanswered();
}

}  // namespace hosts
