#ifndef SCSITOOL_HOSTS_JOURNAL_INSIDE_H
#define SCSITOOL_HOSTS_JOURNAL_INSIDE_H

#include "recording/effects/journal.h"
#include "scsitool/hosts/journal.h"

namespace hosts {

// What is behind a published class is a class of its own: one of the recording layer in its place
// would put that layer's names into the exported symbols. Its own would be there, too, by the
// visibility of the class that it belongs to.
class [[gnu::visibility("hidden")]] Journal::Inside : public recording::Journal{};

}  // namespace hosts

#endif
