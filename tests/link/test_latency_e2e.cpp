// A device far away: vorix-sim on a pseudo-terminal, served by the real ser2net as rfc2217://,
// reached through a proxy that delays each direction with jitter (a round trip of 0, 50, 150 or
// 300 ms, give or take a third). The jobs of a user (the start-up's search and refresh, save,
// restore, a firmware load) must come out as they do on a desk; the server hanging up mid-job
// must end with clear words; a device beyond the workable round trip must be named as such,
// never taken for one without firmware. Wall clock: the device, the server and the proxy run on it.

#include "common/LoaderFixture.h"

#include "app/Main.h"
#include "app/Tools.h"
#include "common/CliRun.h"
#include "common/DelayProxy.h"
#include "common/Ser2Net.h"
#include "common/SimProcess.h"
#include "config/modRegistry.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/LinkLatency.h"
#include "settings/SaveRestore.h"

#include <QRegularExpression>
#include <QTest>
#include <csignal>

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kSetB1To17 = QStringLiteral("(STX)3006B1(NUL)17(NUL)(ETX)");

class FarDevice : public LoaderFixture {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        if (!QFile::exists(SimBinary()))
            GTEST_SKIP() << "vorix-sim not built";
        if (Ser2NetBinary().isEmpty())
            GTEST_SKIP() << "ser2net not installed";
        ui::RegWrite(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                     QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), 1);
        // A run starts with no link measured.
        platform::SetLinkRoundTripMs(0);
    }
    void TearDown() override {
        LoaderFixture::TearDown();
        m_proxy.reset();
        m_server.reset();
        m_sim.reset();
        qunsetenv("TELVO_PORTS");
        platform::Clock::instance().setVirtual(true);
    }
    // The sample Telvo.ini with `system` in place of its port, rate and start-up lines.
    void writeIni(const QStringList& system = {QStringLiteral("Max Ports = 1"),
                                               QStringLiteral("Auto Start = True")}) {
        RunFixture::writeIni(system, kPortAndStartKeys);
    }
    // The device, its server, the far link in front of it, and COM1 pointed at the link.
    void serve(int roundTripMs, int jitterMs, Ser2Net::Kind kind = Ser2Net::Rfc2217) {
        m_sim = std::make_unique<SimProcess>(
            home(), QStringLiteral("dev"),
            QStringList{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))});
        ASSERT_TRUE(m_sim->running());
        m_server = std::make_unique<Ser2Net>(home(), m_sim->path(), kind);
        ASSERT_TRUE(m_server->running());
        m_scheme = kind == Ser2Net::Rfc2217 ? QStringLiteral("rfc2217") : QStringLiteral("socket");
        const quint16 port = quint16(m_server->address().section(QLatin1Char(':'), -1).toUInt());
        m_proxy = std::make_unique<DelayProxy>(port, roundTripMs, jitterMs);
        usePorts({address()});
    }
    QString address() const { return m_proxy->address(m_scheme); }
    QStringList heard(int from = 0) const { return m_sim->hostFrames().mid(from); }
    // The device's own answer follows the frame it heard.
    bool acknowledged(const QString& frame) const {
        const QStringList frames = m_sim->frames();
        const qsizetype at = frames.lastIndexOf(QStringLiteral("host  ") + frame);
        return at >= 0 && at + 1 < frames.size() &&
               frames.at(at + 1).startsWith(QStringLiteral("device  (STX)01"));
    }
    // Goes on at every breakpoint of the main window.
    void keepGoing() {
        events.in(20, [this] {
            if (!s().cmdContinue->isHidden())
                QTest::mouseClick(s().cmdContinue, Qt::LeftButton);
            keepGoing();
        });
    }
    QString image(const QString& name, const QString& version, qint64 size) {
        QProcess p;
        p.start(SimBinary(),
                {QStringLiteral("--make-firmware"), homeFile(name), QStringLiteral("--version"),
                 version, QStringLiteral("--size"), QString::number(size)});
        p.waitForFinished(10000);
        return homeFile(name);
    }
    // The start-up found the device at its rate and read what it is, with nothing asked of the
    // user on the way: no "Firmware Request", no model question.
    void expectConnected() {
        ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
        EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
        EXPECT_EQ(s().DeviceModel->text(), QStringLiteral("Gorda"));
        EXPECT_FALSE(s().txtFirmware->text().isEmpty());
        EXPECT_FALSE(ui::WindowExists("FWR"));
        EXPECT_FALSE(ui::WindowExists("MDL"));
        EXPECT_TRUE(logLines().contains(QStringLiteral("COM1: connected to ") + address()));
    }
    std::unique_ptr<SimProcess> m_sim;
    std::unique_ptr<Ser2Net> m_server;
    std::unique_ptr<DelayProxy> m_proxy;
    QString m_scheme;
};

