// The utility's own exchange (SendCommand, SendVerified, the receive handler) against the
// emulated device over the in-process line, under the virtual clock: no scripted answers.

#include "common/SettingsFixture.h"

#include "Device.h"
#include "Firmware.h"
#include "Frames.h"

#include "core/link/Protocol.h"
#include "core/text/MinorSubs.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

using namespace telvo;
using vorix::sim::Device;
using vorix::sim::DeviceOptions;

namespace {

const QString kNul = QString(QChar(0));

QString Latin(const QByteArray& b) {
    return QString::fromLatin1(b);
}

// The sample's device with the port open on it, nothing read of it yet.
class RoundTrip : public test::DeviceRun {
protected:
    Device& attachDevice(const DeviceOptions& o = {}, int baud = 19200) {
        Device& device = m_device.attach(sampleIni(), o);
        openPort(1, baud);
        return device;
    }
    core::LinkState& link() { return ui::Link(); }
    QString value() const { return core::ReplyValue(ui::Link().Reply); }
    bool logHas(const QString& line) const { return logLines().contains(line); }
};

TEST_F(RoundTrip, EveryValueKindOfTheSampleIniComesBackAsTheDeviceHoldsIt) {
    Device& dev = attachDevice();
    struct Row {
        const char* id;
        const char* sent;
        const char* held;
    };
    const Row rows[] = {
        {"B1", "-12", "-12"}, {"B6", "2", "2"},       {"C1", "3", "3"},     {"C5", "2.50", "2.50"},
        {"65", "2.2", "2.2"}, {"67", "1.25", "1.25"}, {"6E", "120", "120"}, {"D1", "60", "60"},
        {"D3", "4", "4"},     {"D4", "1f", "1F"},     {"D5", "Q", "Q"},     {"60", "2", "2"},
        {"4C", "8", "8"},     {"E1", "5", "5"},       {"E0", "3", "3"},
    };
    for (const Row& r : rows) {
        const QString id = QLatin1String(r.id);
        ui::SetDevice(id, QLatin1String(r.sent));
        EXPECT_EQ(link().Reply, Latin(vorix::sim::AckReply())) << r.id;
        ui::QueryDevice(id);
        EXPECT_EQ(core::ReplyType(link().Reply), QStringLiteral("21")) << r.id;
        EXPECT_EQ(value(), QLatin1String(r.held)) << r.id;
        EXPECT_EQ(dev.settings().value(r.id), QByteArray(r.held)) << r.id;
    }
    EXPECT_TRUE(logHas(QStringLiteral("Rply: ") +
                       core::Printable(Latin(vorix::sim::DataReply("D5", "Q")))));
}

TEST_F(RoundTrip, SendVerifiedSetAndQuerySucceed) {
    attachDevice();
    EXPECT_TRUE(ui::SendVerified(QStringLiteral("30"),
                                 QStringLiteral("B2") + kNul + QStringLiteral("7") + kNul));
    EXPECT_TRUE(ui::SendVerified(QStringLiteral("20"), QStringLiteral("B2") + kNul));
    EXPECT_EQ(value(), QStringLiteral("7"));
}

TEST_F(RoundTrip, PowerQueryReportsStandbyUntilThePowerCommand) {
    DeviceOptions o;
    o.startStandby = true;
    attachDevice(o);
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_EQ(link().PowerState, QStringLiteral("STANDBY"));
    ui::SetDevice(QStringLiteral("A1"), QStringLiteral("1"));
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
}

TEST_F(RoundTrip, RangeErrorIsLoggedWithItsText) {
    attachDevice();
    ui::SetDevice(QStringLiteral("B1"), QStringLiteral("99"));
    EXPECT_EQ(core::ReplyErrorCode(link().Reply), 4);
    EXPECT_TRUE(
        logHas(QStringLiteral("Err:  ") + core::Printable(Latin(vorix::sim::ErrorReply(4)))));
    EXPECT_TRUE(logHas(core::DeviceErrorText(4)));
}

TEST_F(RoundTrip, ReadOnlyAndUnknownSettingsAreRefused) {
    attachDevice();
    ui::SetDevice(QStringLiteral("DA"), QStringLiteral("1"));
    EXPECT_EQ(core::ReplyErrorCode(link().Reply), 10);
    ui::QueryDevice(QStringLiteral("ZZ"));
    EXPECT_EQ(core::ReplyErrorCode(link().Reply), 3);
    EXPECT_TRUE(logHas(core::DeviceErrorText(3)));
}

TEST_F(RoundTrip, QueryOfAWriteOnlySettingIsABadCommand) {
    attachDevice();
    ui::QueryDevice(QStringLiteral("53"));
    EXPECT_TRUE(link().BadCommand);
}

TEST_F(RoundTrip, SpeedChangeAcknowledgedAtTheNewRateIsFollowedByThePort) {
    Device& dev = attachDevice();
    ui::SetDevice(QStringLiteral("A3"), QStringLiteral("6"));
    EXPECT_EQ(dev.baud(), 57600);
    EXPECT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_TRUE(logHas(QStringLiteral("Application Port settings changed to 57600")));
    EXPECT_EQ(link().Reply, Latin(vorix::sim::AckReply()));
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("6"));
}

