#pragma once
// The wall clock and the local calendar of the C library (TZ, /etc/localtime).

#include "app/ports/clock.hpp"

namespace pivra {

class SystemClock final : public Clock {
public:
    Instant now() const override;
    CalendarDay localDay(Instant instant) const override;
};

}  // namespace pivra
