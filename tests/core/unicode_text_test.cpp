#include "core/unicode_text.hpp"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace pivra {
namespace {

int sign(int value) { return (value > 0) - (value < 0); }

// `before` sorts ahead of `after`, whichever side it is given on.
struct OrderCase {
    const char* before;
    const char* after;
};

void PrintTo(const OrderCase& c, std::ostream* os) { *os << '"' << c.before << "\" < \"" << c.after << '"'; }

class FinderOrderPairs : public testing::TestWithParam<OrderCase> {};

TEST_P(FinderOrderPairs, BeforeSortsAheadOfAfter) {
    const auto& c = GetParam();
    EXPECT_LT(compareForSorting(c.before, c.after), 0);
    EXPECT_GT(compareForSorting(c.after, c.before), 0);
}

// Blanks, punctuation, symbols (emoji too), digits, letters; alphabets, then Hangul, kana, Han.
INSTANTIATE_TEST_SUITE_P(
    Groups, FinderOrderPairs,
    testing::Values(OrderCase{" Leading", "_Work"}, OrderCase{"_Work", "$Money"}, OrderCase{"$Money", "🏠 Home"},
                    OrderCase{"🏠 Home", "2 Home"}, OrderCase{"©", "0"}, OrderCase{"2 Home", "Alpha"},
                    OrderCase{"🏠 Home", "Alpha"}, OrderCase{"!", "😀"}, OrderCase{"a b", "a-b"},
                    OrderCase{"a\u2003b", "a.b"}, OrderCase{"a-b", "ab"}, OrderCase{"Zulu", "Ωmega"},
                    OrderCase{"Ωmega", "Жук"}, OrderCase{"Жук", "한국"}, OrderCase{"𐐨", "한국"}, OrderCase{"한국", "ひらがな"},
                    OrderCase{"한국", "漢字"}, OrderCase{"ひらがな", "漢字"}, OrderCase{"カタカナ", "漢字"},
                    OrderCase{"a漢", "a\xFF"}));

// Katakana and hiragana interleave by sound; voicing and size only break ties.
INSTANTIATE_TEST_SUITE_P(Kana, FinderOrderPairs,
                         testing::Values(OrderCase{"カキ", "かく"}, OrderCase{"かき", "カク"},
                                         OrderCase{"がい", "かく"}, OrderCase{"かき", "がき"},
                                         OrderCase{"つ", "っ"}, OrderCase{"かき", "カキ"},
                                         OrderCase{"ｶｷ", "かく"}, OrderCase{"ヷ", "を"}));

// Capitals sort with their small letters in every cased script.
INSTANTIATE_TEST_SUITE_P(
    CaseFolding, FinderOrderPairs,
    testing::Values(OrderCase{"İstanbul", "Zürich"}, OrderCase{"İstanbul", "Istanbulx"},
                    OrderCase{"Istanbul", "İstanbul"}, OrderCase{"Istanbúl", "İstanbul"}, OrderCase{"աց", "Բա"}, OrderCase{"ѣа", "Ѣб"},
                    OrderCase{"ґа", "Ґб"}, OrderCase{"әа", "Әб"}, OrderCase{"ӂа", "Ӂб"}, OrderCase{"ӏа", "Ӏб"},
                    OrderCase{"ασ α", "ας β"}, OrderCase{"ǝa", "Ǝb"}, OrderCase{"ɛa", "Ɛb"},
                    OrderCase{"ǆa", "Ǆb"}, OrderCase{"Აა", "აბ"}, OrderCase{"ⴀa", "Ⴀb"},
                    OrderCase{"Ἀα", "ἀβ"}));

// Accents, strokes and ligatures sort with their base letters.
INSTANTIATE_TEST_SUITE_P(Letters, FinderOrderPairs,
                         testing::Values(OrderCase{"Łódź", "Madrid"}, OrderCase{"Lodz", "Łódź"},
                                         OrderCase{"Øre", "Paris"}, OrderCase{"Strasse", "Straße"},
                                         OrderCase{"Straße", "Strassf"}, OrderCase{"Aether", "Æther"},
                                         OrderCase{"Æther", "Aethes"}, OrderCase{"e\u0301a", "eb"},
                                         OrderCase{"a\u00ADb", "ac"}, OrderCase{"ab", "a\u00ADb"}));

// Full-width forms fold to ASCII; decimal digits of any script count by value.
INSTANTIATE_TEST_SUITE_P(
    WidthAndDigits, FinderOrderPairs,
    testing::Values(OrderCase{"Profile ２", "Profile １０"}, OrderCase{"Profile 2", "Profile １０"},
                    OrderCase{"Profile ２", "Profile 3"}, OrderCase{"Profile 10", "Profile １０"},
                    OrderCase{"a", "ｚ"}, OrderCase{"ｚ", "Ωmega"}, OrderCase{"（x）", "x"},
                    OrderCase{"ملف ٢", "ملف ١٠"}, OrderCase{"Item ۹", "Item 10"}, OrderCase{"९", "१०"},
                    OrderCase{"x3", "x٣"}, OrderCase{"x99999999999999999999998", "x99999999999999999999999"},
                    OrderCase{"x٩", "x10"}, OrderCase{"Profile 02", "Profile 2"}));

// Among names equal but for accents, case or width: unaccented first, then small, then narrow.
INSTANTIATE_TEST_SUITE_P(
    Ties, FinderOrderPairs,
    testing::Values(OrderCase{"emile", "émile"}, OrderCase{"émile", "Émile"}, OrderCase{"ärger", "Ärger"},
                    OrderCase{"ωμέγα", "Ωμέγα"}, OrderCase{"жук", "Жук"}, OrderCase{"ǆa", "ǅa"},
                    OrderCase{"emile", "ｅｍｉｌｅ"}, OrderCase{"ｅｍｉｌｅ", "Emile"}, OrderCase{"Emile", "ＥＭＩＬＥ"}, OrderCase{"profile 2", "Profile 02"},
                    OrderCase{"cafe", "cafe\u0301"}, OrderCase{"caf\u00E9", "cafes"}));

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

struct LowerCase {
    const char* text;
    const char* lowered;
};

void PrintTo(const LowerCase& c, std::ostream* os) { *os << '"' << c.text << '"'; }

class LowerCaseText : public testing::TestWithParam<LowerCase> {};

TEST_P(LowerCaseText, FoldsCase) { EXPECT_EQ(lowerCaseText(GetParam().text), GetParam().lowered); }

INSTANTIATE_TEST_SUITE_P(
    Table, LowerCaseText,
    testing::Values(LowerCase{"Mixed ASCII 123 !?[]@", "mixed ascii 123 !?[]@"},
                    LowerCase{"ÀÉÎÕÜ Ÿ ŁŽŊ", "àéîõü ÿ łžŋ"}, LowerCase{"İI", "i\u0307i"},
                    LowerCase{"ſ ı ĸ ß ŉ", "ſ ı ĸ ß ŉ"}, LowerCase{"ẞ", "ß"},
                    LowerCase{"ƐƷƆǄǅǇ Ƞ Ⱥ", "ɛʒɔǆǆǉ ƞ ⱥ"}, LowerCase{"ΆΈΩΫ ΟΔΟΣ οδος ϴ", "άέωϋ οδοσ οδοσ θ"},
                    LowerCase{"Ἀθῆναι ᾼ Ὑ", "ἀθῆναι ᾳ ὑ"}, LowerCase{"ЁЖЯ ѢҐӘӀӁ Ԥ", "ёжя ѣґәӏӂ ԥ"},
                    LowerCase{"ԱՐՄԵՆ", "արմեն"}, LowerCase{"ᲐᲑᲒ Ⴀ", "აბგ ⴀ"}, LowerCase{"ⰀⲀꙀꜢ", "ⰰⲁꙁꜣ"},
                    LowerCase{"ＡＢＣ ⅫⒶ \u212Aelvin \u212B", "ａｂｃ ⅻⓐ kelvin å"}, LowerCase{"𐐀𞤀", "𐐨𞤢"},
                    LowerCase{"\xFF" "A\xC3", "\xFF" "a\xC3"}, LowerCase{"", ""}));

struct TrimCase {
    const char* text;
    const char* trimmed;
};

void PrintTo(const TrimCase& c, std::ostream* os) { *os << '"' << c.text << '"'; }

class TrimWhitespace : public testing::TestWithParam<TrimCase> {};

TEST_P(TrimWhitespace, RemovesWhiteSpaceAtBothEndsOnly) { EXPECT_EQ(trimWhitespace(GetParam().text), GetParam().trimmed); }

INSTANTIATE_TEST_SUITE_P(
    Table, TrimWhitespace,
    testing::Values(TrimCase{" \t x \r\n", "x"}, TrimCase{"\u00A0x\u3000", "x"}, TrimCase{"\u1680x\u202F", "x"},
                    TrimCase{"\u2000\u2005\u200Ax\u2001\u2009", "x"}, TrimCase{"\u205Fx\u205F", "x"},
                    TrimCase{"\u0085x\u2028\u2029", "x"}, TrimCase{"a\u2003b", "a\u2003b"},
                    TrimCase{"\u200Bx\u200B", "\u200Bx\u200B"}, TrimCase{"x\xA0", "x\xA0"},
                    TrimCase{"x\xE2\x80", "x\xE2\x80"}, TrimCase{"\u3000", ""}, TrimCase{"", ""}));

TEST(SplitLines, EveryNewlineCharacterAndNothingElse) {
    EXPECT_EQ(splitLines("a\r\nb\u2028c\u0085d\u2029e\vf\fg\u2003h"),
              (std::vector<std::string_view>{"a", "", "b", "c", "d", "e", "f", "g\u2003h"}));
    EXPECT_EQ(splitLines("\xE2\x80\nx"), (std::vector<std::string_view>{"\xE2\x80", "x"})) << "a cut-off character";
    EXPECT_EQ(splitLines(""), (std::vector<std::string_view>{""}));
}

TEST(GraphemeClusters, JoinersBindPictographsOnly) {
    using V = std::vector<std::string_view>;
    EXPECT_EQ(graphemeClusters("\U0001F469\u200D\U0001F4BBx"), (V{"\U0001F469\u200D\U0001F4BB", "x"}));
    EXPECT_EQ(graphemeClusters("a\u200D*"), (V{"a\u200D", "*"})) << "a star after a joiner stays a star";
    EXPECT_EQ(graphemeClusters("\U0001F469\u200D*"), (V{"\U0001F469\u200D", "*"}));
    EXPECT_EQ(graphemeClusters("\xE2\x80\u200D*"), (V{"\xE2", "\x80", "\u200D", "*"}));
    EXPECT_EQ(graphemeClusters("e\u0301\r\n\U0001F1E9\U0001F1EA\U0001F1E9"),
              (V{"e\u0301", "\r\n", "\U0001F1E9\U0001F1EA", "\U0001F1E9"}));
}

}  // namespace
}  // namespace pivra
