// Finding the device: the port list, the search questions and modes, the probe of each rate,
// powering up, the connection with each of its endings, reopening a lost port. What a connection
// reads of the device is tested in tests/settings/test_deviceinfo.cpp.

#include "common/DriverFixture.h"

#include "app/Globals.h"
#include "config/FP.h"
#include "config/INI.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QTest>

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kFive = QStringLiteral("     ");

// ---- the port list ------------------------------------------------------------------------

TEST_F(Driver, EnumerationTriesEveryPortNumberAndCountsThoseThatOpen) {
    ports(16, {2, 5, 9});
    ui::EnumeratePorts();
    EXPECT_EQ(
        ui::G().driver.lstComPorts,
        (QStringList{QStringLiteral("COM2"), QStringLiteral("COM5"), QStringLiteral("COM9")}));
    EXPECT_TRUE(ui::G().driver.PortsEnumerated);
    EXPECT_FALSE(ui::fp().isHidden());
    EXPECT_EQ(ui::fp().Label1->text(), QStringLiteral("Number of COM Ports Found = 3"));
    EXPECT_FALSE(s().P1->PortOpen());
}

TEST_F(Driver, PortListHidesTheScanWindowAndPutsUnknownFirst) {
    ports(16, {9, 2, 5});
    ui::BuildPortList();
    EXPECT_TRUE(ui::fp().isHidden());
    QStringList items;
    for (int i = 0; i < s().lstPort->count(); ++i)
        items << s().lstPort->itemText(i);
    EXPECT_EQ(items, (QStringList{QStringLiteral("?????"), QStringLiteral("COM2"),
                                  QStringLiteral("COM5"), QStringLiteral("COM9")}));
}

TEST_F(Driver, PortNumberOfHundredSortsAsText) {
    ui::G().driver.lstComPorts = {QStringLiteral("COM2"), QStringLiteral("COM10"),
                                  QStringLiteral("COM100"), QStringLiteral("COM5"),
                                  QStringLiteral("COM11")};
    ui::BuildPortList();
    QStringList items;
    for (int i = 0; i < s().lstPort->count(); ++i)
        items << s().lstPort->itemText(i);
    EXPECT_EQ(items, (QStringList{QStringLiteral("?????"), QStringLiteral("COM2"),
                                  QStringLiteral("COM5"), QStringLiteral("COM10"),
                                  QStringLiteral("COM100"), QStringLiteral("COM11")}));
}

TEST_F(Driver, NoPortWithMaxPortsZeroEndsWithMessageBox) {
    ui::Config().MaxPorts = 0;
    EXPECT_THROW(ui::BuildPortList(), platform::ProgramEnd);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("There were no Com Ports found on this machine.")});
}

TEST_F(Driver, NoPortFoundShowsTextInScanWindowForFiveSecondsThenEnds) {
    ports(4, {});
    const qint64 t0 = platform::Clock::instance().nowMs();
    EXPECT_THROW(ui::BuildPortList(), platform::ProgramEnd);
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    EXPECT_EQ(ui::fp().Label1->text(),
              QStringLiteral("There were no Com Ports found on this machine."));
    // 2 s for the count, 5 s for the text.
    EXPECT_GE(platform::Clock::instance().nowMs() - t0, 7000);
}

TEST_F(Driver, NoPortFoundWithoutARefusedPortAddsNoReason) {
    ports(4, {});
    EXPECT_THROW(ui::BuildPortList(), platform::ProgramEnd);
    EXPECT_TRUE(ui::fp().Label2->text().isEmpty());
    EXPECT_TRUE(ui::fp().Label2->isHidden());
}

TEST(OpenFailureReason, PermissionNamesTheDeviceAndTheGroup) {
    EXPECT_EQ(platform::OpenFailureReason(8010, QStringLiteral("/dev/ttyS0")),
              QStringLiteral("/dev/ttyS0: permission denied: add your user to the dialout group "
                             "and log in again"));
}

