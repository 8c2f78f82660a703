#include "core/unicode_text.hpp"

#include <cstdint>

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

char32_t lowerCodePoint(char32_t cp) {
    if (cp >= 'A' && cp <= 'Z') return cp + 0x20;
    if (cp < 0x80) return cp;
    if (cp >= 0xC0 && cp <= 0xDE && cp != 0xD7) return cp + 0x20;
    if ((cp >= 0x100 && cp <= 0x137) || (cp >= 0x14A && cp <= 0x177)) return (cp % 2 == 0) ? cp + 1 : cp;
    if ((cp >= 0x139 && cp <= 0x148) || (cp >= 0x179 && cp <= 0x17E)) return (cp % 2 == 1) ? cp + 1 : cp;
    if (cp == 0x178) return 0xFF;
    if (cp >= 0x391 && cp <= 0x3A9 && cp != 0x3A2) return cp + 0x20;
    if (cp == 0x386) return 0x3AC;  // Greek capitals with tonos
    if (cp >= 0x388 && cp <= 0x38A) return cp + 0x25;
    if (cp == 0x38C) return 0x3CC;
    if (cp == 0x38E || cp == 0x38F) return cp + 0x3F;
    if (cp >= 0x400 && cp <= 0x40F) return cp + 0x50;
    if (cp >= 0x410 && cp <= 0x42F) return cp + 0x20;
    if (cp >= 0xFF21 && cp <= 0xFF3A) return cp + 0x20;
    if (cp == 0x212A) return 'k';   // Kelvin sign
    if (cp == 0x212B) return 0xE5;  // Angstrom sign
    return cp;
}

// Code points that continue the character before them.
bool extendsPrevious(char32_t cp) {
    struct Range { char32_t first, last; };
    static constexpr Range kExtend[] = {
        {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
        {0x0900, 0x0903}, {0x093A, 0x094F}, {0x0951, 0x0957}, {0x0E31, 0x0E31}, {0x0E34, 0x0E3A},
        {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200C, 0x200D}, {0x20D0, 0x20FF},
        {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF}, {0xE0020, 0xE007F},
        {0xE0100, 0xE01EF},
    };
    for (const auto& range : kExtend) {
        if (cp >= range.first && cp <= range.last) return true;
    }
    return false;
}

bool isRegionalIndicator(char32_t cp) { return cp >= 0x1F1E6 && cp <= 0x1F1FF; }

}  // namespace

std::string lowerCaseText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        const char32_t cp = decodeAt(text, i, length);
        if (cp == kInvalid) {
            out.push_back(text[i]);
        } else if (cp == 0x130) {
            out += "i\xCC\x87";  // capital I with dot: "i" and a combining dot above
        } else {
            encode(out, lowerCodePoint(cp));
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
    bool regionalPairOpen = false;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        const char32_t cp = decodeAt(text, i, length);
        const bool joins = i > 0 && cp != kInvalid && previous != kInvalid &&
                           (extendsPrevious(cp) || previous == 0x200D || (previous == '\r' && cp == '\n') ||
                            (regionalPairOpen && isRegionalIndicator(cp)));
        if (!joins && i > 0) {
            clusters.push_back(text.substr(start, i - start));
            start = i;
        }
        regionalPairOpen = isRegionalIndicator(cp) && !(joins && regionalPairOpen);
        previous = cp;
        i += length;
    }
    if (start < text.size()) clusters.push_back(text.substr(start));
    return clusters;
}

}  // namespace pivra
