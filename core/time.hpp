#pragma once
// Points in time as the core takes them: always passed in, never read from a clock here.

#include <chrono>

namespace pivra {

using Instant = std::chrono::system_clock::time_point;
using Seconds = std::chrono::duration<double>;

// Seconds between 1970-01-01 and 2001-01-01 00:00:00 UTC, the epoch of times stored in files.
inline constexpr double kReferenceDateOffset = 978307200.0;

// A stored time (seconds since 2001-01-01 UTC) and back.
inline Instant instantFromReferenceSeconds(double seconds) {
    return Instant(std::chrono::duration_cast<Instant::duration>(Seconds(seconds + kReferenceDateOffset)));
}
inline double referenceSecondsFromInstant(Instant instant) {
    return Seconds(instant.time_since_epoch()).count() - kReferenceDateOffset;
}

}  // namespace pivra
