// "System Debugger": the device's own debugger on the line, driven by the window's buttons and
// fed by the receive handler.

#include "common/Fixture.h"

#include "common/DeviceScript.h"

#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/zSCL.h"
#include "settings/SCL.h"

#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

class Console : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
        peer = &attachPeer(1, 19200);
        d().show();
    }
    ui::SCL& s() { return ui::scl(); }
    ui::DBG& d() { return ui::dbg(); }
    core::LinkState& link() { return ui::Link(); }
    void click(QWidget* w) { QTest::mouseClick(w, Qt::LeftButton); }
    // Lets the line carry what is under way, both ways.
    void settle() {
        bool done = false;
        m_events.in(50, [&] { done = true; });
        ASSERT_TRUE(waitUntil([&] { return done; }));
    }
    // What the device prints, once it has arrived.
    void deviceSays(const QByteArray& text) {
        peer->send(text);
        settle();
    }
    // What the device heard, once the line has carried it.
    QByteArray heard() {
        settle();
        return peer->heard();
    }
    QString dbgText() { return ui::G().dbgText.text(); }
    QString ldrText() { return ui::G().ldrText.text(); }
    // The box as shown; the widget keeps line ends as paragraph breaks.
    QString shown(QPlainTextEdit* box) { return box->toPlainText(); }
    void TearDown() override {
        m_events.cancelAll();
        RunFixture::TearDown();
    }
    platform::ScriptedPeer* peer = nullptr;
    TestEvents m_events;
};

TEST_F(Console, WindowStartsOffWithItsCaptions) {
    EXPECT_EQ(d().windowTitle(), QStringLiteral("System Debugger"));
    EXPECT_EQ(d().cmdDbgr->text(), QStringLiteral("ON"));
    EXPECT_EQ(d().cmdsend->text(), QStringLiteral("SEND"));
    EXPECT_EQ(d().cmdExit->text(), QStringLiteral("EXIT"));
    EXPECT_TRUE(d().txtSend->isHidden());
    EXPECT_TRUE(d().cmdsend->isHidden());
    EXPECT_EQ(d().Text1->font().family(), QStringLiteral("Courier New"));
}

TEST_F(Console, TurningOnSendsDebugAndOpensTheInputLine) {
    click(d().cmdDbgr);
    EXPECT_EQ(heard(), QByteArray("\r\n\r\ndebug\r\n"));
    EXPECT_EQ(d().cmdDbgr->text(), QStringLiteral("OFF"));
    EXPECT_TRUE(link().ConsoleActive);
    EXPECT_FALSE(d().txtSend->isHidden());
    EXPECT_FALSE(d().cmdsend->isHidden());
    EXPECT_TRUE(d().txtSend->text().isEmpty());
}

TEST_F(Console, DeviceTextGoesToBothBoxesWithItsLineEnds) {
    click(d().cmdDbgr);
    deviceSays("Vorix debugger\r\n> ");
    EXPECT_EQ(dbgText(), QStringLiteral("Vorix debugger\r\n> "));
    EXPECT_EQ(ldrText(), dbgText());
    EXPECT_TRUE(shown(d().Text1).startsWith(QStringLiteral("Vorix debugger")));
    EXPECT_TRUE(shown(d().Text1).endsWith(QStringLiteral("> ")));
    EXPECT_TRUE(link().DeviceTalking);
}

TEST_F(Console, LineEndsArrivingWhileTheBoxIsEmptyAreDropped) {
    click(d().cmdDbgr);
    deviceSays("\r\n\r\nhello\r\nworld");
    EXPECT_EQ(dbgText(), QStringLiteral("hello\r\nworld"));
    EXPECT_EQ(ldrText(), QStringLiteral("hello\r\nworld"));
}

TEST_F(Console, BackspaceFromDeviceRemovesLastCharacterInBothBoxes) {
    click(d().cmdDbgr);
    deviceSays("abc\bd");
    EXPECT_EQ(dbgText(), QStringLiteral("abd"));
    EXPECT_EQ(ldrText(), QStringLiteral("abd"));
    EXPECT_EQ(shown(d().Text1), QStringLiteral("abd"));
    EXPECT_EQ(shown(ui::ldr().Text1), QStringLiteral("abd"));
}

TEST_F(Console, TextOutsidePacketsIsDroppedWhileTheConsoleIsOff) {
    deviceSays("abc\r\n");
    EXPECT_TRUE(dbgText().isEmpty());
}

TEST_F(Console, EmptyInputLineSendsBareLineEnd) {
    click(d().cmdDbgr);
    settle();
    peer->clearHeard();
    click(d().cmdsend);
    EXPECT_EQ(heard(), QByteArray("\r\n"));
}

