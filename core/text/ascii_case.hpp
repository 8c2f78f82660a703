#pragma once
// ASCII letter case for the protocol parts of links (schemes, hosts,
// parameter names). One character at a time is Boost.URL's grammar::to_lower;
// here is what its grammar lacks.

#include <string>
#include <string_view>

#include <boost/url/grammar/ci_string.hpp>

namespace pivra {

// Capital ASCII letters as small ones; every other byte is left alone.
inline void lowerAsciiInPlace(std::string& text) {
    for (char& c : text) c = boost::urls::grammar::to_lower(c);
}

inline std::string lowerAscii(std::string_view text) {
    std::string lowered(text);
    lowerAsciiInPlace(lowered);
    return lowered;
}

// Whether the two are the same but for the case of ASCII letters. Not
// grammar::ci_is_equal: in Boost 1.81 it reads a byte past the end of both
// strings when they differ only in the case of their last letter.
inline bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (boost::urls::grammar::to_lower(a[i]) != boost::urls::grammar::to_lower(b[i])) return false;
    }
    return true;
}

}  // namespace pivra