// ---- the matrix: each job at each round trip, with a jitter of a third of it
// ---------------------

class Matrix : public FarDevice, public ::testing::WithParamInterface<int> {
protected:
    // The start-up with its search and refresh (`refresh`), or the start-up and then the search
    // alone, as the Open Port button does it without the refresh that follows.
    void start(bool refresh) {
        writeIni({QStringLiteral("Max Ports = 1"), refresh ? QStringLiteral("Auto Start = True")
                                                           : QStringLiteral("Auto Start = False")});
        serve(GetParam(), GetParam() / 3);
        ui::Main();
        if (!refresh)
            ui::ConnectDevice();
        expectConnected();
    }
};

TEST_P(Matrix, StartUpFindsTheDeviceAndRefreshesEverySetting) {
    start(true);
    const qsizetype before = heard().size();
    QTest::mouseClick(s().cmdRefreshAll, Qt::LeftButton);
    // Every setting of the refresh was asked, and every answer was taken for its own question.
    EXPECT_TRUE(heard(int(before)).contains(QStringLiteral("(STX)20034C(NUL)(ETX)")));
    EXPECT_FALSE(ui::WindowExists("FWR"));
    if (GetParam() > 0) {
        bool measured = false;
        for (const QString& l : logLines())
            measured |= l.startsWith(address() + QStringLiteral(": round trip "));
        EXPECT_TRUE(measured);
    }
}

TEST_P(Matrix, SaveThenRestorePutsTheSavedValueBack) {
    start(false);
    ui::SetDevice(QStringLiteral("B1"), QStringLiteral("17"));
    ASSERT_TRUE(acknowledged(kSetB1To17));
    keepGoing();
    ui::SaveSettings();
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Breakpoint: All settings have been saved from the Gorda")));
    const QString saved = QString::fromLatin1(readHomeFile(QStringLiteral("Settings.txt")));
    EXPECT_TRUE(saved.contains(QStringLiteral("B1")));
    ui::SetDevice(QStringLiteral("B1"), QStringLiteral("3"));
    const int restoreFrom = int(heard().size());
    ui::RestoreSettings();
    EXPECT_TRUE(heard(restoreFrom).contains(kSetB1To17));
    EXPECT_TRUE(acknowledged(kSetB1To17));
}

TEST_P(Matrix, FirmwareLoadRunsAndTheDeviceIsFoundAfterItsReboot) {
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.76"), 16000);
    start(false);
    s().chkConfirm->setChecked(false);
    scripted->paths = {file};
    QTest::mouseClick(s().cmdStart, Qt::LeftButton);
    ui::ldr().cmdStart->click();
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("2.76"));
    EXPECT_TRUE(m_sim->traceHas(QStringLiteral("Verify OK, version 2.76")));
    EXPECT_FALSE(m_sim->traceHas(QStringLiteral("Failure")));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Communications re-established with the Gorda")));
}

INSTANTIATE_TEST_SUITE_P(RoundTrip, Matrix, ::testing::Values(0, 50, 150, 300),
                         [](const ::testing::TestParamInfo<int>& p) {
                             return "At" + std::to_string(p.param) + "ms";
                         });

// ---- the server hanging up, and a device too far away --------------------------------------

