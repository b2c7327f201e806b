// The start-up in its order, the command-line words, and the ways out.

#include "common/Fixture.h"

#include "app/Main.h"
#include "config/FP.h"
#include "config/INI.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QDir>
#include <QTest>

using namespace telvo;

namespace {

const QByteArray kA1On = platform::DeviceFrame("21", QByteArray("A1\0"
                                                                "1\0",
                                                                5));

class Start : public test::RunFixture {
protected:
    // A device on COM1 that answers the probe and the model and firmware reads.
    platform::ScriptedPeer& device() {
        auto& peer = attachPeer(1, 19200, false);
        peer.on(test::Bytes(QStringLiteral("(STX)2003A1(NUL)(ETX)")), kA1On);
        peer.on(test::Bytes(QStringLiteral("(STX)2003A9(NUL)(ETX)")),
                platform::DeviceFrame("21", QByteArray("A9\0"
                                                       "1.24\0",
                                                       8)));
        peer.on(test::Bytes(QStringLiteral("(STX)2003A8(NUL)(ETX)")),
                platform::DeviceFrame("21", QByteArray("A8\0"
                                                       "Gorda\0",
                                                       9)));
        return peer;
    }
    // Runs Main; true when the program ended inside it.
    bool runMain(const QString& commandLine = QString()) {
        ui::SetCommandLine(commandLine);
        try {
            ui::Main();
        } catch (const platform::ProgramEnd&) {
            return true;
        }
        return false;
    }
    void ini(const QByteArray& system, const QByteArray& rest = QByteArray()) {
        writeHomeFile(QStringLiteral("Telvo.ini"), "[SYSTEM]\r\n" + system + rest);
    }
};

TEST_F(Start, MissingIniEndsTheProgramWithItsMessage) {
    EXPECT_TRUE(runMain());
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("There is no INI file, Program may not continue")});
    EXPECT_EQ(scripted->ends, 1);
}

TEST_F(Start, IniOfOnlyCommentsEndsSilently) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "' nothing here\r\n\r\n   ' still nothing\r\n");
    EXPECT_TRUE(runMain());
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    EXPECT_EQ(scripted->ends, 1);
}

TEST_F(Start, TemplateCancelledEndsWithItsMessage) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "PROTOTYPE\r\n[SYSTEM]\r\nModel = \r\n");
    at(1000, [] { QTest::mouseClick(ui::ini().cmdCancel, Qt::LeftButton); });
    EXPECT_TRUE(runMain());
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral(
                  "INI file could not be initialized or user cancelled initialization")});
}

TEST_F(Start, ResetWordWithCancelledFirstRunEndsBeforeDefaultsAreSet) {
    ini("Model = Gorda\r\nPort = 2\r\n");
    at(1000, [] { QTest::mouseClick(ui::ini().cmdCancel, Qt::LeftButton); });
    EXPECT_TRUE(runMain(QStringLiteral("\\Reset")));
    EXPECT_TRUE(QFile::exists(homeFile(QStringLiteral("Telvoold.ini"))));
    EXPECT_TRUE(readHomeFile(QStringLiteral("Telvo.ini")).startsWith("PROTOTYPE"));
    // Step 7 ended the run: the defaults of step 8 never came.
    EXPECT_EQ(ui::scl().txtTO->text(), QString());
    EXPECT_EQ(ui::App().DeviceState, QString());
}

TEST_F(Start, AnyTextHoldingTheResetWordTriggersTheReset) {
    ini("Model = Gorda\r\n");
    at(1000, [] { QTest::mouseClick(ui::ini().cmdCancel, Qt::LeftButton); });
    runMain(QStringLiteral("/home/x/Data\\Resetting/telvo"));
    EXPECT_TRUE(QFile::exists(homeFile(QStringLiteral("Telvoold.ini"))));
}

TEST_F(Start, LogOfThePreviousRunIsDeletedAtStart) {
    writeHomeFile(QStringLiteral("LogFile.txt"), "old run\r\n");
    ini("Model = Gorda\r\nCurrent Firmware = 1.24\r\nSimulation = True\r\nAuto Start = False\r\n");
    device();
    EXPECT_FALSE(runMain());
    EXPECT_FALSE(logLines().contains(QStringLiteral("old run")));
}

TEST_F(Start, TitleCarriesModelAndVersion) {
    ini("Model = Gorda\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\n");
    device();
    EXPECT_FALSE(runMain());
    EXPECT_EQ(ui::scl().windowTitle(), QStringLiteral("Gorda Utility Program   v2.0.151"));
    EXPECT_FALSE(ui::scl().isHidden());
}

