// The platform stand-ins: the clock, timers, the yield, the port map and the serial control.

#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "platform/clock/Timer.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPeer.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/CommControl.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SimulatedLine.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <vector>

using namespace telvo::platform;

namespace {

QApplication& app() {
    static int argc = 1;
    static char name[] = "t";
    static char* argv[] = {name, nullptr};
    static QApplication* a = new QApplication(argc, argv);
    return *a;
}

class Platform : public ::testing::Test {
protected:
    void SetUp() override {
        app();
        InstallScriptedPlatform();
        Clock::instance().setVirtual(true);
        PortMap::instance().setPorts({});
    }
};

TEST_F(Platform, TimerTicksEveryIntervalWhileEnabled) {
    Timer t(nullptr, 250);
    int ticks = 0;
    QObject::connect(&t, &Timer::Tick, [&] { ++ticks; });
    t.setEnabled(true);
    Clock::instance().advanceBy(1000'000);
    EXPECT_EQ(ticks, 4);
    t.setEnabled(false);
    Clock::instance().advanceBy(1000'000);
    EXPECT_EQ(ticks, 4);
}

TEST_F(Platform, TimerWithIntervalZeroNeverTicks) {
    Timer t(nullptr, 0);
    int ticks = 0;
    QObject::connect(&t, &Timer::Tick, [&] { ++ticks; });
    t.setEnabled(true);
    Clock::instance().advanceBy(3600LL * 1000'000);
    EXPECT_EQ(ticks, 0);
    EXPECT_TRUE(t.Enabled());
}

TEST_F(Platform, TimerDisabledInsideItsTickTicksOnce) {
    Timer t(nullptr, 100);
    int ticks = 0;
    QObject::connect(&t, &Timer::Tick, [&] {
        ++ticks;
        t.setEnabled(false);
    });
    t.setEnabled(true);
    while (t.Enabled())
        DoEvents();
    Clock::instance().advanceBy(1000'000);
    EXPECT_EQ(ticks, 1);
}

TEST_F(Platform, VirtualClockJumpsToTheNextEventWhenTheProgramWaits) {
    Clock& c = Clock::instance();
    const qint64 start = c.nowUs();
    bool done = false;
    c.scheduleIn(30LL * 1000'000, [&] { done = true; });
    QElapsedTimer real;
    real.start();
    while (!done)
        DoEvents();
    EXPECT_EQ(c.nowUs() - start, 30LL * 1000'000);
    EXPECT_LT(real.elapsed(), 5000);
}

TEST_F(Platform, RunUntilStopsWhenTheConditionHoldsOrTheLimitPasses) {
    Clock& c = Clock::instance();
    int n = 0;
    for (int i = 1; i <= 5; ++i)
        c.scheduleIn(i * 1000, [&] { ++n; });
    EXPECT_TRUE(c.runUntil([&] { return n == 2; }, 10'000));
    EXPECT_EQ(n, 2);
    EXPECT_FALSE(c.runUntil([&] { return n == 5; }, 1500));
    EXPECT_EQ(n, 3);
    c.clear();
}

TEST_F(Platform, EventsAtTheSameTimeRunInTheOrderTheyWereSet) {
    Clock& c = Clock::instance();
    QString order;
    c.scheduleIn(10, [&] { order += QLatin1Char('a'); });
    c.scheduleIn(10, [&] { order += QLatin1Char('b'); });
    c.scheduleIn(5, [&] { order += QLatin1Char('c'); });
    c.advanceBy(20);
    EXPECT_EQ(order, QStringLiteral("cab"));
}

double cpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

TEST_F(Platform, WaitingOnTheRealClockDoesNotSpin) {
    Clock::instance().setVirtual(false);
    bool done = false;
    Clock::instance().scheduleIn(400'000, [&] { done = true; });
    const double before = cpuSeconds();
    while (!done)
        DoEvents();
    const double used = cpuSeconds() - before;
    Clock::instance().setVirtual(true);
    // A busy loop would burn the whole 0.4 s; a blocked wait costs next to nothing.
    EXPECT_LT(used, 0.15);
}

TEST_F(Platform, EndProgramUnwindsNestedWaitsAndIsRecorded) {
    ScriptedPlatform& p = InstallScriptedPlatform();
    Clock::instance().scheduleIn(1000, [] {
        try {
            EndProgram();
        } catch (const ProgramEnd&) {
        }
    });
    bool unwound = false;
    try {
        for (;;)
            DoEvents();
    } catch (const ProgramEnd&) {
        unwound = true;
    }
    EXPECT_TRUE(unwound);
    EXPECT_EQ(p.ends, 1);
    ResetProgramEnded();
}

TEST_F(Platform, ScriptedMessageBoxesAnswerInOrderAndRecordTheText) {
    ScriptedPlatform& p = InstallScriptedPlatform();
    p.answers = {vbCancel, vbOK};
    EXPECT_EQ(MessageBox(QStringLiteral("one"), vbOKCancel), vbCancel);
    EXPECT_EQ(MessageBox(QStringLiteral("two"), vbOKCancel), vbOK);
    EXPECT_EQ(p.messageTexts(), (QStringList{QStringLiteral("one"), QStringLiteral("two")}));
}

TEST_F(Platform, PortMapGivesComNumbersInTheOrderOfTheList) {
    PortMap& m = PortMap::instance();
    m.setPorts({QStringLiteral("/dev/null"), QStringLiteral("/dev/telvo-none")});
    EXPECT_EQ(m.resolve(1).kind, PortTarget::Device);
    EXPECT_EQ(m.resolve(1).path, QStringLiteral("/dev/null"));
    EXPECT_EQ(m.resolve(2).kind, PortTarget::Missing);
    EXPECT_EQ(m.resolve(3).kind, PortTarget::Missing);
}

TEST_F(Platform, SerialControlReportsClassicErrorNumbers) {
    PortMap::instance().setPorts({});
    CommControl p1;
    p1.setCommPort(3);
    p1.setPortOpen(true);
    EXPECT_EQ(p1.ErrNumber(), 8002);
    p1.ClearError();
    p1.setPortOpen(false);
    EXPECT_EQ(p1.ErrNumber(), 8012);
    p1.ClearError();
    p1.Output(QStringLiteral("x"));
    EXPECT_EQ(p1.ErrNumber(), 8012);
    p1.ClearError();
    p1.setSettings(QStringLiteral("fast"));
    EXPECT_EQ(p1.ErrNumber(), 380);
    EXPECT_EQ(p1.Settings(), QStringLiteral("9600,n,8,1"));
}

TEST_F(Platform, SimulatedLinePacesBytesAtTenBitTimes) {
    ScriptedPeer peer;
    PortMap::instance().attachPeer(1, &peer);
    CommControl p1;
    p1.setCommPort(1);
    p1.setSettings(QStringLiteral("19200,n,8,1"));
    p1.setPortOpen(true);
    ASSERT_TRUE(p1.PortOpen());
    const qint64 start = Clock::instance().nowUs();
    p1.OutputBytes(QByteArray(192, 'x'));
    EXPECT_EQ(p1.OutBufferCount(), 192);
    while (peer.heard().size() < 192)
        DoEvents();
    // 192 bytes of ten bits at 19200 baud: 100 ms.
    EXPECT_NEAR(double(Clock::instance().nowUs() - start), 100'000.0, 200.0);
    EXPECT_EQ(p1.OutBufferCount(), 0);
    p1.setPortOpen(false);
    PortMap::instance().setPorts({});
}

// The far end of a line that notes the clock's time at each byte it receives.
class StampingPeer : public LinePeer {
public:
    void bytesArrived(const QByteArray& bytes) override {
        for (qsizetype i = 0; i < bytes.size(); ++i)
            times.push_back(Clock::instance().nowUs());
    }
    std::vector<qint64> times;
};

// A line at `baud` to a stamping peer, opened at `start`.
struct StampedLine {
    StampedLine(int baud, Handshake handshake) : bt(SimulatedLine::byteTimeUs(baud)) {
        line.open(LineSettings{baud, handshake}, nullptr);
    }
    ~StampedLine() { line.close(); }
    StampingPeer peer;
    SimulatedLine line{&peer};
    qint64 bt;
    qint64 start = Clock::instance().nowUs();
};

TEST_F(Platform, SimulatedLineCountsAByteAsSentWhenItStarts) {
    StampedLine l(19200, Handshake::None);
    Clock& c = Clock::instance();
    l.line.write(QByteArray(3, 'x'));
    EXPECT_EQ(l.line.outBufferCount(), 3);
    c.advanceBy(0); // the first byte goes onto the wire: the UART holds it, the count does not
    EXPECT_EQ(l.line.outBufferCount(), 2);
    EXPECT_TRUE(l.peer.times.empty());
    c.advanceBy(l.bt);
    EXPECT_EQ(l.line.outBufferCount(), 1);
    EXPECT_EQ(l.peer.times, std::vector<qint64>{l.start + l.bt});
    c.advanceBy(l.bt);
    EXPECT_EQ(l.line.outBufferCount(), 0); // the last byte is on its way
    EXPECT_EQ(l.peer.times.size(), 2u);
    c.advanceBy(l.bt);
    EXPECT_EQ(l.peer.times,
              (std::vector<qint64>{l.start + l.bt, l.start + 2 * l.bt, l.start + 3 * l.bt}));
}

TEST_F(Platform, ABlockWrittenWithinAByteOfTheDrainFollowsWithoutAGap) {
    StampedLine l(57600, Handshake::Rts);
    Clock& c = Clock::instance();
    l.line.write(QByteArray(100, 'a'));
    ASSERT_TRUE(c.runUntil([&] { return l.line.outBufferCount() == 0; }, 1'000'000));
    EXPECT_EQ(c.nowUs(), l.start + 99 * l.bt);
    // A program that wakes half a byte late still finds the last byte on the wire.
    c.advanceBy(l.bt / 2);
    l.line.write(QByteArray(100, 'b'));
    ASSERT_TRUE(c.runUntil([&] { return l.peer.times.size() == 200; }, 1'000'000));
    EXPECT_EQ(l.peer.times.back(), l.start + 200 * l.bt);
}

TEST_F(Platform, OnTheWallClockEachByteArrivesStampedWithItsOwnTime) {
    Clock& c = Clock::instance();
    c.setVirtual(false);
    std::vector<qint64> times;
    qint64 bt = 0;
    {
        StampedLine l(115200, Handshake::None);
        bt = l.bt;
        l.line.write(QByteArray(300, 'z'));
        while (l.peer.times.size() < 300)
            DoEvents();
        times = l.peer.times;
    }
    c.setVirtual(true);
    // However late each wake-up came, the bytes keep the line's timetable.
    for (size_t i = 1; i < times.size(); ++i)
        ASSERT_EQ(times[i] - times[i - 1], bt) << "byte " << i;
}

TEST_F(Platform, ClockAtNamesItsMomentUntilAYieldReadsTheClock) {
    Clock& c = Clock::instance();
    const qint64 now = c.nowUs();
    qint64 inside = -1;
    {
        const Clock::At at(now - 500);
        EXPECT_EQ(c.nowUs(), now - 500);
        c.scheduleIn(0, [&] { inside = c.nowUs(); }); // due 500 us ago: runs at the next yield
        DoEventsOnce();
        EXPECT_EQ(c.nowUs(), now - 500);
    }
    EXPECT_EQ(inside, now);
    EXPECT_EQ(c.nowUs(), now);
}

TEST_F(Platform, SimulatedLineHoldsOutputWhileCtsIsLow) {
    ScriptedPeer peer;
    PortMap::instance().attachPeer(1, &peer);
    CommControl p1;
    p1.setCommPort(1);
    p1.setSettings(QStringLiteral("57600,n,8,1"));
    p1.setHandshaking(2);
    p1.setRThreshold(1);
    p1.setPortOpen(true);
    int ctsEvents = 0;
    QObject::connect(&p1, &CommControl::OnComm, [&] {
        if (p1.CommEvent() == comEvCTS)
            ++ctsEvents;
    });
    SimulatedLine* line = PortMap::instance().simulatedLine(1);
    line->peerSetCts(false);
    EXPECT_FALSE(p1.CTSHolding());
    p1.OutputBytes(QByteArray(10, 'y'));
    Clock::instance().advanceBy(1000'000);
    EXPECT_TRUE(peer.heard().isEmpty());
    EXPECT_EQ(p1.OutBufferCount(), 10);
    line->peerSetCts(true);
    while (peer.heard().size() < 10)
        DoEvents();
    EXPECT_EQ(ctsEvents, 2);
    p1.setPortOpen(false);
    PortMap::instance().setPorts({});
}

TEST_F(Platform, BytesAtTheWrongRateArriveAsNoiseNeverAsAFrame) {
    ScriptedPeer peer;
    peer.setBaud(57600);
    PortMap::instance().attachPeer(1, &peer);
    CommControl p1;
    p1.setCommPort(1);
    p1.setSettings(QStringLiteral("19200,n,8,1"));
    p1.setPortOpen(true);
    p1.OutputBytes(QByteArray("\x02"
                              "2003A1\0\x03",
                              9));
    while (peer.heard().size() < 9)
        DoEvents();
    EXPECT_TRUE(peer.frames().isEmpty());
    EXPECT_FALSE(peer.heard().contains('\x02'));
    p1.setPortOpen(false);
    PortMap::instance().setPorts({});
}

// The save dialog asks nothing about an existing file: the routine that wanted the name asks
// its own question, and a No there leaves the routine rather than going back to the dialog.
TEST_F(Platform, SaveDialogAsksNoOverwriteQuestionOfItsOwn) {
    InstallPlatform(nullptr); // the real dialogs
    bool seen = false, confirms = true;
    std::function<void()> look = [&] {
        auto* d = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!d) {
            QTimer::singleShot(10, look);
            return;
        }
        seen = true;
        confirms = !d->testOption(QFileDialog::DontConfirmOverwrite);
        d->reject();
    };
    QTimer::singleShot(0, look);
    EXPECT_TRUE(SaveFileDialog(QStringLiteral("Save As"), QString(),
                               QStringLiteral("Gamma Files (*.gma)|*.gma"))
                    .isEmpty());
    EXPECT_TRUE(seen);
    EXPECT_FALSE(confirms);
    InstallScriptedPlatform();
}

} // namespace
