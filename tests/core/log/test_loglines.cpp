// The Details box's lines: newest first, whole across the blocks they are packed in, and all of
// their memory given back when the box is emptied.

#include "core/log/LogLines.h"

#include <gtest/gtest.h>

using telvo::core::LogLines;

namespace {

QString numbered(int i, qsizetype width) {
    return QString::number(i).rightJustified(width, QLatin1Char('.'));
}

TEST(LogLines, NewestLineIsRowZeroAndTheTextRunsNewestFirst) {
    LogLines l;
    l.add(QStringLiteral("first"));
    l.add(QString());
    l.add(QStringLiteral("third"));
    ASSERT_EQ(l.count(), 3);
    EXPECT_EQ(l.row(0), QStringLiteral("third"));
    EXPECT_EQ(l.row(1), QString());
    EXPECT_EQ(l.row(2), QStringLiteral("first"));
    EXPECT_EQ(l.text(), QStringLiteral("third\r\n\r\nfirst\r\n"));
}

TEST(LogLines, LinesStayWholeWhereABlockFillsUp) {
    LogLines l;
    // 1000-character lines do not divide a block: some meet its end and go on to the next.
    const qsizetype width = 1000;
    const int lines = int(3 * LogLines::kBlockChars / width) + 7;
    for (int i = 0; i < lines; ++i)
        l.add(numbered(i, width));
    ASSERT_EQ(l.count(), lines);
    for (int i = 0; i < lines; ++i)
        ASSERT_EQ(l.row(lines - 1 - i), numbered(i, width)) << i;
    EXPECT_EQ(l.capacityChars(), 4 * LogLines::kBlockChars);
}

TEST(LogLines, ALineLongerThanABlockIsKeptWhole) {
    LogLines l;
    l.add(QStringLiteral("before"));
    const QString longLine(LogLines::kBlockChars * 2 + 3, QLatin1Char('x'));
    l.add(longLine);
    l.add(QStringLiteral("after"));
    EXPECT_EQ(l.row(2), QStringLiteral("before"));
    EXPECT_EQ(l.row(1), longLine);
    EXPECT_EQ(l.row(0), QStringLiteral("after"));
}

TEST(LogLines, EmptiedTheBoxHoldsNothingAndEveryChangeCounts) {
    LogLines l;
    const quint64 start = l.revision();
    for (int i = 0; i < 1000; ++i)
        l.add(numbered(i, 300));
    EXPECT_EQ(l.revision(), start + 1000);
    // The text and an index entry a line, with at most the index's growth room beside them.
    const qsizetype held = 1000 * 300 * 2;
    EXPECT_GE(l.bytes(), held + 1000 * 12);
    EXPECT_LE(l.bytes(), held + 2 * 1000 * 12);
    l.clear();
    EXPECT_EQ(l.revision(), start + 1001);
    EXPECT_EQ(l.count(), 0);
    EXPECT_EQ(l.capacityChars(), 0);
    EXPECT_EQ(l.bytes(), 0);
    EXPECT_EQ(l.text(), QString());
    l.add(QStringLiteral("again"));
    EXPECT_EQ(l.row(0), QStringLiteral("again"));
}

} // namespace
