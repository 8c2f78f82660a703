#pragma once
// The Mac's icon file (.icns): the same picture at several sizes, each a PNG,
// in one file that an app bundle names as its icon. Plain bytes in memory;
// big-endian throughout: "icns", the file's length, then each image as its
// four-character type, its length with this 8-byte header, and its PNG.

#include <array>
#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <string_view>

namespace pivra {

struct IcnsImage {
    std::string_view type;  // four characters, such as "ic10"
    std::string png;
};

// The images a Mac app icon holds: each type and its size in pixels, from
// 16 up to 1024 (512 at twice the density). Sizes repeat where a type of
// single density and one of double density share them.
struct IcnsSlot {
    std::string_view type;
    int pixels;
};
inline constexpr std::array<IcnsSlot, 10> kAppIconSlots{{
    {"icp4", 16},
    {"icp5", 32},
    {"ic11", 32},   // 16 at 2x
    {"ic12", 64},   // 32 at 2x
    {"ic07", 128},
    {"ic08", 256},
    {"ic13", 256},  // 128 at 2x
    {"ic09", 512},
    {"ic14", 512},  // 256 at 2x
    {"ic10", 1024}, // 512 at 2x
}};

// The file holding `images` in their order. Fails, saying which, for a type
// that is not four printable ASCII characters, for an image that is not a
// PNG, and when the file would pass the format's 4 GiB.
std::expected<std::string, std::string> icnsFile(std::span<const IcnsImage> images);

}  // namespace pivra
