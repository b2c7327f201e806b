// The loader's files as values: list files, the restart line, the progress and fault texts.

#include "core/firmware/FirmwareFiles.h"
#include "core/text/Classic.h"

#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

TEST(FileListFormat, EveryLineEndsInCrLfTheLastToo) {
    EXPECT_EQ(FormatFileList({QStringLiteral("C:\\a.frk"), QStringLiteral("b.frk"), QString()}),
              QByteArray("C:\\a.frk\r\nb.frk\r\n\r\n"));
    EXPECT_EQ(FormatFileList({}), QByteArray());
}

TEST(FileListFormat, LinesAreReadAsTheyStand) {
    const QStringList lines = ParseFileList("  a.frk \r\n\r\nb.frk\nc.frk");
    EXPECT_EQ(lines, (QStringList{QStringLiteral("  a.frk "), QString(), QStringLiteral("b.frk"),
                                  QStringLiteral("c.frk")}));
    EXPECT_TRUE(ParseFileList(QByteArray()).isEmpty());
}

TEST(FileListFormat, RoundTripKeepsOrderAndDoubles) {
    const QStringList in{QStringLiteral("x.frk"), QStringLiteral("y.frk"), QStringLiteral("x.frk")};
    EXPECT_EQ(ParseFileList(FormatFileList(in)), in);
}

TEST(FirmwareTest, LoweredExtensionDecides) {
    EXPECT_TRUE(IsFirmwarePath(QStringLiteral("C:\\fw\\A.FRK")));
    EXPECT_TRUE(IsFirmwarePath(QStringLiteral("a.frk")));
    EXPECT_TRUE(IsFirmwarePath(QStringLiteral("afrk"))); // only the last three characters count
    EXPECT_FALSE(IsFirmwarePath(QStringLiteral("a.txt")));
    EXPECT_FALSE(IsFirmwarePath(QStringLiteral("a.frl")));
}

TEST(FolderOfChoice, EverythingBeforeTheLastBackslash) {
    EXPECT_EQ(FolderOfChoice(QStringLiteral("C:\\fw\\a.frk")), QStringLiteral("C:\\fw\\"));
    EXPECT_EQ(FolderOfChoice(QStringLiteral("/tmp/x/a.frk")), QStringLiteral("/tmp/x\\"));
    EXPECT_EQ(FolderOfChoice(QStringLiteral("a.frk")), QStringLiteral("\\"));
}

TEST(RestartRecord, OneLineFourFieldsCrLf) {
    EXPECT_EQ(FormatRestartRecord(
                  {QStringLiteral("COM1"), QStringLiteral("19200"), QStringLiteral("57600"), 0}),
              QByteArray("COM1,19200,57600,0\r\n"));
    EXPECT_EQ(FormatRestartRecord(
                  {QStringLiteral("COM3"), QStringLiteral("9600"), QStringLiteral("115200"), -2}),
              QByteArray("COM3,9600,115200,-2\r\n"));
}

TEST(RestartRecord, ParsesTheFourFields) {
    const RestartRecord r = ParseRestartLine(QStringLiteral("COM2,19200,57600,1"));
    EXPECT_EQ(r.port, QStringLiteral("COM2"));
    EXPECT_EQ(r.origSpeed, QStringLiteral("19200"));
    EXPECT_EQ(r.xfrSpeed, QStringLiteral("57600"));
    EXPECT_EQ(r.index, 1);
}

TEST(RestartRecord, MissingFieldsComeOutEmptyAndIndexZero) {
    const RestartRecord r = ParseRestartLine(QStringLiteral("COM4,19200"));
    EXPECT_EQ(r.port, QStringLiteral("COM4"));
    EXPECT_EQ(r.origSpeed, QStringLiteral("19200"));
    EXPECT_EQ(r.xfrSpeed, QString());
    EXPECT_EQ(r.index, 0);
    const RestartRecord e = ParseRestartLine(QString());
    EXPECT_TRUE(e.port.isEmpty());
    EXPECT_EQ(e.index, 0);
}

TEST(RestartRecord, IndexIsTheValueOfTheRest) {
    EXPECT_EQ(ParseRestartLine(QStringLiteral("COM1,1,2,3,4")).index, 3);
    EXPECT_EQ(ParseRestartLine(QStringLiteral("COM1,1,2,7x")).index, 7);
    EXPECT_THROW(ParseRestartLine(QStringLiteral("COM1,1,2,40000")), RuntimeError);
}

TEST(RestartRecord, FirstLineOfTheFile) {
    EXPECT_EQ(FirstLine("COM1,19200,57600,0\r\nrest\r\n"), QStringLiteral("COM1,19200,57600,0"));
    EXPECT_EQ(FirstLine(""), QString());
}

TEST(Progress, NoEstimateInTheFirstTwoSeconds) {
    EXPECT_EQ(TransferProgressText(0, 0, 100, 0, 1000), QStringLiteral("Bytes processed=100"));
    EXPECT_EQ(TransferProgressText(2, 500, 100, 40, 1000), QStringLiteral("Bytes processed=560"));
}

TEST(Progress, SecondsBelowSixtyOne) {
    // rate (900+100)/5 = 200; remaining (10100-100)/200 = 50
    EXPECT_EQ(TransferProgressText(5, 900, 100, 0, 10100),
              QStringLiteral("Bytes processed=1000,   Approximate Time Remaining = 50 Seconds"));
}

TEST(Progress, SixtyOneSecondsShowTwoMinutes) {
    // rate 1000/10 = 100; remaining (6200-100)/100 = 61 -> (61+59)\60 = 2
    EXPECT_EQ(TransferProgressText(10, 900, 100, 0, 6200),
              QStringLiteral("Bytes processed=1000,   Approximate Time Remaining = 2 Minutes "));
    // 60 still in seconds
    EXPECT_EQ(TransferProgressText(10, 900, 100, 0, 6100),
              QStringLiteral("Bytes processed=1000,   Approximate Time Remaining = 60 Seconds"));
}

TEST(Progress, ARateOfZeroIsADivisionByZero) {
    try {
        TransferProgressText(30000, 0, 1, 0, 100);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 11);
    }
}

TEST(FaultTexts, AsTheUserReadsThem) {
    EXPECT_EQ(TransferFailedText(300), QStringLiteral("Transfer Failed, 300 Bytes processed.\r\n") +
                                           QString(15, ' ') +
                                           QStringLiteral("Click 'Continue' to restart transfer"));
    EXPECT_EQ(UserAbortedText(200),
              QStringLiteral("User aborted the transfer, 200 Bytes processed.\r\n") +
                  QString(30, ' ') + QStringLiteral("Click 'Continue' to restart transfer"));
    EXPECT_EQ(LoaderTimedOutText(QStringLiteral("Gorda"), 0),
              QStringLiteral("Gorda Boot Loader timed out and aborted, 0 Bytes processed.\r\n") +
                  QString(30, ' ') + QStringLiteral("Click 'Continue' to restart transfer"));
}

TEST(FirmwareImageCheck, AnImageIsNeverEmptyOrText) {
    EXPECT_EQ(FirmwareImageProblem(QByteArray()), QStringLiteral("it is empty"));
    EXPECT_EQ(FirmwareImageProblem("this is a text file\r\n\tand more\r\n"),
              QStringLiteral("it is text"));
    EXPECT_EQ(FirmwareImageProblem(QByteArray("VXFK\x10\0\0\0", 8)), QString());
    EXPECT_EQ(FirmwareImageProblem("caf\xc3\xa9"), QString());
}

} // namespace