TEST_F(RoundTrip, SpeedChangeAcknowledgedAtTheOldRateLeavesThePortWhereItIs) {
    DeviceOptions o;
    o.ackAtOldRate = true;
    Device& dev = attachDevice(o);
    ui::SetDevice(QStringLiteral("A3"), QStringLiteral("6"));
    EXPECT_FALSE(link().TimedOut);
    EXPECT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("19200"));
    waitUntil([&dev] { return dev.baud() == 57600; }, 1000);
    EXPECT_EQ(dev.baud(), 57600);
}

TEST_F(RoundTrip, EchoIsLoggedAndTheAnswerBehindItCounts) {
    DeviceOptions o;
    o.echo = true;
    attachDevice(o);
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_TRUE(logHas(QStringLiteral("Echo: (STX)2003A1(NUL)(ETX)")));
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
}

TEST_F(RoundTrip, GarbageBetweenFramesIsDropped) {
    DeviceOptions o;
    o.faults.garbageBytes = 9;
    attachDevice(o);
    ui::QueryDevice(QStringLiteral("A9"));
    EXPECT_EQ(value(), QStringLiteral("1.24"));
}

TEST_F(RoundTrip, SilentDeviceTimesOut) {
    DeviceOptions o;
    o.faults.silent = true;
    attachDevice(o);
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_TRUE(link().TimedOut);
    EXPECT_TRUE(logHas(QStringLiteral("Transmission Timed Out.  Transmission Timed out")));
}

TEST_F(RoundTrip, MenuKeysRestoreTheDefaults) {
    Device& dev = attachDevice();
    ui::SetDevice(QStringLiteral("B1"), QStringLiteral("20"));
    for (const char* key : {"5", "4", "4", "4", "4", "6", "4", "4", "4", "4", "4", "6"})
        ui::SetDevice(QStringLiteral("A2"), QLatin1String(key), 2);
    EXPECT_EQ(dev.settings().value("B1"), "0");
}

TEST_F(RoundTrip, BootLoaderWordsSpinnerAndFailureReachTheReceiveHandler) {
    Device& dev = attachDevice();
    ui::SetState(QStringLiteral("Waiting"));
    ui::SetDevice(QStringLiteral("AD"), QStringLiteral("1"));
    ASSERT_TRUE(waitUntil([this] { return link().LoaderReady; }, 2000));
    EXPECT_EQ(dev.mode(), Device::Mode::Loader);

    ui::SetState(QStringLiteral("OC Loading"));
    QByteArray image = vorix::sim::MakeFirmwareImage(QStringLiteral("1.30"), 2500);
    image[2000] = char(image[2000] ^ 0x20);
    platform::CommControl& p1 = *ui::scl().P1;
    for (qsizetype at = 0; at < image.size(); at += 100) {
        p1.OutputBytes(image.mid(at, 100));
        ASSERT_TRUE(waitUntil([&p1] { return p1.OutBufferCount() == 0; }, 5000));
    }
    ASSERT_TRUE(waitUntil([this] { return link().LoaderFailed; }, 2000));
    EXPECT_GE(link().SpinnerCount, 4); // two pages: a spinner and a backspace each
    EXPECT_FALSE(link().DeviceTalking);
}

TEST_F(RoundTrip, GoodImageOverTheLineRebootsIntoTheNewVersion) {
    Device& dev = attachDevice();
    ui::SetState(QStringLiteral("Waiting"));
    ui::SetDevice(QStringLiteral("AD"), QStringLiteral("1"));
    ASSERT_TRUE(waitUntil([this] { return link().LoaderReady; }, 2000));
    ui::SetState(QStringLiteral("OC Loading"));
    const QByteArray image = vorix::sim::MakeFirmwareImage(QStringLiteral("1.30"), 4000);
    platform::CommControl& p1 = *ui::scl().P1;
    for (qsizetype at = 0; at < image.size(); at += 100) {
        p1.OutputBytes(image.mid(at, 100));
        ASSERT_TRUE(waitUntil([&p1] { return p1.OutBufferCount() == 0; }, 5000));
    }
    ui::Pause(10000); // as the load waits for the reboot
    ui::QueryDevice(QStringLiteral("A9"));
    EXPECT_EQ(value(), QStringLiteral("1.30"));
    EXPECT_EQ(dev.loader().stats().accepted, 1);
    EXPECT_FALSE(link().LoaderFailed);
}

} // namespace
