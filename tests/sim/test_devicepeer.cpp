// The emulated device on the in-process line, under the virtual clock: pace, rates, CTS during a
// raw transfer, a cut line, and the device the program builds for a "sim" port.

#include "DeviceHarness.h"
#include "DevicePeer.h"
#include "common/CoreApp.h"

#include "platform/clock/Clock.h"
#include "platform/serial/SimulatedLine.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace vorix::sim;
using namespace vorix::sim::test;
using telvo::platform::Clock;
using telvo::platform::Handshake;
using telvo::platform::LineSettings;
using telvo::platform::SimulatedLine;

namespace {

class OnTheLine : public ::testing::Test {
protected:
    void SetUp() override {
        telvo::test::TestCoreApp();
        Clock::instance().setVirtual(true);
    }
    void TearDown() override {
        line.reset();
        peer.reset();
    }

    void attach(const DeviceOptions& o = {}, int hostBaud = 19200) {
        peer = std::make_unique<DevicePeer>(
            std::make_unique<Device>(SampleIni(), o, Clock::instance().nowUs()));
        line = std::make_unique<SimulatedLine>(peer.get());
        QObject::connect(line.get(), &SimulatedLine::received,
                         [this] { rx.append(line->readAll()); });
        QObject::connect(line.get(), &SimulatedLine::ctsChanged, [this] {
            if (!line->cts())
                ++ctsDrops;
        });
        QString error;
        ASSERT_EQ(line->open(LineSettings{hostBaud, Handshake::Rts}, &error), 0);
    }
    bool runUntil(const std::function<bool()>& cond, qint64 limitUs) {
        return Clock::instance().runUntil(cond, limitUs);
    }
    void runFor(qint64 us) { Clock::instance().advanceBy(us); }
    // What the utility's transfer does: 100-byte blocks, each drained before the next.
    bool sendBlocks(const QByteArray& image) {
        for (qsizetype at = 0; at < image.size(); at += 100) {
            line->write(image.mid(at, 100));
            if (!runUntil([this] { return line->outBufferCount() == 0; }, 5'000'000))
                return false;
        }
        return true;
    }
    bool gotFrame() const { return rx.contains('\x03'); }

