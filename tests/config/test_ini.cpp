// The first run: the INI window led through a template Telvo.ini, its rewrites through
// Telvo.new, the reset to the template, and the two small windows that write one key each.

#include "common/Accessible.h"
#include "common/Fixture.h"

#include "common/DeviceScript.h"

#include "app/Main.h"
#include "config/FP.h"
#include "config/FWR.h"
#include "config/INI.h"
#include "config/IniLoader.h"
#include "config/MDL.h"
#include "core/text/Classic.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace telvo;
using namespace telvo::test;

namespace {

const QByteArray kTemplate = "PROTOTYPE\r\n"
                             "' Telvo Utility set-up: the first start fills this in.\r\n"
                             "[SYSTEM]\r\n"
                             "Model = \r\n"
                             "Options = None\r\n"
                             "Vorix Models = Fenna, Gorda, Hesta\r\n"
                             "Baud Rates = 19200:4, 57600:6, 38400:5\r\n"
                             "Baud = 19200\r\n"
                             "  Transfer Speed = 57600\r\n"
                             "Max Ports = 4\r\n"
                             "Port = 1\r\n"
                             "Auto Start = False\r\n"
                             "Vorix Connected = True\r\n"
                             "Current Firmware = \r\n"
                             "User Level = 0\r\n"
                             "Time Out = 250\r\n"
                             "\r\n"
                             "[COMMANDS]\r\n"
                             "Model/R = [3] A8 ; ;\r\n"
                             "Brightness = [1] B1 ; -50..50 ;\r\n";

class FirstRun : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        QStringList entries;
        for (int i = 1; i <= 4; ++i)
            entries << QStringLiteral("/nonexistent/telvo-port-%1").arg(i);
        platform::PortMap::instance().setPorts(entries);
        attachPeer(2, 19200, false);
        attachPeer(3, 19200, false);
        writeHomeFile(QStringLiteral("Telvo.ini"), kTemplate);
    }
    ui::INI& w() { return ui::ini(); }
    // On the indicator of a check or option box, wherever the layout stretched it.
    void click(QAbstractButton* b) {
        const bool box = qobject_cast<QCheckBox*>(b) || qobject_cast<QRadioButton*>(b);
        QTest::mouseClick(b, Qt::LeftButton, {},
                          box ? QPoint(6, b->height() / 2) : b->rect().center());
    }
    void type(QLineEdit* box, const QString& text) {
        box->selectAll();
        QTest::keyClick(box, Qt::Key_Delete);
        QTest::keyClicks(box, text);
    }
    // Runs `fn` once the first-run window stands loaded, from inside the wait on it.
    void whenLoaded(std::function<void()> fn) {
        m_events.in(10, [this, fn] {
            if (!w().isHidden() && w().txtFirmware->text() == QLatin1String("Unknown")) {
                m_shown = true;
                fn();
            } else {
                whenLoaded(fn);
            }
        });
    }
    void TearDown() override {
        m_events.cancelAll();
        RunFixture::TearDown();
    }
    QByteArray ini() { return readHomeFile(QStringLiteral("Telvo.ini")); }
    TestEvents m_events;
    bool m_shown = false;
};

