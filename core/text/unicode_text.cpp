#include "core/text/unicode_text.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace pivra {
namespace {

constexpr char32_t kInvalid = 0xFFFFFFFF;

// Decodes one code point at `i`; sets `length`. Invalid sequences give kInvalid, length 1.
char32_t decodeAt(std::string_view text, std::size_t i, std::size_t& length) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    length = 1;
    if (lead < 0x80) return lead;
    std::size_t need = 0;
    char32_t cp = 0;
    char32_t minimum = 0;
    if ((lead & 0xE0) == 0xC0) { need = 1; cp = lead & 0x1F; minimum = 0x80; }
    else if ((lead & 0xF0) == 0xE0) { need = 2; cp = lead & 0x0F; minimum = 0x800; }
    else if ((lead & 0xF8) == 0xF0) { need = 3; cp = lead & 0x07; minimum = 0x10000; }
    else return kInvalid;
    if (i + need >= text.size()) return kInvalid;
    for (std::size_t k = 1; k <= need; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return kInvalid;
        cp = (cp << 6) | (byte(i + k) & 0x3F);
    }
    if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return kInvalid;
    length = need + 1;
    return cp;
}

void encode(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

struct Range {
    char32_t first, last;
};

struct Pair {
    char32_t from, to;
};

template <std::size_t N>
constexpr bool sortedAndDisjoint(const Range (&ranges)[N]) {
    for (std::size_t i = 0; i < N; ++i) {
        if (ranges[i].first > ranges[i].last || (i > 0 && ranges[i - 1].last >= ranges[i].first)) return false;
    }
    return true;
}

template <std::size_t N>
constexpr bool sortedByFrom(const Pair (&pairs)[N]) {
    for (std::size_t i = 1; i < N; ++i) {
        if (pairs[i - 1].from >= pairs[i].from) return false;
    }
    return true;
}

template <std::size_t N>
bool inRanges(char32_t cp, const Range (&ranges)[N]) {
    const auto after = std::upper_bound(std::begin(ranges), std::end(ranges), cp,
                                        [](char32_t value, const Range& range) { return value < range.first; });
    return after != std::begin(ranges) && cp <= std::prev(after)->last;
}

template <std::size_t N>
char32_t lookUp(char32_t cp, const Pair (&pairs)[N]) {
    const auto found = std::lower_bound(std::begin(pairs), std::end(pairs), cp,
                                        [](const Pair& pair, char32_t value) { return pair.from < value; });
    return (found != std::end(pairs) && found->from == cp) ? found->to : cp;
}

// Capitals whose small letter is not at a fixed distance.
constexpr Pair kLowerPairs[] = {
    {0x130, 0x69},    {0x178, 0xFF},    {0x181, 0x253},   {0x182, 0x183},   {0x184, 0x185},   {0x186, 0x254},
    {0x187, 0x188},   {0x189, 0x256},   {0x18A, 0x257},   {0x18B, 0x18C},   {0x18E, 0x1DD},   {0x18F, 0x259},
    {0x190, 0x25B},   {0x191, 0x192},   {0x193, 0x260},   {0x194, 0x263},   {0x196, 0x269},   {0x197, 0x268},
    {0x198, 0x199},   {0x19C, 0x26F},   {0x19D, 0x272},   {0x19F, 0x275},   {0x1A0, 0x1A1},   {0x1A2, 0x1A3},
    {0x1A4, 0x1A5},   {0x1A6, 0x280},   {0x1A7, 0x1A8},   {0x1A9, 0x283},   {0x1AC, 0x1AD},   {0x1AE, 0x288},
    {0x1AF, 0x1B0},   {0x1B1, 0x28A},   {0x1B2, 0x28B},   {0x1B3, 0x1B4},   {0x1B5, 0x1B6},   {0x1B7, 0x292},
    {0x1B8, 0x1B9},   {0x1BC, 0x1BD},   {0x1C4, 0x1C6},   {0x1C5, 0x1C6},   {0x1C7, 0x1C9},   {0x1C8, 0x1C9},
    {0x1CA, 0x1CC},   {0x1CB, 0x1CC},   {0x1F1, 0x1F3},   {0x1F2, 0x1F3},   {0x1F4, 0x1F5},   {0x1F6, 0x195},
    {0x1F7, 0x1BF},   {0x220, 0x19E},   {0x23A, 0x2C65},  {0x23B, 0x23C},   {0x23D, 0x19A},   {0x23E, 0x2C66},
    {0x241, 0x242},   {0x243, 0x180},   {0x244, 0x289},   {0x245, 0x28C},   {0x376, 0x377},   {0x37F, 0x3F3},
    {0x386, 0x3AC},   {0x38C, 0x3CC},   {0x3CF, 0x3D7},   {0x3F4, 0x3B8},   {0x3F7, 0x3F8},   {0x3F9, 0x3F2},
    {0x3FA, 0x3FB},   {0x4C0, 0x4CF},   {0x10C7, 0x2D27}, {0x10CD, 0x2D2D}, {0x1E9E, 0xDF},   {0x1FBC, 0x1FB3},
    {0x1FCC, 0x1FC3}, {0x1FEC, 0x1FE5}, {0x1FFC, 0x1FF3}, {0x2126, 0x3C9},  {0x212A, 0x6B},   {0x212B, 0xE5},
    {0x2132, 0x214E}, {0x2183, 0x2184}, {0x2C60, 0x2C61}, {0x2C62, 0x26B},  {0x2C63, 0x1D7D}, {0x2C64, 0x27D},
    {0x2C67, 0x2C68}, {0x2C69, 0x2C6A}, {0x2C6B, 0x2C6C}, {0x2C6D, 0x251},  {0x2C6E, 0x271},  {0x2C6F, 0x250},
    {0x2C70, 0x252},  {0x2C72, 0x2C73}, {0x2C75, 0x2C76}, {0x2C7E, 0x23F},  {0x2C7F, 0x240},  {0x2CEB, 0x2CEC},
    {0x2CED, 0x2CEE}, {0x2CF2, 0x2CF3}, {0xA77D, 0x1D79}, {0xA78B, 0xA78C}, {0xA78D, 0x265},  {0xA7AA, 0x266},
    {0xA7AB, 0x25C},  {0xA7AC, 0x261},  {0xA7AD, 0x26C},  {0xA7AE, 0x26A},  {0xA7B0, 0x29E},  {0xA7B1, 0x287},
    {0xA7B2, 0x29D},  {0xA7B3, 0xAB53}, {0xA7C4, 0xA794}, {0xA7C5, 0x282},  {0xA7C6, 0x1D8E}, {0xA7C7, 0xA7C8},
    {0xA7C9, 0xA7CA}, {0xA7F5, 0xA7F6},
};
static_assert(sortedByFrom(kLowerPairs));

// Blocks where capitals and small letters alternate.
constexpr bool isEven(char32_t cp) { return cp % 2 == 0; }
constexpr char32_t evenCapital(char32_t cp) { return isEven(cp) ? cp + 1 : cp; }
constexpr char32_t oddCapital(char32_t cp) { return isEven(cp) ? cp : cp + 1; }

// The small letter for a capital (or title-case) letter, else `cp`. Covers the
// bicameral scripts but Cherokee (whose folding goes to the capitals), and the
// Roman numerals, circled letters and letter-like signs (Kelvin, Angstrom, Ohm).
char32_t lowerCodePoint(char32_t cp) {
    if (cp < 0x80) return (cp >= 'A' && cp <= 'Z') ? cp + 0x20 : cp;
    if (cp < 0x100) return (cp >= 0xC0 && cp <= 0xDE && cp != 0xD7) ? cp + 0x20 : cp;
    if (cp < 0x180) {
        if (cp == 0x130 || cp == 0x178) return lookUp(cp, kLowerPairs);
        if (cp == 0x131 || cp == 0x138 || cp == 0x149 || cp == 0x17F) return cp;
        if ((cp >= 0x139 && cp <= 0x148) || (cp >= 0x179 && cp <= 0x17E)) return oddCapital(cp);
        return evenCapital(cp);
    }
    if (cp < 0x250) {
        if (cp >= 0x1CD && cp <= 0x1DC) return oddCapital(cp);
        if ((cp >= 0x1DE && cp <= 0x1EF) || (cp >= 0x1F8 && cp <= 0x21F) || (cp >= 0x222 && cp <= 0x233) ||
            (cp >= 0x246 && cp <= 0x24F)) {
            return evenCapital(cp);
        }
        return lookUp(cp, kLowerPairs);
    }
    if (cp < 0x370) return cp;
    if (cp < 0x400) {
        if (cp >= 0x391 && cp <= 0x3AB && cp != 0x3A2) return cp + 0x20;
        if (cp >= 0x388 && cp <= 0x38A) return cp + 0x25;
        if (cp == 0x38E || cp == 0x38F) return cp + 0x3F;
        if ((cp >= 0x370 && cp <= 0x373) || (cp >= 0x3D8 && cp <= 0x3EF)) return evenCapital(cp);
        if (cp >= 0x3FD) return cp - 0x82;
        return lookUp(cp, kLowerPairs);
    }
    if (cp < 0x530) {
        if (cp <= 0x40F) return cp + 0x50;
        if (cp <= 0x42F) return cp + 0x20;
        if ((cp >= 0x460 && cp <= 0x481) || (cp >= 0x48A && cp <= 0x4BF) || cp >= 0x4D0) return evenCapital(cp);
        if (cp >= 0x4C1 && cp <= 0x4CE) return oddCapital(cp);
        return lookUp(cp, kLowerPairs);
    }
    if (cp <= 0x556) return cp >= 0x531 ? cp + 0x30 : cp;                  // Armenian
    if (cp >= 0x10A0 && cp <= 0x10CD) return cp <= 0x10C5 ? cp + 0x1C60 : lookUp(cp, kLowerPairs);  // Georgian
    if ((cp >= 0x1C90 && cp <= 0x1CBA) || (cp >= 0x1CBD && cp <= 0x1CBF)) return cp - 0xBC0;  // Mtavruli
    if (cp >= 0x1E00 && cp <= 0x1EFF) {
        if (cp <= 0x1E95 || cp >= 0x1EA0) return evenCapital(cp);
        return lookUp(cp, kLowerPairs);
    }
    if (cp >= 0x1F00 && cp <= 0x1FFF) {  // Greek with breathings and accents
        const char32_t row = cp & 0xFFF0;
        const char32_t column = cp & 0xF;
        if (column >= 8 && ((row <= 0x1F60 && row != 0x1F10 && row != 0x1F40 && row != 0x1F50) ||
                            (row >= 0x1F80 && row <= 0x1FA0) || ((row == 0x1F10 || row == 0x1F40) && column <= 0xD) ||
                            (row == 0x1F50 && !isEven(cp)))) {
            return cp - 8;
        }
        if (cp == 0x1FB8 || cp == 0x1FB9 || cp == 0x1FD8 || cp == 0x1FD9 || cp == 0x1FE8 || cp == 0x1FE9) return cp - 8;
        if (cp == 0x1FBA || cp == 0x1FBB) return cp - 0x4A;
        if (cp >= 0x1FC8 && cp <= 0x1FCB) return cp - 0x56;
        if (cp == 0x1FDA || cp == 0x1FDB) return cp - 0x64;
        if (cp == 0x1FEA || cp == 0x1FEB) return cp - 0x70;
        if (cp == 0x1FF8 || cp == 0x1FF9) return cp - 0x80;
        if (cp == 0x1FFA || cp == 0x1FFB) return cp - 0x7E;
        return lookUp(cp, kLowerPairs);
    }
    if (cp >= 0x2100 && cp <= 0x24FF) {
        if (cp >= 0x2160 && cp <= 0x216F) return cp + 0x10;  // Roman numerals
        if (cp >= 0x24B6 && cp <= 0x24CF) return cp + 0x1A;  // circled letters
        return lookUp(cp, kLowerPairs);
    }
    if (cp >= 0x2C00 && cp <= 0x2CFF) {
        if (cp <= 0x2C2F) return cp + 0x30;  // Glagolitic
        if (cp >= 0x2C80 && cp <= 0x2CE3) return evenCapital(cp);  // Coptic
        return lookUp(cp, kLowerPairs);
    }
    if (cp >= 0xA640 && cp <= 0xA7FF) {
        if ((cp <= 0xA66D) || (cp >= 0xA680 && cp <= 0xA69B) || (cp >= 0xA722 && cp <= 0xA72F) ||
            (cp >= 0xA732 && cp <= 0xA76F) || (cp >= 0xA77E && cp <= 0xA787) || (cp >= 0xA790 && cp <= 0xA793) ||
            (cp >= 0xA796 && cp <= 0xA7A9) || (cp >= 0xA7B4 && cp <= 0xA7C3) || cp == 0xA7D0 || cp == 0xA7D6 ||
            cp == 0xA7D8) {
            return evenCapital(cp);
        }
        if (cp >= 0xA779 && cp <= 0xA77C) return oddCapital(cp);
        return lookUp(cp, kLowerPairs);
    }
    if (cp >= 0xFF21 && cp <= 0xFF3A) return cp + 0x20;     // full-width Latin
    if (cp < 0x10400) return cp;
    if (cp <= 0x10427) return cp + 0x28;                                      // Deseret
    if (cp >= 0x104B0 && cp <= 0x104D3) return cp + 0x28;                     // Osage
    if ((cp >= 0x10570 && cp <= 0x10595) && cp != 0x1057B && cp != 0x1058B && cp != 0x10593) return cp + 0x27;  // Vithkuqi
    if (cp >= 0x10C80 && cp <= 0x10CB2) return cp + 0x40;                     // Old Hungarian
    if ((cp >= 0x118A0 && cp <= 0x118BF) || (cp >= 0x16E40 && cp <= 0x16E5F)) return cp + 0x20;  // Warang Citi, Medefaidrin
    if (cp >= 0x1E900 && cp <= 0x1E921) return cp + 0x22;                     // Adlam
    return cp;
}

// Case folding for comparisons: lower case, and the final sigma as the ordinary one.
char32_t foldCase(char32_t cp) { return cp == 0x3C2 ? 0x3C3 : lowerCodePoint(cp); }

// Code points that continue the character before them.
bool extendsPrevious(char32_t cp) {
    static constexpr Range kExtend[] = {
        {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
        {0x0900, 0x0903}, {0x093A, 0x094F}, {0x0951, 0x0957}, {0x0E31, 0x0E31}, {0x0E34, 0x0E3A},
        {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200C, 0x200D}, {0x20D0, 0x20FF},
        {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF}, {0xE0020, 0xE007F},
        {0xE0100, 0xE01EF},
    };
    static_assert(sortedAndDisjoint(kExtend));
    return cp >= 0x300 && inRanges(cp, kExtend);
}

bool isRegionalIndicator(char32_t cp) { return cp >= 0x1F1E6 && cp <= 0x1F1FF; }

// The pictographs that a zero-width joiner binds into one emoji ("👩‍💻").
bool isPictographic(char32_t cp) {
    static constexpr Range kPictographs[] = {
        {0x00A9, 0x00A9}, {0x00AE, 0x00AE}, {0x203C, 0x203C}, {0x2049, 0x2049}, {0x2122, 0x2122},
        {0x2139, 0x2139}, {0x2194, 0x21AA}, {0x231A, 0x23FF}, {0x24C2, 0x24C2}, {0x25AA, 0x27BF},
        {0x2934, 0x2935}, {0x2B05, 0x2B55}, {0x3030, 0x3030}, {0x303D, 0x303D}, {0x3297, 0x3299},
        {0x1F000, 0x1FAFF},
    };
    static_assert(sortedAndDisjoint(kPictographs));
    return cp >= 0xA9 && inRanges(cp, kPictographs);
}

bool isNewline(char32_t cp) { return (cp >= 0x0A && cp <= 0x0D) || cp == 0x85 || cp == 0x2028 || cp == 0x2029; }

// White space: newlines, tab and the space characters of every width.
bool isBlank(char32_t cp) {
    if (cp < 0x80) return cp == ' ' || cp == '\t' || isNewline(cp);
    return cp == 0x85 || cp == 0xA0 || cp == 0x1680 || (cp >= 0x2000 && cp <= 0x200A) || cp == 0x2028 ||
           cp == 0x2029 || cp == 0x202F || cp == 0x205F || cp == 0x3000;
}

// Small letters with accents (and a few letters with strokes), mapped to their base letter.
constexpr Pair kBases[] = {
    {0xE0, 0x61}, {0xE1, 0x61}, {0xE2, 0x61}, {0xE3, 0x61}, {0xE4, 0x61}, {0xE5, 0x61},
    {0xE7, 0x63}, {0xE8, 0x65}, {0xE9, 0x65}, {0xEA, 0x65}, {0xEB, 0x65}, {0xEC, 0x69},
    {0xED, 0x69}, {0xEE, 0x69}, {0xEF, 0x69}, {0xF1, 0x6E}, {0xF2, 0x6F}, {0xF3, 0x6F},
    {0xF4, 0x6F}, {0xF5, 0x6F}, {0xF6, 0x6F}, {0xF8, 0x6F}, {0xF9, 0x75}, {0xFA, 0x75},
    {0xFB, 0x75}, {0xFC, 0x75}, {0xFD, 0x79}, {0xFF, 0x79}, {0x101, 0x61}, {0x103, 0x61},
    {0x105, 0x61}, {0x107, 0x63}, {0x109, 0x63}, {0x10B, 0x63}, {0x10D, 0x63}, {0x10F, 0x64},
    {0x111, 0x64}, {0x113, 0x65}, {0x115, 0x65}, {0x117, 0x65}, {0x119, 0x65}, {0x11B, 0x65},
    {0x11D, 0x67}, {0x11F, 0x67}, {0x121, 0x67}, {0x123, 0x67}, {0x125, 0x68}, {0x127, 0x68},
    {0x129, 0x69}, {0x12B, 0x69}, {0x12D, 0x69}, {0x12F, 0x69}, {0x135, 0x6A}, {0x137, 0x6B},
    {0x13A, 0x6C}, {0x13C, 0x6C}, {0x13E, 0x6C}, {0x142, 0x6C}, {0x144, 0x6E}, {0x146, 0x6E},
    {0x148, 0x6E}, {0x14D, 0x6F}, {0x14F, 0x6F}, {0x151, 0x6F}, {0x155, 0x72}, {0x157, 0x72},
    {0x159, 0x72}, {0x15B, 0x73}, {0x15D, 0x73}, {0x15F, 0x73}, {0x161, 0x73}, {0x163, 0x74},
    {0x165, 0x74}, {0x167, 0x74}, {0x169, 0x75}, {0x16B, 0x75}, {0x16D, 0x75}, {0x16F, 0x75},
    {0x171, 0x75}, {0x173, 0x75}, {0x175, 0x77}, {0x177, 0x79}, {0x17A, 0x7A}, {0x17C, 0x7A},
    {0x17E, 0x7A}, {0x17F, 0x73}, {0x180, 0x62}, {0x1A1, 0x6F}, {0x1B0, 0x75}, {0x1CE, 0x61},
    {0x1D0, 0x69}, {0x1D2, 0x6F}, {0x1D4, 0x75}, {0x1D6, 0x75}, {0x1D8, 0x75}, {0x1DA, 0x75},
    {0x1DC, 0x75}, {0x1DF, 0x61}, {0x1E1, 0x61}, {0x1E3, 0xE6}, {0x1E7, 0x67}, {0x1E9, 0x6B},
    {0x1EB, 0x6F}, {0x1ED, 0x6F}, {0x1EF, 0x292}, {0x1F0, 0x6A}, {0x1F5, 0x67}, {0x1F9, 0x6E},
    {0x1FB, 0x61}, {0x1FD, 0xE6}, {0x1FF, 0x6F}, {0x201, 0x61}, {0x203, 0x61}, {0x205, 0x65},
    {0x207, 0x65}, {0x209, 0x69}, {0x20B, 0x69}, {0x20D, 0x6F}, {0x20F, 0x6F}, {0x211, 0x72},
    {0x213, 0x72}, {0x215, 0x75}, {0x217, 0x75}, {0x219, 0x73}, {0x21B, 0x74}, {0x21F, 0x68},
    {0x227, 0x61}, {0x229, 0x65}, {0x22B, 0x6F}, {0x22D, 0x6F}, {0x22F, 0x6F}, {0x231, 0x6F},
    {0x233, 0x79}, {0x385, 0xA8}, {0x390, 0x3B9}, {0x3AC, 0x3B1}, {0x3AD, 0x3B5}, {0x3AE, 0x3B7},
    {0x3AF, 0x3B9}, {0x3B0, 0x3C5}, {0x3C2, 0x3C3}, {0x3CA, 0x3B9}, {0x3CB, 0x3C5}, {0x3CC, 0x3BF},
    {0x3CD, 0x3C5}, {0x3CE, 0x3C9}, {0x3D3, 0x3D2}, {0x3D4, 0x3D2}, {0x439, 0x438}, {0x450, 0x435},
    {0x451, 0x435}, {0x453, 0x433}, {0x457, 0x456}, {0x45C, 0x43A}, {0x45D, 0x438}, {0x45E, 0x443},
    {0x477, 0x475}, {0x4C2, 0x436}, {0x4D1, 0x430}, {0x4D3, 0x430}, {0x4D7, 0x435}, {0x4DB, 0x4D9},
    {0x4DD, 0x436}, {0x4DF, 0x437}, {0x4E3, 0x438}, {0x4E5, 0x438}, {0x4E7, 0x43E}, {0x4EB, 0x4E9},
    {0x4ED, 0x44D}, {0x4EF, 0x443}, {0x4F1, 0x443}, {0x4F3, 0x443}, {0x4F5, 0x447}, {0x4F9, 0x44B},
    {0x1E01, 0x61}, {0x1E03, 0x62}, {0x1E05, 0x62}, {0x1E07, 0x62}, {0x1E09, 0x63}, {0x1E0B, 0x64},
    {0x1E0D, 0x64}, {0x1E0F, 0x64}, {0x1E11, 0x64}, {0x1E13, 0x64}, {0x1E15, 0x65}, {0x1E17, 0x65},
    {0x1E19, 0x65}, {0x1E1B, 0x65}, {0x1E1D, 0x65}, {0x1E1F, 0x66}, {0x1E21, 0x67}, {0x1E23, 0x68},
    {0x1E25, 0x68}, {0x1E27, 0x68}, {0x1E29, 0x68}, {0x1E2B, 0x68}, {0x1E2D, 0x69}, {0x1E2F, 0x69},
    {0x1E31, 0x6B}, {0x1E33, 0x6B}, {0x1E35, 0x6B}, {0x1E37, 0x6C}, {0x1E39, 0x6C}, {0x1E3B, 0x6C},
    {0x1E3D, 0x6C}, {0x1E3F, 0x6D}, {0x1E41, 0x6D}, {0x1E43, 0x6D}, {0x1E45, 0x6E}, {0x1E47, 0x6E},
    {0x1E49, 0x6E}, {0x1E4B, 0x6E}, {0x1E4D, 0x6F}, {0x1E4F, 0x6F}, {0x1E51, 0x6F}, {0x1E53, 0x6F},
    {0x1E55, 0x70}, {0x1E57, 0x70}, {0x1E59, 0x72}, {0x1E5B, 0x72}, {0x1E5D, 0x72}, {0x1E5F, 0x72},
    {0x1E61, 0x73}, {0x1E63, 0x73}, {0x1E65, 0x73}, {0x1E67, 0x73}, {0x1E69, 0x73}, {0x1E6B, 0x74},
    {0x1E6D, 0x74}, {0x1E6F, 0x74}, {0x1E71, 0x74}, {0x1E73, 0x75}, {0x1E75, 0x75}, {0x1E77, 0x75},
    {0x1E79, 0x75}, {0x1E7B, 0x75}, {0x1E7D, 0x76}, {0x1E7F, 0x76}, {0x1E81, 0x77}, {0x1E83, 0x77},
    {0x1E85, 0x77}, {0x1E87, 0x77}, {0x1E89, 0x77}, {0x1E8B, 0x78}, {0x1E8D, 0x78}, {0x1E8F, 0x79},
    {0x1E91, 0x7A}, {0x1E93, 0x7A}, {0x1E95, 0x7A}, {0x1E96, 0x68}, {0x1E97, 0x74}, {0x1E98, 0x77},
    {0x1E99, 0x79}, {0x1E9B, 0x73}, {0x1EA1, 0x61}, {0x1EA3, 0x61}, {0x1EA5, 0x61}, {0x1EA7, 0x61},
    {0x1EA9, 0x61}, {0x1EAB, 0x61}, {0x1EAD, 0x61}, {0x1EAF, 0x61}, {0x1EB1, 0x61}, {0x1EB3, 0x61},
    {0x1EB5, 0x61}, {0x1EB7, 0x61}, {0x1EB9, 0x65}, {0x1EBB, 0x65}, {0x1EBD, 0x65}, {0x1EBF, 0x65},
    {0x1EC1, 0x65}, {0x1EC3, 0x65}, {0x1EC5, 0x65}, {0x1EC7, 0x65}, {0x1EC9, 0x69}, {0x1ECB, 0x69},
    {0x1ECD, 0x6F}, {0x1ECF, 0x6F}, {0x1ED1, 0x6F}, {0x1ED3, 0x6F}, {0x1ED5, 0x6F}, {0x1ED7, 0x6F},
    {0x1ED9, 0x6F}, {0x1EDB, 0x6F}, {0x1EDD, 0x6F}, {0x1EDF, 0x6F}, {0x1EE1, 0x6F}, {0x1EE3, 0x6F},
    {0x1EE5, 0x75}, {0x1EE7, 0x75}, {0x1EE9, 0x75}, {0x1EEB, 0x75}, {0x1EED, 0x75}, {0x1EEF, 0x75},
    {0x1EF1, 0x75}, {0x1EF3, 0x79}, {0x1EF5, 0x79}, {0x1EF7, 0x79}, {0x1EF9, 0x79},
};
static_assert(sortedByFrom(kBases));

char32_t withoutAccent(char32_t cp) { return cp < 0xC0 ? cp : lookUp(cp, kBases); }

// --- Sorting ---------------------------------------------------------------------------------
//
// Names are compared in three passes, each over a stream of elements: first by
// base letter (a primary weight that orders blanks, punctuation, symbols,
// digits, then letters by script), then by accent, then by case and width.
// Runs of decimal digits, of any script, are one element and compare by value.
// Each pass is a total preorder on its own, so the sort is consistent; the
// bytes decide last.

enum SortGroup : std::uint32_t {
    kBlankGroup = 1, kPunctuationGroup, kSymbolGroup, kDigitGroup, kLetterGroup, kHangulGroup, kKanaGroup,
    kBopomofoGroup, kHanGroup, kUndecodableGroup,
};
constexpr std::uint32_t primaryWeight(std::uint32_t group, char32_t base) { return group << 21 | base; }

// Variant bits: what sets apart letters that are otherwise the same. Case weighs
// most, so "ｅ" comes between "e" and "E".
constexpr std::uint8_t kWide = 1;
constexpr std::uint8_t kNarrow = 2;
constexpr std::uint8_t kKatakana = 4;
constexpr std::uint8_t kCapital = 8;

// The value of a decimal digit of any script, or -1.
int digitValue(char32_t cp) {
    if (cp < 0x80) return (cp >= '0' && cp <= '9') ? static_cast<int>(cp - '0') : -1;
    // The zero of each script's run of ten digits.
    static constexpr char32_t kZeros[] = {
        0x660,   0x6F0,   0x7C0,   0x966,   0x9E6,   0xA66,   0xAE6,   0xB66,   0xBE6,   0xC66,   0xCE6,
        0xD66,   0xDE6,   0xE50,   0xED0,   0xF20,   0x1040,  0x1090,  0x17E0,  0x1810,  0x1946,  0x19D0,
        0x1A80,  0x1A90,  0x1B50,  0x1BB0,  0x1C40,  0x1C50,  0xA620,  0xA8D0,  0xA900,  0xA9D0,  0xA9F0,
        0xAA50,  0xABF0,  0xFF10,  0x104A0, 0x10D30, 0x11066, 0x110F0, 0x11136, 0x111D0, 0x112F0, 0x11450,
        0x114D0, 0x11650, 0x116C0, 0x11730, 0x118E0, 0x11950, 0x11C50, 0x11D50, 0x11DA0, 0x16A60, 0x16AC0,
        0x16B50, 0x1D7CE, 0x1D7D8, 0x1D7E2, 0x1D7EC, 0x1D7F6, 0x1E140, 0x1E2F0, 0x1E950, 0x1FBF0,
    };
    const auto after = std::upper_bound(std::begin(kZeros), std::end(kZeros), cp);
    if (after == std::begin(kZeros)) return -1;
    const char32_t offset = cp - *std::prev(after);
    return offset < 10 ? static_cast<int>(offset) : -1;
}

// Controls and format characters: they leave no trace in the order but for the bytes.
bool isIgnorable(char32_t cp) {
    if (cp < 0xA0) return !isBlank(cp) && (cp < 0x20 || cp >= 0x7F);
    return cp == 0xAD || cp == 0x61C || cp == 0x180E || cp == 0x200B || cp == 0x200E || cp == 0x200F ||
           (cp >= 0x202A && cp <= 0x202E) || (cp >= 0x2060 && cp <= 0x206F) || cp == 0xFEFF ||
           (cp >= 0xFFF9 && cp <= 0xFFFB);
}

constexpr Range kPunctuation[] = {
    {0x21, 0x23},       {0x25, 0x2A},       {0x2C, 0x2F},       {0x3A, 0x3B},       {0x3F, 0x40},
    {0x5B, 0x5D},       {0x5F, 0x5F},       {0x7B, 0x7B},       {0x7D, 0x7D},       {0xA1, 0xA1},
    {0xA7, 0xA7},       {0xAB, 0xAB},       {0xB6, 0xB7},       {0xBB, 0xBB},       {0xBF, 0xBF},
    {0x37E, 0x37E},     {0x387, 0x387},     {0x55A, 0x55F},     {0x589, 0x58A},     {0x5BE, 0x5BE},
    {0x5C0, 0x5C0},     {0x5C3, 0x5C3},     {0x5C6, 0x5C6},     {0x5F3, 0x5F4},     {0x609, 0x60A},
    {0x60C, 0x60D},     {0x61B, 0x61B},     {0x61D, 0x61F},     {0x66A, 0x66D},     {0x6D4, 0x6D4},
    {0x964, 0x965},     {0x970, 0x970},     {0xE4F, 0xE4F},     {0xE5A, 0xE5B},     {0x10FB, 0x10FB},
    {0x1360, 0x1368},   {0x166E, 0x166E},   {0x169B, 0x169C},   {0x16EB, 0x16ED},   {0x17D4, 0x17D6},
    {0x17D8, 0x17DA},   {0x1800, 0x180A},   {0x2010, 0x2027},   {0x2030, 0x2043},   {0x2045, 0x2051},
    {0x2053, 0x205E},   {0x207D, 0x207E},   {0x208D, 0x208E},   {0x2308, 0x230B},   {0x2329, 0x232A},
    {0x2768, 0x2775},   {0x27C5, 0x27C6},   {0x27E6, 0x27EF},   {0x2983, 0x2998},   {0x29D8, 0x29DB},
    {0x29FC, 0x29FD},   {0x2CF9, 0x2CFC},   {0x2CFE, 0x2CFF},   {0x2E00, 0x2E2E},   {0x2E30, 0x2E4F},
    {0x2E52, 0x2E5D},   {0x3001, 0x3003},   {0x3008, 0x3011},   {0x3014, 0x301F},   {0x3030, 0x3030},
    {0x303D, 0x303D},   {0x30A0, 0x30A0},   {0x30FB, 0x30FB},   {0xA4FE, 0xA4FF},   {0xA60D, 0xA60F},
    {0xA673, 0xA673},   {0xA67E, 0xA67E},   {0xA6F2, 0xA6F7},   {0xA874, 0xA877},   {0xA8CE, 0xA8CF},
    {0xA8F8, 0xA8FA},   {0xA8FC, 0xA8FC},   {0xA92E, 0xA92F},   {0xA95F, 0xA95F},   {0xA9C1, 0xA9CD},
    {0xA9DE, 0xA9DF},   {0xAA5C, 0xAA5F},   {0xAADE, 0xAADF},   {0xAAF0, 0xAAF1},   {0xABEB, 0xABEB},
    {0xFD3E, 0xFD3F},   {0xFE10, 0xFE19},   {0xFE30, 0xFE52},   {0xFE54, 0xFE61},   {0xFE63, 0xFE63},
    {0xFE68, 0xFE68},   {0xFE6A, 0xFE6B},   {0xFF5F, 0xFF65},
};
static_assert(sortedAndDisjoint(kPunctuation));

// Currency, mathematical and other signs, arrows, shapes, pictographs and emoji.
constexpr Range kSymbols[] = {
    {0x24, 0x24},       {0x2B, 0x2B},       {0x3C, 0x3E},       {0x5E, 0x5E},       {0x60, 0x60},
    {0x7C, 0x7C},       {0x7E, 0x7E},       {0xA2, 0xA6},       {0xA8, 0xA9},       {0xAC, 0xAC},
    {0xAE, 0xB4},       {0xB8, 0xB9},       {0xBC, 0xBE},       {0xD7, 0xD7},       {0xF7, 0xF7},
    {0x2C2, 0x2C5},     {0x2D2, 0x2DF},     {0x2E5, 0x2EB},     {0x2ED, 0x2ED},     {0x2EF, 0x2FF},
    {0x375, 0x375},     {0x384, 0x385},     {0x3F6, 0x3F6},     {0x482, 0x482},     {0x58D, 0x58F},
    {0x606, 0x608},     {0x60B, 0x60B},     {0x60E, 0x60F},     {0x6DE, 0x6DE},     {0x6E9, 0x6E9},
    {0x6FD, 0x6FE},     {0x7F6, 0x7F6},     {0x9F2, 0x9F3},     {0x9FA, 0x9FB},     {0xAF1, 0xAF1},
    {0xB70, 0xB70},     {0xBF3, 0xBFA},     {0xC7F, 0xC7F},     {0xD4F, 0xD4F},     {0xD79, 0xD79},
    {0xE3F, 0xE3F},     {0xF01, 0xF03},     {0xF13, 0xF13},     {0xF15, 0xF17},     {0xF1A, 0xF1F},
    {0x17DB, 0x17DB},   {0x1940, 0x1940},   {0x19DE, 0x19FF},   {0x1FBD, 0x1FBD},   {0x1FBF, 0x1FC1},
    {0x1FCD, 0x1FCF},   {0x1FDD, 0x1FDF},   {0x1FED, 0x1FEF},   {0x1FFD, 0x1FFE},   {0x2044, 0x2044},
    {0x2052, 0x2052},   {0x2070, 0x207C},   {0x2080, 0x208C},   {0x20A0, 0x20C0},   {0x2100, 0x2101},
    {0x2103, 0x2106},   {0x2108, 0x2109},   {0x2114, 0x2114},   {0x2116, 0x2118},   {0x211E, 0x2123},
    {0x2125, 0x2125},   {0x2127, 0x2127},   {0x2129, 0x2129},   {0x212E, 0x212E},   {0x213A, 0x213B},
    {0x2140, 0x2144},   {0x214A, 0x214D},   {0x214F, 0x215F},   {0x2189, 0x218B},   {0x2190, 0x2307},
    {0x230C, 0x2328},   {0x232B, 0x2426},   {0x2440, 0x244A},   {0x2460, 0x24FF},   {0x2500, 0x2767},
    {0x2776, 0x27C4},   {0x27C7, 0x27E5},   {0x27F0, 0x2982},   {0x2999, 0x29D7},   {0x29DC, 0x29FB},
    {0x29FE, 0x2B73},   {0x2B76, 0x2B95},   {0x2B97, 0x2BFF},   {0x2CE5, 0x2CEA},   {0x2E50, 0x2E51},
    {0x2E80, 0x2E99},   {0x2E9B, 0x2EF3},   {0x2F00, 0x2FD5},   {0x2FF0, 0x2FFF},   {0x3004, 0x3004},
    {0x3012, 0x3013},   {0x3020, 0x3020},   {0x3036, 0x3037},   {0x303E, 0x303F},   {0x309B, 0x309C},
    {0x3190, 0x319F},   {0x31C0, 0x31E3},   {0x31EF, 0x31EF},   {0x3200, 0x33FF},   {0x4DC0, 0x4DFF},
    {0xA490, 0xA4C6},   {0xA700, 0xA716},   {0xA720, 0xA721},   {0xA789, 0xA78A},   {0xA828, 0xA82B},
    {0xA830, 0xA839},   {0xAA77, 0xAA79},   {0xAB5B, 0xAB5B},   {0xAB6A, 0xAB6B},   {0xFB29, 0xFB29},
    {0xFBB2, 0xFBC2},   {0xFD40, 0xFD4F},   {0xFDCF, 0xFDCF},   {0xFDFC, 0xFDFF},   {0xFE62, 0xFE62},
    {0xFE64, 0xFE66},   {0xFE69, 0xFE69},   {0xFFE0, 0xFFEE},   {0xFFFC, 0xFFFD},   {0x1D000, 0x1D0F5},
    {0x1D100, 0x1D1EA}, {0x1D200, 0x1D245}, {0x1D300, 0x1D378}, {0x1EEF0, 0x1EEF1}, {0x1F000, 0x1FBEF},
};
static_assert(sortedAndDisjoint(kSymbols));

constexpr Range kHangul[] = {
    {0x1100, 0x11FF}, {0x3131, 0x318E}, {0xA960, 0xA97F}, {0xAC00, 0xD7FF}, {0xFFA0, 0xFFDC},
};
constexpr Range kKana[] = {
    {0x3041, 0x3096}, {0x309D, 0x309F}, {0x30A1, 0x30FA}, {0x30FC, 0x30FF},
    {0x31F0, 0x31FF}, {0x1AFF0, 0x1AFFF}, {0x1B000, 0x1B16F},
};
constexpr Range kBopomofo[] = {{0x3105, 0x312F}, {0x31A0, 0x31BF}};
constexpr Range kHan[] = {
    {0x3005, 0x3007}, {0x3021, 0x3029}, {0x3038, 0x303B}, {0x3400, 0x4DBF},
    {0x4E00, 0x9FFF}, {0xF900, 0xFAFF}, {0x20000, 0x3FFFF},
};
static_assert(sortedAndDisjoint(kHangul) && sortedAndDisjoint(kKana) && sortedAndDisjoint(kBopomofo) &&
              sortedAndDisjoint(kHan));

// The group of a base letter or sign that is not a digit: letters of alphabets come
// in code point order (Latin, Greek, Cyrillic, ...), then Hangul, kana, Bopomofo, Han.
std::uint32_t groupOf(char32_t cp) {
    if (isBlank(cp)) return kBlankGroup;
    if (cp < 0x80) {
        if ((cp >= 'a' && cp <= 'z') || (cp >= 'A' && cp <= 'Z')) return kLetterGroup;
        return inRanges(cp, kSymbols) ? kSymbolGroup : kPunctuationGroup;
    }
    if (inRanges(cp, kPunctuation)) return kPunctuationGroup;
    if (inRanges(cp, kSymbols)) return kSymbolGroup;
    if (cp < 0x1100) return kLetterGroup;
    if (inRanges(cp, kHangul)) return kHangulGroup;
    if (inRanges(cp, kKana)) return kKanaGroup;
    if (inRanges(cp, kBopomofo)) return kBopomofoGroup;
    if (inRanges(cp, kHan)) return kHanGroup;
    return kLetterGroup;
}

// Half-width forms U+FF61 to U+FF9F: CJK punctuation and katakana.
constexpr char16_t kHalfWidth[] = {
    0x3002, 0x300C, 0x300D, 0x3001, 0x30FB, 0x30F2, 0x30A1, 0x30A3, 0x30A5, 0x30A7, 0x30A9, 0x30E3, 0x30E5,
    0x30E7, 0x30C3, 0x30FC, 0x30A2, 0x30A4, 0x30A6, 0x30A8, 0x30AA, 0x30AB, 0x30AD, 0x30AF, 0x30B1, 0x30B3,
    0x30B5, 0x30B7, 0x30B9, 0x30BB, 0x30BD, 0x30BF, 0x30C1, 0x30C4, 0x30C6, 0x30C8, 0x30CA, 0x30CB, 0x30CC,
    0x30CD, 0x30CE, 0x30CF, 0x30D2, 0x30D5, 0x30D8, 0x30DB, 0x30DE, 0x30DF, 0x30E0, 0x30E1, 0x30E2, 0x30E4,
    0x30E6, 0x30E8, 0x30E9, 0x30EA, 0x30EB, 0x30EC, 0x30ED, 0x30EF, 0x30F3, 0x3099, 0x309A,
};
static_assert(std::size(kHalfWidth) == 0xFF9F - 0xFF61 + 1);

// Full-width signs U+FFE0 to U+FFE6.
constexpr char32_t kWideSigns[] = {0xA2, 0xA3, 0xAC, 0xAF, 0xA6, 0xA5, 0x20A9};

// A hiragana without its voicing marks, and small kana as full-size ones.
char32_t plainKana(char32_t cp) {
    if (cp < 0x3041 || cp > 0x309E) return cp;
    if (cp <= 0x304A) return oddCapital(cp);                    // small vowels
    if (cp <= 0x3062) return isEven(cp) ? cp - 1 : cp;          // ka to di
    if (cp == 0x3063) return 0x3064;                            // small tsu
    if (cp <= 0x3069) return isEven(cp) ? cp : cp - 1;          // tsu to do
    if (cp >= 0x306F && cp <= 0x307D) return cp - (cp - 0x306F) % 3;  // ha, ba, pa ... ho, bo, po
    if (cp >= 0x3083 && cp <= 0x3088) return oddCapital(cp);    // small ya, yu, yo
    if (cp == 0x308E) return 0x308F;
    if (cp == 0x3094) return 0x3046;
    if (cp == 0x3095) return 0x304B;
    if (cp == 0x3096) return 0x3051;
    if (cp == 0x309E) return 0x309D;
    return cp;
}

struct SortElement {
    enum class Kind : std::uint8_t { ignorable, mark, number, character };
    Kind kind = Kind::ignorable;
    std::uint32_t primary = 0;
    char32_t accent = 0;      // 0: none
    std::uint8_t variant = 0;
    std::size_t begin = 0;    // a number's digits, as byte offsets
    std::size_t end = 0;
};

// One code point's weights; `second` is the second letter of ß, æ, œ and ĳ.
struct FoldedCodePoint {
    SortElement::Kind kind;
    char32_t base;
    char32_t second;
    char32_t accent;
    std::uint8_t variant;
};

FoldedCodePoint foldForSorting(char32_t cp) {
    std::uint8_t variant = 0;
    if (cp >= 0xFF01 && cp <= 0xFF5E) {
        cp -= 0xFEE0;
        variant |= kWide;
    } else if (cp == 0x3000) {
        cp = ' ';
        variant |= kWide;
    } else if (cp >= 0xFF61 && cp <= 0xFF9F) {
        cp = kHalfWidth[cp - 0xFF61];
        variant |= kNarrow;
    } else if (cp >= 0xFFE0 && cp <= 0xFFE6) {
        cp = kWideSigns[cp - 0xFFE0];
        variant |= kWide;
    }
    if (extendsPrevious(cp)) return {SortElement::Kind::mark, 0, 0, cp, 0};
    if (isIgnorable(cp)) return {SortElement::Kind::ignorable, 0, 0, 0, 0};

    char32_t accent = 0;
    if ((cp >= 0x30A1 && cp <= 0x30F6) || cp == 0x30FD || cp == 0x30FE) {
        cp -= 0x60;  // katakana sort with hiragana
        variant |= kKatakana;
    } else if (cp >= 0x30F7 && cp <= 0x30FA) {
        accent = cp;  // va, vi, ve, vo: wa, wi, we, wo with the voicing mark
        cp = cp - 0x30F7 + 0x308F;
        variant |= kKatakana;
    }
    const char32_t lower = lowerCodePoint(cp);
    if (lower != cp) variant |= kCapital;
    if (cp == 0x130) accent = 0x307;  // the dot of İ
    char32_t base = plainKana(withoutAccent(lower));
    char32_t second = 0;
    switch (base) {
        case 0xDF: base = 's'; second = 's'; break;
        case 0xE6: base = 'a'; second = 'e'; break;
        case 0x133: base = 'i'; second = 'j'; break;
        case 0x153: base = 'o'; second = 'e'; break;
        default: break;
    }
    if (accent == 0 && (base != lower || second != 0)) accent = lower;
    return {SortElement::Kind::character, base, second, accent, variant};
}

// The elements of a name, decoded as they are read: nothing is allocated.
class SortElements {
public:
    explicit SortElements(std::string_view text) : text_(text) {}

    // The next element that counts in `pass` (0 letters, 1 accents, 2 case and
    // width); false at the end.
    bool next(int pass, SortElement& element) {
        while (pendingSecond_ != 0 || position_ < text_.size()) {
            element = read();
            switch (element.kind) {
                case SortElement::Kind::ignorable: break;
                case SortElement::Kind::mark: if (pass == 1) return true; break;
                default: return true;
            }
        }
        return false;
    }

private:
    SortElement read() {
        SortElement element;
        element.kind = SortElement::Kind::character;
        if (pendingSecond_ != 0) {
            element.primary = primaryWeight(groupOf(pendingSecond_), pendingSecond_);
            pendingSecond_ = 0;
            return element;
        }
        const std::size_t start = position_;
        std::size_t length = 1;
        const char32_t cp = decodeAt(text_, position_, length);
        position_ += length;
        if (cp == kInvalid) {  // after every character, by byte value
            element.primary = primaryWeight(kUndecodableGroup, static_cast<unsigned char>(text_[start]));
            return element;
        }
        if (digitValue(cp) >= 0) {
            while (position_ < text_.size()) {
                const char32_t following = decodeAt(text_, position_, length);
                if (following == kInvalid || digitValue(following) < 0) break;
                position_ += length;
            }
            element.kind = SortElement::Kind::number;
            element.primary = primaryWeight(kDigitGroup, 0);
            element.begin = start;
            element.end = position_;
            return element;
        }
        const FoldedCodePoint folded = foldForSorting(cp);
        element.kind = folded.kind;
        element.accent = folded.accent;
        element.variant = folded.variant;
        if (folded.kind == SortElement::Kind::character) {
            element.primary = primaryWeight(groupOf(folded.base), folded.base);
            pendingSecond_ = folded.second;
        }
        return element;
    }

    std::string_view text_;
    std::size_t position_ = 0;
    char32_t pendingSecond_ = 0;
};

// The digits of a run with the leading zeros skipped, read one value at a time.
class Digits {
public:
    explicit Digits(std::string_view run) : run_(run) {
        while (position_ < run_.size() && valueAt(position_) == 0) position_ += length_;
        for (std::size_t i = position_; i < run_.size(); i += length_) {
            valueAt(i);
            ++count_;
        }
    }
    std::size_t count() const { return count_; }
    int next() {
        const int value = valueAt(position_);
        position_ += length_;
        return value;
    }

private:
    int valueAt(std::size_t i) { return digitValue(decodeAt(run_, i, length_)); }

    std::string_view run_;
    std::size_t position_ = 0;
    std::size_t length_ = 1;
    std::size_t count_ = 0;
};

int compareNumbers(std::string_view a, std::string_view b) {
    Digits left(a);
    Digits right(b);
    if (left.count() != right.count()) return left.count() < right.count() ? -1 : 1;
    for (std::size_t i = 0; i < left.count(); ++i) {
        const int x = left.next();
        const int y = right.next();
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

template <typename T>
int threeWay(T x, T y) {
    return x < y ? -1 : (y < x ? 1 : 0);
}

int comparePass(std::string_view a, std::string_view b, int pass) {
    SortElements left(a);
    SortElements right(b);
    SortElement x;
    SortElement y;
    while (true) {
        const bool hasX = left.next(pass, x);
        const bool hasY = right.next(pass, y);
        if (!hasX || !hasY) return threeWay(hasX, hasY);
        int order = 0;
        if (pass == 0) {
            order = threeWay(x.primary, y.primary);
            if (order == 0 && x.kind == SortElement::Kind::number) {
                order = compareNumbers(a.substr(x.begin, x.end - x.begin), b.substr(y.begin, y.end - y.begin));
            }
        } else if (pass == 1) {
            order = threeWay(x.accent, y.accent);
        } else {
            order = threeWay(x.variant, y.variant);
        }
        if (order != 0) return order;
    }
}

}  // namespace

int compareForSorting(std::string_view a, std::string_view b) {
    for (int pass = 0; pass < 3; ++pass) {
        if (const int order = comparePass(a, b, pass)) return order;
    }
    return threeWay(a, b);
}

bool isAsciiText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        if (decodeAt(text, i, length) == kInvalid) return false;
        i += length;
    }
    return true;
}

std::string withInvalidUtf8Replaced(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 8);
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        if (decodeAt(text, i, length) == kInvalid) {
            out += "\xEF\xBF\xBD";
        } else {
            out.append(text.substr(i, length));
        }
        i += length;
    }
    return out;
}

