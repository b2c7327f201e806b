// End to end: the real start-up and the real windows over a pseudo-terminal against vorix-sim,
// on the wall clock. The program's drain waits follow the line's rate, and the emulator takes
// bytes only as fast as its UART would, and none while it writes a page.

#include "common/LoaderFixture.h"

#include "app/Main.h"
#include "app/Tools.h"
#include "common/DeviceScript.h"
#include "common/Ser2Net.h"
#include "common/SimProcess.h"
#include "config/modRegistry.h"
#include "firmware/RS.h"

#include <QElapsedTimer>
#include <QTest>
#include <csignal>

using namespace telvo;
using namespace telvo::test;

namespace {

class LoadEndToEnd : public LoaderFixture {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        if (!QFile::exists(SimBinary()))
            GTEST_SKIP() << "vorix-sim not built";
        ui::RegWrite(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                     QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), 1);
    }
    void TearDown() override {
        LoaderFixture::TearDown();
        m_sims.clear();
        qunsetenv("TELVO_PORTS");
        platform::Clock::instance().setVirtual(true);
    }
    // The sample Telvo.ini on one port found at start-up.
    void writeIni() {
        RunFixture::writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True")},
                             kPortAndStartKeys);
    }
    SimProcess& sim(const QStringList& options) {
        QStringList args{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))};
        args << options;
        m_sims.push_back(std::make_unique<SimProcess>(home(), QStringLiteral("dev"), args));
        SimProcess& p = *m_sims.back();
        usePorts({p.path()});
        return p;
    }
    QString image(const QString& name, const QString& version, qint64 size) {
        QProcess p;
        p.start(SimBinary(),
                {QStringLiteral("--make-firmware"), homeFile(name), QStringLiteral("--version"),
                 version, QStringLiteral("--size"), QString::number(size)});
        p.waitForFinished(10000);
        return homeFile(name);
    }
    std::vector<std::unique_ptr<SimProcess>> m_sims;
};

TEST_F(LoadEndToEnd, ThreeImagesLoadAtTheTransferSpeedAndTheDeviceRunsTheLast) {
    writeIni();
    SimProcess& dev = sim({});
    ASSERT_TRUE(dev.running());
    QStringList files;
    for (int i = 1; i <= 3; ++i)
        files << image(QStringLiteral("new%1.frk").arg(i), QStringLiteral("2.7%1").arg(i), 8000);
    // The developer's run chooses several files, until the dialog is cancelled.
    ui::App().CommandLine = QStringLiteral("FRKdebugger");
    ui::Main();
    ui::SCL& s = ui::scl();
    ASSERT_EQ(s.txtCrntSpeed->text(), QStringLiteral("19200"));
    ASSERT_EQ(s.txtxfrspeed->text(), QStringLiteral("57600"));
    s.chkConfirm->setChecked(false);
    scripted->paths = {files[0], files[1], files[2]};

    QTest::mouseClick(s.cmdStart, Qt::LeftButton);
    ASSERT_FALSE(ui::ldr().isHidden());
    QElapsedTimer wall;
    wall.start();
    ui::ldr().cmdStart->click(); // the whole load runs inside this click

    EXPECT_EQ(s.txtFirmware->text(), QStringLiteral("2.73"));
    EXPECT_EQ(s.txtCrntSpeed->text(), QStringLiteral("19200")); // back to where it was found
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    QStringList verdicts;
    int commands = 0;
    for (const QString& l : dev.trace()) {
        if (l.contains(QStringLiteral("Verify OK, version ")))
            verdicts << l.section(QStringLiteral("version "), 1).left(4);
        commands += l.contains(QStringLiteral("host  (STX)3005AD(NUL)1(NUL)(ETX)"));
    }
    EXPECT_EQ(verdicts, (QStringList{QStringLiteral("2.71"), QStringLiteral("2.72"),
                                     QStringLiteral("2.73")}));
    EXPECT_EQ(commands, 3);
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Communications re-established with the Gorda")));
    // Each drain followed the line: 8000 bytes at 5760 bytes a second take at least 1.38 s,
    // and each image is followed by the 10 s of the reboot.
    EXPECT_GE(wall.elapsed(), 3 * (1380 + 10000));
}

TEST_F(LoadEndToEnd, FailureWordsMidImageThenTheRestartSucceeds) {
    writeIni();
    SimProcess& dev = sim({QStringLiteral("--fail-at-byte"), QStringLiteral("3000")});
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.75"), 8000);
    ui::Main();
    ui::SCL& s = ui::scl();
    s.chkConfirm->setChecked(false);
    scripted->paths = {file};
    QTest::mouseClick(s.cmdStart, Qt::LeftButton);
    // Unconfirmed, the question answers itself; the stop waits for the user's Continue.
    answerPrompt(true, nullptr, 100);
    ui::ldr().cmdStart->click();
    EXPECT_EQ(s.txtFirmware->text(), QStringLiteral("2.75"));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Failure")));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.75")));
    bool asked = false;
    for (const QString& l : logLines())
        asked |= l.startsWith(QStringLiteral("Transfer Failed, "));
    EXPECT_TRUE(asked);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
}