TEST(OpenFailureReason, OtherErrorsHaveNoReason) {
    for (int n : {0, 8002, 8005, 8015})
        EXPECT_TRUE(platform::OpenFailureReason(n, QStringLiteral("/dev/ttyS0")).isEmpty()) << n;
}

// A device file the user may not open: the scan still ends with the same text, and says why
// under it and on standard error.
TEST_F(Driver, RefusedDeviceFileIsNamedWithItsReasonUnderNoPortText) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "root opens any device file; the permission check needs a plain user";
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const QString slave = QString::fromLocal8Bit(::ptsname(master));
    ASSERT_EQ(::chmod(::ptsname(master), 0), 0);
    platform::PortMap::instance().setPorts({slave, QStringLiteral("/nonexistent/telvo-port-2")});
    testing::internal::CaptureStderr();
    EXPECT_THROW(ui::BuildPortList(), platform::ProgramEnd);
    const std::string err = testing::internal::GetCapturedStderr();
    ::close(master);
    const QString why =
        slave + QStringLiteral(": permission denied: add your user to the dialout group and log "
                               "in again");
    EXPECT_EQ(ui::fp().Label1->text(),
              QStringLiteral("There were no Com Ports found on this machine."));
    EXPECT_EQ(ui::fp().Label2->text(), why);
    EXPECT_FALSE(ui::fp().Label2->isHidden());
    EXPECT_EQ(ui::fp().Label2->accessibleName(), why);
    EXPECT_NE(err.find(why.toStdString() + "\n"), std::string::npos) << err;
}

TEST_F(Driver, ConfiguredPortAndRateAreSelectedIgnoringCase) {
    ports(4, {1, 3});
    ui::BuildPortList();
    ui::Config().PortName = QStringLiteral("com3");
    ui::Config().BaudName = QStringLiteral("38400");
    ui::SelectConfiguredPort();
    EXPECT_EQ(s().lstPort->currentText(), QStringLiteral("COM3"));
    EXPECT_EQ(s().lstRate->currentText(), QStringLiteral("38400"));
    EXPECT_TRUE(s().lblWait->isHidden());
}

TEST_F(Driver, ConfiguredPortFiveOnMachineWithPortsOneAndTwoSearchesAllPorts) {
    ports(16, {1, 2});
    AnswersIdentity(dev(2));
    ui::BuildPortList();
    ui::Config().PortName = QStringLiteral("COM5");
    ui::SelectConfiguredPort();
    EXPECT_EQ(s().lstPort->currentIndex(), 0);
    EXPECT_EQ(s().lstPort->currentText(), QStringLiteral("?????"));
    ASSERT_TRUE(ui::ConnectDevice());
    const QStringList log = logLines();
    EXPECT_TRUE(log.contains(
        QStringLiteral(
            "Niether the Com Port nor the Baud rate is provided, a full Search will be done") +
        kFive));
    const auto sent = SentOn(log);
    ASSERT_GE(sent.size(), 7);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(sent[i].first, QStringLiteral("COM1"));
    EXPECT_EQ(sent[6], qMakePair(QStringLiteral("COM2"), QStringLiteral("19200")));
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM2"));
}

// ---- the four questions and the modes --------------------------------------------------------

struct ProbeCase {
    int port;
    int rate;
    const char* question;
    int mode;
};

class ProbeQuestions : public Driver, public ::testing::WithParamInterface<ProbeCase> {};

TEST_P(ProbeQuestions, AskAndGiveTheirMode) {
    const ProbeCase c = GetParam();
    ports(4, {1, 3});
    ui::BuildPortList();
    s().lstPort->setCurrentIndex(c.port);
    s().lstRate->setCurrentIndex(c.rate);
    EXPECT_EQ(ui::GetProbeMode(), c.mode);
    EXPECT_EQ(logLines(), (QStringList{QStringLiteral("Starting Subroutine GetProbeMode"),
                                       QString::fromLatin1(c.question) + kFive}));
    EXPECT_EQ(s().lblMessage->text(), QString::fromLatin1(c.question) + kFive);
}

