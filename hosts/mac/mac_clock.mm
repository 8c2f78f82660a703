#include "hosts/mac/mac_ports.hpp"

#import <Foundation/Foundation.h>

namespace pivra {

Instant MacClock::now() const { return std::chrono::system_clock::now(); }

CalendarDay MacClock::localDay(Instant instant) const {
    @autoreleasepool {
        const double seconds = Seconds(instant.time_since_epoch()).count();
        NSDate* date = [NSDate dateWithTimeIntervalSince1970:seconds];
        // Days begin at local midnight in every calendar the user can choose,
        // so Gregorian dates in the user's time zone name the same days; and
        // the core's day arithmetic is Gregorian.
        NSCalendar* calendar = [NSCalendar calendarWithIdentifier:NSCalendarIdentifierGregorian];
        calendar.timeZone = NSTimeZone.localTimeZone;
        NSDateComponents* parts = [calendar components:NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay
                                              fromDate:date];
        return CalendarDay{static_cast<int>(parts.year), static_cast<unsigned>(parts.month),
                           static_cast<unsigned>(parts.day)};
    }
}

}  // namespace pivra
