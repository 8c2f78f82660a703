#include "core/text/unicode_text.hpp"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace pivra {
namespace {

int sign(int value) { return (value > 0) - (value < 0); }

// The first of each pair sorts ahead of the second, whichever side it is given on.
TEST(FinderOrder, Pairs) {
    const std::pair<const char*, const char*> table[] = {
        // Blanks, punctuation, symbols (emoji too), currency signs, digits, letters; alphabets, then
        // Hangul, kana, Han. Currency signs come after the other symbols, as in the common collation order.
        {" Leading", "_Work"}, {"_Work", "🏠 Home"}, {"🏠 Home", "$Money"}, {"$Money", "2 Home"}, {"©", "0"},
        {"2 Home", "Alpha"}, {"🏠 Home", "Alpha"}, {"!", "😀"}, {"a b", "a-b"}, {"a\u2003b", "a.b"}, {"a-b", "ab"},
        {"Zulu", "Ωmega"}, {"Ωmega", "Жук"}, {"Жук", "한국"}, {"עברית", "한국"}, {"한국", "ひらがな"}, {"한국", "漢字"}, {"ひらがな", "漢字"},
        {"カタカナ", "漢字"}, {"a漢", "a\xFF"},
        // Historic and revived alphabets such as Deseret come after the East Asian scripts.
        {"한국", "𐐨"},
        // Katakana and hiragana interleave by sound; voicing and size only break ties.
        // Small kana come first, as in Japanese collation ("しょう" before "しよう").
        {"カキ", "かく"}, {"かき", "カク"}, {"がい", "かく"}, {"かき", "がき"}, {"っ", "つ"}, {"しょう", "しよう"}, {"かき", "カキ"}, {"ｶｷ", "かく"}, {"ヷ", "を"},
        // Capitals sort with their small letters in every cased script.
        {"İstanbul", "Zürich"}, {"İstanbul", "Istanbulx"}, {"Istanbul", "İstanbul"}, {"Istanbúl", "İstanbul"},
        {"աց", "Բա"}, {"ѣа", "Ѣб"}, {"ґа", "Ґб"}, {"әа", "Әб"}, {"ӂа", "Ӂб"}, {"ӏа", "Ӏб"}, {"ασ α", "ας β"},
        {"ǝa", "Ǝb"}, {"ɛa", "Ɛb"}, {"ǆa", "Ǆb"}, {"Აა", "აბ"}, {"ⴀa", "Ⴀb"}, {"Ἀα", "ἀβ"},
        // Accents, strokes and ligatures sort with their base letters.
        {"Łódź", "Madrid"}, {"Lodz", "Łódź"}, {"Øre", "Paris"}, {"Strasse", "Straße"}, {"Straße", "Strassf"},
        {"Aether", "Æther"}, {"Æther", "Aethes"}, {"e\u0301a", "eb"}, {"a\u00ADb", "ac"}, {"ab", "a\u00ADb"},
        // Full-width forms fold to ASCII; decimal digits of any script count by value.
        {"Profile ２", "Profile １０"}, {"Profile 2", "Profile １０"}, {"Profile ２", "Profile 3"},
        {"Profile 10", "Profile １０"}, {"a", "ｚ"}, {"ｚ", "Ωmega"}, {"（x）", "x"}, {"ملف ٢", "ملف ١٠"},
        {"Item ۹", "Item 10"}, {"९", "१०"}, {"x3", "x٣"}, {"x99999999999999999999998", "x99999999999999999999999"},
        {"x٩", "x10"}, {"Profile 02", "Profile 2"},
        // Among names equal but for accents, case or width: unaccented first, then small, then narrow.
        {"emile", "émile"}, {"émile", "Émile"}, {"ärger", "Ärger"}, {"ωμέγα", "Ωμέγα"}, {"жук", "Жук"}, {"ǆa", "ǅa"},
        {"emile", "ｅｍｉｌｅ"}, {"ｅｍｉｌｅ", "Emile"}, {"Emile", "ＥＭＩＬＥ"}, {"profile 2", "Profile 02"},
        {"cafe", "cafe\u0301"}, {"caf\u00E9", "cafes"}
    };
    for (const auto& [before, after] : table) {
        EXPECT_LT(compareForSorting(before, after), 0) << before << " < " << after;
        EXPECT_GT(compareForSorting(after, before), 0) << before << " < " << after;
    }
}

TEST(FinderOrder, SortsAMixedListAsTheFinderDoes) {
    std::vector<std::string> names{"Profile 10", "profile 2", "Zoë", "Ábc", "abd", "Profile 2", "Work",
                                   "Émile", "emile", "Профиль", "工作", "Profile 02", "a", "B", "zoe"};
    std::stable_sort(names.begin(), names.end(), [](const auto& a, const auto& b) { return compareForSorting(a, b) < 0; });
    const std::vector<std::string> expected{"a", "Ábc", "abd", "B", "emile", "Émile", "profile 2", "Profile 02",
                                            "Profile 2", "Profile 10", "Work", "zoe", "Zoë", "Профиль", "工作"};
    EXPECT_EQ(names, expected);
}

TEST(FinderOrder, ZeroOnlyForTheSameBytes) {
    EXPECT_EQ(compareForSorting("Same", "Same"), 0);
    EXPECT_EQ(compareForSorting("", ""), 0);
    for (const auto& [a, b] : std::vector<std::pair<std::string, std::string>>{
             {"caf\u00E9", "cafe\u0301"}, {"x3", "x３"}, {"Profile 2", "Profile 02"}, {"ab", "a\u200Bb"},
             {std::string("a\0b", 3), "ab"}, {"\xFF", "\xFE"}}) {
        EXPECT_NE(compareForSorting(a, b), 0) << a << " / " << b;
        EXPECT_EQ(sign(compareForSorting(a, b)), -sign(compareForSorting(b, a))) << a << " / " << b;
    }
}

// A sort needs a consistent order: any two names in one order, and no cycles among three.
TEST(FinderOrder, IsATotalOrderOverMixedNames) {
    const std::vector<std::string> names{
        "", " ", "a", "A", "á", "a\u0301", "ａ", "Ａ", "ab", "a b", "a-b", "a\u00ADb", "2", "02", "２", "٢", "10",
        "x2y", "x10", "x02y", "ß", "ss", "SS", "ẞ", "æ", "ae", "İ", "i", "I", "ı", "ς", "σ", "Σ", "か", "が",
        "カ", "ｶ", "ｶﾞ", "漢", "한", "🏠", "$", "_", "\xFF", "a\xC3", "Ω", "ж", "Ǆ", "ǅ", "ǆ", "\u0301"};
    for (const auto& a : names) {
        EXPECT_EQ(compareForSorting(a, a), 0) << a;
        for (const auto& b : names) {
            const int ab = sign(compareForSorting(a, b));
            ASSERT_EQ(ab, -sign(compareForSorting(b, a))) << a << " / " << b;
            if (ab > 0) continue;
            for (const auto& c : names) {
                if (compareForSorting(b, c) <= 0) {
                    ASSERT_LE(compareForSorting(a, c), 0) << a << " / " << b << " / " << c;
                }
            }
        }
    }
}

TEST(LowerCaseText, LowersEveryCasedScript) {
    const std::pair<const char*, const char*> table[] = {
        {"Mixed ASCII 123 !?[]@", "mixed ascii 123 !?[]@"}, {"ÀÉÎÕÜ Ÿ ŁŽŊ", "àéîõü ÿ łžŋ"}, {"İI", "i\u0307i"},
        {"ſ ı ĸ ß ŉ", "ſ ı ĸ ß ŉ"}, {"ẞ", "ß"}, {"ƐƷƆǄǅǇ Ƞ Ⱥ", "ɛʒɔǆǆǉ ƞ ⱥ"},
        {"ΆΈΩΫ ΟΔΟΣ οδος ϴ", "άέωϋ οδοσ οδοσ θ"},
        // Every sigma as σ: a word lowers alike whatever follows it (ICU alone gives "ς" before "/" but not before ".").
        {"ΟΔΟΣ/ ΟΔΟΣ.GR Σ\xFFΣ", "οδοσ/ οδοσ.gr σ\xFFσ"},
        {"Ἀθῆναι ᾼ Ὑ", "ἀθῆναι ᾳ ὑ"}, {"ЁЖЯ ѢҐӘӀӁ Ԥ", "ёжя ѣґәӏӂ ԥ"},
        {"ᏣᎳᎩ", "ꮳꮃꭹ"},  // Cherokee too, whose capitals are the everyday letters
        {"ԱՐՄԵՆ", "արմեն"}, {"ᲐᲑᲒ Ⴀ", "აბგ ⴀ"}, {"ⰀⲀꙀꜢ", "ⰰⲁꙁꜣ"},
        {"ＡＢＣ ⅫⒶ \u212Aelvin \u212B", "ａｂｃ ⅻⓐ kelvin å"}, {"𐐀𞤀", "𐐨𞤢"}, {"\xFF" "A\xC3", "\xFF" "a\xC3"}, {"", ""}};
    for (const auto& [text, lowered] : table) EXPECT_EQ(lowerCaseText(text), lowered) << text;
}

TEST(TrimWhitespace, RemovesWhiteSpaceAtBothEndsOnly) {
    const std::pair<const char*, const char*> table[] = {
        {" \t x \r\n", "x"}, {"\u00A0x\u3000", "x"}, {"\u1680x\u202F", "x"}, {"\u2000\u2005\u200Ax\u2001\u2009", "x"},
        {"\u205Fx\u205F", "x"}, {"\u0085x\u2028\u2029", "x"}, {"a\u2003b", "a\u2003b"},
        {"\u200Bx\u200B", "\u200Bx\u200B"}, {"x\xA0", "x\xA0"}, {"x\xE2\x80", "x\xE2\x80"}, {"\u3000", ""}, {"", ""}};
    for (const auto& [text, trimmed] : table) EXPECT_EQ(trimWhitespace(text), trimmed) << text;
}

TEST(SplitLines, EveryNewlineCharacterAndNothingElse) {
    EXPECT_EQ(splitLines("a\r\nb\u2028c\u0085d\u2029e\vf\fg\u2003h"),
              (std::vector<std::string_view>{"a", "", "b", "c", "d", "e", "f", "g\u2003h"}));
    EXPECT_EQ(splitLines("\xE2\x80\nx"), (std::vector<std::string_view>{"\xE2\x80", "x"})) << "a cut-off character";
    EXPECT_EQ(splitLines(""), (std::vector<std::string_view>{""}));
}

TEST(GraphemeClusters, SplitsIntoUserPerceivedCharacters) {
    using V = std::vector<std::string_view>;
    const std::pair<const char*, V> table[] = {
        {"\U0001F469\u200D\U0001F4BBx", V{"\U0001F469\u200D\U0001F4BB", "x"}},
        {"a\u200D*", V{"a\u200D", "*"}},  // a star after a joiner stays a star
        {"\U0001F469\u200D*", V{"\U0001F469\u200D", "*"}},
        {"e\u0301\r\n\U0001F1E9\U0001F1EA\U0001F1E9", V{"e\u0301", "\r\n", "\U0001F1E9\U0001F1EA", "\U0001F1E9"}},
        {"\U0001F44D\U0001F3FD1\uFE0F\u20E3\U0001F3F3\uFE0F\u200D\U0001F308",
         V{"\U0001F44D\U0001F3FD", "1\uFE0F\u20E3", "\U0001F3F3\uFE0F\u200D\U0001F308"}},
        // A spacing vowel sign belongs to its consonant (Thai "กำ", Devanagari "कि").
        {"\u0E01\u0E33\u0915\u093F", V{"\u0E01\u0E33", "\u0915\u093F"}},
        // Conjoining Hangul jamo make one syllable; a prepended sign joins what it heads.
        {"\u1100\u1161\u11A8\u1100\u0600" "1x", V{"\u1100\u1161\u11A8", "\u1100", "\u0600" "1", "x"}},
        {"\r\r\nab", V{"\r", "\r\n", "a", "b"}},
        // Ill-formed bytes are characters of their own and join nothing around them.
        {"\xE2\x80\u200D*", V{"\xE2", "\x80", "\u200D", "*"}},
        {"e\xFF\u0301\r\xC0\n", V{"e", "\xFF", "\u0301", "\r", "\xC0", "\n"}},
        {"", V{}},
    };
    for (const auto& [text, characters] : table) EXPECT_EQ(graphemeClusters(text), characters) << text;
}

}  // namespace
}  // namespace pivra
