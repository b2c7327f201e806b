// Cutting the useful middle out of a release-notes page.

#include "core/support/ReleaseNotes.h"

#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

const QString kMarker = QStringLiteral("<!-- #BeginEditable \"content\" -->");

TEST(ReleaseNotesCut, BodyBeforeTheDownloadsHeadingIsClosed) {
    const auto cut = CutReleaseNotes(QStringLiteral("x") + kMarker +
                                     QStringLiteral("body<p><b>Downloads</b></p>tail"));
    ASSERT_TRUE(cut);
    EXPECT_EQ(*cut, QStringLiteral("body</td></tr></table>"));
}

TEST(ReleaseNotesCut, DownloadIsTriedBeforeDownloads) {
    const auto cut = CutReleaseNotes(
        kMarker + QStringLiteral("a<p><b>Downloads</b></p>b<p><b>Download</b></p>c"));
    ASSERT_TRUE(cut);
    EXPECT_EQ(*cut, QStringLiteral("a<p><b>Downloads</b></p>b</td></tr></table>"));
}

TEST(ReleaseNotesCut, ListHeadingsAreTriedLast) {
    EXPECT_EQ(*CutReleaseNotes(
                  kMarker + QStringLiteral("a<li><b>Download</b><br>b<li><b>Downloads</b><br>c")),
              QStringLiteral("a<li><b>Download</b><br>b</td></tr></table>"));
}

TEST(ReleaseNotesCut, NoHeadingKeepsTheWholeRestUnclosed) {
    EXPECT_EQ(*CutReleaseNotes(kMarker + QStringLiteral("  all of it  ")),
              QStringLiteral("all of it"));
}

TEST(ReleaseNotesCut, MarkerWithoutItsQuotesIsNotFound) {
    EXPECT_FALSE(CutReleaseNotes(QStringLiteral("<!-- #BeginEditable content -->body")));
}

TEST(ReleaseNotesCut, MarkerOnTheSecondLineIsNotFound) {
    const QByteArray page = "<html>\r\n<!-- #BeginEditable \"content\" -->body";
    EXPECT_FALSE(CutReleaseNotes(FirstLineOf(page)));
    const QByteArray lf = "<html>\n<!-- #BeginEditable \"content\" -->body";
    EXPECT_FALSE(CutReleaseNotes(FirstLineOf(lf)));
}

// One character a byte, whatever the page's character set: the bytes go back out unchanged.
TEST(FirstLineOf, OneCharacterAByte) {
    EXPECT_EQ(FirstLineOf("caf\xc3\xa9\r\nx"), QStringLiteral("caf\u00c3\u00a9"));
    EXPECT_EQ(FirstLineOf("caf\xc3\xa9\r\nx").toLatin1(), QByteArray("caf\xc3\xa9"));
    EXPECT_EQ(FirstLineOf("caf\xe9\nx"), QStringLiteral("caf\u00e9"));
    EXPECT_EQ(FirstLineOf("caf\xe9\nx").toLatin1(), QByteArray("caf\xe9"));
    EXPECT_EQ(FirstLineOf(""), QString());
}

} // namespace
