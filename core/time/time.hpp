#pragma once
// Points in time as the core takes them: always passed in, never read from a clock here.

#include <chrono>
#include <cmath>
#include <cstdint>

namespace pivra {

using Instant = std::chrono::system_clock::time_point;
using Seconds = std::chrono::duration<double>;

// Seconds between 1970-01-01 and 2001-01-01 00:00:00 UTC, the epoch of times stored in files.
inline constexpr double kReferenceDateOffset = 978307200.0;

// A stored time (seconds since 2001-01-01 UTC) and back.
// Whole seconds and the fraction go separately: a double of nanoseconds since
// 1970 has too few bits to keep a quarter second exact.
inline Instant instantFromReferenceSeconds(double seconds) {
    const double whole = std::floor(seconds);
    const auto fraction = std::chrono::duration_cast<Instant::duration>(Seconds(seconds - whole));
    return Instant(std::chrono::seconds(static_cast<std::int64_t>(whole) + static_cast<std::int64_t>(kReferenceDateOffset))) + fraction;
}
inline double referenceSecondsFromInstant(Instant instant) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(instant.time_since_epoch());
    const auto fraction = instant.time_since_epoch() - whole;
    return static_cast<double>(whole.count() - static_cast<std::int64_t>(kReferenceDateOffset)) + Seconds(fraction).count();
}

}  // namespace pivra
