// The emulated boot loader: its words, its pace, its spinner and CTS, good and bad images, the
// reboot, and the loader's faults; and the sample images the emulator makes.

#include "DeviceHarness.h"

#include <gtest/gtest.h>
#include <memory>

using namespace vorix::sim;
using namespace vorix::sim::test;

namespace {

const QByteArray kAck = AckReply();

class Loader : public ::testing::Test {
protected:
    // The utility's way in: the transfer speed first, then the update request.
    void start(const DeviceOptions& o = {}) {
        h = std::make_unique<Harness>(o);
        ASSERT_EQ(h->exchange(Set("A3", "6")), kAck);
        const QByteArray said = h->exchange(Set("AD", "1"), 200'000);
        ASSERT_TRUE(said.startsWith(kAck));
        ASSERT_TRUE(said.endsWith("Load frk File now.")) << said.toStdString();
        ASSERT_EQ(h->dev.mode(), Device::Mode::Loader);
    }
    Device& dev() { return h->dev; }
    void stream(const QByteArray& bytes) { h->stream(bytes, 57600); }
    // Lets the loader finish what it has, collecting its words.
    QByteArray settle(qint64 us = 100'000) {
        h->run(us);
        h->output.append(h->dev.takeOutput());
        return h->output;
    }
    static int spinners(const QByteArray& text) {
        int n = 0;
        for (qsizetype i = 0; i + 1 < text.size(); ++i)
            if (QByteArray("\\|/-").contains(text[i]) && text[i + 1] == '\b')
                ++n;
        return n;
    }

    std::unique_ptr<Harness> h;
};

TEST_F(Loader, BannerEndsWithTheWordsTheUtilityWaitsFor) {
    EXPECT_TRUE(BootLoader::Banner(QStringLiteral("Gorda")).endsWith("Load frk File now."));
    EXPECT_TRUE(BootLoader::Banner(QStringLiteral("Gorda")).toLower().contains("frk file now"));
}

TEST_F(Loader, BeforeTheImageOnlyTheSpeedCommandIsHeard) {
    start();
    EXPECT_TRUE(h->exchange(Query("A9")).isEmpty());
    EXPECT_TRUE(h->exchange(Set("B1", "3")).isEmpty());
    h->feed(Set("A3", "4"));
    ASSERT_TRUE(h->runUntilOutput());
    EXPECT_EQ(dev().baud(), 19200);
    EXPECT_EQ(dev().takeOutput(), kAck);
    EXPECT_EQ(dev().loader().state(), BootLoader::State::Waiting);
    h->stream(MakeFirmwareImage(QStringLiteral("1.30"), 1500), 19200);
    h->run(9'000'000);
    EXPECT_EQ(dev().loader().stats().accepted, 1);
    EXPECT_EQ(dev().baud(), 19200); // the loader's rate is the rate after the reboot
}

TEST_F(Loader, GoodImageIsWrittenPageByPageThenTheDeviceRebootsIntoIt) {
    start();
    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.30"), 5000);
    stream(image);
    const QByteArray said = settle();
    // Five pages of 1024 bytes or less, CTS low for each, a spinner and backspace after each.
    EXPECT_EQ(h->ctsDrops, 5);
    EXPECT_EQ(spinners(said), 5);
    EXPECT_TRUE(said.endsWith("\r\nVerify OK, version 1.30. Rebooting.\r\n")) << said.toStdString();
    EXPECT_EQ(dev().loader().stats().accepted, 1);
    EXPECT_EQ(dev().mode(), Device::Mode::Rebooting);

    h->run(7'900'000);
    EXPECT_EQ(dev().mode(), Device::Mode::Rebooting);
    h->run(200'000);
    EXPECT_EQ(dev().mode(), Device::Mode::Running);
    EXPECT_EQ(dev().baud(), 57600); // back at the rate the loader ran at
    EXPECT_EQ(h->exchange(Query("A9")), DataReply("A9", "1.30"));
}

TEST_F(Loader, LoadWipesTheSettingsUnlessToldToKeepThem) {
    h = std::make_unique<Harness>();
    h->exchange(Set("B1", "10"));
    h->exchange(Set("AD", "1"), 200'000);
    h->stream(MakeFirmwareImage(QStringLiteral("1.25"), 2000), 19200);
    h->run(9'000'000);
    dev().takeOutput();
    EXPECT_EQ(dev().baud(), 19200);
    EXPECT_EQ(h->exchange(Query("B1")), DataReply("B1", "0"));

    DeviceOptions keep;
    keep.keepSettingsOnLoad = true;
    h = std::make_unique<Harness>(keep);
    h->exchange(Set("B1", "10"));
    h->exchange(Set("AD", "1"), 200'000);
    h->stream(MakeFirmwareImage(QStringLiteral("1.25"), 2000), 19200);
    h->run(9'000'000);
    dev().takeOutput();
    EXPECT_EQ(h->exchange(Query("B1")), DataReply("B1", "10"));
}

TEST_F(Loader, RebootDelayAndRateAreOptions) {
    DeviceOptions o;
    o.rebootDelayUs = 1'000'000;
    o.rebootBaud = 19200;
    start(o);
    stream(MakeFirmwareImage(QStringLiteral("1.31"), 1500));
    settle();
    h->run(1'000'000);
    EXPECT_EQ(dev().mode(), Device::Mode::Running);
    EXPECT_EQ(dev().baud(), 19200);
}

TEST_F(Loader, BadChecksumFailsWithTheWordsTheUtilityLooksFor) {
    start();
    QByteArray image = MakeFirmwareImage(QStringLiteral("1.30"), 3000);
    image[2500] = char(image[2500] ^ 0x55);
    stream(image);
    const QByteArray said = settle();
    EXPECT_TRUE(said.endsWith("\r\nFailure: checksum error. Please restart.\r\n"))
        << said.toStdString();
    EXPECT_TRUE(said.contains("Failure") && said.contains("restart."));
    EXPECT_FALSE(dev().firmwareValid()); // pages were written: the old firmware is gone
    EXPECT_EQ(dev().mode(), Device::Mode::Loader);
    EXPECT_EQ(dev().loader().stats().failures, 1);

    // After a quiet moment the prompt is back, and a good image goes in.
    h->run(600'000);
    EXPECT_TRUE(dev().takeOutput().endsWith("Load frk File now."));
    h->output.clear();
    stream(MakeFirmwareImage(QStringLiteral("1.30"), 3000));
    EXPECT_TRUE(settle().contains("Verify OK"));
}

TEST_F(Loader, WhatIsNoImageFailsAtOnceAndLeavesTheFirmware) {
    start();
    stream("This is not firmware at all");
    const QByteArray said = settle();
    EXPECT_TRUE(said.contains("\r\nFailure: not a firmware image. Please restart.\r\n"));
    EXPECT_EQ(dev().loader().stats().bytes, 4);
    EXPECT_TRUE(dev().firmwareValid());
    dev().powerCycle(h->now);
    EXPECT_EQ(dev().mode(), Device::Mode::Running);
    EXPECT_EQ(dev().baud(), 19200);
}

TEST_F(Loader, ImageForAnotherModelIsRefused) {
    start();
    stream(MakeFirmwareImage(QStringLiteral("1.30"), 3000, QStringLiteral("Hesta")));
    EXPECT_TRUE(settle().contains("Failure: image is for another model. Please restart."));
}

TEST_F(Loader, ImageForThisModelIsTaken) {
    start();
    stream(MakeFirmwareImage(QStringLiteral("1.30"), 3000, QStringLiteral("gorda")));
    EXPECT_TRUE(settle().contains("Verify OK"));
}

TEST_F(Loader, RestartRightAfterAFailureIsFoundByItsMagic) {
    DeviceOptions o;
    o.faults.failAtImageByte = 2100;
    start(o);
    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.30"), 4000);
    stream(image.left(2200)); // the host finishes its block before it sees the words
    EXPECT_TRUE(settle(0).contains("Failure: transfer error at byte 2100. Please restart."));
    EXPECT_EQ(dev().loader().stats().bytes, 2101);
    h->output.clear();
    stream(image); // at once: no quiet line, no new banner
    EXPECT_TRUE(settle().contains("Verify OK"));
    EXPECT_EQ(dev().loader().stats().failures, 1);
}

TEST_F(Loader, FailureAtByteCanStrikeEveryAttempt) {
    DeviceOptions o;
    o.faults.failAtImageByte = 100;
    o.faults.failTimes = 0;
    start(o);
    const QByteArray image = MakeFirmwareImage(QStringLiteral("1.30"), 1000);
    for (int i = 0; i < 3; ++i) {
        stream(image);
        settle(600'000);
    }
    EXPECT_EQ(dev().loader().stats().failures, 3);
    EXPECT_EQ(dev().loader().stats().accepted, 0);
}

TEST_F(Loader, StoppedSpinnerShowsNothing) {
    DeviceOptions o;
    o.faults.spinnerStopped = true;
    start(o);
    stream(MakeFirmwareImage(QStringLiteral("1.30"), 3000));
    const QByteArray said = settle();
    EXPECT_EQ(spinners(said), 0);
    EXPECT_TRUE(said.contains("Verify OK"));
}

TEST_F(Loader, CtsStallHoldsTheLineForGood) {
    DeviceOptions o;
    o.faults.ctsStallAtImageByte = 1500;
    start(o);
    stream(MakeFirmwareImage(QStringLiteral("1.30"), 4000));
    h->run(60'000'000);
    EXPECT_FALSE(dev().cts());
    EXPECT_EQ(dev().loader().stats().bytes, 1501);
    EXPECT_EQ(dev().nextWakeUs(), -1);
}

TEST_F(Loader, CutLineGoesDeadAtTheByte) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 1500;
    start(o);
    stream(MakeFirmwareImage(QStringLiteral("1.30"), 4000));
    settle();
    EXPECT_TRUE(dev().lineCut());
    EXPECT_FALSE(dev().cts());
    EXPECT_EQ(dev().loader().stats().bytes, 1501);
    // A power cycle mends the cable: the loader shows its prompt again (the firmware is gone),
    // and the fault doesn't strike twice, so the next image goes through whole.
    h->output.clear();
    dev().powerCycle(h->now);
    EXPECT_FALSE(dev().lineCut());
    EXPECT_TRUE(settle().endsWith("Load frk File now."));
    stream(MakeFirmwareImage(QStringLiteral("1.31"), 4000));
    settle(1'000'000);
    EXPECT_FALSE(dev().lineCut());
    EXPECT_EQ(dev().loader().stats().accepted, 1);
}

TEST_F(Loader, PowerCycleWithoutFirmwareComesUpInTheLoaderAtItsRate) {
    start();
    QByteArray image = MakeFirmwareImage(QStringLiteral("1.30"), 3000);
    image[2999] = char(image[2999] ^ 1);
    stream(image);
    settle(1'000'000);
    dev().takeOutput();
    dev().powerCycle(h->now);
    EXPECT_EQ(dev().mode(), Device::Mode::Loader);
    EXPECT_EQ(dev().baud(), 57600);
    EXPECT_TRUE(dev().takeOutput().endsWith("Load frk File now."));
}

// ---- the sample images

TEST(FirmwareImage, HeaderCarriesLengthChecksumVersionAndModel) {
    const QByteArray image =
        MakeFirmwareImage(QStringLiteral("1.24"), 65536, QStringLiteral("Gorda"));
    ASSERT_EQ(image.size(), 65536);
    EXPECT_TRUE(image.startsWith("VXFK"));
    QString why;
    const auto h = CheckFirmwareImage(image, &why);
    ASSERT_TRUE(h) << why.toStdString();
    EXPECT_EQ(h->bodyLength, 65536u - 32u);
    EXPECT_EQ(h->version, "1.24");
    EXPECT_EQ(h->model, "Gorda");
}

TEST(FirmwareImage, VersionsDifferAndDamageIsFound) {
    const QByteArray a = MakeFirmwareImage(QStringLiteral("1.23"), 4096);
    const QByteArray b = MakeFirmwareImage(QStringLiteral("1.24"), 4096);
    EXPECT_NE(a.mid(32), b.mid(32));
    EXPECT_EQ(a, MakeFirmwareImage(QStringLiteral("1.23"), 4096));
    QString why;
    QByteArray bad = a;
    bad[1000] = char(bad[1000] ^ 0x80);
    EXPECT_FALSE(CheckFirmwareImage(bad, &why));
    EXPECT_EQ(why, QStringLiteral("checksum error"));
    EXPECT_FALSE(CheckFirmwareImage(a.left(4000), &why));
    EXPECT_EQ(why, QStringLiteral("image truncated"));
    EXPECT_FALSE(CheckFirmwareImage("MZ" + a.mid(2), &why));
    EXPECT_EQ(why, QStringLiteral("not a firmware image"));
}

TEST(FirmwareImage, SmallestImageIsTheHeaderAlone) {
    const QByteArray image = MakeFirmwareImage(QStringLiteral("2.00"), 10);
    EXPECT_EQ(image.size(), FirmwareHeader::kSize);
    EXPECT_TRUE(CheckFirmwareImage(image));
}

} // namespace
