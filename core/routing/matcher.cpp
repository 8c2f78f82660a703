#include "core/routing/matcher.hpp"

#include <algorithm>
#include <string>
#include <vector>

#include <boost/url/grammar/ci_string.hpp>

#include "core/routing/link.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra::Matcher {
namespace {

using boost::urls::grammar::to_lower;

// The walk over whole characters, anchored at the start of the text only.
// `isStar(p)` tells whether pattern character p is "*"; `same(p, t)` compares
// pattern character p with text character t.
template <class IsStar, class Same>
bool walk(std::size_t patternSize, std::size_t textSize, IsStar isStar, Same same) {
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t starP = 0;
    std::size_t starT = 0;
    bool haveStar = false;
    while (t < textSize) {
        if (p == patternSize) return true;
        if (isStar(p)) {
            haveStar = true;
            starP = p;
            starT = t;
            ++p;
        } else if (same(p, t)) {
            ++p;
            ++t;
        } else if (haveStar) {
            t = ++starT;
            p = starP + 1;
        } else {
            return false;
        }
    }
    while (p < patternSize && isStar(p)) ++p;
    return p == patternSize;
}

// The same walk over bytes: every ASCII byte is a whole character (CR LF
// aside, which no link holds and which compares alike byte by byte), so no
// copies are needed. After a mismatch it resumes straight at the next text
// position where the character after the star could match: the positions
// skipped are exactly those the plain walk would try and give up at once.
// `kLowered`: both sides are already lower-cased, as a rule's pattern keys
// and a link's subject are, so bytes compare as they are.
template <bool kLowered>
bool asciiWalk(std::string_view pattern, std::string_view text) {
    const auto lower = [](char c) { return kLowered ? c : to_lower(c); };
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t starP = 0;
    std::size_t starT = 0;
    bool haveStar = false;
    while (t < text.size()) {
        if (p == pattern.size()) return true;
        const char wanted = lower(pattern[p]);
        if (wanted == '*') {
            haveStar = true;
            starP = p;
            starT = t;
            ++p;
        } else if (wanted == lower(text[t])) {
            ++p;
            ++t;
        } else if (haveStar) {
            ++starT;
            if (starP + 1 < pattern.size() && pattern[starP + 1] != '*') {
                const char next = lower(pattern[starP + 1]);
                if constexpr (kLowered) {
                    starT = std::min(text.find(next, starT), text.size());
                } else {
                    while (starT < text.size() && lower(text[starT]) != next) ++starT;
                }
            }
            t = starT;
            p = starP + 1;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

}  // namespace

Subject::Subject(boost::urls::url_view url) {
    const auto host = url.encoded_host();
    hasHost_ = url.has_authority() && !host.empty();
    const auto port = explicitPort(url);
    // The port in decimal: "0443" is compared, and shown, as "443".
    const std::string_view digits =
        port ? port->substr(std::min(port->find_first_not_of('0'), port->size() - 1)) : std::string_view();
    const auto path = url.encoded_path();

    // Sized once and filled in place: this runs for every link routed.
    text_.resize(host.size() + (port ? digits.size() + 1 : 0) + path.size());
    char* out = text_.data();
    unsigned char seen = 0;
    const auto copyLowered = [&](std::string_view piece) {
        for (const char c : piece) {
            seen |= static_cast<unsigned char>(c);
            *out++ = to_lower(c);
        }
    };
    copyLowered(std::string_view(host.data(), host.size()));
    hostLength_ = host.size();
    if (port) {
        *out++ = ':';
        copyLowered(digits);
    }
    copyLowered(std::string_view(path.data(), path.size()));
    ascii_ = seen < 0x80;
}

bool hostIsUnder(std::string_view host, std::string_view domain) {
    if (!host.ends_with(domain)) return false;
    const std::size_t offset = host.size() - domain.size();
    return offset == 0 || host[offset - 1] == '.';
}

namespace {

// The characters of a pattern, with every "*" a character of its own: a star
// stays a star even where it would be part of a character, after a prepended
// sign ("؀*") or before a combining mark ("*\u0301"), as it is in the ASCII walk.
std::vector<std::string_view> patternCharacters(std::string_view pattern) {
    std::vector<std::string_view> characters = graphemeClusters(pattern);
    if (std::none_of(characters.begin(), characters.end(),
                     [](std::string_view c) { return c.size() > 1 && c.find('*') != std::string_view::npos; })) {
        return characters;
    }
    std::vector<std::string_view> split;
    split.reserve(characters.size() + 4);
    for (std::string_view c : characters) {
        for (std::size_t star = c.find('*'); c.size() > 1 && star != std::string_view::npos; star = c.find('*')) {
            if (star > 0) split.push_back(c.substr(0, star));
            split.push_back(c.substr(star, 1));
            c.remove_prefix(star + 1);
        }
        if (!c.empty()) split.push_back(c);
    }
    return split;
}

// `textIsAscii` spares a scan of a subject that is known to be ASCII.
bool wildcardMatch(std::string_view pattern, std::string_view text, bool textIsAscii) {
    if (textIsAscii && isAsciiText(pattern)) {
        return asciiWalk<false>(pattern, text);
    }
    const std::string lowerPattern = lowerCaseText(pattern);
    const std::string lowerText = lowerCaseText(text);
    const auto patternChars = patternCharacters(lowerPattern);
    const auto textChars = graphemeClusters(lowerText);
    return walk(
        patternChars.size(), textChars.size(), [&](std::size_t p) { return patternChars[p] == "*"; },
        [&](std::size_t p, std::size_t t) { return patternChars[p] == textChars[t]; });
}

}  // namespace

bool wildcardMatch(std::string_view pattern, std::string_view text) {
    return wildcardMatch(pattern, text, isAsciiText(text));
}

std::string matchTarget(boost::urls::url_view url) { return Subject(url).text(); }

Verdict check(const Rule& rule, const Source& source, boost::urls::url_view url) {
    return check(rule, source, Subject(url));
}

Verdict::Kind verdictKind(const Rule& rule, const Source& source, const Subject& subject) {
    if (!rule.enabled) return Verdict::Kind::off;
    if (rule.from != "*" && (source.isUnknown() || *source.bundleId != rule.from)) return Verdict::Kind::notFrom;
    switch (rule.match.kind()) {
        case Match::Kind::any:
            return Verdict::Kind::match;
        case Match::Kind::domains:
            if (!subject.hasHost()) return Verdict::Kind::notMatched;
            for (const auto& domain : rule.match.domainKeys()) {
                if (hostIsUnder(subject.host(), domain)) return Verdict::Kind::match;
            }
            return Verdict::Kind::notMatched;
        case Match::Kind::patterns: {
            const auto& keys = rule.match.patternKeys();
            for (std::size_t i = 0; i < keys.size(); ++i) {
                const bool matched = keys[i] && subject.isAscii()
                                         ? asciiWalk<true>(*keys[i], subject.text())
                                         : wildcardMatch(rule.match.values()[i], subject.text(), subject.isAscii());
                if (matched) return Verdict::Kind::match;
            }
            return Verdict::Kind::notMatched;
        }
    }
    return Verdict::Kind::notMatched;
}

Verdict check(const Rule& rule, const Source& source, const Subject& subject) {
    switch (verdictKind(rule, source, subject)) {
        case Verdict::Kind::notFrom: return Verdict::notFrom(rule.from);
        case Verdict::Kind::match: return Verdict::match();
        case Verdict::Kind::off: return Verdict::off();
        case Verdict::Kind::notMatched: break;
    }
    return Verdict::notMatched();
}

}  // namespace pivra::Matcher
