// End to end: the real start-up (Main, with Auto Start) over pseudo-terminals against vorix-sim
// processes, asserting the frames the emulator traced and the lines of LogFile.txt. These run on
// the wall clock, as the emulator does.

#include "common/Fixture.h"

#include "app/Main.h"
#include "common/DeviceScript.h"
#include "common/SimProcess.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/Navigate.h"
#include "link/zSCL.h"
#include "settings/SCL.h"

#include <QFile>
#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kFive = QStringLiteral("     ");

class EndToEnd : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        if (!QFile::exists(SimBinary()))
            GTEST_SKIP() << "vorix-sim not built";
    }
    void TearDown() override {
        m_events.cancelAll();
        RunFixture::TearDown();
        m_sims.clear();
        m_empty.clear();
        platform::Clock::instance().setVirtual(true);
    }
    ui::SCL& s() { return ui::scl(); }

    // The sample Telvo.ini with the [SYSTEM] lines of the test in place of its port and start-up.
    void writeIni(const QStringList& system) { RunFixture::writeIni(system, kPortAndStartKeys); }
    SimProcess& sim(const QString& name, const QStringList& options) {
        QStringList args{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))};
        args << options;
        m_sims.push_back(std::make_unique<SimProcess>(home(), name, args));
        return *m_sims.back();
    }
    QString emptyPort() {
        m_empty.push_back(std::make_unique<EmptyPty>());
        return m_empty.back()->path();
    }
    // Answers the prompts (true: Continue) as they come up.
    void answerPrompts(QList<bool> answers) {
        m_answers = answers;
        poll();
    }
    void poll() {
        m_events.in(20, [this] {
            if (m_answers.isEmpty())
                return;
            if (!s().cmdContinue->isHidden())
                QTest::mouseClick(m_answers.takeFirst() ? s().cmdContinue : s().cmdCancel,
                                  Qt::LeftButton);
            poll();
        });
    }
    QStringList sentOn(const QString& port) {
        QStringList out;
        for (const QString& l : logLines())
            if (l.startsWith(QLatin1String("Sent: ")) &&
                l.contains(QStringLiteral(" on ") + port + QStringLiteral(" @ ")))
                out << l;
        return out;
    }

    std::vector<std::unique_ptr<SimProcess>> m_sims;
    std::vector<std::unique_ptr<EmptyPty>> m_empty;
    TestEvents m_events;
    QList<bool> m_answers;
};

const QString kQueryA1 = QStringLiteral("(STX)2003A1(NUL)(ETX)");

