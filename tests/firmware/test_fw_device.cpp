// Whole loads against the emulated device on the in-process line, under the virtual clock: the
// update command, the boot loader's banner, page stalls with CTS, the verdict and the reboot;
// and a load cut off mid-image, taken up again from RestartLoader.txt at the next start.

#include "common/DeviceFixture.h"

#include "Device.h"
#include "DevicePeer.h"
#include "Firmware.h"

#include "app/Tools.h"
#include "common/DeviceScript.h"
#include "config/IniLoader.h"
#include "core/config/IniFile.h"
#include "firmware/RS.h"
#include "link/Driver.h"
#include "platform/clock/DoEvents.h"

using namespace telvo;
using namespace telvo::test;
using vorix::sim::Device;
using vorix::sim::DeviceOptions;

namespace {

class DeviceLoad : public DeviceFixture {
protected:
    QString image(const QString& name, const QString& version, qint64 size) {
        writeHomeFile(name, vorix::sim::MakeFirmwareImage(version, size));
        return homeFile(name);
    }
    bool logHasPrefix(const QString& prefix) const {
        for (const QString& l : logLines())
            if (l.startsWith(prefix))
                return true;
        return false;
    }
    // Save and restore end at a breakpoint each: go on at each.
    void goOnAtEachStop() {
        if (!ui::scl().cmdContinue->isHidden() && ui::scl().cmdCancel->isHidden())
            ui::scl().cmdContinue->click();
        events.in(5, [this] { goOnAtEachStop(); });
    }
    // The sample ini's tables, and a device holding the user's input 1 with brightness 17,
    // "Save Settings" ticked.
    Device& userDevice(const DeviceOptions& o) {
        writeHomeFile(QStringLiteral("Telvo.ini"), sampleIni());
        ui::ReadIniFile(1);
        ui::ReadIniFile(2);
        Device& d = attachDevice(o);
        d.settings().set("4C", "1");
        d.settings().set("B1", "17");
        ui::scl().chkSaveRestore->setChecked(true);
        return d;
    }
};

TEST_F(DeviceLoad, CommandIntoTheLoaderPagesWithCtsAndTheNewVersionAfterTheReboot) {
    Device& d = attachDevice({});
    writeHomeFile(
        QStringLiteral("FileList.frl"),
        (image(QStringLiteral("new.frk"), QStringLiteral("2.50"), 12000) + "\r\n").toUtf8());
    int ctsDrops = 0;
    QObject::connect(line(1), &platform::SimulatedLine::ctsChanged, [&] {
        if (!line(1)->cts())
            ++ctsDrops;
    });
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("2.50"));
    EXPECT_TRUE(d.firmwareValid());
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("2.50"));
    // The update command, then the image byte for byte, then the version query.
    const QByteArray wire = line(1)->wire();
    EXPECT_TRUE(wire.startsWith(Set("AD", "1")));
    EXPECT_TRUE(wire.contains(readHomeFile(QStringLiteral("new.frk"))));
    EXPECT_TRUE(wire.endsWith(Query("A9")));
    EXPECT_GE(ctsDrops, 11); // a page every 1024 bytes
    EXPECT_TRUE(logHasPrefix(QStringLiteral("CTS Dropped, Fileposition= ")));
    EXPECT_TRUE(ui::G().ldrText.text().contains(QStringLiteral("Verify OK, version 2.50")));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    EXPECT_EQ(ui::ldr().cmdStart->text(), QStringLiteral("Start"));
}

