// Walking the device's menu by key presses, the update and restart requests, and the way into
// the boot loader by command or by menu.

#include "common/Fixture.h"

#include "common/DeviceScript.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/Navigate.h"
#include "link/zSCL.h"
#include "settings/SCL.h"

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kFive = QStringLiteral("     ");
const QByteArray kBanner = "\r\nVorix Boot Loader v2.1\r\nLoad frk File now.";

QByteArray Menu() {
    return Set("A2", "5");
}
QByteArray Down() {
    return Set("A2", "4");
}
QByteArray Enter() {
    return Set("A2", "6");
}

class Menus : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
        peer = &attachPeer(1, 19200);
        s().txtxfrspeed->setText(QStringLiteral("19200"));
        s().txtOrigSpeed->setText(QStringLiteral("19200"));
    }
    ui::SCL& s() { return ui::scl(); }
    core::LinkState& link() { return ui::Link(); }
    void keysAcknowledged() {
        for (const char* key : {"1", "2", "3", "4", "5", "6", "7"})
            peer->on(Set("A2", key), AckReply(), 5);
    }
    void device(const char* model, const char* firmware) {
        s().DeviceModel->setText(QString::fromLatin1(model));
        s().txtFirmware->setText(QString::fromLatin1(firmware));
    }
    void TearDown() override {
        m_events.cancelAll();
        RunFixture::TearDown();
    }
    platform::ScriptedPeer* peer = nullptr;
    TestEvents m_events;
};

QList<QByteArray> times(int n, const QByteArray& frame) {
    return QList<QByteArray>(n, frame);
}

TEST_F(Menus, EmptyPathSendsMenuAndNothingElse) {
    keysAcknowledged();
    ui::Navigate(QString());
    EXPECT_EQ(peer->frames(), QList<QByteArray>{Menu()});
    const QStringList log = logLines();
    EXPECT_EQ(log[0], QStringLiteral("Starting subroutine Navigate with input="));
    EXPECT_EQ(log[1], QStringLiteral("Sending Navigation Command: 'Menu'") + kFive);
}

TEST_F(Menus, ZeroTwoSendsMenuEnterDownDown) {
    keysAcknowledged();
    ui::Navigate(QStringLiteral("0,2"));
    EXPECT_EQ(peer->frames(), (QList<QByteArray>{Menu(), Enter(), Down(), Down()}));
}