TEST_F(FirstRun, TemplateLedThroughWindowGivesRewrittenFile) {
    QStringList fpLabels;
    m_events.in(1, [&] { fpLabels << ui::fp().Label1->text(); });
    whenLoaded([&] {
        fpLabels << (ui::fp().isHidden() ? QStringLiteral("hidden") : QStringLiteral("shown"));
        w().lstModels->setCurrentIndex(1);
        type(w().txtFirmware, QStringLiteral("1.24"));
        w().lstBaudRates->setCurrentIndex(1);
        w().lstPorts->setCurrentIndex(1);
        click(w().chkSDI);
        click(w().optAdvanced);
        click(w().optAutoYes);
        click(w().cmdDone);
    });
    EXPECT_TRUE(ui::CheckIniFile());
    EXPECT_TRUE(m_shown);
    EXPECT_TRUE(w().isHidden());
    EXPECT_TRUE(w().IniDone);
    EXPECT_EQ(fpLabels, (QStringList{QStringLiteral("Number of COM Ports Found = 2"),
                                     QStringLiteral("hidden")}));
    EXPECT_EQ(ini(), QByteArray("' Telvo Utility set-up: the first start fills this in.\r\n"
                                "[SYSTEM]\r\n"
                                "Model = Gorda\r\n"
                                "Options = SDI\r\n"
                                "Vorix Models = Fenna, Gorda, Hesta\r\n"
                                "Baud Rates = 19200:4, 57600:6, 38400:5\r\n"
                                "Baud = 57600\r\n"
                                "Transfer Speed = 57600\r\n"
                                "Max Ports = 4\r\n"
                                "Port = 3\r\n"
                                "Auto Start = True\r\n"
                                "Vorix Connected = True\r\n"
                                "Current Firmware = 1.24\r\n"
                                "User Level = 0\r\n"
                                "Time Out = 250\r\n"
                                "\r\n"
                                "[COMMANDS]\r\n"
                                "Model/R = [3] A8 ; ;\r\n"
                                "Brightness = [1] B1 ; -50..50 ;\r\n"));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Telvo.new"))));
    // The word is gone: the window does not come again.
    ui::ResetSession();
    EXPECT_TRUE(ui::CheckIniFile());
    EXPECT_FALSE(ui::WindowExists("INI"));
}

TEST_F(FirstRun, WindowStartsWithItsTextsAndDefaults) {
    QStringList seen;
    whenLoaded([&] {
        seen << w().lblInstr->text() << w().txtFirmware->text() << w().Label8->text();
        for (int i = 0; i < w().lstModels->count(); ++i)
            seen << w().lstModels->itemText(i);
        for (int i = 0; i < w().lstBaudRates->count(); ++i)
            seen << w().lstBaudRates->itemText(i);
        for (int i = 0; i < w().lstPorts->count(); ++i)
            seen << w().lstPorts->itemText(i);
        seen << QString::number(w().optBeginner->isChecked())
             << QString::number(w().optIRno->isChecked())
             << QString::number(w().optAutoNo->isChecked());
        click(w().cmdCancel);
    });
    EXPECT_FALSE(ui::CheckIniFile());
    EXPECT_EQ(seen, (QStringList{
                        QStringLiteral("The initialization of the ini file by the user has started "
                                       "because the first word in the Telvo.ini file is "
                                       "'PROTOTYPE'.\r\n\r\nThe user should now fill in the items "
                                       "being requested below. \r\n\r\nIf the firmware revision "
                                       "is not sure leave as unknown. "),
                        QStringLiteral("Unknown"),
                        QStringLiteral("SELECT the Com Port your Telvo Scaler is connected to"),
                        QStringLiteral("Fenna"), QStringLiteral("Gorda"), QStringLiteral("Hesta"),
                        QStringLiteral("19200"), QStringLiteral("57600"), QStringLiteral("38400"),
                        QStringLiteral("COM2"), QStringLiteral("COM3"), QStringLiteral("1"),
                        QStringLiteral("1"), QStringLiteral("1")}));
    EXPECT_EQ(w().windowTitle(), QStringLiteral("INI File Initialization"));
}

TEST_F(FirstRun, CancelLeavesTheFileAndEndsWithMessage) {
    whenLoaded([&] { click(w().cmdCancel); });
    EXPECT_FALSE(ui::CheckIniFile());
    EXPECT_FALSE(w().IniDone);
    EXPECT_EQ(ini(), kTemplate);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral(
                  "INI file could not be initialized or user cancelled initialization")});
}

TEST_F(FirstRun, KeysAreFoundIgnoringCaseButNotWithoutTheirBlanks) {
    writeHomeFile(
        QStringLiteral("Telvo.ini"),
        "Prototype\r\n[SYSTEM]\r\nMODEL=\r\nCurrentFirmware=\r\nVorix Models = Gorda\r\n");
    whenLoaded([&] {
        type(w().txtFirmware, QStringLiteral("1.30"));
        click(w().cmdDone);
    });
    EXPECT_TRUE(ui::CheckIniFile());
    EXPECT_EQ(
        ini(),
        QByteArray("[SYSTEM]\r\nModel = Gorda\r\nCurrentFirmware=\r\nVorix Models = Gorda\r\n"));
}

