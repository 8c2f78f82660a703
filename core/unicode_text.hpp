#pragma once
// Just enough Unicode for comparing what people type into rules: lower-casing
// and splitting into user-perceived characters, without a Unicode library.
//
// Lower-casing covers ASCII, Latin-1, Latin Extended-A, Greek, Cyrillic, the
// full-width Latin letters and the letter-like signs that fold to ASCII (the
// Kelvin sign). Characters are a base code point with the marks, joiners,
// variation selectors and skin-tone modifiers that follow it; CR LF and
// regional-indicator pairs are one character. Invalid UTF-8 bytes are one
// character each, kept as they are.

#include <string>
#include <string_view>
#include <vector>

namespace pivra {

std::string lowerCaseText(std::string_view text);

// Orders names the way the Finder lists files: letters compared without regard
// to case or accents first (so "é" sorts with "e"), runs of digits compared as
// numbers ("Profile 2" before "Profile 10"); accents, then case (lower first)
// only break ties. Negative, zero or positive; zero only for equal bytes.
int compareForSorting(std::string_view a, std::string_view b);

// Whether `text` is well-formed UTF-8 (no overlongs, surrogates or values past U+10FFFF).
bool isValidUtf8(std::string_view text);

// Splits at every newline character (LF, CR, VT, FF, NEL, U+2028, U+2029);
// a CR LF pair gives an empty line between. Nothing is trimmed.
std::vector<std::string_view> splitLines(std::string_view text);

// Removes blanks (space, tab, no-break and ideographic spaces) and newlines at both ends.
std::string_view trimWhitespace(std::string_view text);

// The characters of `text`, as views into it, in order.
std::vector<std::string_view> graphemeClusters(std::string_view text);

}  // namespace pivra