    std::unique_ptr<DevicePeer> peer;
    std::unique_ptr<SimulatedLine> line;
    QByteArray rx;
    int ctsDrops = 0;
};

TEST_F(OnTheLine, QueryIsAnsweredAtTheLinesPace) {
    attach();
    const qint64 t0 = Clock::instance().nowUs();
    line->write(Query("A1"));
    ASSERT_TRUE(runUntil([this] { return gotFrame(); }, 1'000'000));
    EXPECT_EQ(rx, DataReply("A1", "1"));
    // 9 bytes out and 12 back at 19200, ten bit times each, and the device's 2 ms.
    const qint64 took = Clock::instance().nowUs() - t0;
    EXPECT_GE(took, 21 * SimulatedLine::byteTimeUs(19200) + 2000);
    EXPECT_LT(took, 21 * SimulatedLine::byteTimeUs(19200) + 5000);
}

TEST_F(OnTheLine, HostAtAnotherRateGetsNoiseAndNeverAFrame) {
    attach({}, 57600);
    line->write(Query("A1"));
    runFor(1'000'000);
    EXPECT_FALSE(rx.contains('\x02') || rx.contains('\x03'));
    EXPECT_EQ(peer->device().framesReceived(), 0);
}

TEST_F(OnTheLine, SpeedChangeAcknowledgedAtTheNewRateIsLostAtTheOld) {
    attach();
    line->write(Set("A3", "6"));
    runFor(200'000);
    EXPECT_EQ(peer->device().baud(), 57600);
    EXPECT_FALSE(rx.contains('\x03'));
    EXPECT_FALSE(rx.isEmpty()); // the acknowledgement, as noise
    rx.clear();
    line->apply(LineSettings{57600, Handshake::Rts});
    line->write(Query("A3"));
    ASSERT_TRUE(runUntil([this] { return gotFrame(); }, 1'000'000));
    EXPECT_EQ(rx, DataReply("A3", "6"));
}

TEST_F(OnTheLine, SpeedChangeAcknowledgedAtTheOldRateArrivesWhole) {
    DeviceOptions o;
    o.ackAtOldRate = true;
    attach(o);
    line->write(Set("A3", "6"));
    ASSERT_TRUE(runUntil([this] { return gotFrame(); }, 1'000'000));
    EXPECT_EQ(rx, AckReply());
    runFor(10'000);
    EXPECT_EQ(peer->device().baud(), 57600);
}

TEST_F(OnTheLine, ReplyAtTheWrongRateIsNoise) {
    DeviceOptions o;
    o.faults.replyBaud = 38400;
    attach(o);
    line->write(Query("A1"));
    runFor(500'000);
    EXPECT_EQ(peer->device().framesReceived(), 1);
    EXPECT_EQ(rx.size(), DataReply("A1", "1").size());
    EXPECT_FALSE(rx.contains('\x03'));
}

TEST_F(OnTheLine, RawTransferIsPacedByCtsAndTheDeviceTakesTheImageWhole) {
    attach();
    line->write(Set("A3", "6"));
    runFor(100'000);
    line->apply(LineSettings{57600, Handshake::Rts});
    rx.clear();
    line->write(Set("AD", "1"));
    ASSERT_TRUE(runUntil([this] { return rx.endsWith("Load frk File now."); }, 1'000'000));
    rx.clear();

    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.40"), 20'000);
    ASSERT_TRUE(sendBlocks(image));
    ASSERT_TRUE(runUntil([this] { return rx.contains("Verify OK"); }, 1'000'000));
    EXPECT_EQ(ctsDrops, 20);                                   // one per page of 1024 bytes
    EXPECT_EQ(line->bytesDelivered(), 11 + 11 + image.size()); // two sets, then the image
    EXPECT_EQ(peer->device().loader().stats().accepted, 1);

    // The reboot, then the new firmware answers at the transfer speed.
    runFor(8'100'000);
    rx.clear();
    line->write(Query("A9"));
    ASSERT_TRUE(runUntil([this] { return gotFrame(); }, 1'000'000));
    EXPECT_EQ(rx, DataReply("A9", "1.40"));
}

TEST_F(OnTheLine, CutLineLeavesTheHostsBlockInItsBuffer) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 250;
    attach(o);
    line->write(Set("AD", "1"));
    ASSERT_TRUE(runUntil([this] { return rx.endsWith("Load frk File now."); }, 1'000'000));
    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.40"), 2000);
    for (int block = 0; block < 3; ++block) {
        line->write(image.mid(qsizetype(block) * 100, 100));
        runUntil([this] { return line->outBufferCount() == 0; }, 1'000'000);
    }
    EXPECT_TRUE(line->isCut());
    EXPECT_FALSE(line->cts());
    EXPECT_EQ(peer->device().loader().stats().bytes, 251);
    runFor(5'000'000);
    EXPECT_GT(line->outBufferCount(), 0); // nothing moves while CTS is low
}

TEST_F(OnTheLine, PowerCycleThroughThePeerRestartsTheDevice) {
    DeviceOptions o;
    o.startStandby = true;
    attach(o);
    line->write(Set("A1", "1"));
    runFor(100'000);
    EXPECT_TRUE(peer->device().powered());
    peer->powerCycle();
    EXPECT_FALSE(peer->device().powered());
}

TEST_F(OnTheLine, DefaultPeerReadsTheProgramsIniAndTheOptionsOfTheEnvironment) {
    QTemporaryDir home;
    QFile ini(QDir(home.path()).filePath(QStringLiteral("telvo.INI")));
    ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
    ini.write(SampleIni().join(QLatin1Char('\n')).toUtf8());
    ini.close();
    qputenv("TELVO_HOME", home.path().toUtf8());
    qputenv("VORIX_SIM_OPTIONS", "--firmware 1.55 --standby --baud 38400");
    auto made = MakeDefaultPeer(1);
    qunsetenv("VORIX_SIM_OPTIONS");
    qunsetenv("TELVO_HOME");
    auto* dp = dynamic_cast<DevicePeer*>(made.get());
    ASSERT_NE(dp, nullptr);
    EXPECT_EQ(dp->device().firmwareVersion(), QStringLiteral("1.55"));
    EXPECT_FALSE(dp->device().powered());
    EXPECT_EQ(dp->baud(), 38400);
    EXPECT_TRUE(dp->device().settings().knows("B1"));
}

} // namespace
