#pragma once
// The app's icon: the app's mark in white on a rounded square of the default
// accent, with a soft shadow, laid out as the Mac lays out app icons (on a
// 1024 canvas, an 824 square with continuous corners, the shadow in the
// margin). One drawing serves every size; small sizes get a bolder mark.
//
// appIcon and appIconPng paint on a QImage alone, with no fonts: they need no
// display and no QGuiApplication. appIconSet makes pixmaps and needs one.

#include <expected>
#include <optional>
#include <string>

#include <QIcon>
#include <QImage>

namespace pivra {

// The icon, `pixels` square (1 to 4096; an empty image outside that), with a
// transparent margin around the square.
QImage appIcon(int pixels);
// The icon as PNG bytes; absent when `pixels` is out of range or the
// encoding fails.
std::optional<std::string> appIconPng(int pixels);
// The Mac's icon file of the icon, with every size an app icon holds; what
// went wrong when a size could not be drawn.
std::expected<std::string, std::string> appIconIcns();
// The icon at the sizes windows and task bars ask for, for a window icon.
QIcon appIconSet();

}  // namespace pivra