TEST_F(DeviceLoad, SettingsAreSavedBeforeTheLoadAndRestoredAfterIt) {
    // The sample's setting rows, read as the start-up reads them.
    writeHomeFile(QStringLiteral("Telvo.ini"), sampleIni());
    ui::ReadIniFile(1);
    ui::ReadIniFile(2);
    Device& d = attachDevice({}); // a load wipes the device's settings
    d.settings().set("4C", "1");
    d.settings().set("B1", "17");
    d.settings().set("D3", "3");
    ui::SCL& s = ui::scl();
    s.chkSaveRestore->setChecked(true);
    // Both routines end at a breakpoint: go on at each.
    std::function<void()> goOn = [&] {
        if (!s.cmdContinue->isHidden() && s.cmdCancel->isHidden())
            s.cmdContinue->click();
        events.in(5, goOn);
    };
    events.in(5, goOn);
    ASSERT_TRUE(ui::CheckDeviceReady());
    EXPECT_TRUE(readHomeFile(QStringLiteral("Settings.txt"))
                    .contains("SetState=Input Video 1,4C1; SetParameter=Brightness, B117\r\n"));
    writeHomeFile(
        QStringLiteral("FileList.frl"),
        (image(QStringLiteral("new.frk"), QStringLiteral("2.50"), 3000) + "\r\n").toUtf8());
    const qint16 code = ui::LoadTheFiles(false);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("2.50"));
    d.settings().set("4C", "1");
    EXPECT_NE(d.settings().query("B1").value, QByteArray("17")); // wiped by the load
    const int before = int(logLines().size());
    ui::FinishFirmwareLoad(code);
    // The saved values go back to the device after the load, state by state.
    const QStringList after = logLines().mid(before);
    const int input1 =
        int(after.indexOf(QStringLiteral("Sent: (STX)30054C(NUL)1(NUL)(ETX) on COM1 @ 57600")));
    ASSERT_GE(input1, 0);
    EXPECT_EQ(after.mid(input1 + 1).filter(QStringLiteral("Sent: ")).value(0),
              QStringLiteral("Sent: (STX)3006B1(NUL)17(NUL)(ETX) on COM1 @ 57600"));
    EXPECT_EQ(d.settings().query("D3").value, QByteArray("3"));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Breakpoint: All settings have been restored to the Gorda")));
}

TEST_F(DeviceLoad, FailureMidImageAsksAndTheRestartLoadsTheWholeFile) {
    DeviceOptions o;
    o.faults.failAtImageByte = 3000;
    Device& d = attachDevice(o);
    writeHomeFile(
        QStringLiteral("FileList.frl"),
        (image(QStringLiteral("new.frk"), QStringLiteral("2.60"), 9000) + "\r\n").toUtf8());
    // Without confirmation the question answers itself; the user then confirms the prompt.
    answerPrompt(true);
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("2.60"));
    EXPECT_TRUE(logHasPrefix(QStringLiteral("Transfer Failed, ")));
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("2.60"));
}

TEST_F(DeviceLoad, CutOffLoadIsTakenUpFromTheRestartFileAtTheNextStart) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 4000;
    Device& d = attachDevice(o);
    const QString file = image(QStringLiteral("new.frk"), QStringLiteral("3.00"), 10000);
    writeHomeFile(QStringLiteral("FileList.frl"), (file + "\r\n").toUtf8());
    // The cable is cut mid-image; the program hangs in its drain wait until it is killed.
    killWhen([&d] { return d.lineCut(); }, 2000, 10);
    EXPECT_THROW(ui::LoadTheFiles(false), platform::ProgramEnd);
    EXPECT_FALSE(d.firmwareValid());
    EXPECT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")),
              QByteArray("COM1,57600,57600,0\r\n"));

    // The next start: a fresh run; the device was switched off and on and waits in its loader.
    nextStartAfterPowerCycle();
    ASSERT_EQ(d.mode(), Device::Mode::Loader);
    restartFromFileAtStart(50);
    ui::ResumeCutOffLoad();
    EXPECT_TRUE(d.firmwareValid());
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("3.00"));
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("3.00"));
    EXPECT_TRUE(line(1)->wire().startsWith(readHomeFile(QStringLiteral("new.frk")).left(100)));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Using Restart file to restart the loader")));
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Communications re-established with the Gorda")));
}

const QString kBrightness17 = QStringLiteral("Sent: (STX)3006B1(NUL)17(NUL)(ETX) on COM1 @ 57600");

TEST_F(DeviceLoad, RestoreAfterTheLoadUsesOnlyTheFileThisLoadWrote) {
    userDevice({});
    goOnAtEachStop();
    ASSERT_TRUE(ui::CheckDeviceReady());
    // Another save (another session's) replaces Settings.txt while the load runs.
    QByteArray other = readHomeFile(QStringLiteral("Settings.txt"));
    other.replace("B117", "B142");
    writeHomeFile(QStringLiteral("Settings.txt"), other);
    writeHomeFile(
        QStringLiteral("FileList.frl"),
        (image(QStringLiteral("new.frk"), QStringLiteral("2.50"), 3000) + "\r\n").toUtf8());
    const qint16 code = ui::LoadTheFiles(false);
    ASSERT_EQ(code, 0);
    ui::FinishFirmwareLoad(code);
    EXPECT_TRUE(logLines().contains(kBrightness17));
    EXPECT_FALSE(
        logLines().contains(QStringLiteral("Sent: (STX)3006B1(NUL)42(NUL)(ETX) on COM1 @ 57600")));
    EXPECT_FALSE(QFile::exists(ui::LoadSettingsPath()));
}

