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

// The characters of `text`, as views into it, in order.
std::vector<std::string_view> graphemeClusters(std::string_view text);

}  // namespace pivra
