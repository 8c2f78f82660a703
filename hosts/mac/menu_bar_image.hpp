#pragma once
// The menu bar glyph of each choice of the menu bar icon setting. The names
// are the Mac's: SF Symbols, which only a Mac can draw.

#include <string_view>

#include "app/storage/preference_enums.hpp"

namespace pivra::mac {

struct MenuBarImage {
    bool isSystemSymbol;  // false: an image of the app's own asset catalogue
    std::string_view name;
};

// A system symbol's name, or for MenuBarIcon::pivra the app's own template
// image "MenuBarPivra".
MenuBarImage menuBarImage(MenuBarIcon icon);

}  // namespace pivra::mac