TEST_F(FirstRun, IRGeneratorOnlyGivesDeviceNotConnectedAndIRToolNextTime) {
    whenLoaded([&] {
        click(w().optIRyes);
        EXPECT_TRUE(w().frmoptional->isHidden());
        click(w().optIRno);
        EXPECT_FALSE(w().frmoptional->isHidden());
        // An accessibility tool's "Toggle" runs the same Clicks.
        EXPECT_TRUE(accessibleToggle(w().optIRyes));
        EXPECT_TRUE(w().frmoptional->isHidden());
        EXPECT_TRUE(accessibleToggle(w().optIRno));
        EXPECT_FALSE(w().frmoptional->isHidden());
        click(w().optIRyes);
        click(w().cmdDone);
    });
    EXPECT_TRUE(ui::CheckIniFile());
    EXPECT_TRUE(ini().contains("\r\nVorix Connected = False\r\n"));
    ui::InitDefaults();
    ui::ReadIniFile(1);
    EXPECT_TRUE(ui::Config().NoDeviceMode);
}

TEST_F(FirstRun, UnknownFirmwareInAnyCaseGivesEmptyVersion) {
    for (const char* word : {"Unknown", "UNKNOWN", "unknown"}) {
        writeHomeFile(QStringLiteral("Telvo.ini"), kTemplate);
        ui::ResetSession();
        whenLoaded([&] {
            type(w().txtFirmware, QString::fromLatin1(word));
            click(w().cmdDone);
        });
        EXPECT_TRUE(ui::CheckIniFile());
        EXPECT_TRUE(ini().contains("\r\nCurrent Firmware = \r\n")) << word;
    }
}

TEST_F(FirstRun, OptionsAndUserLevelAreWrittenAsChosen) {
    whenLoaded([&] {
        click(w().chkFRKDI);
        click(w().chkSDI);
        click(w().cmdDone);
    });
    EXPECT_TRUE(ui::CheckIniFile());
    EXPECT_TRUE(ini().contains("\r\nOptions = FRKDI SDI\r\n"));
    EXPECT_TRUE(ini().contains("\r\nUser Level = 1\r\n"));
    EXPECT_TRUE(ini().contains("\r\nAuto Start = False\r\n"));
    EXPECT_TRUE(ini().contains("\r\nModel = Fenna\r\n"));
}

TEST_F(FirstRun, HestaHasNoFrkdiOption) {
    whenLoaded([&] {
        w().lstModels->setCurrentIndex(2);
        EXPECT_FALSE(w().chkFRKDI->isEnabled());
        w().lstModels->setCurrentIndex(1);
        EXPECT_TRUE(w().chkFRKDI->isEnabled());
        click(w().cmdCancel);
    });
    EXPECT_FALSE(ui::CheckIniFile());
}

TEST_F(FirstRun, WithoutPortsThePortIsTyped) {
    platform::PortMap::instance().setPorts({});
    whenLoaded([&] {
        EXPECT_EQ(w().Label8->text(),
                  QStringLiteral("SET the Com Port your Telvo Scaler is connected to"));
        EXPECT_TRUE(w().lstPorts->isHidden());
        EXPECT_FALSE(w().txtPort->isHidden());
        EXPECT_EQ(w().txtPort->text(), QStringLiteral("COM1"));
        type(w().txtPort, QStringLiteral("COM7"));
        click(w().cmdDone);
    });
    EXPECT_TRUE(ui::CheckIniFile());
    EXPECT_TRUE(ini().contains("\r\nPort = 7\r\n"));
    EXPECT_TRUE(ui::G().driver.lstComPorts.isEmpty());
}

TEST_F(FirstRun, ScanThatAlreadyRanIsNotRepeated) {
    ui::G().driver.lstComPorts = {QStringLiteral("COM9")};
    ui::G().driver.PortsEnumerated = true;
    whenLoaded([&] {
        EXPECT_FALSE(ui::WindowExists("FP"));
        EXPECT_EQ(w().lstPorts->count(), 1);
        click(w().cmdDone);
    });
    EXPECT_TRUE(ui::CheckIniFile());
    EXPECT_TRUE(ini().contains("\r\nPort = 9\r\n"));
}

