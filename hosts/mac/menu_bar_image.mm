#include "hosts/mac/menu_bar_image.hpp"

namespace pivra::mac {

MenuBarImage menuBarImage(MenuBarIcon icon) {
    switch (icon) {
        case MenuBarIcon::pivra: break;
        case MenuBarIcon::arrows: return {true, "shuffle"};
        case MenuBarIcon::split: return {true, "arrow.triangle.branch"};
        case MenuBarIcon::signpost: return {true, "signpost.right"};
        case MenuBarIcon::branch: return {true, "arrow.branch"};
        case MenuBarIcon::compass: return {true, "safari"};
        case MenuBarIcon::link: return {true, "link"};
        case MenuBarIcon::globe: return {true, "globe"};
        case MenuBarIcon::dot: return {true, "circle.fill"};
    }
    return {false, "MenuBarPivra"};
}

}  // namespace pivra::mac