TEST_F(EndToEnd, FullSearchOverSeveralPortsFindsDeviceAt38400) {
    writeIni({QStringLiteral("Max Ports = 4"), QStringLiteral("Auto Start = True")});
    const QString empty = emptyPort();
    SimProcess& quiet = sim(QStringLiteral("quiet"), {QStringLiteral("--silent")});
    SimProcess& dev =
        sim(QStringLiteral("dev"), {QStringLiteral("--baud"), QStringLiteral("38400")});
    ASSERT_TRUE(quiet.running() && dev.running());
    usePorts({QStringLiteral("/nonexistent/ttyTelvo0"), empty, quiet.path(), dev.path()});

    ui::Main();

    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM4"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("38400"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(s().DeviceModel->text(), QStringLiteral("Gorda"));
    const QStringList log = logLines();
    EXPECT_TRUE(log.contains(
        QStringLiteral(
            "Niether the Com Port nor the Baud rate is provided, a full Search will be done") +
        kFive));
    // COM1 isn't there, so it never made the list.
    EXPECT_FALSE(log.contains(QStringLiteral("Checking Com Port COM1") + kFive));
    for (const char* port : {"COM2", "COM3", "COM4"})
        EXPECT_TRUE(
            log.contains(QStringLiteral("Checking Com Port ") + QLatin1String(port) + kFive))
            << port;
    EXPECT_TRUE(sentOn(QStringLiteral("COM1")).isEmpty());
    EXPECT_EQ(sentOn(QStringLiteral("COM2")).size(), 6);
    EXPECT_EQ(sentOn(QStringLiteral("COM3")).size(), 6);
    EXPECT_EQ(sentOn(QStringLiteral("COM4")).first(),
              QStringLiteral("Sent: ") + kQueryA1 + QStringLiteral(" on COM4 @ 19200"));
    EXPECT_TRUE(
        log.contains(QStringLiteral("Sent: ") + kQueryA1 + QStringLiteral(" on COM4 @ 38400")));
    EXPECT_TRUE(log.contains(QStringLiteral("Gorda Found on COM4 Operating @ 38400 baud") + kFive));
    // The device made out only what came at its own rate.
    const QStringList frames = dev.frames();
    ASSERT_GE(frames.size(), 6);
    EXPECT_EQ(frames.mid(0, 6),
              (QStringList{QStringLiteral("host  ") + kQueryA1,
                           QStringLiteral("device  (STX)2105A1(NUL)1(NUL)6D(ETX)"),
                           QStringLiteral("host  (STX)2003A9(NUL)(ETX)"),
                           QStringLiteral("device  (STX)2108A9(NUL)1.24(NUL)0C(ETX)"),
                           QStringLiteral("host  (STX)2003A8(NUL)(ETX)"),
                           QStringLiteral("device  (STX)210fA8(NUL)Vorix Gorda(NUL)99(ETX)")}));
    EXPECT_TRUE(quiet.frames().isEmpty());
}

TEST_F(EndToEnd, DeviceInStandbyIsPoweredUp) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True")});
    SimProcess& dev = sim(QStringLiteral("dev"), {QStringLiteral("--standby")});
    ASSERT_TRUE(dev.running());
    usePorts({dev.path()});

    ui::Main();

    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(ui::Link().PowerState, QStringLiteral("ON"));
    QStringList hosts;
    for (const QString& f : dev.frames())
        if (f.startsWith(QLatin1String("host")))
            hosts << f.mid(6);
    ASSERT_GE(hosts.size(), 6);
    EXPECT_EQ(hosts.mid(0, 5),
              (QStringList{kQueryA1, QStringLiteral("(STX)2003A9(NUL)(ETX)"),
                           QStringLiteral("(STX)2003A8(NUL)(ETX)"),
                           QStringLiteral("(STX)3005A1(NUL)1(NUL)(ETX)"), kQueryA1}));
    // Then the panels are read, the selectors first.
    EXPECT_EQ(hosts.at(5), QStringLiteral("(STX)20034C(NUL)(ETX)"));
    EXPECT_TRUE(dev.frames().contains(QStringLiteral("device  (STX)2105A1(NUL)0(NUL)6C(ETX)")));
    const QStringList log = logLines();
    EXPECT_TRUE(log.contains(QStringLiteral("Starting Subroutine PowerUp")));
    EXPECT_TRUE(log.contains(QStringLiteral("Sending command to Power up Gorda") + kFive));
    EXPECT_TRUE(log.contains(QStringLiteral("Sending command to check Gorda Power state") + kFive));
}

TEST_F(EndToEnd, DeviceThatNeverPowersUpIsReported) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True")});
    SimProcess& dev =
        sim(QStringLiteral("dev"), {QStringLiteral("--standby"), QStringLiteral("--power-up-after"),
                                    QStringLiteral("99")});
    ASSERT_TRUE(dev.running());
    usePorts({dev.path()});

    ui::Main();

    const QStringList log = logLines();
    EXPECT_TRUE(log.contains(QStringLiteral("UNABLE TO POWER UP THE GORDA") + kFive));
    EXPECT_TRUE(log.contains(QStringLiteral("Could not Power up the Gorda") + kFive));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Standby"));
    int sets = 0;
    for (const QString& f : dev.frames())
        sets += f == QStringLiteral("host  (STX)3005A1(NUL)1(NUL)(ETX)");
    EXPECT_EQ(sets, 5);
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    EXPECT_TRUE(s().cmdEnd->isEnabled());
}

