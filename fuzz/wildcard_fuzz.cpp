// Any pattern against any text (split at the first NUL byte): the walk ends,
// an empty pattern and "*" fit everything, and a pattern fits itself when it
// holds no star. A rule holding the pattern agrees with the walk on the
// subject of a link made from the text.
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/routing/link.hpp"
#include "core/routing/matcher.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto split = input.find('\0');
    const std::string_view pattern = input.substr(0, split);
    const std::string_view text = split == std::string_view::npos ? std::string_view() : input.substr(split + 1);

    const bool fits = pivra::Matcher::wildcardMatch(pattern, text);
    if (!pivra::Matcher::wildcardMatch("", text) || !pivra::Matcher::wildcardMatch("*", text)) std::abort();
    if (pattern.find('*') == std::string_view::npos && !pivra::Matcher::wildcardMatch(pattern, pattern)) std::abort();
    if (fits && !pivra::Matcher::wildcardMatch(std::string(pattern) + "*", text)) std::abort();

    if (const auto link = pivra::parseLink("https://" + std::string(text))) {
        pivra::Rule rule;
        rule.match = pivra::Match::patterns({std::string(pattern)});
        const pivra::Matcher::Subject subject(*link);
        const bool viaRule =
            pivra::Matcher::verdictKind(rule, pivra::Source::unknown(), subject) == pivra::Verdict::Kind::match;
        if (viaRule != pivra::Matcher::wildcardMatch(pattern, subject.text())) std::abort();
    }
    return 0;
}
