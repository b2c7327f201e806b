// After a load: a device not found because it still waits at its loader's prompt (the line cut
// on the image's last byte), the question to put the speed back, and the Restore Defaults steps.
// Against the emulated device on the in-process line, under the virtual clock.

#include "common/DeviceFixture.h"

#include "Device.h"
#include "DevicePeer.h"
#include "Firmware.h"

#include "app/Tools.h"
#include "common/DeviceScript.h"
#include "config/FWR.h"
#include "core/config/IniFile.h"
#include "link/Driver.h"
#include "platform/doubles/ScriptedPlatform.h"

using namespace telvo;
using namespace telvo::test;
using vorix::sim::Device;
using vorix::sim::DeviceOptions;

namespace {

const QString kLoadAgain = QStringLiteral(
    "The Gorda was not found after the load.\r\n"
    "If it shows 'Load frk File now.' (switch it off and on first if it shows nothing), it did not "
    "take the firmware: click 'Yes' to load the file(s) again from the first.\r\n"
    "If it runs its firmware, click 'No'.");
const QString kNotFound =
    QStringLiteral("Communications was not re-established with the Gorda     ");

class Recovery : public DeviceFixture {
protected:
    QByteArray image(const QString& version, qint64 size) {
        writeHomeFile(QStringLiteral("new.frk"), vorix::sim::MakeFirmwareImage(version, size));
        writeHomeFile(QStringLiteral("FileList.frl"),
                      (homeFile(QStringLiteral("new.frk")) + "\r\n").toUtf8());
        return readHomeFile(QStringLiteral("new.frk"));
    }
    // The frames sent from the log line `from` on, as the log prints them.
    QStringList sentFrom(qsizetype from) const {
        return logLines().mid(from).filter(QStringLiteral("Sent: "));
    }
    bool restartFileExists() const {
        return QFile::exists(homeFile(QStringLiteral("RestartLoader.txt")));
    }

    // The line is cut on the image's last byte: every block drains, so the load counts the image
    // as sent and waits for the reboot, where the program is ended. The device, switched off and
    // on, waits at its loader's prompt; the next start takes the load up from RestartLoader.txt.
    void cutOnTheLastByteThenRestartFromTheFile(Device& d, qint64 size) {
        killWhen([&d] { return d.lineCut(); }, 2000, 10);
        EXPECT_THROW(ui::LoadTheFiles(false), platform::ProgramEnd);
        ASSERT_TRUE(
            logLines().contains(QStringLiteral("Waiting 10 seconds while Gorda reboots     ")));
        ASSERT_EQ(d.loader().stats().bytes, size);
        // The index says the entry went through.
        ASSERT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")),
                  QByteArray("COM1,57600,57600,1\r\n"));
        nextStartAfterPowerCycle();
        ASSERT_EQ(d.mode(), Device::Mode::Loader);
        restartFromFileAtStart(50);
        ui::ResumeCutOffLoad();
    }
};

// Beyond the designed ending ("?????"): the program asks whether the device waits at its
// loader's prompt and loads again (the departure recorded in ARCHITECTURE, so that a user is
// never left with a device in its loader); No keeps the designed ending.
TEST_F(Recovery, LastByteCutIsLoadedAgainWhenTheUserSaysTheLoaderWaits) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 5999;
    Device& d = attachDevice(o);
    const QByteArray file = image(QStringLiteral("3.00"), 6000);
    cutOnTheLastByteThenRestartFromTheFile(d, 6000);
    EXPECT_EQ(scripted->messageTexts(), QStringList{kLoadAgain});
    const QStringList log = logLines();
    const qsizetype notFound = log.indexOf(kNotFound);
    ASSERT_GE(notFound, 0);
    EXPECT_EQ(log.value(notFound + 1),
              QStringLiteral(
                  "Gorda not found after the load: asking whether it shows 'Load frk File now.'"));
    EXPECT_EQ(log.value(notFound + 2),
              QStringLiteral(
                  "Loading the file(s) again from the first, the Gorda at its boot loader prompt"));
    EXPECT_TRUE(
        log.mid(notFound).contains(QStringLiteral("Communications re-established with the Gorda")));
    // The whole image went again, from its first byte, at the transfer speed.
    EXPECT_TRUE(line(1)->wire().contains(file));
    EXPECT_TRUE(d.firmwareValid());
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("3.00"));
    EXPECT_EQ(d.mode(), Device::Mode::Running);
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("3.00"));
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("IDLE"));
    EXPECT_FALSE(restartFileExists());
    EXPECT_FALSE(ui::FW().RestartLoad);
    EXPECT_FALSE(ui::App().RestartBusy);
}

