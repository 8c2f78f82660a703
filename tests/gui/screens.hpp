#pragma once
// The pictures `screens` renders: each shot has a name and draws one window
// in one state with a given theme. Each group of screens lists its shots in
// its own file; allShots() joins the groups.

#include <functional>
#include <string>
#include <vector>

#include <QImage>

#include "gui/style/theme.hpp"

namespace pivra::screens {

struct Shot {
    std::string name;  // the file name without the theme and ".png"
    std::function<QImage(const Theme&)> render;
};

std::vector<Shot> pickerShots();  // screens_picker.cpp
std::vector<Shot> menuShots();    // screens_menu.cpp
std::vector<Shot> styleShots();   // screens_style.cpp
std::vector<Shot> settingsShots();  // settings/screens_settings.cpp
std::vector<Shot> installShots();   // screens_install.cpp
std::vector<Shot> iconShots();      // screens_icon.cpp

inline std::vector<Shot> allShots() {
    std::vector<Shot> all;
    for (auto group : {pickerShots(), menuShots(), styleShots(), settingsShots(), installShots(), iconShots()}) {
        for (auto& shot : group) all.push_back(std::move(shot));
    }
    return all;
}

}  // namespace pivra::screens
