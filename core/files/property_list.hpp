#pragma once
// Reading property lists, XML or binary, with the few libplist calls that
// behave the same in libplist 2.2 and 2.3+.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <plist/plist.h>

namespace pivra {

struct PropertyListFree {
    void operator()(plist_t node) const { plist_free(node); }
};

// Owns a parsed document; the nodes inside it are borrowed `plist_t`s.
using PropertyList = std::unique_ptr<std::remove_pointer_t<plist_t>, PropertyListFree>;

// Absent when the bytes are neither a binary nor an XML property list, or
// too large for libplist (4 GiB and more).
PropertyList parsePropertyList(std::string_view bytes);

// The "Contents/Info.plist" of an app bundle; absent when it is missing,
// unreadable, implausibly large or not a property list.
PropertyList readBundleInfo(const std::filesystem::path& bundle);

// The item under `key` of a dictionary; null when `node` is not a dictionary
// or has no such key.
plist_t propertyListItem(plist_t node, const char* key);

// The text of a string node, embedded NULs included; absent for any other node.
std::optional<std::string> propertyListString(plist_t node);

}  // namespace pivra