TEST_F(Recovery, LastByteCutLeftAsItIsWhenTheUserSaysNo) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 5999;
    Device& d = attachDevice(o);
    const QByteArray file = image(QStringLiteral("3.00"), 6000);
    scripted->answers.push_back(platform::vbNo);
    cutOnTheLastByteThenRestartFromTheFile(d, 6000);
    EXPECT_EQ(scripted->messageTexts(), QStringList{kLoadAgain});
    EXPECT_EQ(logLines().filter(QStringLiteral("Loading the file(s) again")).size(), 0);
    EXPECT_EQ(logLines().last(),
              QStringLiteral(
                  "Gorda not found after the load: asking whether it shows 'Load frk File now.'"));
    EXPECT_FALSE(line(1)->wire().contains(file.left(100)));
    EXPECT_EQ(d.mode(), Device::Mode::Loader);
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("?????"));
    EXPECT_FALSE(restartFileExists());
}

// The same cut with the program left running, as a user leaves it: after the reboot wait the
// version query goes unanswered (the line is still cut) and the firmware request stands; OK. The
// search fails; at the question the user switches the device off and on (it showed nothing),
// sees "Load frk File now." and answers Yes.
class PowerCycleAtTheQuestion : public platform::ScriptedPlatform {
public:
    std::function<void()> atQuestion;
    int MessageBox(const QString& text, int buttons, const QString& title) override {
        if (text == kLoadAgain && atQuestion)
            atQuestion();
        return ScriptedPlatform::MessageBox(text, buttons, title);
    }
};

TEST_F(Recovery, LastByteCutWithTheProgramLeftRunningIsLoadedAgain) {
    auto owned = std::make_unique<PowerCycleAtTheQuestion>();
    PowerCycleAtTheQuestion* user = owned.get();
    platform::InstallPlatform(std::move(owned));
    scripted = user;
    DeviceOptions o;
    o.faults.cutAtImageByte = 5999;
    Device& d = attachDevice(o);
    const QByteArray file = image(QStringLiteral("3.00"), 6000);
    bool deviceMute = false;
    user->atQuestion = [&] {
        deviceMute = d.lineCut();
        m_device.peer().powerCycle();
    };
    bool requestAnswered = false;
    std::function<void()> okAtTheRequest = [&] {
        if (!ui::WindowExists("FWR") || ui::fwr().isHidden())
            return events.in(10, okAtTheRequest);
        requestAnswered = true;
        ui::fwr().Command1->click();
    };
    events.in(10, okAtTheRequest);
    const qint16 code = ui::LoadTheFiles(false);
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(requestAnswered);
    EXPECT_FALSE(restartFileExists()); // the list went through, as far as the program can tell
    line(1)->clearWire();
    ui::FinishFirmwareLoad(code);
    EXPECT_TRUE(deviceMute);
    EXPECT_EQ(scripted->messageTexts(), QStringList{kLoadAgain});
    EXPECT_TRUE(logLines().contains(kNotFound));
    EXPECT_TRUE(line(1)->wire().contains(file));
    EXPECT_EQ(logLines().last(), QStringLiteral("Communications re-established with the Gorda"));
    EXPECT_TRUE(d.firmwareValid());
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("3.00"));
    EXPECT_FALSE(restartFileExists());
    events.cancelAll();
}

// A load cut before its first page leaves the old firmware whole: switched off and on, the device
// runs it at its own rate. "Use Existing Restart File" then sends the image into the running
// firmware, at the transfer speed, where nothing takes it; after the reboot wait the version
// query goes unanswered and the firmware request stands. Abort leaves it, and the load ends as
// an aborted one, with the firmware still valid. (Abort leaving the request is a departure,
// recorded in ARCHITECTURE: before it only ending the program left this wait.)
TEST_F(Recovery, RestartIntoTheOldFirmwareWaitsOnTheRequestUntilAbort) {
    Device& d = attachDevice({}, 19200);
    image(QStringLiteral("3.00"), 3000);
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    ui::Link().DeviceTalking = false;
    // Whatever still waits after an hour is ended, and shows as a throw.
    events.in(3600 * 1000, [] {
        try {
            platform::EndProgram();
        } catch (const platform::ProgramEnd&) {
        }
    });
    QString captionThen;
    bool requestShown = false;
    std::function<void()> abortAtTheRequest = [&] {
        if (!ui::WindowExists("FWR") || ui::fwr().isHidden())
            return events.in(10, abortAtTheRequest);
        requestShown = true;
        captionThen = l().cmdStart->text();
        l().cmdStart->click();
    };
    events.in(10, abortAtTheRequest);
    ui::RS& w = ui::rs();
    w.show();
    w.Check1->click();
    EXPECT_NO_THROW(ui::RS_cmdReStart_Click());
    EXPECT_TRUE(requestShown);
    EXPECT_EQ(captionThen, QStringLiteral("Abort"));
    EXPECT_TRUE(ui::fwr().isHidden());
    const QStringList log = logLines();
    const qsizetype wait =
        log.indexOf(QStringLiteral("Waiting 10 seconds while Gorda reboots     "));
    ASSERT_GE(wait, 0);
    EXPECT_EQ(log.mid(wait + 1).filter(QStringLiteral("Sent: ")).value(0),
              QStringLiteral("Sent: (STX)2003A9(NUL)(ETX) on COM1 @ 57600"));
    EXPECT_TRUE(log.mid(wait).contains(
        QStringLiteral("End user selecetd to abort the Firmware load in progress     ")));
    EXPECT_EQ(
        log.last(),
        QStringLiteral("The Load failed, but the firmware in the device still may be valid.     "));
    EXPECT_TRUE(scripted->messageTexts().isEmpty()); // no Critical Situation: it still runs
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
    EXPECT_FALSE(l().cmdReStart->isHidden());
    EXPECT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")),
              QByteArray("COM1,19200,57600,1\r\n"));
    EXPECT_EQ(d.mode(), Device::Mode::Running);
    EXPECT_TRUE(d.firmwareValid());
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("1.24"));
    EXPECT_FALSE(ui::App().RestartBusy);
}