INSTANTIATE_TEST_SUITE_P(
    Driver, ProbeQuestions,
    ::testing::Values(
        ProbeCase{0, 0,
                  "Niether the Com Port nor the Baud rate is provided, a full Search will be done",
                  0},
        ProbeCase{0, 6, "The Com Port is not provided, a search of all ports will be done at 38400",
                  1},
        ProbeCase{2, 0,
                  "A Baud Rate is not provided, a search of COM3 at all Baud Rates will be done",
                  2},
        ProbeCase{1, 2, "The Gorda will be checked to be on port COM1 @ 57600 Baud", 3}));

TEST_F(Driver, CancelledQuestionGivesModeMinusOne) {
    s().chkConfirm->setChecked(true);
    answerPrompts({false});
    EXPECT_EQ(ui::GetProbeMode(), -1);
    ASSERT_EQ(m_prompts.size(), 1);
    EXPECT_EQ(m_prompts[0],
              QStringLiteral("Confirm Operation: Niether the Com Port nor the Baud rate is "
                             "provided, a full Search will be done\r\n") +
                  QString(30, QLatin1Char(' ')) +
                  QStringLiteral(" (Click 'Continue' or 'Cancel')"));
}

struct ModeCase {
    int mode;
    QList<QPair<QString, QString>> tried;
};

QList<QPair<QString, QString>> allOf(const QStringList& ports, const QStringList& rates) {
    QList<QPair<QString, QString>> out;
    for (const QString& p : ports)
        for (const QString& r : rates)
            out.append({p, r});
    return out;
}

const QStringList kRates = {QStringLiteral("19200"), QStringLiteral("57600"),
                            QStringLiteral("4800"),  QStringLiteral("9600"),
                            QStringLiteral("14400"), QStringLiteral("38400")};
const QStringList kPorts = {QStringLiteral("COM1"), QStringLiteral("COM2"), QStringLiteral("COM3")};

class SearchModes : public Driver, public ::testing::WithParamInterface<ModeCase> {};

TEST_P(SearchModes, TryTheirPortsAndRates) {
    const ModeCase c = GetParam();
    ports(3, {1, 2, 3});
    ui::BuildPortList();
    s().lstPort->setCurrentIndex(2);
    s().lstRate->setCurrentIndex(2);
    s().txtPort->setText(QStringLiteral("COM3"));
    s().txtxfrspeed->setText(QStringLiteral("14400"));
    EXPECT_FALSE(ui::FindDevice(c.mode));
    EXPECT_EQ(SentOn(logLines()), c.tried);
    EXPECT_FALSE(s().P1->PortOpen());
}

INSTANTIATE_TEST_SUITE_P(
    Driver, SearchModes,
    ::testing::Values(ModeCase{0, allOf(kPorts, kRates)},
                      ModeCase{1, allOf(kPorts, {QStringLiteral("57600")})},
                      ModeCase{2, allOf({QStringLiteral("COM2")}, kRates)},
                      ModeCase{3, allOf({QStringLiteral("COM2")}, {QStringLiteral("57600")})},
                      ModeCase{10, allOf({QStringLiteral("COM3")}, {QStringLiteral("14400")})},
                      ModeCase{11, allOf({QStringLiteral("COM3")}, kRates)}));

