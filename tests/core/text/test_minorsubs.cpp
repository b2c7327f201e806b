// The classic number and text semantics and the small shared text routines.

#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

struct ValCase {
    const char* text;
    double expected;
};

void PrintTo(const ValCase& c, std::ostream* os) {
    *os << "Val('" << c.text << "')";
}

class ValTable : public ::testing::TestWithParam<ValCase> {};

TEST_P(ValTable, ReadsTheLeadingNumber) {
    const ValCase c = GetParam();
    EXPECT_DOUBLE_EQ(Val(QString::fromUtf8(c.text)), c.expected) << "text: '" << c.text << "'";
}

INSTANTIATE_TEST_SUITE_P(
    Classic, ValTable,
    ::testing::Values(ValCase{"3A", 3}, ValCase{"1.10b", 1.1}, ValCase{"", 0}, ValCase{"12]", 12},
                      ValCase{" 1 2 ", 12}, ValCase{"\t5", 5}, ValCase{"-3.5x", -3.5},
                      ValCase{"+7", 7}, ValCase{".5", 0.5}, ValCase{"abc", 0}, ValCase{"-", 0},
                      ValCase{"--5", 0}, ValCase{"1e3", 1000}, ValCase{"1E", 1}, ValCase{"2E+", 2},
                      ValCase{"1D2", 100}, ValCase{"1.2.3", 1.2}, ValCase{"1.5e-1", 0.15},
                      ValCase{"&H10", 16}, ValCase{"&HFFFF", -1}, ValCase{"&H10000", 65536},
                      ValCase{"&O17", 15}, ValCase{"&", 0}, ValCase{"1.24", 1.24},
                      ValCase{"0012", 12}, ValCase{"1e-9999", 0}));

TEST(Classic, ValOfAnOverlongExponentIsAnOverflow) {
    try {
        Val(QStringLiteral("1e400"));
        FAIL() << "no error raised";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kOverflow);
    }
}

TEST(Classic, RoundEvenTakesTiesToTheEvenNeighbour) {
    const struct {
        double in;
        double out;
    } cases[] = {{0.5, 0},   {1.5, 2},   {2.5, 2},    {3.5, 4}, {-0.5, 0},
                 {-1.5, -2}, {-2.5, -2}, {2.4999, 2}, {2.6, 3}, {-2.6, -3}};
    for (const auto& c : cases)
        EXPECT_EQ(RoundEven(c.in), c.out) << c.in;
}

TEST(Classic, CIntRoundsAndRaisesOverflowPast16Bits) {
    EXPECT_EQ(CInt(32767.4), 32767);
    EXPECT_EQ(CInt(-32768.5), -32768);
    EXPECT_EQ(CInt(2.5), 2);
    EXPECT_THROW(CInt(32767.5), RuntimeError);
    EXPECT_THROW(CInt(-32769), RuntimeError);
    try {
        CInt(40000);
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 6);
        EXPECT_EQ(e.description(), QStringLiteral("Overflow"));
    }
}

TEST(Classic, CLngRaisesOverflowPast32Bits) {
    EXPECT_EQ(CLng(2147483647.0), 2147483647);
    EXPECT_EQ(CLng(-2147483648.0), -2147483647 - 1);
    EXPECT_THROW(CLng(2147483647.5), RuntimeError);
    EXPECT_THROW(CLng(-2147483649.0), RuntimeError);
}

TEST(Classic, AddIntOverflowIsAnErrorNotAWrap) {
    EXPECT_EQ(AddInt(32000, 767), 32767);
    EXPECT_THROW(AddInt(32000, 768), RuntimeError);
    EXPECT_THROW(AddInt(-32768, -1), RuntimeError);
}

TEST(Classic, TrimRemovesTheBlankOnlyNeverTabs) {
    EXPECT_EQ(TrimBlank(QStringLiteral("  a b  ")), QStringLiteral("a b"));
    EXPECT_EQ(TrimBlank(QStringLiteral(" \ta \t ")), QStringLiteral("\ta \t"));
    EXPECT_EQ(TrimBlankLeft(QStringLiteral("  a ")), QStringLiteral("a "));
    EXPECT_EQ(TrimBlankRight(QStringLiteral("  a ")), QStringLiteral("  a"));
    EXPECT_EQ(TrimBlank(QStringLiteral("   ")), QString());
}