TEST_F(Start, WithoutAutoOpenOnlyOpenAndEndAreUsable) {
    ini("Model = Gorda\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\n");
    auto& peer = device();
    EXPECT_FALSE(runMain());
    ui::SCL& s = ui::scl();
    EXPECT_TRUE(s.cmdOpen->isEnabled());
    EXPECT_TRUE(s.cmdEnd->isEnabled());
    EXPECT_FALSE(s.cmdStart->isEnabled());
    EXPECT_FALSE(s.cmdRefreshAll->isEnabled());
    EXPECT_TRUE(peer.heard().isEmpty());
    EXPECT_EQ(s.lblMessage->text(), QString());
}

TEST_F(Start, DefaultFirmwareFolderIsMadeButAConfiguredOneNever) {
    ini("Model = Gorda\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\n");
    device();
    runMain();
    EXPECT_TRUE(QDir(homeFile(QStringLiteral("Firmware Files"))).exists());
    EXPECT_EQ(ui::Config().FirmwareDir, home() + QStringLiteral("\\Firmware Files\\"));
}

TEST_F(Start, ConfiguredFirmwareFolderIsNeverCreated) {
    const QString wanted = homeFile(QStringLiteral("elsewhere"));
    ini("Model = Gorda\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\nFirmware Folder = " +
        wanted.toUtf8() + "\r\n");
    device();
    runMain();
    EXPECT_FALSE(QDir(wanted).exists());
    EXPECT_FALSE(QDir(homeFile(QStringLiteral("Firmware Files"))).exists());
}

TEST_F(Start, BeginnerLevelConnectsEvenWithoutAutoOpen) {
    ini("Model = Gorda\r\nUser Level = 1\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\n");
    auto& peer = device();
    runMain();
    EXPECT_FALSE(peer.frames().isEmpty());
    EXPECT_EQ(ui::scl().txtState->text(), QStringLiteral("Powered"));
}

TEST_F(Start, LaterOfAutoStartAndAutoOpenWins) {
    ini("Model = Gorda\r\nCurrent Firmware = 1.24\r\nAUTOSTART=TRUE\r\nAUTOOPEN=FALSE\r\n");
    auto& peer = device();
    runMain();
    EXPECT_FALSE(ui::Config().AutoOpen);
    EXPECT_TRUE(peer.heard().isEmpty());
}

TEST_F(Start, DebuggerWordOverridesBeginnerLevel) {
    ini("Model = Gorda\r\nUser Level = 1\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\n");
    auto& peer = device();
    runMain(QStringLiteral("frkDEBUGGER"));
    EXPECT_TRUE(ui::App().DebuggerMode);
    EXPECT_EQ(ui::Config().UserLevel, 0);
    EXPECT_TRUE(peer.heard().isEmpty()) << "level 0 without auto open does not connect";
    EXPECT_FALSE(ui::scl().cmdDebugger->isHidden());
}

TEST_F(Start, SimulationFromTheFileConnectsWithoutTouchingTheLine) {
    ini("Model = Gorda\r\nSimulation = True\r\nAuto Start = True\r\nCurrent Firmware = 1.24\r\n");
    auto& peer = device();
    runMain();
    ui::SCL& s = ui::scl();
    EXPECT_TRUE(s.chkSim->isChecked());
    EXPECT_EQ(s.txtPort->text(), QStringLiteral("COM1"));
    EXPECT_EQ(s.txtFirmware->text(), QStringLiteral("1.10"));
    EXPECT_EQ(s.txtState->text(), QStringLiteral("Powered"));
    EXPECT_TRUE(peer.heard().isEmpty());
    EXPECT_FALSE(s.P1->PortOpen());
}

