#pragma once
// Just enough Unicode for comparing what people type into rules and for
// ordering names: case folding, splitting into user-perceived characters and
// lines, trimming, and the Finder's order, without a Unicode library.
//
// Case folding covers Latin (through Extended-D), Greek, Coptic, Cyrillic,
// Armenian, Georgian, Glagolitic, Deseret, the full-width Latin letters, Roman
// numerals, circled letters and the letter-like signs that fold to letters (the
// Kelvin sign). Characters are a base code point with the marks, joiners,
// variation selectors and skin-tone modifiers that follow it; CR LF and
// regional-indicator pairs are one character. Invalid UTF-8 bytes are one
// character each, kept as they are.

#include <string>
#include <string_view>
#include <vector>

namespace pivra {

// Each capital as its small letter, the final sigma as σ and "İ" as "i" with a
// combining dot above; ASCII changes only in its capitals, and invalid bytes stay.
std::string lowerCaseText(std::string_view text);

// Orders names the way the Finder lists files: blanks, then punctuation, then
// symbols and emoji, then digits, then letters (Latin, Greek, Cyrillic and the
// other alphabets, then Hangul, kana, Han). Letters compare without regard to
// case, accents or width first (so "é" sorts with "e", "ｅ" too, and katakana
// with hiragana); runs of decimal digits of any script compare as numbers
// ("Profile 2" before "Profile 10"). Accents, then case (small letters first)
// and width only break ties. Negative, zero or positive; zero only for equal
// bytes, so names that differ always come in one fixed order.
int compareForSorting(std::string_view a, std::string_view b);

// Whether every byte of `text` is ASCII.
bool isAsciiText(std::string_view text);

// Whether `text` is well-formed UTF-8 (no overlongs, surrogates or values past U+10FFFF).
bool isValidUtf8(std::string_view text);

// The text with every byte that is not part of well-formed UTF-8 written as U+FFFD.
std::string withInvalidUtf8Replaced(std::string_view text);

// Splits at every newline character (LF, CR, VT, FF, NEL, U+2028, U+2029);
// a CR LF pair gives an empty line between. Nothing is trimmed.
std::vector<std::string_view> splitLines(std::string_view text);

// Removes white space at both ends: newlines, tab, and the spaces of every width
// (no-break, Ogham, en to hair, narrow no-break, mathematical, ideographic).
std::string_view trimWhitespace(std::string_view text);

// The characters of `text`, as views into it, in order.
std::vector<std::string_view> graphemeClusters(std::string_view text);

}  // namespace pivra