TEST(Classic, ComparisonIgnoresCase) {
    EXPECT_TRUE(SameText(QStringLiteral("Gorda"), QStringLiteral("GORDA")));
    EXPECT_FALSE(SameText(QStringLiteral("Gorda"), QStringLiteral("Gorda ")));
    EXPECT_TRUE(ContainsText(QStringLiteral("SDI FRKDI"), QStringLiteral("frkdi")));
    EXPECT_FALSE(ContainsText(QStringLiteral("SDI"), QStringLiteral("FRK")));
}

TEST(Classic, MidLeftRightAreOneBasedAndForgiving) {
    const QString s = QStringLiteral("abcdef");
    EXPECT_EQ(Mid(s, 2, 3), QStringLiteral("bcd"));
    EXPECT_EQ(Mid(s, 5), QStringLiteral("ef"));
    EXPECT_EQ(Mid(s, 5, 10), QStringLiteral("ef"));
    EXPECT_EQ(Mid(s, 7), QString());
    EXPECT_EQ(Left(s, 2), QStringLiteral("ab"));
    EXPECT_EQ(Left(s, 10), s);
    EXPECT_EQ(Right(s, 2), QStringLiteral("ef"));
    EXPECT_EQ(Right(s, 0), QString());
}

TEST(Classic, CStrWritesIntegersWithoutAPoint) {
    EXPECT_EQ(CStr(3), QStringLiteral("3"));
    EXPECT_EQ(CStr(-12), QStringLiteral("-12"));
    EXPECT_EQ(CStr(0), QStringLiteral("0"));
    EXPECT_EQ(CStr(-2.5), QStringLiteral("-2.5"));
    EXPECT_EQ(CStr(0.1 + 0.2), QStringLiteral("0.3"));
    EXPECT_EQ(CStr(1e20), QStringLiteral("1E+20"));
    EXPECT_EQ(CStr(1e-5), QStringLiteral("1E-05"));
}

struct TokenCase {
    const char* text;
    const char* delimiter;
    bool keepQuotes;
    const char* token;
    const char* rest;
};

void PrintTo(const TokenCase& c, std::ostream* os) {
    *os << "'" << c.text << "' at '" << c.delimiter << "'"
        << (c.keepQuotes ? " keeping quotes" : "");
}

class ParseTokenTable : public ::testing::TestWithParam<TokenCase> {};

TEST_P(ParseTokenTable, CutsAtTheFirstDelimiterOutsideQuotes) {
    const TokenCase c = GetParam();
    QString text = QString::fromUtf8(c.text);
    const QString token = ParseToken(text, QString::fromUtf8(c.delimiter), c.keepQuotes);
    EXPECT_EQ(token, QString::fromUtf8(c.token)) << "text: " << c.text;
    EXPECT_EQ(text, QString::fromUtf8(c.rest)) << "text: " << c.text;
}

INSTANTIATE_TEST_SUITE_P(MinorSubs, ParseTokenTable,
                         ::testing::Values(TokenCase{"a , b", ",", false, "a", "b"},
                                           TokenCase{" a ; b ; c", ";", false, "a", "b ; c"},
                                           TokenCase{"abc", ",", false, "abc", ""},
                                           TokenCase{"", ",", false, "", ""},
                                           TokenCase{"\"a,b\",c", ",", false, "a,b", "c"},
                                           TokenCase{"\"a,b\",c", ",", true, "\"a,b\"", "c"},
                                           TokenCase{"x\"y:z\"w:v", ":", false, "xy:zw", "v"},
                                           TokenCase{"\"a,b", ",", false, "a,b", ""},
                                           TokenCase{"xANDy", "and", false, "x", "y"},
                                           TokenCase{"[1]   3A ; x", " ", false, "[1]", "3A ; x"},
                                           TokenCase{"\ta ,b", ",", false, "\ta", "b"},
                                           TokenCase{",b", ",", false, "", "b"},
                                           TokenCase{"a,", ",", false, "a", ""},
                                           TokenCase{"a..b", "..", false, "a", "b"}));

