#pragma once
// The links of this session, newest first, as the menu lists them. Kept in
// memory only.

#include <cstddef>
#include <string>
#include <string_view>

#include "core/routing/router.hpp"
#include "core/rules/rules_file.hpp"
#include "core/time/time.hpp"

namespace pivra {

inline constexpr std::size_t kMaxRecentLinks = 50;

struct RecentLink {
    std::string id;          // identity of the row
    Instant at;              // when the link arrived
    Source source;
    std::string url;         // the link as decided: unwrapped and cleaned
    Target target;           // where it went; changes when it is opened again elsewhere
    Decision::Reason reason;
    bool picked = false;     // the user chose the target in the picker

    bool operator==(const RecentLink&) const = default;
};

// Why the link went where it went, as a row says it after the target's name:
// ", picked by hand", ", because no rule matched", ", by rule 3"...
std::string_view recentReasonSuffix(const RecentLink& link);
std::string recentRowText(const RecentLink& link, std::string_view targetName);

}  // namespace pivra
