#pragma once
// The Unicode that rules and names need. Lower case, characters and name order
// come from ICU (root locale, so the same on every Mac whatever its language);
// the UTF-8 checks, lines and blanks, and the ASCII fast paths, are our own.
//
// Ill-formed UTF-8 is never an error and nothing of it is lost: each byte that
// does not begin a well-formed sequence stays as it is in lower case, and is a
// character of its own, joined to nothing on either side, when splitting. ICU
// itself is only ever handed well-formed text.

#include <string>
#include <string_view>
#include <vector>

namespace pivra {

// The text in lower case, for comparing: full lower-case mappings of every
// script ("İ" becomes "i" with a combining dot above, "ẞ" becomes "ß"; "ß" stays,
// this is not case folding), except that every sigma becomes "σ", the final "ς"
// too, so that a word compares alike wherever it ends. ASCII changes only in its
// capitals; ill-formed bytes stay as they are.
std::string lowerCaseText(std::string_view text);

// Orders names for lists: the root collation order of Unicode's common locale
// data (blanks, punctuation, symbols, currency signs, digits, then letters
// script by script: Latin, Greek, Cyrillic, ..., Hangul, kana, ..., Han), with runs
// of decimal digits of any script compared by value ("Profile 2" before
// "Profile 10"). Letters compare without regard to accents, case or width first
// ("é" and "ｅ" sort with "e", katakana with hiragana); accents, then case
// (small letters first) and width break ties, then the bytes. Ill-formed bytes
// sort as U+FFFD, after every other character. Negative, zero or positive; zero only for
// equal bytes, so names that differ always come in one fixed order.
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

// The user-perceived characters of `text` (extended grapheme clusters: a letter
// with its marks, an emoji sequence, a flag, CR LF), as views into it, in order
// and covering every byte. An ASCII character before another is a character by
// itself, CR LF aside.
std::vector<std::string_view> graphemeClusters(std::string_view text);

}  // namespace pivra