TEST(MinorSubs, DropQuotesRemovesEveryQuoteAndTrims) {
    EXPECT_EQ(DropQuotes(QStringLiteral(" \"a:b\" ")), QStringLiteral("a:b"));
    EXPECT_EQ(DropQuotes(QStringLiteral("a,b")), QStringLiteral("a,b"));
}

TEST(MinorSubs, SquashUpperRemovesBlanksButNotTabs) {
    EXPECT_EQ(SquashUpper(QStringLiteral("[ General Settings ]")),
              QStringLiteral("[GENERALSETTINGS]"));
    EXPECT_EQ(SquashUpper(QStringLiteral(" a b\tc ")), QStringLiteral("AB\tC"));
}

TEST(MinorSubs, TakeFlagRemovesSlashAndLetterAndJoinsWithOneBlank) {
    QString t = QStringLiteral("Name/R");
    EXPECT_TRUE(TakeFlag(t, QStringLiteral("R")));
    EXPECT_EQ(t, QStringLiteral("Name"));

    t = QStringLiteral("Name/r/N");
    EXPECT_TRUE(TakeFlag(t, QStringLiteral("R")));
    EXPECT_EQ(t, QStringLiteral("Name /N"));
    EXPECT_TRUE(TakeFlag(t, QStringLiteral("n")));
    EXPECT_EQ(t, QStringLiteral("Name"));

    t = QStringLiteral("A  /W  B");
    EXPECT_TRUE(TakeFlag(t, QStringLiteral("W")));
    EXPECT_EQ(t, QStringLiteral("A B"));

    t = QStringLiteral("Name R");
    EXPECT_FALSE(TakeFlag(t, QStringLiteral("R")));
    EXPECT_EQ(t, QStringLiteral("Name R"));
}

TEST(MinorSubs, HexFieldIsLowerCaseAndPadded) {
    const struct {
        qint64 value;
        int width;
        const char* out;
    } cases[] = {{0, 0, "0"},       {0, 2, "00"},       {5, 2, "05"},  {255, 2, "ff"},
                 {256, 2, "100"},   {4660, 0, "1234"},  {10, -1, "a"}, {-1, 0, "ffffffff"},
                 {8324, 4, "2084"}, {65536, 4, "10000"}};
    for (const auto& c : cases)
        EXPECT_EQ(HexField(c.value, c.width), QLatin1String(c.out)) << c.value;
    EXPECT_EQ(HexField(QString(), 2), QStringLiteral("00"));
    EXPECT_EQ(HexField(QStringLiteral("17"), 2), QStringLiteral("11"));
    EXPECT_EQ(ToHex4(10), QStringLiteral("000a"));
    EXPECT_EQ(ToHex4(65536), QStringLiteral("10000"));
}

TEST(MinorSubs, Hex2IntTakesOneOrTwoDigits) {
    EXPECT_EQ(Hex2IntChecked(QStringLiteral("A")), 10);
    EXPECT_EQ(Hex2IntChecked(QStringLiteral("ff")), 255);
    EXPECT_EQ(Hex2IntChecked(QStringLiteral("0F")), 15);
    EXPECT_EQ(Hex2IntChecked(QStringLiteral("zz")), 0);
    EXPECT_EQ(Hex2IntChecked(QString()), std::nullopt);
    EXPECT_EQ(Hex2IntChecked(QStringLiteral("123")), std::nullopt);
    EXPECT_EQ(Hex2IntMessage(QStringLiteral("123")),
              QStringLiteral("Illegal call to Hex2Int with value 123"));
}

