#pragma once
// How a host turns what its system says about installed apps into the names and
// the browser list the app shows: the same rules on every platform.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ports/workspace.hpp"

namespace pivra {

// The name people read for an app, from the candidates in order of preference:
// the name the file manager shows for the bundle, with a trailing ".app" (any
// letter case) dropped, since the Finder shows it when the user asks for every
// extension; then the bundle's display name; then its plain name. Blank
// candidates are passed over; the identifier when every one is blank.
std::string installedAppName(std::string_view shownName, std::string_view displayName, std::string_view bundleName,
                             std::string_view id);

// Orders two names: negative when `a` comes first, zero when the order cannot
// tell them apart, positive when `b` does. The platform's own name order.
using NameOrder = std::function<int(std::string_view a, std::string_view b)>;

// The browsers to list from the apps the system says open web links, in the
// system's order: each identifier once (its first appearance, so the copy the
// system prefers stays), never this app itself (`ownId`, compared exactly), an
// app with an empty identifier never (nothing could open it by name), ordered
// by `order` on the names and, where it ties, by identifier.
std::vector<BrowserApp> browserList(std::vector<InstalledApp> apps, std::string_view ownId, const NameOrder& order);

// The browser that a rules file made on the first start falls back to: the
// one that was the default before this app became it (`previous`), else the
// system's default now (`current`), else the first of `browsers`; never this
// app itself (`ownId`) nor an empty identifier. Absent when none is left: the
// built-in default stands.
std::optional<std::string> firstFallbackBrowser(const std::optional<std::string>& previous,
                                                const std::optional<std::string>& current, std::string_view ownId,
                                                const std::vector<BrowserApp>& browsers);

}  // namespace pivra