TEST_F(FarDevice, ServerGoneMidRefreshStopsTheRefreshWithThePortError) {
    writeIni();
    serve(150, 50);
    ui::Main();
    expectConnected();
    // Down once the refresh is under way, and up again later: the refresh must not hang.
    const qsizetype before = heard().size();
    std::function<void()> watch = [&] {
        if (heard().size() < before + 5)
            return events.in(20, watch);
        m_proxy->down();
    };
    events.in(20, watch);
    QTest::mouseClick(s().cmdRefreshAll, Qt::LeftButton);
    const QStringList log = logLines();
    EXPECT_TRUE(
        log.contains(QStringLiteral("COM1: ") + address() + QStringLiteral(": connection lost")));
    // The new connection the reopen tries is refused, and the log says so.
    bool refused = false;
    for (const QString& l : log)
        refused |= l.startsWith(QStringLiteral("COM1: ") + address()) &&
                   l.contains(QStringLiteral("connection refused"), Qt::CaseInsensitive);
    EXPECT_TRUE(refused);
    bool closed = false;
    for (const QString& l : log)
        closed |= l.contains(QStringLiteral(" Port is closed"));
    EXPECT_TRUE(closed);
    // The refresh stops where the port is gone, as with an adapter pulled out: the run-time error
    // of a port that is not open, and the reason on the status line.
    const QStringList boxes = scripted->messageTexts();
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_TRUE(boxes.first().startsWith(QStringLiteral("Run-time error '8012':")))
        << qPrintable(boxes.first());
    EXPECT_EQ(s().lblMessage->text(),
              address().section(QStringLiteral("://"), 1) + QStringLiteral(": connection refused"));
    EXPECT_FALSE(ui::WindowExists("FWR"));
}

TEST_F(FarDevice, ServerGoneMidLoadLeavesTheRestartFileThenTheLoadResumesThroughTheSameAddress) {
    writeIni();
    serve(150, 50);
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.81"), 16000);
    ui::Main();
    expectConnected();
    scripted->paths = {file};
    QTest::mouseClick(s().cmdStart, Qt::LeftButton);
    QString question;
    std::function<void()> watch = [&] {
        if (ui::App().FilePosition < 5000)
            return events.in(20, watch);
        s().chkConfirm->setChecked(true);
        m_proxy->down();
        answerPrompt(false, &question);
    };
    events.in(20, watch);
    ui::ldr().cmdStart->click();
    EXPECT_TRUE(question.startsWith(
        QStringLiteral("Confirm Operation: Gorda Boot Loader timed out and aborted, ")))
        << qPrintable(question);
    EXPECT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")),
              QByteArray("COM1,19200,57600,0\r\n"));

    // The link is back, the device switched off and on; the program starts again.
    m_proxy->up();
    const int before = m_proxy->accepted();
    events.cancelAll();
    platform::ResetProgramEnded();
    ui::ResetSession();
    ::kill(m_sim->pid(), SIGUSR1);
    ui::App().CommandLine = QStringLiteral("BootLoader");
    restartFromFileAtStart(100);
    ui::Main();
    EXPECT_GT(m_proxy->accepted(), before);
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("2.81"));
    EXPECT_TRUE(m_sim->traceHas(QStringLiteral("Verify OK, version 2.81")));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
}

