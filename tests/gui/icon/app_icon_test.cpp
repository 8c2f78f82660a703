// The app icon: its layout at every size, its mark still legible when
// small, its encodings (PNG, and the Mac's icon file parsed back).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include <QByteArray>
#include <QImage>

#include "gui/icon/app_icon.hpp"
#include "gui/icon/icns_file.hpp"

namespace pivra {
namespace {

using testing::HasSubstr;

constexpr std::string_view kPngSignature = "\x89PNG\r\n\x1a\n";

bool isMark(QRgb pixel) { return qAlpha(pixel) == 255 && qRed(pixel) > 180 && qBlue(pixel) > 180; }
bool isBody(QRgb pixel) { return qAlpha(pixel) == 255 && qBlue(pixel) > qRed(pixel) + 60; }

// Separate runs of the mark's pixels down column `x`.
int markRuns(const QImage& image, int x) {
    int runs = 0;
    bool inside = false;
    for (int y = 0; y < image.height(); ++y) {
        const bool mark = isMark(image.pixel(x, y));
        if (mark && !inside) ++runs;
        inside = mark;
    }
    return runs;
}

TEST(AppIcon, EverySizeIsTheSquareInAClearMarginWithTheMarkInWhite) {
    for (const int pixels : {16, 32, 48, 64, 128, 256, 512, 1024}) {
        SCOPED_TRACE(pixels);
        const QImage icon = appIcon(pixels).convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(icon.size(), QSize(pixels, pixels));
        // The margin above and beside the square is clear; the shadow falls below.
        const int edge = pixels / 16;
        for (const QPoint clear : {QPoint(0, 0), QPoint(pixels - 1, 0), QPoint(pixels / 2, 0), QPoint(0, pixels / 2),
                                   QPoint(pixels - 1, pixels / 2)}) {
            EXPECT_EQ(qAlpha(icon.pixel(clear)), 0) << clear.x() << "," << clear.y();
        }
        // Continuous corners: the square's corner itself is outside the shape.
        const int inset = pixels * 100 / 1024;
        EXPECT_LT(qAlpha(icon.pixel(inset + 1, inset + 1)), 255);
        EXPECT_TRUE(isBody(icon.pixel(pixels / 2, inset + edge + 1)));
        EXPECT_TRUE(isBody(icon.pixel(inset + edge + 1, pixels / 2)));
        int mark = 0;
        for (int y = 0; y < pixels; ++y) {
            for (int x = 0; x < pixels; ++x) mark += isMark(icon.pixel(x, y)) ? 1 : 0;
        }
        EXPECT_GT(mark, pixels * pixels / 20) << "the mark shows";
        EXPECT_LT(mark, pixels * pixels / 4) << "and leaves the square its colour";
        // Some column crosses the three branches apart.
        int most = 0;
        for (int x = pixels / 2; x < pixels; ++x) most = std::max(most, markRuns(icon, x));
        EXPECT_EQ(most, 3);
    }
}

TEST(AppIcon, SizesOutOfRangeGiveNothing) {
    for (const int pixels : {0, -16, 4097}) {
        EXPECT_TRUE(appIcon(pixels).isNull()) << pixels;
        EXPECT_EQ(appIconPng(pixels), std::nullopt) << pixels;
    }
}

TEST(AppIcon, PngIsTheSameBytesEveryTime) {
    // Install compares the files it would write with those there.
    const auto png = appIconPng(64);
    ASSERT_TRUE(png.has_value());
    EXPECT_TRUE(png->starts_with(kPngSignature));
    EXPECT_EQ(appIconPng(64), png);
    const QImage decoded = QImage::fromData(QByteArray::fromStdString(*png), "PNG");
    EXPECT_EQ(decoded.size(), QSize(64, 64));
}

// --- the Mac's icon file -------------------------------------------------------

struct ParsedEntry {
    std::string type;
    std::string data;
};

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

// The entries of an icon file, checking the lengths as a Mac reads them.
std::vector<ParsedEntry> parseIcns(const std::string& file) {
    std::vector<ParsedEntry> entries;
    EXPECT_GE(file.size(), 8u);
    if (file.size() < 8) return entries;
    EXPECT_EQ(file.substr(0, 4), "icns");
    EXPECT_EQ(bigEndian(file, 4), file.size());
    std::size_t at = 8;
    while (at + 8 <= file.size()) {
        const std::uint32_t length = bigEndian(file, at + 4);
        EXPECT_GE(length, 8u);
        EXPECT_LE(at + length, file.size());
        if (length < 8 || at + length > file.size()) break;
        entries.push_back({file.substr(at, 4), file.substr(at + 8, length - 8)});
        at += length;
    }
    EXPECT_EQ(at, file.size()) << "nothing after the last entry";
    return entries;
}

TEST(IcnsFile, EntriesFollowInOrderWithBigEndianLengths) {
    const std::string small = std::string(kPngSignature) + "a";
    const std::string large = std::string(kPngSignature) + std::string(300, 'b');
    const std::vector<IcnsImage> images{{"ic07", small}, {"ic10", large}};
    const auto file = icnsFile(images);
    ASSERT_TRUE(file.has_value()) << file.error();
    const std::size_t total = 8 + (8 + small.size()) + (8 + large.size());
    EXPECT_EQ(file->substr(0, 8), std::string("icns\0\0\x01\x55", 8));
    ASSERT_EQ(file->size(), total);
    EXPECT_EQ(file->substr(8, 8), std::string("ic07\0\0\0\x11", 8));
    const auto entries = parseIcns(*file);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].type, "ic07");
    EXPECT_EQ(entries[0].data, small);
    EXPECT_EQ(entries[1].type, "ic10");
    EXPECT_EQ(entries[1].data, large);
    EXPECT_EQ(icnsFile({}), std::string("icns\0\0\0\x08", 8));
}

TEST(IcnsFile, RefusesWhatAMacCouldNotRead) {
    const std::string png = std::string(kPngSignature) + "x";
    struct Case {
        std::string_view type;
        std::string data;
        const char* says;
    };
    const std::vector<Case> cases{
        {"ic1", png, "“ic1” isn’t an icon type"},
        {"ic100", png, "“ic100” isn’t an icon type"},
        {std::string_view("ic\x01" "0", 4), png, "isn’t an icon type"},
        {"ic08", "GIF89a", "the ic08 image isn’t a PNG"},
        {"ic08", "", "the ic08 image isn’t a PNG"},
    };
    for (const auto& c : cases) {
        const std::vector<IcnsImage> images{{"ic07", png}, {c.type, c.data}};
        const auto file = icnsFile(images);
        ASSERT_FALSE(file.has_value()) << c.says;
        EXPECT_THAT(file.error(), HasSubstr(c.says));
    }
}

TEST(IcnsFile, TheAppIconHoldsEachSlotAsAPngOfItsSize) {
    const auto file = appIconIcns();
    ASSERT_TRUE(file.has_value()) << file.error();
    const auto entries = parseIcns(*file);
    ASSERT_EQ(entries.size(), kAppIconSlots.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const auto& slot = kAppIconSlots[i];
        SCOPED_TRACE(std::string(slot.type));
        EXPECT_EQ(entries[i].type, slot.type);
        EXPECT_TRUE(entries[i].data.starts_with(kPngSignature));
        const QImage image = QImage::fromData(QByteArray::fromStdString(entries[i].data), "PNG");
        EXPECT_EQ(image.size(), QSize(slot.pixels, slot.pixels));
    }
}

}  // namespace
}  // namespace pivra