TEST_F(LoadEndToEnd, CutOffLoadKilledAndResumedAtTheNextStartWithBootLoader) {
    writeIni();
    SimProcess& dev = sim({QStringLiteral("--cut-at-byte"), QStringLiteral("6000")});
    ASSERT_TRUE(dev.running());
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.80"), 16000);
    ui::Main();
    ui::SCL& s = ui::scl();
    scripted->paths = {file};
    QTest::mouseClick(s.cmdStart, Qt::LeftButton);
    // The cable is cut mid-image: the program hangs in its drain wait and is killed.
    killWhen([&] { return dev.traceHas(QStringLiteral("line cut")); }, 1500, 100);
    EXPECT_THROW(ui::cmdStartLDR_Click(), platform::ProgramEnd);
    EXPECT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")),
              QByteArray("COM1,19200,57600,0\r\n"));

    // The device is switched off and on; the program starts again with "BootLoader".
    events.cancelAll();
    platform::ResetProgramEnded();
    ui::ResetSession();
    ::kill(dev.pid(), SIGUSR1);
    ui::App().CommandLine = QStringLiteral("BootLoader");
    restartFromFileAtStart(100);
    ui::Main();
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("2.80"));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.80")));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
}

// ---- the same over the network: ser2net serves the device's terminal as rfc2217:// -------------

class NetLoadEndToEnd : public LoadEndToEnd {
protected:
    void SetUp() override {
        LoadEndToEnd::SetUp();
        if (!IsSkipped() && Ser2NetBinary().isEmpty())
            GTEST_SKIP() << "ser2net not installed";
    }
    void TearDown() override {
        m_server.reset();
        LoadEndToEnd::TearDown();
    }
    // COM1 is the server in front of the device.
    void serve(SimProcess& dev) {
        m_server = std::make_unique<Ser2Net>(home(), dev.path(), Ser2Net::Rfc2217);
        ASSERT_TRUE(m_server->running());
        usePorts({m_server->address()});
    }
    std::unique_ptr<Ser2Net> m_server;
};

TEST_F(NetLoadEndToEnd, SixtyFourKilobyteImageLoadsAndTheDeviceRunsIt) {
    writeIni();
    SimProcess& dev = sim({});
    ASSERT_TRUE(dev.running());
    serve(dev);
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.76"), 65536);
    ui::Main();
    ui::SCL& s = ui::scl();
    ASSERT_EQ(s.txtState->text(), QStringLiteral("Powered"));
    s.chkConfirm->setChecked(false);
    scripted->paths = {file};
    QTest::mouseClick(s.cmdStart, Qt::LeftButton);
    ui::ldr().cmdStart->click();
    EXPECT_EQ(s.txtFirmware->text(), QStringLiteral("2.76"));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.76")));
    EXPECT_FALSE(dev.traceHas(QStringLiteral("Failure")));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Communications re-established with the Gorda")));
}

TEST_F(NetLoadEndToEnd, ServerGoneMidLoadFailsItAndTheNextStartResumesThroughTheSameAddress) {
    writeIni();
    SimProcess& dev = sim({});
    ASSERT_TRUE(dev.running());
    serve(dev);
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("2.81"), 16000);
    ui::Main();
    ui::SCL& s = ui::scl();
    ASSERT_EQ(s.txtState->text(), QStringLiteral("Powered"));
    scripted->paths = {file};
    QTest::mouseClick(s.cmdStart, Qt::LeftButton);
    // The server dies a third of the way in; the question that follows is asked (confirmation
    // on) and answered Cancel.
    QString question;
    std::function<void()> watch = [&] {
        if (ui::App().FilePosition < 5000)
            return events.in(20, watch);
        s.chkConfirm->setChecked(true);
        m_server->kill();
        answerPrompt(false, &question);
    };
    events.in(20, watch);
    ui::ldr().cmdStart->click();
    EXPECT_TRUE(question.startsWith(
        QStringLiteral("Confirm Operation: Gorda Boot Loader timed out and aborted, ")))
        << qPrintable(question);
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Load process timed out during the Firmware load "
                                           "process, possible line problem or currupt file     ")));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("XFRoneFile attempted to send a file block, Port is closed")));
    EXPECT_TRUE(logLines().contains(QStringLiteral("COM1: ") + m_server->address() +
                                    QStringLiteral(": connection lost")));
    EXPECT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")),
              QByteArray("COM1,19200,57600,0\r\n"));

    // The server is back, the device switched off and on; the program starts again.
    m_server->start();
    ASSERT_TRUE(m_server->running());
    events.cancelAll();
    platform::ResetProgramEnded();
    ui::ResetSession();
    ::kill(dev.pid(), SIGUSR1);
    ui::App().CommandLine = QStringLiteral("BootLoader");
    restartFromFileAtStart(100);
    ui::Main();
    // Through the same address again, on one new connection (the log starts again with the run).
    EXPECT_EQ(logLines().count(QStringLiteral("COM1: connected to ") + m_server->address()), 1);
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("2.81"));
    EXPECT_TRUE(dev.traceHas(QStringLiteral("Verify OK, version 2.81")));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
}

} // namespace