TEST_F(Menus, FirmwareUpdatePathWalksThreeLevels) {
    keysAcknowledged();
    ui::Navigate(QStringLiteral("4,6,1"));
    QList<QByteArray> expected{Menu()};
    expected << times(4, Down()) << Enter() << times(6, Down()) << Enter() << Down();
    EXPECT_EQ(peer->frames(), expected);
    // The menu gets 250 ms after Menu, 500 ms after every other key.
    const QList<qint64> t = peer->frameTimesUs();
    EXPECT_GE(t[1] - t[0], 250'000);
    for (int i = 2; i < t.size(); ++i)
        EXPECT_GE(t[i] - t[i - 1], 500'000);
    EXPECT_TRUE(logLines().contains(QStringLiteral("Sending Navigation Command: 'Enter'") + kFive));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Sending Navigation Command: 'Down'") + kFive));
}

TEST_F(Menus, TrailingCommaGivesNoFurtherDownAndNoEnter) {
    keysAcknowledged();
    ui::Navigate(QStringLiteral("4,6,"));
    QList<QByteArray> expected{Menu()};
    expected << times(4, Down()) << Enter() << times(6, Down());
    EXPECT_EQ(peer->frames(), expected);
}

TEST_F(Menus, UnansweredKeyIsRetriedOnceAndTheWalkGoesOn) {
    ui::Navigate(QStringLiteral("1"));
    EXPECT_EQ(peer->frames(), (QList<QByteArray>{Menu(), Menu(), Down(), Down()}));
}

struct VersionCase {
    const char* model;
    const char* firmware;
    bool command;
};

class UpdateCommand : public Menus, public ::testing::WithParamInterface<VersionCase> {};

TEST_P(UpdateCommand, ExistsByModelAndVersion) {
    const VersionCase c = GetParam();
    device(c.model, c.firmware);
    peer->on(Set("AD", "1"), AckReply(), 5);
    EXPECT_EQ(ui::CommandUpdateMode(), c.command) << c.model << " " << c.firmware;
    EXPECT_EQ(peer->frames(), c.command ? QList<QByteArray>{Set("AD", "1")} : QList<QByteArray>{});
}

INSTANTIATE_TEST_SUITE_P(
    Menus, UpdateCommand,
    ::testing::Values(VersionCase{"Gorda", "1.10b", false}, VersionCase{"Gorda", "1.11", true},
                      VersionCase{"Gorda", "1.11Beta", true}, VersionCase{"GORDA", "1.24", true},
                      VersionCase{"Gorda", "", false}, VersionCase{"Hesta", "0.50", true},
                      VersionCase{"Fenna", "2.00", false}, VersionCase{"Vorix", "1.24", false}));

TEST_F(Menus, NoFirmwareUpdateBoxAsksNothing) {
    device("Fenna", "1.00");
    s().chkNoFWupdate->setChecked(true);
    EXPECT_TRUE(ui::CommandUpdateMode());
    EXPECT_TRUE(peer->heard().isEmpty());
}

TEST_F(Menus, OnlyAnExplicitRefusalFallsBackToTheMenu) {
    device("Gorda", "1.24");
    peer->on(Set("AD", "1"), ErrorReply(3), 5, 1);
    EXPECT_FALSE(ui::CommandUpdateMode());
    // Unanswered: one sending, one wait, and it counts as done.
    EXPECT_TRUE(ui::CommandUpdateMode());
    EXPECT_EQ(peer->frames(), times(2, Set("AD", "1")));
    EXPECT_TRUE(link().Reply.isEmpty());
}

TEST_F(Menus, UpdateCommandMovesToTransferSpeedFirst) {
    device("Gorda", "1.24");
    s().txtxfrspeed->setText(QStringLiteral("57600"));
    platform::ScriptedPeer::Rule r;
    r.frame = Set("A3", "6");
    r.reply = AckReply();
    r.delayMs = 5;
    peer->addRule(r);
    peer->on(Set("AD", "1"), AckReply(), 5);
    EXPECT_TRUE(ui::CommandUpdateMode());
    EXPECT_EQ(peer->frames(), (QList<QByteArray>{Set("A3", "6"), Set("AD", "1")}));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
}

TEST_F(Menus, RestartCommandNeedsVersionOneElevenAndDoesNotWait) {
    device("Gorda", "1.10");
    EXPECT_FALSE(ui::CommandRestartMode());
    EXPECT_TRUE(peer->heard().isEmpty());
    device("Fenna", "1.11");
    peer->on(Set("AC", "1"), ErrorReply(2), 5);
    EXPECT_TRUE(ui::CommandRestartMode());
    // Returned before the frame even reached the device, with the wait left standing.
    EXPECT_TRUE(link().WaitingReply);
    EXPECT_TRUE(link().Reply.isEmpty());
    ASSERT_TRUE(waitUntil([&] { return !peer->frames().isEmpty(); }));
    EXPECT_EQ(peer->frames(), QList<QByteArray>{Set("AC", "1")});
    // The refusal still arrives, after the routine has answered.
    EXPECT_TRUE(waitUntil([&] { return !link().Reply.isEmpty(); }));
}

TEST_F(Menus, RestartCommandGoesBackToOriginalSpeedFirst) {
    device("Gorda", "1.24");
    s().txtOrigSpeed->setText(QStringLiteral("38400"));
    platform::ScriptedPeer::Rule r;
    r.frame = Set("A3", "5");
    r.reply = AckReply();
    r.delayMs = 5;
    peer->addRule(r);
    EXPECT_TRUE(ui::CommandRestartMode());
    ASSERT_TRUE(waitUntil([&] { return peer->frames().size() == 2; }));
    EXPECT_EQ(peer->frames(), (QList<QByteArray>{Set("A3", "5"), Set("AC", "1")}));
}

TEST_F(Menus, SimulationNeverEntersFirmwareUpdateMode) {
    device("Gorda", "1.24");
    s().chkSim->setChecked(true);
    EXPECT_FALSE(ui::EnterFirmwareUpdateMode());
    EXPECT_TRUE(peer->heard().isEmpty());
}

TEST_F(Menus, ByCommandTheBootLoaderIsReachedWhenItsTextArrives) {
    device("Gorda", "1.24");
    peer->on(Set("AD", "1"), AckReply() + kBanner, 5);
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    EXPECT_EQ(peer->frames(), QList<QByteArray>{Set("AD", "1")});
    EXPECT_TRUE(link().LoaderReady);
    EXPECT_EQ(s().txtState->text(), QStringLiteral("OC Loading"));
    EXPECT_TRUE(ui::ldr().lblMessage->text().isEmpty());
    EXPECT_FALSE(ui::ldr().CTSled->isHidden());
    EXPECT_EQ(logLines().first(),
              QStringLiteral("Setting Gorda into Firmware Update Mode") + kFive);
}

TEST_F(Menus, HestaUsesTheCommandWhateverItsVersion) {
    device("Hesta", "0.10");
    peer->on(Set("AD", "1"), AckReply() + kBanner, 5);
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    EXPECT_EQ(peer->frames(), QList<QByteArray>{Set("AD", "1")});
}

TEST_F(Menus, OlderGordaIsWalkedThroughTheMenu) {
    device("Gorda", "1.10b");
    for (const char* key : {"4", "5"})
        peer->on(Set("A2", key), AckReply(), 5);
    peer->on(Enter(), AckReply(), 5, 2);
    // The last Enter starts the boot loader.
    peer->on(Enter(), AckReply() + kBanner, 5);
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    QList<QByteArray> expected{Menu()};
    expected << times(4, Down()) << Enter() << times(6, Down()) << Enter() << Down() << Enter();
    EXPECT_EQ(peer->frames(), expected);
    EXPECT_TRUE(logLines().contains(
        QStringLiteral(
            "Command failed, using Menu Navigation to set Gorda into Firmware Update Mode") +
        kFive));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("OC Loading"));
}

TEST_F(Menus, LoaderTestBoxDoesNotTurnTheMenuWalkIntoAnExit) {
    device("Gorda", "1.10");
    // Only the main window's box decides; the loader's "Test" box does not.
    ui::ldr().chkNoFWupdate->setChecked(true);
    keysAcknowledged();
    m_events.in(20000, [&] { peer->send(kBanner); });
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    EXPECT_EQ(peer->frames().last(), Set("A2", "6"));
    EXPECT_FALSE(logLines().contains(
        QStringLiteral("Not navigating to firmware update, debug set so exiting")));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("OC Loading"));
}

TEST_F(Menus, DeadDeviceNeverLetsItReturn) {
    device("Gorda", "1.24");
    bool returned = false;
    // Ten minutes of silence; then the program is ended to get out.
    m_events.in(600'000, [] { platform::EndProgram(); });
    EXPECT_THROW(
        {
            ui::EnterFirmwareUpdateMode();
            returned = true;
        },
        platform::ProgramEnd);
    EXPECT_FALSE(returned);
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("WAITING"));
    EXPECT_EQ(peer->frames(), QList<QByteArray>{Set("AD", "1")});
}

TEST_F(Menus, AbortKeepsTheWaitGoingRatherThanEndingIt) {
    device("Gorda", "1.24");
    peer->on(Set("AD", "1"), AckReply(), 5);
    bool stillWaiting = false;
    m_events.in(100, [&] { link().LoaderAborted = true; });
    m_events.in(200, [&] { peer->send(kBanner); });
    m_events.in(5000, [&] {
        stillWaiting = link().LoaderReady && ui::App().DeviceState == QLatin1String("WAITING");
        link().LoaderAborted = false;
    });
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    EXPECT_TRUE(stillWaiting);
    EXPECT_GE(platform::Clock::instance().nowMs(), 5000);
}

} // namespace