TEST_F(FirstRun, ModelListOfOneModelHasNoneAboveItOnlyInModelWindow) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "[SYSTEM]\r\nVorix Models = Gorda\r\n");
    ui::InitDefaults();
    ui::ReadIniFile(1);
    ui::mdl().show();
    QStringList items;
    for (int i = 0; i < ui::mdl().lstModels->count(); ++i)
        items << ui::mdl().lstModels->item(i)->text();
    EXPECT_EQ(items, (QStringList{QStringLiteral("None"), QStringLiteral("Gorda")}));
    EXPECT_EQ(ui::mdl().windowTitle(), QStringLiteral("Enter Vorix Model Number"));
    ui::ini().show();
    EXPECT_EQ(ui::ini().lstModels->count(), 1);
    EXPECT_EQ(ui::ini().lstModels->itemText(0), QStringLiteral("Gorda"));
}

TEST_F(FirstRun, ResetBringsTemplateBackAndKeepsTheOldFile) {
    const QByteArray done = "[SYSTEM]\r\nModel = Gorda\r\nOptions = SDI\r\nBaud = 57600\r\n"
                            "  Port = 3\r\nAuto Start = True\r\nVorix Connected = False\r\n"
                            "Current Firmware = 1.24\r\nUser Level = 1\r\nTime Out = 250\r\n";
    writeHomeFile(QStringLiteral("Telvo.ini"), done);
    writeHomeFile(QStringLiteral("Telvo.new"), "half a file");
    ui::ini().ResetINI();
    EXPECT_EQ(ini(),
              QByteArray("PROTOTYPE\r\n[SYSTEM]\r\nModel = \r\nOptions = None\r\nBaud = 19200\r\n"
                         "Port = 1\r\nAuto Start = False\r\nVorix Connected = True\r\n"
                         "Current Firmware = \r\nUser Level = 0\r\nTime Out = 250\r\n"));
    EXPECT_EQ(readHomeFile(QStringLiteral("Telvoold.ini")), done);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Telvo.new"))));
}

TEST_F(FirstRun, ResetWordOnCommandLineShowsTheWindowAgainAtThatStart) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "[SYSTEM]\r\nModel = Gorda\r\n");
    ui::SetCommandLine(QStringLiteral("C:\\Reset\\telvo.exe"));
    whenLoaded([&] { click(w().cmdCancel); });
    EXPECT_THROW(ui::Main(), platform::ProgramEnd);
    EXPECT_TRUE(m_shown);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral(
                  "INI file could not be initialized or user cancelled initialization")});
    EXPECT_EQ(readHomeFile(QStringLiteral("Telvoold.ini")),
              QByteArray("[SYSTEM]\r\nModel = Gorda\r\n"));
    EXPECT_EQ(ini(), QByteArray("PROTOTYPE\r\n[SYSTEM]\r\nModel = \r\n"));
}

TEST_F(FirstRun, OneItemRewriteKeepsOtherLinesAsReadAndACopy) {
    const QByteArray before = "[SYSTEM]\r\n  model=Gorda   \r\nModel Name = x\r\nModel\r\n";
    writeHomeFile(QStringLiteral("Telvo.ini"), before);
    writeHomeFile(QStringLiteral("Telvo.old"), "older");
    ui::ini().UpdateINIitem(QStringLiteral("Model"), QStringLiteral("Hesta"));
    EXPECT_EQ(ini(), QByteArray("[SYSTEM]\r\nModel = Hesta\r\nModel Name = x\r\nModel\r\n"));
    EXPECT_EQ(readHomeFile(QStringLiteral("Telvo.old")), before);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Telvo.new"))));
}