// --- the question to put the speed back, after the device was found again

const QString kBackTo57600 =
    QStringLiteral(
        "Confirm Operation: Should the Baud rate be Back to the original from 57600 baud\r\n") +
    QString(30, QLatin1Char(' ')) + QStringLiteral(" (Click 'Continue' or 'Cancel')");
const QString kReEstablished = QStringLiteral("Communications re-established with the Gorda");

class SpeedBack : public Recovery {
protected:
    // The device rebooted at the transfer speed; it was found first at 19200. The prompt is
    // answered once it stands; its text is kept.
    Device& setUp(bool cont) {
        Device& d = attachDevice({}, 57600);
        ui::scl().txtOrigSpeed->setText(QStringLiteral("19200"));
        ui::scl().chkConfirm->setChecked(true);
        answer(cont);
        return d;
    }
    void answer(bool cont) {
        events.in(5, [this, cont] {
            ui::SCL& s = ui::scl();
            if (s.cmdContinue->isHidden())
                return answer(cont);
            prompts << s.lblMessage->text();
            (cont ? s.cmdContinue : s.cmdCancel)->click();
        });
    }
    QStringList prompts;
};

TEST_F(SpeedBack, ContinueSetsTheOriginalSpeedBack) {
    Device& d = setUp(true);
    ASSERT_TRUE(ui::RecoverCommunications());
    EXPECT_EQ(prompts, QStringList{kBackTo57600});
    const QStringList log = logLines();
    const qsizetype set =
        log.indexOf(QStringLiteral("Starting program SetGordaBaudRate with input=19200"));
    ASSERT_GE(set, 0);
    // Asked at the rate the device runs at; then the port follows it to 19200.
    EXPECT_EQ(sentFrom(set).value(0),
              QStringLiteral("Sent: (STX)3005A3(NUL)4(NUL)(ETX) on COM1 @ 57600"));
    EXPECT_TRUE(log.mid(set).contains(
        QStringLiteral("Established Communications with the Gorda @ 19200 Baud     ")));
    EXPECT_EQ(log.last(), kReEstablished);
    EXPECT_EQ(d.baud(), 19200);
    EXPECT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("IDLE"));
}

TEST_F(SpeedBack, CancelLeavesTheTransferSpeed) {
    Device& d = setUp(false);
    const qsizetype before = logLines().size();
    ASSERT_TRUE(ui::RecoverCommunications());
    EXPECT_EQ(prompts, QStringList{kBackTo57600});
    EXPECT_TRUE(sentFrom(before).filter(QStringLiteral("A3")).isEmpty());
    EXPECT_EQ(logLines().last(), kReEstablished);
    EXPECT_EQ(d.baud(), 57600);
    EXPECT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("IDLE"));
}

TEST_F(SpeedBack, EqualSpeedsAskNothing) {
    Device& d = attachDevice({}, 57600); // found first at 57600 too
    ui::scl().chkConfirm->setChecked(true);
    answer(false); // would cancel a prompt that must not come
    const qsizetype before = logLines().size();
    ASSERT_TRUE(ui::RecoverCommunications());
    EXPECT_TRUE(prompts.isEmpty());
    EXPECT_TRUE(sentFrom(before).filter(QStringLiteral("A3")).isEmpty());
    EXPECT_EQ(logLines().last(), kReEstablished);
    EXPECT_EQ(d.baud(), 57600);
    events.cancelAll();
}