TEST_F(Driver, FullSearchCostsAQuarterSecondARateOnPortsThatExist) {
    ports(16, {3, 8, 12});
    ui::BuildPortList();
    s().lstPort->setCurrentIndex(0);
    platform::Clock& clock = platform::Clock::instance();
    const qint64 t0 = clock.nowUs();
    EXPECT_FALSE(ui::FindDevice(0));
    const qint64 elapsedUs = clock.nowUs() - t0;
    EXPECT_EQ(SentOn(logLines()).size(), 18);
    // 3 ports x 6 rates x 250 ms; ports that aren't there cost nothing beyond their 100 ms.
    const qint64 floorUs = 3 * 6 * 250'000;
    EXPECT_GE(elapsedUs, floorUs);
    EXPECT_LE(elapsedUs, floorUs + 3 * 6 * 10'000);
}

TEST_F(Driver, PortThatCannotOpenShowsItsErrorForAMomentThenIsWiped) {
    ports(4, {});
    EXPECT_FALSE(ui::TryOpenPort(QStringLiteral("COM4")));
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("Port COM4 Invalid Port Number"));
    ui::G().driver.lstComPorts = {QStringLiteral("COM4")};
    ui::BuildPortList();
    EXPECT_FALSE(ui::FindDevice(0));
    EXPECT_EQ(s().lblMessage->text(), QString());
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM4"));
}

TEST_F(Driver, ListEntryWithRemarkGivesPortNameUpToFirstBlank) {
    ports(2, {2});
    AnswersIdentity(dev(2));
    s().lstPort->clear();
    s().lstPort->addItems({QStringLiteral("?????"), QStringLiteral("COM2 (USB adapter)")});
    s().lstPort->setCurrentIndex(1);
    EXPECT_TRUE(ui::FindDevice(2));
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM2"));
}

// A probe sees a write time-out of 100 ms; the port's own comes back after the search.
class TimeoutWatch : public platform::ScriptedPeer {
public:
    void bytesArrived(const QByteArray& bytes) override {
        seen << ui::scl().P1->WriteTimeout();
        ScriptedPeer::bytesArrived(bytes);
    }
    QList<int> seen;
};

class ProbeTimeouts : public Driver {
protected:
    // Outlives the line, which TearDown takes down.
    TimeoutWatch watch;
};

TEST_F(ProbeTimeouts, ProbeWritesHaveHundredMillisecondTimeoutThatIsPutBack) {
    platform::PortMap::instance().setPorts({QStringLiteral("/nonexistent/a")});
    platform::PortMap::instance().attachPeer(1, &watch);
    ui::BuildPortList();
    s().P1->setWriteTimeout(0);
    ASSERT_TRUE(ui::TryOpenPort(QStringLiteral("COM1")));
    EXPECT_EQ(ui::ProbeRates(QStringLiteral("COM1"), 1, 6), QString());
    ASSERT_FALSE(watch.seen.isEmpty());
    for (int t : watch.seen)
        EXPECT_EQ(t, 100);
    EXPECT_EQ(s().P1->WriteTimeout(), 0);
    EXPECT_FALSE(s().P1->PortOpen());

    watch.on(Query("A1"), DataReply("A1", "1"));
    EXPECT_EQ(ui::ProbeRates(QStringLiteral("COM1"), 1, 6), QStringLiteral("19200"));
    EXPECT_EQ(s().P1->WriteTimeout(), 0);
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_EQ(s().P1->Handshaking(), 2);
}

// ---- power --------------------------------------------------------------------------------

TEST_F(Driver, PowerUpDoesNothingWhenOnOrWhenEmpty) {
    auto& peer = attachPeer();
    for (const char* state : {"ON", ""}) {
        link().PowerState = QString::fromLatin1(state);
        ui::PowerUp();
    }
    EXPECT_TRUE(peer.frames().isEmpty());
    EXPECT_EQ(logLines(), (QStringList{QStringLiteral("Starting Subroutine PowerUp"),
                                       QStringLiteral("Starting Subroutine PowerUp")}));
}

TEST_F(Driver, PowerUpFromStandbySetsAndChecksUntilOn) {
    auto& peer = attachPeer();
    s().DeviceModel->setText(QStringLiteral("Gorda"));
    peer.on(Set("A1", "1"), AckReply(), 5);
    peer.on(Query("A1"), DataReply("A1", "0"), 5, 1);
    peer.on(Query("A1"), DataReply("A1", "1"), 5);
    link().PowerState = QStringLiteral("STANDBY");
    ui::PowerUp();
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
    EXPECT_EQ(peer.frames(),
              (QList<QByteArray>{Set("A1", "1"), Query("A1"), Set("A1", "1"), Query("A1")}));
    const QStringList log = logLines();
    EXPECT_EQ(log[1], QStringLiteral("Sending command to Power up Gorda") + kFive);
    EXPECT_TRUE(log.contains(QStringLiteral("Sending command to check Gorda Power state") + kFive));
}