TEST_F(EndToEnd, NoDeviceAtAllLeavesOpenAndEndUsable) {
    writeIni({QStringLiteral("Max Ports = 3"), QStringLiteral("Auto Start = True")});
    const QString empty = emptyPort();
    SimProcess& quiet = sim(QStringLiteral("quiet"), {QStringLiteral("--silent")});
    ASSERT_TRUE(quiet.running());
    usePorts({empty, QStringLiteral("/nonexistent/ttyTelvo1"), quiet.path()});

    ui::Main();

    EXPECT_TRUE(logLines().contains(
        QStringLiteral("All requested Com Ports Checked, No Vorix Device Found") + kFive));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Not Connected"));
    EXPECT_TRUE(ui::App().NoDeviceFound);
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    EXPECT_TRUE(s().cmdEnd->isEnabled());
    EXPECT_FALSE(s().cmdStart->isEnabled());
    EXPECT_TRUE(quiet.frames().isEmpty());
    // cmdEnd now takes its short way out.
    EXPECT_THROW(ui::cmdEnd_MouseDown(Qt::NoModifier), platform::ProgramEnd);
}

TEST_F(EndToEnd, PortThatVanishesMidSearchIsPassedOverAndTheSearchGoesOn) {
    writeIni({QStringLiteral("Max Ports = 2"), QStringLiteral("Auto Start = True")});
    SimProcess& gone = sim(QStringLiteral("gone"), {QStringLiteral("--silent")});
    SimProcess& dev =
        sim(QStringLiteral("dev"), {QStringLiteral("--baud"), QStringLiteral("38400")});
    ASSERT_TRUE(gone.running() && dev.running());
    usePorts({gone.path(), dev.path()});
    // Pulled out while its second rate is being probed.
    std::function<void()> watch = [&] {
        if (!sentOn(QStringLiteral("COM1")).filter(QStringLiteral("@ 57600")).isEmpty()) {
            gone.vanish();
            return;
        }
        m_events.in(5, watch);
    };
    m_events.in(5, watch);

    ui::Main();

    EXPECT_FALSE(gone.running());
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM2"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("38400"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_TRUE(s().lblWait->isHidden());
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    // The rates after the pull were passed over without a frame on the dead port.
    EXPECT_LT(sentOn(QStringLiteral("COM1")).size(), 6);
}

TEST_F(EndToEnd, CancelledSearchQuestionGivesNotConnected) {
    writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
              QStringLiteral("Confirm Operations = True")});
    SimProcess& dev = sim(QStringLiteral("dev"), {});
    ASSERT_TRUE(dev.running());
    usePorts({dev.path()});
    answerPrompts({false});

    ui::Main();

    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Could not asctertain the Port and Speed to use to find the Gorda") +
        kFive));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Not Connected"));
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    EXPECT_TRUE(dev.frames().isEmpty());
}

// ---- speed and the boot loader, once connected at 19200 on COM1 ------------------------------

class Connected : public EndToEnd {
protected:
    SimProcess& start(const QStringList& options) {
        writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
                  QStringLiteral("Port = 1"), QStringLiteral("Baud = 19200")});
        SimProcess& dev = sim(QStringLiteral("dev"), options);
        usePorts({dev.path()});
        ui::Main();
        return dev;
    }
    QStringList notes(const SimProcess& dev) {
        QStringList out;
        for (const QString& l : dev.trace())
            if (l.startsWith(QLatin1String("note")))
                out << l.mid(6);
        return out;
    }
};

