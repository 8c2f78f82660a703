#include "gui/icon/icns_file.hpp"

#include <algorithm>
#include <limits>

namespace pivra {
namespace {

constexpr std::string_view kPngSignature = "\x89PNG\r\n\x1a\n";
constexpr std::size_t kHeaderSize = 8;

void appendBigEndian(std::string& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>((value >> shift) & 0xff);
}

}  // namespace

std::expected<std::string, std::string> icnsFile(std::span<const IcnsImage> images) {
    std::size_t total = kHeaderSize;
    for (const auto& image : images) {
        const bool printable = std::ranges::all_of(image.type, [](char c) { return c >= 0x20 && c < 0x7f; });
        if (image.type.size() != 4 || !printable) return std::unexpected("“" + std::string(image.type) + "” isn’t an icon type");
        if (!image.png.starts_with(kPngSignature)) return std::unexpected("the " + std::string(image.type) + " image isn’t a PNG");
        total += kHeaderSize + image.png.size();
        if (total > std::numeric_limits<std::uint32_t>::max()) return std::unexpected("the icon file would pass 4 GiB");
    }
    std::string out;
    out.reserve(total);
    out += "icns";
    appendBigEndian(out, static_cast<std::uint32_t>(total));
    for (const auto& image : images) {
        out += image.type;
        appendBigEndian(out, static_cast<std::uint32_t>(kHeaderSize + image.png.size()));
        out += image.png;
    }
    return out;
}

}  // namespace pivra