TEST_F(Driver, PowerUpGivesUpAfterFiveRoundsWithAlert) {
    auto& peer = attachPeer();
    s().DeviceModel->setText(QStringLiteral("Gorda"));
    peer.on(Set("A1", "1"), AckReply(), 5);
    peer.on(Query("A1"), DataReply("A1", "0"), 5);
    link().PowerState = QStringLiteral("STANDBY");
    ui::PowerUp();
    EXPECT_EQ(peer.frames().size(), 10);
    EXPECT_EQ(logLines().last(), QStringLiteral("UNABLE TO POWER UP THE GORDA") + kFive);
}

// ---- connecting ----------------------------------------------------------------------------

TEST_F(Driver, FullSearchFindsDeviceOnLastPortAtLastRate) {
    ports(16, {2, 5, 9});
    dev(9).setBaud(38400);
    AnswersIdentity(dev(9));
    ui::BuildPortList();
    ui::DisableControls(QStringLiteral("ALL"));
    ASSERT_TRUE(ui::ConnectDevice());
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM9"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("38400"));
    EXPECT_EQ(s().txtOrigSpeed->text(), QStringLiteral("38400"));
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("1.24"));
    EXPECT_EQ(s().DeviceModel->text(), QStringLiteral("Gorda"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("POWERED"));
    EXPECT_TRUE(s().windowTitle().startsWith(QStringLiteral("Gorda Utility Program   v")));
    EXPECT_TRUE(s().lblWait->isHidden());
    EXPECT_TRUE(s().cmdStart->isEnabled());
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_EQ(s().P1->Baud(), 38400);
    const auto sent = SentOn(logLines());
    for (int i = 0; i < 18; ++i) {
        EXPECT_EQ(sent[i].first, QStringList({QStringLiteral("COM2"), QStringLiteral("COM5"),
                                              QStringLiteral("COM9")})[i / 6]);
        EXPECT_EQ(sent[i].second, kRates[i % 6]);
    }
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Vorix Found on COM9 Operating @ 38400 baud") + kFive));
    // The device heard only what was sent at its own rate.
    EXPECT_EQ(dev(9).frames(), (QList<QByteArray>{Query("A1"), Query("A9"), Query("A8")}));
}

TEST_F(Driver, DeviceInStandbyIsPoweredUp) {
    ports(2, {2});
    auto& d = dev(2);
    d.on(Query("A1"), DataReply("A1", "0"), 5, 1);
    d.on(Set("A1", "1"), AckReply(), 5);
    AnswersIdentity(d);
    ui::BuildPortList();
    ASSERT_TRUE(ui::ConnectDevice());
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(d.frames(), (QList<QByteArray>{Query("A1"), Query("A9"), Query("A8"), Set("A1", "1"),
                                             Query("A1")}));
}

