#include "core/text/unicode_text.hpp"

#include <algorithm>
#include <cstdint>
#include <memory>

#include <unicode/ubrk.h>
#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/utext.h>

#include "core/text/ascii_case.hpp"

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

bool isNewline(char32_t cp) { return (cp >= 0x0A && cp <= 0x0D) || cp == 0x85 || cp == 0x2028 || cp == 0x2029; }

// White space: newlines, tab and the space characters of every width.
bool isBlank(char32_t cp) {
    if (cp < 0x80) return cp == ' ' || cp == '\t' || isNewline(cp);
    return cp == 0x85 || cp == 0xA0 || cp == 0x1680 || (cp >= 0x2000 && cp <= 0x200A) || cp == 0x2028 ||
           cp == 0x2029 || cp == 0x202F || cp == 0x205F || cp == 0x3000;
}

bool isAsciiByte(char c) { return static_cast<unsigned char>(c) < 0x80; }

// ICU counts bytes in int32_t: it is handed at most this many bytes at a time,
// cut between code points. Lower case is the same either way; a character could
// be cut in two at such a cut, which takes 256 MiB of marks or jamo in a row.
constexpr std::size_t kMaxIcuPiece = std::size_t{1} << 28;

// The end of the run of well-formed non-ASCII UTF-8 that starts at `begin`, at
// most kMaxIcuPiece bytes long; `begin` when there is none.
std::size_t nonAsciiRunEnd(std::string_view text, std::size_t begin) {
    const std::size_t limit = text.size() - begin > kMaxIcuPiece ? begin + kMaxIcuPiece : text.size();
    std::size_t i = begin;
    while (i < limit && !isAsciiByte(text[i])) {
        std::size_t length = 1;
        if (decodeAt(text, i, length) == kInvalid || i + length > limit) break;
        i += length;
    }
    return i;
}

// --- Lower case ------------------------------------------------------------------------------

struct CaseMapCloser {
    void operator()(UCaseMap* map) const { ucasemap_close(map); }
};

// The root locale's case mapping (no Turkish or Lithuanian rules), made once and
// only read after: ICU's mapping functions take it const. Null if ICU has no data.
const UCaseMap* rootCaseMap() {
    static const std::unique_ptr<UCaseMap, CaseMapCloser> kMap = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<UCaseMap, CaseMapCloser> map(ucasemap_open("", 0, &status));
        if (U_FAILURE(status)) map.reset();
        return map;
    }();
    return kMap.get();
}

// Appends `piece`, well-formed UTF-8, in lower case.
void appendLowered(std::string& out, std::string_view piece) {
    const std::size_t start = out.size();
    if (const UCaseMap* map = rootCaseMap()) {
        // Lower case grows UTF-8 by half at most ("İ" to "i" and a dot, "Ⱥ" to "ⱥ").
        auto capacity = static_cast<std::int32_t>(piece.size() + piece.size() / 2 + 4);
        for (int attempt = 0; attempt < 2; ++attempt) {
            out.resize(start + static_cast<std::size_t>(capacity));
            UErrorCode status = U_ZERO_ERROR;
            const std::int32_t length = ucasemap_utf8ToLower(map, out.data() + start, capacity, piece.data(),
                                                             static_cast<std::int32_t>(piece.size()), &status);
            if (U_SUCCESS(status)) {
                out.resize(start + static_cast<std::size_t>(length));
                // The final sigma as the ordinary one: ICU picks "ς" from the letters
                // around it ("ΟΔΟΣ/" but "ΟΔΟΣ.GR"), and a comparison must not depend
                // on what follows a word.
                for (std::size_t i = out.find("\xCF\x82", start); i != std::string::npos;
                     i = out.find("\xCF\x82", i + 2)) {
                    out[i + 1] = '\x83';
                }
                return;
            }
            if (status != U_BUFFER_OVERFLOW_ERROR) break;
            capacity = length;
        }
    }
    // Without ICU's case data only ASCII is lowered; nothing is lost.
    out.resize(start);
    for (const char c : piece) out.push_back(boost::urls::grammar::to_lower(c));
}

// --- Characters ------------------------------------------------------------------------------

struct BreakIteratorCloser {
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};
using BreakIterator = std::unique_ptr<UBreakIterator, BreakIteratorCloser>;

// The root locale's character break iterator, made once. It is never set to a
// text, only cloned (which reads it): a break iterator that moves is one thread's.
const UBreakIterator* characterBreakTemplate() {
    static const BreakIterator kTemplate = [] {
        UErrorCode status = U_ZERO_ERROR;
        BreakIterator iterator(ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status));
        if (U_FAILURE(status)) iterator.reset();
        return iterator;
    }();
    return kTemplate.get();
}