// Beyond the design (recorded in ARCHITECTURE): the load's own copy of the settings outlives a
// restore that did not go through whole, so that a user never loses the saved settings.
TEST_F(DeviceLoad, RestoreCancelledAfterTheLoadKeepsItsSettingsForTheNextOffer) {
    Device& d = userDevice({});
    ui::SCL& s = ui::scl();
    // Continue at every question but the refusal of a state in the restore.
    QString question;
    std::function<void()> user = [&] {
        events.in(5, user);
        if (s.cmdCancel->isHidden() || s.cmdContinue->isHidden())
            return;
        if (s.lblMessage->text().contains(QStringLiteral("Could not set the "))) {
            question = s.lblMessage->text();
            s.cmdCancel->click();
        } else {
            s.cmdContinue->click();
        }
    };
    events.in(5, user);
    goOnAtEachStop();
    ASSERT_TRUE(ui::CheckDeviceReady());
    const QByteArray saved = readHomeFile(QStringLiteral("LoadSettings.txt"));
    ASSERT_TRUE(saved.contains("B117"));
    writeHomeFile(
        QStringLiteral("FileList.frl"),
        (image(QStringLiteral("new.frk"), QStringLiteral("2.50"), 3000) + "\r\n").toUtf8());
    const qint16 code = ui::LoadTheFiles(false);
    ASSERT_EQ(code, 0);
    // The new firmware refuses the input: the user cancels the restore at its question.
    d.options().faults.errorFor.insert("4C", 4);
    s.chkConfirm->setChecked(true);
    ui::FinishFirmwareLoad(code);
    EXPECT_TRUE(question.startsWith(
        QStringLiteral("Confirm Operation: Could not set the Gorda state to Input Video 1")))
        << qPrintable(question);
    EXPECT_FALSE(logLines().contains(
        QStringLiteral("Breakpoint: All settings have been restored to the Gorda")));
    // Not put back whole: the load's copy stays, unchanged, for the offer of the next start.
    EXPECT_EQ(readHomeFile(QStringLiteral("LoadSettings.txt")), saved);

    // The device takes the input again; the next start's offer (taken) puts everything back.
    d.options().faults.errorFor.clear();
    const qsizetype from = logLines().size();
    ui::RestoreSettingsOfCutOffLoad();
    const QStringList after = logLines().mid(from);
    EXPECT_TRUE(after.contains(kBrightness17));
    EXPECT_TRUE(
        after.contains(QStringLiteral("Breakpoint: All settings have been restored to the Gorda")));
    EXPECT_FALSE(QFile::exists(ui::LoadSettingsPath()));
}

TEST_F(DeviceLoad, ResumedLoadBringsBackTheSettingsTheCutOffLoadSaved) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 2500;
    Device& d = userDevice(o);
    goOnAtEachStop();
    ASSERT_TRUE(ui::CheckDeviceReady());
    writeHomeFile(
        QStringLiteral("FileList.frl"),
        (image(QStringLiteral("new.frk"), QStringLiteral("3.10"), 6000) + "\r\n").toUtf8());
    killWhen([&d] { return d.lineCut(); }, 2000, 10);
    EXPECT_THROW(ui::LoadTheFiles(false), platform::ProgramEnd);
    const QByteArray restartLine = readHomeFile(QStringLiteral("RestartLoader.txt"));
    EXPECT_EQ(restartLine, QByteArray("COM1,57600,57600,0\r\n")); // as the load writes it

    // The next start: the box is clear (as the ini leaves it) and the device was power-cycled.
    events.cancelAll();
    platform::ResetProgramEnded();
    ui::ResetSession();
    initControls();
    ui::ReadIniFile(1);
    ui::ReadIniFile(2);
    prepare();
    ui::Link().PowerState.clear();
    m_device.peer().powerCycle();
    ui::scl().chkSaveRestore->setChecked(false); // this run's user did not tick it
    goOnAtEachStop();
    restartFromFileAtStart(50);
    ui::ResumeCutOffLoad();
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("3.10"));
    EXPECT_TRUE(logLines().contains(kBrightness17));
    EXPECT_FALSE(QFile::exists(ui::LoadSettingsPath()));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Breakpoint: All settings have been restored to the Gorda")));
}

} // namespace