TEST_F(Driver, DeviceThatNeverPowersUpIsLeftInStandby) {
    ports(2, {2});
    auto& d = dev(2);
    d.on(Set("A1", "1"), AckReply(), 5);
    AnswersIdentity(d, "0");
    ui::BuildPortList();
    ui::DisableControls(QStringLiteral("ALL"));
    EXPECT_FALSE(ui::ConnectDevice());
    const QStringList log = logLines();
    EXPECT_TRUE(log.contains(QStringLiteral("UNABLE TO POWER UP THE GORDA") + kFive));
    EXPECT_EQ(log.last(), QStringLiteral("Could not Power up the Gorda") + kFive);
    EXPECT_EQ(link().PowerState, QStringLiteral("STANDBY"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Standby"));
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    EXPECT_TRUE(s().cmdEnd->isEnabled());
    EXPECT_FALSE(s().cmdStart->isEnabled());
    EXPECT_TRUE(s().lblWait->isHidden());
}

TEST_F(Driver, AnswerThatLeavesPowerStateEmptyIsReportedAsNotPoweredUp) {
    ports(2, {1});
    auto& d = dev(1);
    // An acknowledgement answers the probe but tells no power state.
    d.on(Query("A1"), AckReply(), 5);
    d.on(Query("A8"), DataReply("A8", "Vorix Gorda"), 5);
    d.on(Query("A9"), DataReply("A9", "1.24"), 5);
    ui::BuildPortList();
    EXPECT_FALSE(ui::ConnectDevice());
    const QStringList log = logLines();
    EXPECT_FALSE(log.contains(QStringLiteral("UNABLE TO POWER UP THE GORDA") + kFive));
    EXPECT_EQ(log.last(), QStringLiteral("Could not Power up the Gorda") + kFive);
    EXPECT_EQ(link().PowerState, QStringLiteral("STANDBY"));
}

TEST_F(Driver, NoDeviceAtAllLeavesOpenAndEndUsable) {
    ports(16, {2, 5});
    ui::BuildPortList();
    ui::DisableControls(QStringLiteral("ALL"));
    EXPECT_FALSE(ui::ConnectDevice());
    EXPECT_EQ(logLines().last(),
              QStringLiteral("All requested Com Ports Checked, No Vorix Device Found") + kFive);
    EXPECT_TRUE(ui::App().NoDeviceFound);
    EXPECT_EQ(s().txtPort->text(), QString());
    EXPECT_EQ(s().txtCrntSpeed->text(), QString());
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Not Connected"));
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    EXPECT_TRUE(s().cmdEnd->isEnabled());
    EXPECT_TRUE(s().cmdSupport->isEnabled());
    EXPECT_TRUE(s().cmdDecodeIR->isEnabled());
    EXPECT_FALSE(s().cmdStart->isEnabled());
    EXPECT_FALSE(s().P1->PortOpen());
}

TEST_F(Driver, CancelledSearchQuestionGivesNotConnected) {
    ports(2, {1});
    ui::BuildPortList();
    s().chkConfirm->setChecked(true);
    answerPrompts({false});
    EXPECT_FALSE(ui::ConnectDevice());
    EXPECT_EQ(logLines().last(),
              QStringLiteral("Could not asctertain the Port and Speed to use to find the Vorix") +
                  kFive);
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Not Connected"));
    EXPECT_FALSE(ui::App().NoDeviceFound);
    EXPECT_TRUE(dev(1).frames().isEmpty());
    EXPECT_TRUE(s().cmdOpen->isEnabled());
}

TEST_F(Driver, CancelAtFoundQuestionReadsNothingOfTheDevice) {
    ports(2, {1});
    AnswersIdentity(dev(1));
    ui::BuildPortList();
    s().chkConfirm->setChecked(true);
    answerPrompts({true, false});
    EXPECT_FALSE(ui::ConnectDevice());
    ASSERT_EQ(m_prompts.size(), 2);
    EXPECT_TRUE(m_prompts[1].startsWith(
        QStringLiteral("Confirm Operation: Vorix Found on COM1 Operating @ 19200 baud\r\n")));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Not Connected"));
    EXPECT_EQ(dev(1).frames(), QList<QByteArray>{Query("A1")});
}

TEST_F(Driver, SimulatedConnectionDoesNotTouchSerialControl) {
    auto& peer = attachPeer(1, 19200, false);
    s().chkSim->setChecked(true);
    const QString settings = s().P1->Settings();
    const int handshaking = s().P1->Handshaking();
    const int port = s().P1->CommPort();
    EXPECT_FALSE(ui::ConnectDevice());
    EXPECT_FALSE(s().P1->PortOpen());
    EXPECT_EQ(s().P1->Settings(), settings);
    EXPECT_EQ(s().P1->Handshaking(), handshaking);
    EXPECT_EQ(s().P1->CommPort(), port);
    EXPECT_TRUE(peer.heard().isEmpty());
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM1"));
    EXPECT_EQ(s().txtOrigSpeed->text(), QStringLiteral("19200"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_EQ(s().txtxfrspeed->text(), QStringLiteral("57600"));
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("1.10"));
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_TRUE(s().cmdStart->isEnabled());
}

TEST_F(Driver, SimpleUserAlwaysGetsFullSearch) {
    ports(2, {1, 2});
    AnswersIdentity(dev(2));
    ui::BuildPortList();
    ui::Config().UserLevel = 1;
    s().lstPort->setCurrentIndex(2);
    s().lstRate->setCurrentIndex(1);
    ASSERT_TRUE(ui::ConnectDevice());
    EXPECT_EQ(ui::G().driver.ProbeMode, 0);
}

TEST_F(Driver, TransferSpeedComesFromConfigurationWhenEmpty) {
    ports(1, {1});
    AnswersIdentity(dev(1));
    ui::BuildPortList();
    ui::Config().TransferSpeed = QStringLiteral("38400");
    ASSERT_TRUE(ui::ConnectDevice());
    EXPECT_EQ(s().txtxfrspeed->text(), QStringLiteral("38400"));
}

TEST_F(Driver, OpenPortButtonConnects) {
    ports(1, {1});
    AnswersIdentity(dev(1));
    ui::BuildPortList();
    ui::EnableControls(QStringLiteral("OPEN END"));
    bool clicked = false;
    m_events.in(1, [&] {
        QTest::mouseClick(s().cmdOpen, Qt::LeftButton);
        clicked = true;
    });
    ASSERT_TRUE(waitUntil([&] { return clicked; }));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_TRUE(s().lblWait->isHidden());
    EXPECT_TRUE(s().P1->PortOpen());
}

// ---- reopening -----------------------------------------------------------------------------

TEST_F(Driver, ReopenWithUnknownPortAndFailedConnectEndsProgram) {
    ports(1, {});
    s().txtPort->clear();
    EXPECT_THROW(ui::ReopenPort(), platform::ProgramEnd);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Unable to re-open the com port.  It was never opened.\r\n"
                                         "The Port the device is on is not known\r\n"
                                         " Program will end, restart and click 'Open Port'")});
}

