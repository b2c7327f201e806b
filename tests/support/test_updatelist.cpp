// The update list: model prefixes, the page cut out of a raw response, release-notes addresses,
// refused names and the byte count format.

#include "core/support/UpdateList.h"
#include "core/text/Classic.h"

#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

const QString kHeader = QStringLiteral("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n");

TEST(ModelPrefix, FirstMatchIgnoringCase) {
    EXPECT_EQ(ModelPrefix(QStringLiteral("Gorda"), false), QStringLiteral("gorda_"));
    EXPECT_EQ(ModelPrefix(QStringLiteral("FENNA"), false), QStringLiteral("fenna_"));
    EXPECT_EQ(ModelPrefix(QStringLiteral("hesta 2"), false), QStringLiteral("hesta_"));
    EXPECT_EQ(ModelPrefix(QStringLiteral("Jorn"), false), QStringLiteral("jorn_"));
    EXPECT_EQ(ModelPrefix(QStringLiteral("Vorix"), false), QString());
}

TEST(ModelPrefix, JornPlusGetsTheJornFiles) {
    EXPECT_EQ(ModelPrefix(QStringLiteral("Jorn+ V2"), false), QStringLiteral("jorn_"));
}

TEST(ModelPrefix, DebuggerModeSeesEverything) {
    EXPECT_EQ(ModelPrefix(QStringLiteral("Gorda"), true), QString());
}

TEST(UpdateList, LinesOfThePrefixAreListedByName) {
    const auto r = ParseUpdateList(kHeader + QStringLiteral("gorda_1_2,http-address\r\n"
                                                            "fenna_3,http://x/fenna_3.frk\r\n"),
                                   QStringLiteral("gorda_"));
    ASSERT_EQ(r.entries.size(), 2);
    EXPECT_EQ(r.entries[1].FileName, QStringLiteral("gorda_1_2"));
    EXPECT_EQ(r.entries[1].FileUrl, QStringLiteral("http-address"));
    EXPECT_EQ(r.entries[1].NotesUrl, QStringLiteral("http-addrphp"));
    EXPECT_TRUE(r.refused.isEmpty());
}

TEST(UpdateList, PrefixIgnoresCase) {
    const auto r = ParseUpdateList(kHeader + QStringLiteral("GORDA_9,http://x/a.frk\r\n"),
                                   QStringLiteral("gorda_"));
    ASSERT_EQ(r.entries.size(), 2);
    EXPECT_EQ(r.entries[1].FileName, QStringLiteral("GORDA_9"));
}

TEST(UpdateList, EmptyPrefixListsEveryLine) {
    const auto r = ParseUpdateList(kHeader + QStringLiteral("gorda_1,http://x/g.frk\r\n"
                                                            "fenna_2,http://x/f.frk\r\n"
                                                            "other,http://x/o.frk\r\n"),
                                   QString());
    ASSERT_EQ(r.entries.size(), 4);
    EXPECT_EQ(r.entries[3].FileName, QStringLiteral("other"));
}

TEST(UpdateList, HeaderEndsAtTheFirstEmptyLine) {
    const auto r = ParseUpdateList(QStringLiteral("HTTP/1.0 200 OK\r\ngorda_0,http://x/h.frk\r\n"
                                                  "\r\ngorda_1,http://x/g.frk\r\n"),
                                   QStringLiteral("gorda_"));
    ASSERT_EQ(r.entries.size(), 2);
    EXPECT_EQ(r.entries[1].FileName, QStringLiteral("gorda_1"));
}

TEST(UpdateList, LastLineWithoutLineEndIsNeverListed) {
    const auto r = ParseUpdateList(kHeader + QStringLiteral("gorda_1,http://x/g.frk\r\n"
                                                            "gorda_2,http://x/h.frk"),
                                   QStringLiteral("gorda_"));
    ASSERT_EQ(r.entries.size(), 2);
    EXPECT_EQ(r.entries[1].FileName, QStringLiteral("gorda_1"));
}