TEST_F(FarDevice, AnAnswerPastItsTimeOutIsLoggedLateAndNeverAnswersTheNextQuestion) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = False"),
              QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")});
    serve(50, 0);
    ui::Main();
    ui::ConnectDevice();
    expectConnected();
    // The firmware's answer is held 400 ms on its way: past the time-out its 50 ms link earns,
    // within the time a late answer is waited for.
    m_proxy->holdNextAnswer(400);
    ui::QueryDevice(QStringLiteral("A9"));
    EXPECT_TRUE(ui::Link().TimedOut);
    EXPECT_TRUE(ui::Link().Reply.isEmpty());
    ui::QueryDevice(QStringLiteral("A8"));
    EXPECT_FALSE(ui::Link().TimedOut);
    EXPECT_EQ(core::Mid(ui::Link().Reply, 2, 2), QStringLiteral("21"));
    EXPECT_EQ(core::Mid(ui::Link().Reply, 6, 2), QStringLiteral("A8"));
    const QStringList log = logLines();
    const qsizetype late = log.indexOf(
        QRegularExpression(QStringLiteral("^Late: \\(STX\\)21..A9.*, \\d+ ms after it was sent$")));
    ASSERT_GE(late, 0);
    // Logged before the next question went out, which then had its own answer.
    const qsizetype next =
        log.indexOf(QStringLiteral("Sent: (STX)2003A8(NUL)(ETX) on COM1 @ 19200"), late);
    ASSERT_GT(next, late);
    ASSERT_LT(next + 1, log.size());
    EXPECT_TRUE(log.at(next + 1).startsWith(QStringLiteral("Rply: (STX)21")))
        << qPrintable(log.at(next + 1));
    EXPECT_TRUE(log.at(next + 1).contains(QStringLiteral("A8(NUL)")))
        << qPrintable(log.at(next + 1));
}

// socket:// has no Telnet of its own to measure: the exchange's answers are the measure. In
// `make latency` only.
TEST_F(FarDevice, OverAPlainSocketAt300msTheStartUpAndASaveWork) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
              QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")});
    serve(300, 100, Ser2Net::Socket);
    ui::Main();
    expectConnected();
    keepGoing();
    ui::SaveSettings();
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Breakpoint: All settings have been saved from the Gorda")));
    bool measured = false;
    for (const QString& l : logLines())
        measured |= l.startsWith(address() + QStringLiteral(": round trip "));
    EXPECT_TRUE(measured);
}

TEST_F(FarDevice, BeyondTheWorkableRoundTripTheSearchNamesTheLatencyAndNeverAsksForFirmware) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
              QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")});
    serve(1600, 0);
    ui::Main();
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Not Connected"));
    EXPECT_FALSE(ui::WindowExists("FWR"));
    bool late = false;
    QString alert;
    for (const QString& l : logLines()) {
        late |= l.startsWith(QStringLiteral("Late: (STX)2105A1"));
        if (l.startsWith(
                QStringLiteral("All requested Com Ports Checked, No Vorix Device Found: ")))
            alert = l;
    }
    EXPECT_TRUE(late);
    EXPECT_TRUE(alert.contains(address() + QStringLiteral(" answers after ")));
    EXPECT_TRUE(
        alert.contains(QStringLiteral(" ms, beyond the 1000 ms round trip the program waits for")))
        << qPrintable(alert);
}

// The user's own words for it: telvo-cli info, as the command line runs it.
TEST_F(FarDevice, TheCommandLineSaysHowFarADeviceBeyondReachIs) {
    if (!QFile::exists(CliBinary()))
        GTEST_SKIP() << "telvo-cli not built";
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Baud = 19200")});
    serve(1600, 0);
    const CliResult r =
        RunCli(home(), {QStringLiteral("--port"), address(), QStringLiteral("info")});
    EXPECT_EQ(r.exit, 3);
    EXPECT_TRUE(r.err.contains(("no device found: " + address() + " answers after ").toUtf8()))
        << r.err.constData();
    EXPECT_TRUE(r.err.contains(" ms, beyond the 1000 ms round trip the program waits for"))
        << r.err.constData();
}

// The command line's info at 300 ms.
TEST_F(FarDevice, TheCommandLinesInfoAt300msTellsTheDevice) {
    if (!QFile::exists(CliBinary()))
        GTEST_SKIP() << "telvo-cli not built";
    writeIni({QStringLiteral("Max Ports = 1")});
    serve(300, 100);
    const CliResult r =
        RunCli(home(), {QStringLiteral("--port"), address(), QStringLiteral("info")});
    EXPECT_EQ(r.exit, 0) << r.err.constData();
    EXPECT_TRUE(r.out.contains("Gorda")) << r.out.constData();
}

} // namespace