TEST_F(Console, EnterInTheInputLineSendsItAndEmptiesIt) {
    click(d().cmdDbgr);
    settle();
    peer->clearHeard();
    QTest::keyClicks(d().txtSend, QStringLiteral("help"));
    QTest::keyClick(d().txtSend, Qt::Key_Return);
    EXPECT_EQ(heard(), QByteArray("help\r\n"));
    EXPECT_TRUE(d().txtSend->text().isEmpty());
}

TEST_F(Console, TurningOffSendsExitFourTimesAQuarterSecondApart) {
    click(d().cmdDbgr);
    deviceSays("> ");
    peer->clearHeard();
    const qint64 t0 = platform::Clock::instance().nowMs();
    click(d().cmdDbgr);
    EXPECT_EQ(heard(), QByteArray("exit\r\nexit\r\nexit\r\nexit\r\n"));
    EXPECT_GE(platform::Clock::instance().nowMs() - t0, 1000);
    EXPECT_EQ(d().cmdDbgr->text(), QStringLiteral("ON"));
    EXPECT_FALSE(link().ConsoleActive);
    EXPECT_TRUE(dbgText().isEmpty());
    EXPECT_TRUE(ldrText().isEmpty());
    EXPECT_TRUE(d().txtSend->isHidden());
    EXPECT_TRUE(d().cmdsend->isHidden());
}

TEST_F(Console, TurningOffInSimulationStillReopensAClosedPort) {
    s().chkSim->setChecked(true);
    click(d().cmdDbgr);
    s().P1->setPortOpen(false);
    click(d().cmdDbgr);
    EXPECT_EQ(logLines(),
              QStringList{QStringLiteral("Debugger attempted to send 'exit', Port is closed")});
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_TRUE(heard().isEmpty());
}

TEST_F(Console, InSimulationNothingIsSent) {
    s().chkSim->setChecked(true);
    click(d().cmdDbgr);
    d().txtSend->setText(QStringLiteral("help"));
    click(d().cmdsend);
    EXPECT_EQ(d().txtSend->text(), QStringLiteral("help"));
    click(d().cmdDbgr);
    EXPECT_TRUE(heard().isEmpty());
    EXPECT_TRUE(logLines().isEmpty());
}

TEST_F(Console, ClosedPortIsReopenedBeforeALineIsSent) {
    click(d().cmdDbgr);
    settle();
    s().P1->setPortOpen(false);
    peer->clearHeard();
    d().txtSend->setText(QStringLiteral("mem 0"));
    click(d().cmdsend);
    EXPECT_EQ(logLines().last(),
              QStringLiteral("Debugger attempted to send 'mem 0', Port is closed"));
    EXPECT_EQ(heard(), QByteArray("mem 0\r\n"));
}

TEST_F(Console, TurningOnWithClosedPortReopensIt) {
    s().P1->setPortOpen(false);
    click(d().cmdDbgr);
    EXPECT_EQ(logLines(),
              QStringList{QStringLiteral("Debugger attempted to send 'debug', Port is closed")});
    EXPECT_EQ(heard(), QByteArray("\r\n\r\ndebug\r\n"));
}

TEST_F(Console, ExitTurnsTheConsoleOffFirstAndHides) {
    click(d().cmdDbgr);
    settle();
    peer->clearHeard();
    click(d().cmdExit);
    EXPECT_EQ(heard(), QByteArray("exit\r\nexit\r\nexit\r\nexit\r\n"));
    EXPECT_TRUE(d().isHidden());
    EXPECT_FALSE(link().ConsoleActive);
}

TEST_F(Console, ExitWithConsoleOffSendsNothing) {
    click(d().cmdExit);
    EXPECT_TRUE(heard().isEmpty());
    EXPECT_TRUE(d().isHidden());
}

TEST_F(Console, ClosingByTheFrameLeavesTheConsoleOn) {
    click(d().cmdDbgr);
    d().close();
    EXPECT_TRUE(d().isHidden());
    EXPECT_TRUE(link().ConsoleActive);
    EXPECT_EQ(d().cmdDbgr->text(), QStringLiteral("OFF"));
}

TEST_F(Console, DoubleClickEmptiesBothBoxes) {
    click(d().cmdDbgr);
    deviceSays("some text");
    QTest::mouseDClick(d().Text1->viewport(), Qt::LeftButton);
    EXPECT_TRUE(dbgText().isEmpty());
    EXPECT_TRUE(ldrText().isEmpty());
    EXPECT_TRUE(shown(d().Text1).isEmpty());
    EXPECT_TRUE(shown(ui::ldr().Text1).isEmpty());
}

TEST_F(Console, DebuggerButtonOfMainWindowShowsTheWindow) {
    d().hide();
    s().show();
    s().cmdDebugger->setVisible(true);
    s().cmdDebugger->setEnabled(true);
    click(s().cmdDebugger);
    EXPECT_FALSE(d().isHidden());
}

} // namespace