TEST(UpdateList, CutOffTailInDebuggerModeIsTheShortAddressError) {
    try {
        ParseUpdateList(kHeader + QStringLiteral("gorda_1,http://x/g.frk\r\ngor"), QString());
        FAIL() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 5);
    }
}

TEST(UpdateList, HeaderOnlyGivesNothing) {
    EXPECT_EQ(ParseUpdateList(QStringLiteral("HTTP/1.0 404 Not Found\r\nServer: x\r\n"), QString())
                  .entries.size(),
              1);
    EXPECT_EQ(ParseUpdateList(kHeader, QString()).entries.size(), 1);
}

TEST(NotesUrl, FrkBecomesPhp) {
    EXPECT_EQ(NotesUrlFor(QStringLiteral("a.frk")), QStringLiteral("a.php"));
    EXPECT_EQ(NotesUrlFor(QStringLiteral("frk")), QStringLiteral("php"));
}

TEST(NotesUrl, ShorterThanThreeIsAnError) {
    for (const QString& url : {QString(), QStringLiteral("a"), QStringLiteral("ab")}) {
        try {
            NotesUrlFor(url);
            FAIL() << "no error for " << url.toStdString();
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), 5);
        }
    }
}

TEST(NotesUrl, ShortAddressInTheListIsAnError) {
    EXPECT_THROW(
        ParseUpdateList(kHeader + QStringLiteral("gorda_1,ab\r\n"), QStringLiteral("gorda_")),
        RuntimeError);
}

TEST(UnsafeNames, RefusedWithAReason) {
    const QString bad[] = {QStringLiteral("../evil"),
                           QStringLiteral("a/b"),
                           QStringLiteral("a\\b"),
                           QStringLiteral("C:evil"),
                           QStringLiteral(".."),
                           QStringLiteral("a\tb"),
                           QString(QChar(0)) + QStringLiteral("x"),
                           QStringLiteral("a\x7f"),
                           QString()};
    for (const QString& n : bad)
        EXPECT_FALSE(UnsafeNameReason(n).isEmpty()) << n.toStdString();
    EXPECT_TRUE(UnsafeNameReason(QStringLiteral("gorda_1_2")).isEmpty());
    EXPECT_TRUE(UnsafeNameReason(QStringLiteral("a.b c")).isEmpty());
}

TEST(UnsafeNames, HostileLinesAreRefusedAndNotListed) {
    const auto r = ParseUpdateList(kHeader + QStringLiteral("gorda_../../etc/x,http://x/a.frk\r\n"
                                                            "gorda_ok,http://x/b.frk\r\n"
                                                            "gorda_c:\\w,http://x/c.frk\r\n"
                                                            "gorda_\x01,http://x/d.frk\r\n"),
                                   QStringLiteral("gorda_"));
    ASSERT_EQ(r.entries.size(), 2);
    EXPECT_EQ(r.entries[1].FileName, QStringLiteral("gorda_ok"));
    ASSERT_EQ(r.refused.size(), 3);
    EXPECT_EQ(
        r.refused[0],
        QStringLiteral("The file name 'gorda_../../etc/x' was refused: it holds a path separator"));
    EXPECT_EQ(
        r.refused[2],
        QStringLiteral("The file name 'gorda_(SOH)' was refused: it holds a control character"));
}

TEST(UpdateList, LongGarbageWithoutLineEndsIsQuick) {
    // 10 MB with no CR LF: nothing listed, and no quadratic walk.
    const QString garbage(10 * 1024 * 1024, QChar(u'x'));
    EXPECT_EQ(ParseUpdateList(garbage, QStringLiteral("gorda_")).entries.size(), 1);
}

TEST(FormatThousands, SixDigitsGrouped) {
    EXPECT_EQ(FormatThousands(12345), QStringLiteral("012,345"));
    EXPECT_EQ(FormatThousands(0), QStringLiteral("000,000"));
    EXPECT_EQ(FormatThousands(1234567), QStringLiteral("1,234,567"));
    EXPECT_EQ(FormatThousands(999999), QStringLiteral("999,999"));
}

} // namespace