TEST_F(Connected, SpeedToFiftySevenSixHundredAndBackWithDeviceAnsweringAtNewRate) {
    SimProcess& dev = start({});
    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    ui::SetGordaBaudRate(QStringLiteral("57600"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Application Port settings changed to 57600")));
    ui::SetGordaBaudRate(QStringLiteral("19200"));
    EXPECT_EQ(s().P1->Baud(), 19200);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Established Communications with the Gorda @ 19200 Baud") + kFive));
    EXPECT_TRUE(notes(dev).contains(QStringLiteral("rate 57600")));
    EXPECT_TRUE(notes(dev).contains(QStringLiteral("rate 19200")));
    // The query that follows is answered at the rate both now share.
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(ui::Link().ReportedSpeedCode, QStringLiteral("4"));
}

TEST_F(Connected, SpeedToFiftySevenSixHundredAndBackWithDeviceAnsweringAtOldRate) {
    SimProcess& dev = start({QStringLiteral("--ack-old-rate")});
    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    ui::SetGordaBaudRate(QStringLiteral("57600"));
    // Acknowledged where it was asked: the port stays, the field follows the request.
    EXPECT_EQ(s().P1->Baud(), 19200);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_FALSE(logLines().contains(QStringLiteral("Application Port settings changed to 57600")));
    // A query of the speed times out at the old rate, and moves the port.
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(ui::Link().ReportedSpeedCode, QStringLiteral("6"));
    // And back: acknowledged at 57600, where the port still is.
    ui::SetGordaBaudRate(QStringLiteral("19200"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_TRUE(notes(dev).contains(QStringLiteral("rate 57600")));
    EXPECT_TRUE(notes(dev).contains(QStringLiteral("rate 19200")));
}

TEST_F(Connected, UpdateModeByCommandOnGordaReachesBootLoader) {
    SimProcess& dev = start({QStringLiteral("--firmware"), QStringLiteral("1.24")});
    ASSERT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    EXPECT_EQ(s().txtState->text(), QStringLiteral("OC Loading"));
    EXPECT_TRUE(
        ui::G().ldrText.text().contains(QStringLiteral("frk File now"), Qt::CaseInsensitive));
    EXPECT_TRUE(dev.frames().contains(QStringLiteral("host  (STX)3005AD(NUL)1(NUL)(ETX)")));
    EXPECT_TRUE(notes(dev).contains(QStringLiteral("boot loader at 57600")));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
}

TEST_F(Connected, UpdateModeByCommandOnHesta) {
    SimProcess& dev = start({QStringLiteral("--model"), QStringLiteral("Hesta"),
                             QStringLiteral("--firmware"), QStringLiteral("0.90")});
    ASSERT_EQ(s().DeviceModel->text(), QStringLiteral("Hesta"));
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    EXPECT_TRUE(dev.frames().contains(QStringLiteral("host  (STX)3005AD(NUL)1(NUL)(ETX)")));
    EXPECT_TRUE(notes(dev).contains(QStringLiteral("boot loader at 57600")));
}

TEST_F(Connected, UpdateModeByMenuOnGordaOneTenB) {
    SimProcess& dev = start({QStringLiteral("--firmware"), QStringLiteral("1.10b")});
    ASSERT_EQ(s().txtFirmware->text(), QStringLiteral("1.10b"));
    EXPECT_TRUE(ui::EnterFirmwareUpdateMode());
    EXPECT_EQ(s().txtState->text(), QStringLiteral("OC Loading"));
    QStringList keys;
    for (const QString& f : dev.frames())
        if (f.startsWith(QLatin1String("host  (STX)3005A2(NUL)")))
            keys << f.mid(22, 1);
    EXPECT_EQ(keys.join(QString()), QStringLiteral("544446444444646"));
    EXPECT_FALSE(dev.frames().contains(QStringLiteral("host  (STX)3005AD(NUL)1(NUL)(ETX)")));
    EXPECT_TRUE(notes(dev).contains(QStringLiteral("boot loader at 57600")));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral(
            "Command failed, using Menu Navigation to set Gorda into Firmware Update Mode") +
        kFive));
}

} // namespace