// --- Restore Defaults after a load that went through

class Defaults : public Recovery {
protected:
    // The device found again after the load, at the speed it was first found at.
    void finish(const QString& firmware, bool noFwUpdate) {
        attachDevice({}, 57600, firmware);
        ui::SCL& s = ui::scl();
        s.chkDefaults->setChecked(true);
        s.chkNoFWupdate->setChecked(noFwUpdate);
        m_before = logLines().size();
        watchForFrame();
        ui::FinishFirmwareLoad(0);
        m_endMs = platform::Clock::instance().nowMs();
    }
    // The virtual time at which the Exit key ("A2" with "7") reached the wire.
    void watchForFrame() {
        events.in(1, [this] {
            if (line(1)->wire().contains(QByteArray("A2\0"
                                                    "7\0",
                                                    5)))
                m_keyAtMs = platform::Clock::instance().nowMs();
            else
                watchForFrame();
        });
    }
    QStringList after() const { return logLines().mid(m_before); }
    qsizetype m_before = 0;
    qint64 m_keyAtMs = -1;
    qint64 m_endMs = 0;
};

TEST_F(Defaults, CommandRestartModeSendsACWithOne) {
    finish(QStringLiteral("1.24"), false);
    const QStringList log = after();
    const qsizetype found = log.indexOf(kReEstablished);
    ASSERT_GE(found, 0);
    EXPECT_EQ(sentFrom(m_before + found),
              QStringList{QStringLiteral("Sent: (STX)3005AC(NUL)1(NUL)(ETX) on COM1 @ 57600")});
    EXPECT_TRUE(log.filter(QStringLiteral("Navigate")).isEmpty());
    events.cancelAll();
}

TEST_F(Defaults, WithoutTheCommandTheMenuAndEnter) {
    finish(QStringLiteral("1.10b"), false);
    const QStringList log = after();
    const qsizetype found = log.indexOf(kReEstablished);
    ASSERT_GE(found, 0);
    const QStringList rest = log.mid(found + 1);
    EXPECT_EQ(rest.value(0), QStringLiteral("Starting subroutine Navigate with input=4,5"));
    EXPECT_TRUE(sentFrom(m_before + found).filter(QStringLiteral("AC")).isEmpty());
    const qsizetype enter =
        rest.lastIndexOf(QStringLiteral("Sending Navigation Command: 'Enter'     "));
    ASSERT_GE(enter, 0);
    EXPECT_EQ(rest.mid(enter).filter(QStringLiteral("Sent: ")),
              QStringList{QStringLiteral("Sent: (STX)3005A2(NUL)6(NUL)(ETX) on COM1 @ 57600")});
    EXPECT_TRUE(rest.filter(QStringLiteral("'Exit'")).isEmpty());
    events.cancelAll();
}

TEST_F(Defaults, WithoutTheCommandInTestModeTheMenuExitAndAPause) {
    finish(QStringLiteral("1.10b"), true);
    const QStringList rest = after().mid(after().indexOf(kReEstablished) + 1);
    EXPECT_EQ(rest.value(0), QStringLiteral("Starting subroutine Navigate with input=4,5"));
    const qsizetype exit =
        rest.lastIndexOf(QStringLiteral("Sending Navigation Command: 'Exit'     "));
    ASSERT_GE(exit, 0);
    EXPECT_EQ(rest.mid(exit).filter(QStringLiteral("Sent: ")),
              QStringList{QStringLiteral("Sent: (STX)3005A2(NUL)7(NUL)(ETX) on COM1 @ 57600")});
    // The pause after the key: a quarter of a second of the virtual clock.
    ASSERT_GE(m_keyAtMs, 0);
    EXPECT_GE(m_endMs - m_keyAtMs, 250);
    events.cancelAll();
}

TEST_F(Defaults, NothingWithTheBoxClearOrInSimulation) {
    for (bool sim : {false, true}) {
        attachDevice({}, 57600);
        ui::scl().chkDefaults->setChecked(sim);
        ui::scl().chkSim->setChecked(sim);
        const qsizetype before = logLines().size();
        ui::FinishFirmwareLoad(0);
        const QStringList log = logLines().mid(before);
        const qsizetype found = log.indexOf(kReEstablished);
        ASSERT_GE(found, 0) << sim;
        EXPECT_TRUE(log.mid(found).filter(QStringLiteral("Sent: ")).isEmpty()) << sim;
        EXPECT_TRUE(log.mid(found).filter(QStringLiteral("Navigat")).isEmpty()) << sim;
        platform::PortMap::instance().attachPeer(1, nullptr);
        m_device.reset();
    }
}

} // namespace