namespace {

// The length of the newline (or blank, with `blanks`) starting at `i`, or 0.
std::size_t separatorAt(std::string_view text, std::size_t i, bool blanks) {
    std::size_t length = 1;
    const char32_t cp = decodeAt(text, i, length);
    return (blanks ? isBlank(cp) : isNewline(cp)) ? length : 0;
}

}  // namespace

std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (const std::size_t length = separatorAt(text, i, false)) {
            lines.push_back(text.substr(start, i - start));
            i += length;
            start = i;
        } else {
            ++i;
        }
    }
    lines.push_back(text.substr(start));
    return lines;
}

std::string_view trimWhitespace(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t length = separatorAt(text, start, true);
        if (length == 0) break;
        start += length;
    }
    std::size_t end = text.size();
    while (end > start) {
        // Step back over one character and test it.
        std::size_t begin = end - 1;
        while (begin > start && (static_cast<unsigned char>(text[begin]) & 0xC0) == 0x80) --begin;
        if (separatorAt(text.substr(0, end), begin, true) != end - begin) break;
        end = begin;
    }
    return text.substr(start, end - start);
}

std::string lowerCaseText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            out.push_back(static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 0x20 : byte));
            ++i;
            continue;
        }
        std::size_t length = 1;
        const char32_t cp = decodeAt(text, i, length);
        if (cp == kInvalid) {
            out.push_back(text[i]);
        } else if (cp == 0x130) {
            out += "i\xCC\x87";  // capital I with dot: "i" and a combining dot above
        } else {
            encode(out, foldCase(cp));
        }
        i += length;
    }
    return out;
}

std::vector<std::string_view> graphemeClusters(std::string_view text) {
    std::vector<std::string_view> clusters;
    clusters.reserve(text.size());
    std::size_t start = 0;
    char32_t previous = kInvalid;
    char32_t base = kInvalid;  // the first code point of the current character
    bool regionalPairOpen = false;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        const char32_t cp = decodeAt(text, i, length);
        // A joiner binds a pictograph to a pictograph only: "a‍*" is two
        // characters, so a "*" after a joiner stays a wildcard.
        const bool joinedEmoji = previous == 0x200D && isPictographic(cp) && isPictographic(base);
        const bool joins = i > 0 && cp != kInvalid && previous != kInvalid &&
                           (extendsPrevious(cp) || joinedEmoji || (previous == '\r' && cp == '\n') ||
                            (regionalPairOpen && isRegionalIndicator(cp)));
        if (!joins && i > 0) {
            clusters.push_back(text.substr(start, i - start));
            start = i;
        }
        if (!joins) base = cp;
        regionalPairOpen = isRegionalIndicator(cp) && !(joins && regionalPairOpen);
        previous = cp;
        i += length;
    }
    if (start < text.size()) clusters.push_back(text.substr(start));
    return clusters;
}

}  // namespace pivra