TEST_F(Driver, ReopenWithUnknownSpeedAndFailedConnectEndsProgram) {
    ports(1, {});
    s().txtPort->setText(QStringLiteral("COM1"));
    s().txtCrntSpeed->clear();
    EXPECT_THROW(ui::ReopenPort(), platform::ProgramEnd);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Unable to re-open the com port.  It was never opened.\r\n"
                                         "The Serial Port Speed for the device is not known\r\n"
                                         " Program will end, restart and click 'Open Port'")});
}

TEST_F(Driver, ReopenOpensKnownPortAtKnownSpeed) {
    attachPeer(2, 38400, false);
    s().txtPort->setText(QStringLiteral("COM2"));
    s().txtCrntSpeed->setText(QStringLiteral("38400"));
    ui::ReopenPort();
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_EQ(s().P1->CommPort(), 2);
    EXPECT_EQ(s().P1->Baud(), 38400);
    EXPECT_EQ(s().P1->Handshaking(), 2);
    EXPECT_EQ(s().P1->RThreshold(), 1);
}

TEST_F(Driver, ReopenFailureShowsDescriptionAndGoesOn) {
    ports(3, {});
    s().txtPort->setText(QStringLiteral("COM3"));
    s().txtCrntSpeed->setText(QStringLiteral("19200"));
    ui::ReopenPort();
    EXPECT_FALSE(s().P1->PortOpen());
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("Invalid Port Number"));
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
}

} // namespace