TEST_F(Start, AutoOpenFindsTheDeviceAndReadsIt) {
    ini("Model = Gorda\r\nPort = 1\r\nBaud = 19200\r\nAuto Start = True\r\nCurrent Firmware = "
        "1.24\r\n");
    auto& peer = device();
    runMain();
    ui::SCL& s = ui::scl();
    EXPECT_EQ(s.txtState->text(), QStringLiteral("Powered"));
    EXPECT_EQ(s.txtPort->text(), QStringLiteral("COM1"));
    EXPECT_EQ(s.txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_TRUE(s.P1->PortOpen());
    EXPECT_EQ(peer.frames().first(), test::Bytes(QStringLiteral("(STX)2003A1(NUL)(ETX)")));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Starting Subroutine GetProbeMode")));
}

TEST_F(Start, NoSerialPortEndsTheProgram) {
    ini("Model = Gorda\r\nMax Ports = 4\r\nAuto Start = False\r\n");
    platform::PortMap::instance().setPorts({QStringLiteral("/dev/telvo-none")});
    EXPECT_TRUE(runMain());
    EXPECT_EQ(ui::fp().Label1->text(),
              QStringLiteral("There were no Com Ports found on this machine."));
}

TEST_F(Start, NoSerialPortWithZeroMaxPortsSaysSoInAMessageBox) {
    ini("Model = Gorda\r\nMax Ports = 0\r\n");
    EXPECT_TRUE(runMain());
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("There were no Com Ports found on this machine.")});
}

TEST_F(Start, BadlyFormedPanelNumberIsToldAndMalformedLinesAreSkipped) {
    ini("Model = Gorda\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\n",
        "[COMMANDS]\r\nBrightness = 3A ; 0..9\r\nno equals sign here\r\nContrast = [1] B2 ; "
        "-50..50 ;\r\n");
    device();
    EXPECT_FALSE(runMain());
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Badly formed index number in command 'Brightness'")});
    const core::CommandTable& c = ui::Config().Commands;
    ASSERT_EQ(core::TableRows(c), 2);
    EXPECT_EQ(c[1].Panel, 3);
    EXPECT_EQ(c[2].Name, QStringLiteral("Contrast"));
    EXPECT_EQ(c[2].MinText, QStringLiteral("-50"));
}

class End : public Start {
protected:
    void SetUp() override {
        Start::SetUp();
        ini("Model = Gorda\r\nAuto Start = False\r\nCurrent Firmware = 1.24\r\nExit Speed = "
            "57600\r\n");
        peer = &device();
        ASSERT_FALSE(runMain());
    }
    bool press(Qt::KeyboardModifiers mods = Qt::NoModifier) {
        try {
            QTest::mousePress(ui::scl().cmdEnd, Qt::LeftButton, mods);
            platform::ThrowIfEnded();
        } catch (const platform::ProgramEnd&) {
            return true;
        }
        return platform::ProgramEnded();
    }
    platform::ScriptedPeer* peer = nullptr;
};

TEST_F(End, PressOfEndEndsTheProgramBeforeItsRelease) {
    EXPECT_TRUE(press());
    EXPECT_EQ(scripted->ends, 1);
}

TEST_F(End, EndLeavesTheDeviceAtExitSpeed) {
    ui::SCL& s = ui::scl();
    s.txtPort->setText(QStringLiteral("COM1"));
    s.txtCrntSpeed->setText(QStringLiteral("19200"));
    s.P1->setCommPort(1);
    s.P1->setSettings(QStringLiteral("19200,n,8,1"));
    s.P1->setRThreshold(1);
    s.P1->setPortOpen(true);
    peer->on({}, platform::DeviceFrame("01", QByteArray("1\0"
                                                        "30\0",
                                                        5)));
    EXPECT_TRUE(press());
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Starting program SetGordaBaudRate with input=57600")));
    EXPECT_EQ(peer->frames().first(), test::Bytes(QStringLiteral("(STX)3005A3(NUL)6(NUL)(ETX)")));
}

TEST_F(End, EndInSimulationRestoresNoSpeed) {
    ui::scl().chkSim->click();
    EXPECT_TRUE(press());
    EXPECT_FALSE(
        logLines().contains(QStringLiteral("Starting program SetGordaBaudRate with input=57600")));
}

TEST_F(End, EndAfterAFailedSearchWarnsOfTheClosingPort) {
    ui::App().NoDeviceFound = true;
    ui::SCL& s = ui::scl();
    s.P1->setCommPort(1);
    s.P1->setPortOpen(true);
    EXPECT_TRUE(press());
    EXPECT_FALSE(s.cmdEnd->isEnabled());
    EXPECT_TRUE(logLines().contains(QStringLiteral(
        "Closing the Com Port. This will take a few tens of seconds, please wait     ")));
    EXPECT_FALSE(s.P1->PortOpen());
}

TEST_F(End, ClosingTheMainWindowEndsAtOnceWithoutRestoringSpeed) {
    ui::scl().close();
    EXPECT_TRUE(platform::ProgramEnded());
    EXPECT_FALSE(
        logLines().contains(QStringLiteral("Starting program SetGordaBaudRate with input=57600")));
}

} // namespace