// Appends the characters of `piece`, well-formed UTF-8, as ICU finds them with
// `iterator` (cloned from the template on first use). False if ICU cannot.
bool appendIcuCharacters(std::vector<std::string_view>& out, std::string_view piece, BreakIterator& iterator) {
    UErrorCode status = U_ZERO_ERROR;
    if (!iterator) {
        const UBreakIterator* source = characterBreakTemplate();
        if (source == nullptr) return false;
        iterator.reset(ubrk_clone(source, &status));
        if (U_FAILURE(status)) {
            iterator.reset();
            return false;
        }
    }
    UText text = UTEXT_INITIALIZER;
    utext_openUTF8(&text, piece.data(), static_cast<std::int64_t>(piece.size()), &status);
    ubrk_setUText(iterator.get(), &text, &status);
    const std::size_t before = out.size();
    const char* const pieceEnd = piece.data() + piece.size();
    if (U_SUCCESS(status)) {
        // Over UTF-8 text the boundaries are byte offsets.
        std::int32_t start = ubrk_first(iterator.get());
        for (std::int32_t end = ubrk_next(iterator.get()); end != UBRK_DONE; end = ubrk_next(iterator.get())) {
            out.push_back(piece.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
            start = end;
        }
    }
    utext_close(&text);
    if (U_SUCCESS(status) && out.size() > before && out.back().data() + out.back().size() == pieceEnd) return true;
    out.resize(before);
    return false;
}

// Whether a character boundary falls between this code point and a neighbour
// of the same sort, whatever surrounds the two: no rule of extended grapheme
// clusters joins two code points that are each ordinary or a control (CR LF
// aside, and CR and LF are ASCII). Only the code points between, such as marks,
// joiners, flags, Hangul jamo and prepended signs, need ICU's break iterator;
// it judges them from ICU's own data, which cannot disagree with the iterator.
bool standsAlone(char32_t cp) {
    if (cp < 0x80) return true;
    const std::int32_t kind = u_getIntPropertyValue(static_cast<UChar32>(cp), UCHAR_GRAPHEME_CLUSTER_BREAK);
    return kind == U_GCB_OTHER || kind == U_GCB_CONTROL;
}

// Appends the characters of `piece`, well-formed UTF-8.
void appendCharacters(std::vector<std::string_view>& out, std::string_view piece, BreakIterator& iterator) {
    if (appendIcuCharacters(out, piece, iterator)) return;
    // Without ICU's break rules each code point is a character.
    for (std::size_t i = 0, length = 1; i < piece.size(); i += length) {
        decodeAt(piece, i, length);
        out.push_back(piece.substr(i, length));
    }
}

// --- Order -----------------------------------------------------------------------------------

struct CollatorCloser {
    void operator()(UCollator* collator) const { ucol_close(collator); }
};

// The root locale's collator with digits compared by value, made once and only
// read after: ICU's comparisons take it const. Null if ICU has no data.
const UCollator* nameCollator() {
    static const std::unique_ptr<UCollator, CollatorCloser> kCollator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<UCollator, CollatorCloser> collator(ucol_open("", &status));
        if (U_SUCCESS(status)) ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
        if (U_FAILURE(status)) collator.reset();
        return collator;
    }();
    return kCollator.get();
}

template <typename T>
int threeWay(T x, T y) {
    return x < y ? -1 : (y < x ? 1 : 0);
}

}  // namespace

int compareForSorting(std::string_view a, std::string_view b) {
    constexpr std::size_t kLongest = INT32_MAX;
    const UCollator* collator = nameCollator();
    if (collator != nullptr && a.size() <= kLongest && b.size() <= kLongest) {
        UErrorCode status = U_ZERO_ERROR;
        const UCollationResult order =
            ucol_strcollUTF8(collator, a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                             static_cast<std::int32_t>(b.size()), &status);
        if (U_SUCCESS(status) && order != UCOL_EQUAL) return order == UCOL_LESS ? -1 : 1;
    }
    return threeWay(a, b);
}

bool isAsciiText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), isAsciiByte);
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
    if (isAsciiText(text)) return lowerAscii(text);
    // ASCII is lowered here, each run of other text by ICU: no lower-case mapping
    // looks past ASCII (but for the final sigma, which we do not keep).
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (std::size_t i = 0; i < text.size();) {
        if (isAsciiByte(text[i])) {
            out.push_back(boost::urls::grammar::to_lower(text[i++]));
        } else if (const std::size_t end = nonAsciiRunEnd(text, i); end > i) {
            appendLowered(out, text.substr(i, end - i));
            i = end;
        } else {
            out.push_back(text[i++]);  // an ill-formed byte, kept as it is
        }
    }
    return out;
}

std::vector<std::string_view> graphemeClusters(std::string_view text) {
    std::vector<std::string_view> clusters;
    clusters.reserve(text.size());
    BreakIterator iterator;
    // The piece from `start` has boundaries on both ends; within it only ICU knows.
    std::size_t start = 0;
    std::size_t codePoints = 0;
    const auto endPiece = [&](std::size_t end) {
        const std::string_view piece = text.substr(start, end - start);
        if (codePoints == 1 || piece == "\r\n") {
            clusters.push_back(piece);
        } else if (codePoints > 1) {
            appendCharacters(clusters, piece, iterator);
        }
        start = end;
        codePoints = 0;
    };
    bool previousStandsAlone = false;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        const char32_t cp = isAsciiByte(text[i]) ? static_cast<char32_t>(text[i]) : decodeAt(text, i, length);
        if (cp == kInvalid) {
            endPiece(i);
            clusters.push_back(text.substr(i, 1));  // an ill-formed byte is a character of its own
            start = ++i;
            previousStandsAlone = false;
            continue;
        }
        const bool alone = standsAlone(cp);
        if ((alone && previousStandsAlone && !(cp == '\n' && text[i - 1] == '\r')) || i - start >= kMaxIcuPiece) {
            endPiece(i);
        }
        previousStandsAlone = alone;
        ++codePoints;
        i += length;
    }
    endPiece(text.size());
    return clusters;
}

}  // namespace pivra