TEST(MinorSubs, HexDigitsBothWays) {
    EXPECT_EQ(HexDigitValue(u'0'), 0);
    EXPECT_EQ(HexDigitValue(u'9'), 9);
    EXPECT_EQ(HexDigitValue(u'a'), 10);
    EXPECT_EQ(HexDigitValue(u'F'), 15);
    EXPECT_EQ(HexDigitValue(u'g'), 0);
    EXPECT_EQ(HexDigitChar(0), u'0');
    EXPECT_EQ(HexDigitChar(9), u'9');
    EXPECT_EQ(HexDigitChar(10), u'a');
    EXPECT_EQ(HexDigitChar(15), u'f');
}

TEST(MinorSubs, HexToLongReadsAnyLengthAndFailsPast32Bits) {
    EXPECT_EQ(HexToLong(QStringLiteral("2084")), 8324);
    EXPECT_EQ(HexToLong(QStringLiteral("4c")), 76);
    EXPECT_EQ(HexToLong(QString()), 0);
    EXPECT_EQ(HexToLong(QStringLiteral("7FFFFFFF")), 2147483647);
    EXPECT_THROW(HexToLong(QStringLiteral("80000000")), RuntimeError);
}

TEST(MinorSubs, CutAtNulIsEmptyWithoutANul) {
    EXPECT_EQ(CutAtNul(QStringLiteral("ab") + QChar(0) + QStringLiteral("cd")),
              QStringLiteral("ab"));
    EXPECT_EQ(CutAtNul(QStringLiteral("abc")), QString());
    EXPECT_EQ(CutAtNul(QString(QChar(0)) + QStringLiteral("x")), QString());
}

TEST(MinorSubs, TextBeforeIsTrimmed) {
    EXPECT_EQ(TextBefore(QStringLiteral(" key = val"), QStringLiteral("=")), QStringLiteral("key"));
    EXPECT_EQ(TextBefore(QStringLiteral(" abc "), QStringLiteral("=")), QStringLiteral("abc"));
}

TEST(MinorSubs, ParentFolderAcceptsBothSeparators) {
    EXPECT_EQ(ParentFolder(QStringLiteral("C:\\a\\b.txt")), QStringLiteral("C:\\a"));
    EXPECT_EQ(ParentFolder(QStringLiteral("/x/y")), QStringLiteral("/x"));
    EXPECT_EQ(ParentFolder(QStringLiteral("a\\b/c")), QStringLiteral("a\\b"));
    EXPECT_EQ(ParentFolder(QStringLiteral("file")), QString());
}

TEST(MinorSubs, FileAndFolderExistence) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString folder = dir.path();
    const QString file = folder + QStringLiteral("/Telvo.ini");
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("x");
    f.close();

    EXPECT_TRUE(FolderExists(folder));
    EXPECT_TRUE(FolderExists(folder + QStringLiteral("/")));
    EXPECT_TRUE(FolderExists(folder + QStringLiteral("\\")));
    EXPECT_FALSE(FolderExists(folder + QStringLiteral("/missing")));
    EXPECT_FALSE(FolderExists(file));
    EXPECT_FALSE(FolderExists(QString()));

    EXPECT_TRUE(FileExists(file));
    EXPECT_FALSE(FileExists(folder));
    EXPECT_FALSE(FileExists(folder + QStringLiteral("/nothing.txt")));
    EXPECT_FALSE(FileExists(QString()));
}

TEST(MinorSubs, PrintableNamesEveryControlCharacter) {
    const char* names[32] = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                             "BS",  "TAB", "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                             "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                             "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    for (int code = 0; code < 32; ++code) {
        const QString expected = QStringLiteral("(") + QLatin1String(names[code]) + u')';
        EXPECT_EQ(Printable(QString(QChar(code))), expected) << code;
        EXPECT_EQ(ControlName(code), expected);
    }
    EXPECT_EQ(ControlName(32), QString());
}

TEST(MinorSubs, PrintableShowsAFrameAsTheLogPrintsIt) {
    const QString frame = QChar(2) + QStringLiteral("2003A1") + QChar(0) + QChar(3);
    EXPECT_EQ(Printable(frame), QStringLiteral("(STX)2003A1(NUL)(ETX)"));
    const QString other = QStringLiteral(" ~") + QChar(127) + QChar(0xE9);
    EXPECT_EQ(Printable(other), other);
}

} // namespace
