// The emulator's control channel: the lines it takes, what each does to the line, and a line
// written into the FIFO reaching the server.
#include "FaultControl.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using vorix::sim::FaultControl;
using Kind = FaultControl::Command::Kind;

TEST(FaultControl, ParsesEachLine) {
    EXPECT_EQ(FaultControl::Parse("garbage 200").kind, Kind::Garbage);
    EXPECT_EQ(FaultControl::Parse("garbage 200").amount, 200);
    EXPECT_EQ(FaultControl::Parse("FLOOD 1048576").kind, Kind::Flood);
    EXPECT_EQ(FaultControl::Parse("FLOOD 1048576").amount, 1048576);
    EXPECT_EQ(FaultControl::Parse("  silence   1500 ").kind, Kind::Silence);
    EXPECT_EQ(FaultControl::Parse("  silence   1500 ").amount, 1500);
    EXPECT_EQ(FaultControl::Parse("cut 300").kind, Kind::Cut);
    EXPECT_EQ(FaultControl::Parse("late 900").kind, Kind::Late);
    EXPECT_EQ(FaultControl::Parse("reboot").kind, Kind::Reboot);
    EXPECT_EQ(FaultControl::Parse("splice 3").kind, Kind::Splice);
    EXPECT_EQ(FaultControl::Parse("splice 3").amount, 3);
}

TEST(FaultControl, RefusesWhatIsNotALine) {
    for (const char* line : {"", "reboot now", "garbage", "garbage -1", "garbage x", "cut 1 2",
                             "flood 268435457", "spin 10"})
        EXPECT_EQ(FaultControl::Parse(line).kind, Kind::Unknown) << line;
}

TEST(FaultControl, SilenceMutesCutDeafensAndMutes) {
    FaultControl f;
    f.apply(FaultControl::Parse("silence 100"), 1'000'000);
    EXPECT_TRUE(f.outputDropped(1'000'000));
    EXPECT_TRUE(f.outputDropped(1'099'999));
    EXPECT_FALSE(f.outputDropped(1'100'000));
    EXPECT_FALSE(f.inputDropped(1'050'000));
    f.apply(FaultControl::Parse("cut 200"), 2'000'000);
    EXPECT_TRUE(f.inputDropped(2'199'999));
    EXPECT_TRUE(f.outputDropped(2'199'999));
    EXPECT_FALSE(f.inputDropped(2'200'000));
    EXPECT_EQ(f.quietUntilUs(), 2'200'000);
}

TEST(FaultControl, ALateReplyHoldsTheNextOutputOnce) {
    FaultControl f;
    EXPECT_EQ(f.takeHoldUs(), 0);
    f.apply(FaultControl::Parse("late 750"), 0);
    EXPECT_EQ(f.takeHoldUs(), 750'000);
    EXPECT_EQ(f.takeHoldUs(), 0);
}

TEST(FaultControl, ASpliceDamagesTheNextDataReplyOnceBeforeItsValue) {
    FaultControl f;
    const QByteArray ack("\x02"
                         "01051\0"
                         "30\0"
                         "5C\x03",
                         13);
    const QByteArray data("\x02"
                          "2105A1\0"
                          "1\0"
                          "6D\x03",
                          13);
    f.apply(FaultControl::Parse("splice 4"), 0);
    qsizetype at = -1;
    EXPECT_EQ(f.splice(ack, &at), ack); // an acknowledgement is left whole
    EXPECT_EQ(at, -1);
    const QByteArray damaged = f.splice("xy" + data, &at);
    EXPECT_EQ(at, 10);
    ASSERT_EQ(damaged.size(), 2 + 13 + 4);
    EXPECT_EQ(damaged.left(10), "xy" + data.left(8));
    EXPECT_EQ(damaged.mid(14), data.mid(8));
    EXPECT_FALSE(damaged.mid(10, 4).contains('\x02'));
    EXPECT_FALSE(damaged.mid(10, 4).contains('\x03'));
    EXPECT_EQ(f.splice(data, &at), data); // once
    EXPECT_EQ(at, -1);
}

TEST(FaultControl, GarbageHasItsLengthAndNoFrameBytes) {
    FaultControl f;
    const QByteArray g = f.garbage(100'000);
    ASSERT_EQ(g.size(), 100'000);
    EXPECT_FALSE(g.contains('\x02'));
    EXPECT_FALSE(g.contains('\x03'));
    EXPECT_NE(g, f.garbage(100'000)); // not one pattern over and over
}

TEST(FaultControl, ALineWrittenIntoTheFifoReachesTheHandler) {
    int argc = 1;
    char name[] = "test";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("control"));
    FaultControl f;
    QString error;
    ASSERT_TRUE(f.open(path, &error)) << error.toStdString();
    QList<QByteArray> seen;
    f.setHandler([&](const FaultControl::Command& c, const QByteArray& line) {
        if (c.kind != Kind::Unknown)
            seen << line;
    });
    const int w = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_NONBLOCK);
    ASSERT_GE(w, 0);
    const char text[] = "cut 300\nnonsense\nreb";
    ASSERT_EQ(::write(w, text, sizeof text - 1), ssize_t(sizeof text - 1));
    const char rest[] = "oot\n";
    ASSERT_EQ(::write(w, rest, sizeof rest - 1), ssize_t(sizeof rest - 1));
    ::close(w);
    QElapsedTimer guard;
    guard.start();
    while (seen.size() < 2 && guard.elapsed() < 60'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 100);
    EXPECT_EQ(seen, (QList<QByteArray>{"cut 300", "reboot"}));
}
