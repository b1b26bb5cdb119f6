#ifndef SCSITOOL_RECORDING_GUARD_PURPOSE_H
#define SCSITOOL_RECORDING_GUARD_PURPOSE_H

namespace recording::guard {

/// What a removal is asked for. It is never a reason to take a disk in use.
enum class Purpose {
    kNamed,     ///< the caller named what goes: an unused disk that answers may go
    kOnlyDead,  ///< what goes is taken for dead: what answers, or may be another one, stays
    /// As kNamed; and a dead path may go from a map that has a living one, or that nobody uses.
    kDeadPath,
};

}  // namespace recording::guard

#endif