TEST_F(FirstRun, FirmwareWindowWritesTheVersionOnOkButNotOnEnter) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "[SYSTEM]\r\nCurrent Firmware = \r\n");
    ui::FWR& f = ui::fwr();
    f.show();
    EXPECT_EQ(f.windowTitle(), QStringLiteral("Firmware Request"));
    EXPECT_EQ(
        f.Label1->text(),
        QStringLiteral("If you know the firmware currently loaded in your Vorix device please "
                       "enter it in the box to the right.\r\n\r\nThe format is N.NN where N "
                       "are digits (e.g. 1.07).\r\n\r\nClick 'OK'\r\n\r\nIf you do not know "
                       "the firmware loaded just click 'OK'"));
    QTest::keyClicks(f.Text1, QStringLiteral("1.10"));
    QTest::keyClick(f.Text1, Qt::Key_Return);
    EXPECT_TRUE(f.isHidden());
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("1.10"));
    EXPECT_EQ(ini(), QByteArray("[SYSTEM]\r\nCurrent Firmware = \r\n"));
    // Unloaded: the box starts empty again.
    f.show();
    EXPECT_TRUE(f.Text1->text().isEmpty());
    QTest::keyClicks(f.Text1, QStringLiteral("1.07"));
    click(f.Command1);
    EXPECT_TRUE(f.isHidden());
    EXPECT_EQ(ini(), QByteArray("[SYSTEM]\r\nCurrent Firmware = 1.07\r\n"));
    EXPECT_TRUE(QFile::exists(homeFile(QStringLiteral("Telvo.old"))));
}

TEST_F(FirstRun, FirmwareWindowWithEmptyBoxWritesNothing) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "Current Firmware = 1.00\r\n");
    ui::scl().txtFirmware->setText(QStringLiteral("9.99"));
    ui::fwr().show();
    click(ui::fwr().Command1);
    EXPECT_EQ(ui::scl().txtFirmware->text(), QString());
    EXPECT_EQ(ini(), QByteArray("Current Firmware = 1.00\r\n"));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Telvo.old"))));
}

TEST_F(FirstRun, ModelWindowNoneGivesVorixAndWritesIt) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "Model = Gorda\r\n");
    ui::App().ModelList = {QStringLiteral("None"), QStringLiteral("Gorda")};
    ui::MDL& m = ui::mdl();
    m.show();
    QTest::mouseClick(m.lstModels->viewport(), Qt::LeftButton, {},
                      m.lstModels->visualItemRect(m.lstModels->item(0)).center());
    EXPECT_TRUE(m.isHidden());
    EXPECT_EQ(ui::scl().DeviceModel->text(), QStringLiteral("Vorix"));
    EXPECT_EQ(ini(), QByteArray("Model = Vorix\r\n"));
}

TEST_F(FirstRun, RewriteThatCannotWriteLeavesTelvoIniAsItWas) {
    writeHomeFile(QStringLiteral("Telvo.ini"), kTemplate);
    // Telvo.new cannot be made: a folder stands in its place.
    ASSERT_TRUE(QDir(home()).mkpath(QStringLiteral("Telvo.new/x")));
    bool raised = false;
    try {
        ui::ini().UpdateINIitem(QStringLiteral("Model"), QStringLiteral("Hesta"));
    } catch (const core::RuntimeError& e) {
        raised = e.number() == 75;
    }
    EXPECT_TRUE(raised);
    EXPECT_EQ(ini(), kTemplate);
}

// A rewrite killed at any moment leaves Telvo.ini whole: the old file or the new one.
TEST_F(FirstRun, NoHalfWrittenTelvoIniEvenWhenKilledMidRewrite) {
    QByteArray big;
    for (int i = 0; i < 4000; ++i)
        big += "Filler line " + QByteArray::number(i) + " = some value\r\n";
    const QByteArray a = "Model = A\r\n" + big;
    const QByteArray b = "Model = B\r\n" + big;
    writeHomeFile(QStringLiteral("Telvo.ini"), a);
    ui::ini(); // made before the fork; the child only writes files
    QRandomGenerator rng(4711);
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0;; ++i) {
                try {
                    ui::ini().UpdateINIitem(QStringLiteral("Model"),
                                            i % 2 ? QStringLiteral("A") : QStringLiteral("B"));
                } catch (...) {
                }
            }
        }
        usleep(1000 + rng.bounded(20000));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        const QByteArray now = ini();
        EXPECT_TRUE(now == a || now == b) << "round " << round << ": " << now.size() << " bytes";
        const QByteArray old = readHomeFile(QStringLiteral("Telvo.old"));
        EXPECT_TRUE(old.isEmpty() || old == a || old == b) << "round " << round;
    }
}

} // namespace
