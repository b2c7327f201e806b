// The loader's windows through their buttons: LDR (Start, Abort, Restart, Done), EX, RS, DG,
// and the store behind the adapter warning.

#include "common/Accessible.h"
#include "common/LoaderFixture.h"

#include "app/Tools.h"
#include "common/DeviceScript.h"
#include "config/DG.h"
#include "config/modRegistry.h"
#include "firmware/EX.h"
#include "firmware/RS.h"
#include "link/Driver.h"
#include "platform/doubles/ScriptedPeer.h"

#include <QSettings>
#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

class Windows : public LoaderFixture {
protected:
    void click(QAbstractButton* b) {
        // A check box takes clicks on its box and caption, at its left end.
        if (b->isVisible() && qobject_cast<QCheckBox*>(b))
            QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(8, b->height() / 2));
        else if (b->isVisible())
            QTest::mouseClick(b, Qt::LeftButton);
        else
            b->click();
    }
    // Clicks `b` once it is shown.
    void clickLater(QAbstractButton* b, int ms = 1) {
        events.in(ms, [this, b] {
            if (!b->isHidden() && b->isEnabled())
                b->click();
            else
                clickLater(b, 1);
        });
    }
    QString regFile() const { return homeFile(QStringLiteral("registry.ini")); }
};

// --- LDR

TEST_F(Windows, LoaderControlsHaveTheirNamesAndCaptions) {
    ui::LDR& w = l();
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Vorix Firmware Loader"));
    const QList<QPair<QString, QString>> buttons{
        {QStringLiteral("cmdStart"), QStringLiteral("Start")},
        {QStringLiteral("cmdContinue"), QStringLiteral("Continue")},
        {QStringLiteral("cmdCancel"), QStringLiteral("Cancel")},
        {QStringLiteral("cmdReStart"), QStringLiteral("Restart")},
        {QStringLiteral("cmdEnd"), QStringLiteral("Done")}};
    for (const auto& [name, caption] : buttons) {
        auto* b = w.findChild<QPushButton*>(name);
        ASSERT_NE(b, nullptr) << name.toStdString();
        EXPECT_EQ(b->text(), caption);
        EXPECT_EQ(b->accessibleName(), caption);
    }
    EXPECT_EQ(w.chkNoFWupdate->text(), QStringLiteral("Test"));
    EXPECT_EQ(w.chkConfirm->text(), QStringLiteral("Confirm"));
    EXPECT_EQ(w.lblWait->text(), QStringLiteral("WAIT"));
    EXPECT_EQ(w.lblCTS->text(), QStringLiteral("CTS"));
    EXPECT_EQ(w.Text1->font().family(), QStringLiteral("Courier New"));
    for (QWidget* c : {static_cast<QWidget*>(w.Text1), static_cast<QWidget*>(w.txtFileName),
                       static_cast<QWidget*>(w.lblMessage), static_cast<QWidget*>(w.CTSled),
                       static_cast<QWidget*>(w.prgLoad)}) {
        EXPECT_FALSE(c->objectName().isEmpty());
        EXPECT_FALSE(c->accessibleName().isEmpty()) << c->objectName().toStdString();
    }
    EXPECT_TRUE(w.cmdContinue->isHidden());
    EXPECT_TRUE(w.cmdCancel->isHidden());
    EXPECT_EQ(w.StartColor(), 8454016);
}

TEST_F(Windows, DoneHidesAndKeepsTheText) {
    l().show();
    ui::G().ldrText.setText(QStringLiteral("Load frk File now."));
    l().SyncText();
    click(l().cmdEnd);
    EXPECT_TRUE(l().isHidden());
    EXPECT_EQ(l().Text1->toPlainText(), QStringLiteral("Load frk File now."));
}

TEST_F(Windows, ShownAfterALoadTheFileBoxIsEmptyUnlessARestartRuns) {
    l().txtFileName->setText(QStringLiteral("a.frk"));
    l().show();
    EXPECT_EQ(l().txtFileName->text(), QString());
    l().hide();
    ui::FW().RestartLoad = true;
    l().txtFileName->setText(QStringLiteral("b.frk"));
    l().show();
    EXPECT_EQ(l().txtFileName->text(), QStringLiteral("b.frk"));
}

TEST_F(Windows, ClickOnTheStatusEmptiesIt) {
    l().show();
    l().lblMessage->setText(QStringLiteral("xyz"));
    QTest::mouseClick(l().lblMessage, Qt::LeftButton);
    EXPECT_EQ(l().lblMessage->text(), QString());
}

TEST_F(Windows, AbortDuringTheTransferWithConfirmationCancelledIsMinusThree) {
    LoaderPeer& peer = attachLoader(true);
    s().chkConfirm->setChecked(true);
    writeHomeFile(QStringLiteral("FileList.frl"),
                  (firmware(QStringLiteral("a.frk"), 2000) + QStringLiteral("\r\n")).toUtf8());
    bool aborted = false;
    peer.onBytes = [&](const QByteArray&) {
        if (!aborted && peer.heard.size() == 250) {
            aborted = true;
            events.in(0, [this] { l().cmdStart->click(); }); // the Abort of the running load
        }
    };
    QString question;
    answerPrompt(false, &question);
    EXPECT_EQ(ui::LoadTheFiles(true), -2);
    EXPECT_EQ(
        question,
        QStringLiteral("Confirm Operation: User aborted the transfer, 200 Bytes processed.\r\n") +
            QString(30, QLatin1Char(' ')) + QStringLiteral("Click 'Continue' to restart transfer"));
    EXPECT_TRUE(l().lblMessage->text().startsWith(
        QStringLiteral("End user selecetd to abort the Firmware load in progress")));
    // Idle came first, so the ten letters never went out.
    EXPECT_FALSE(line(1)->wire().contains("xxxxxxxxxx"));
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
}

TEST_F(Windows, AbortWithoutConfirmationLogsTheQuestion) {
    LoaderPeer& peer = attachLoader(true);
    writeHomeFile(QStringLiteral("FileList.frl"),
                  (firmware(QStringLiteral("a.frk"), 600) + QStringLiteral("\r\n")).toUtf8());
    bool aborted = false;
    peer.onBytes = [&](const QByteArray&) {
        if (!aborted && peer.heard.size() == 150) {
            aborted = true;
            events.in(0, [this] { l().cmdStart->click(); });
        }
    };
    clickLater(l().cmdContinue); // the stop before the restart
    EXPECT_EQ(ui::LoadTheFiles(true), 0);
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("User aborted the transfer, 100 Bytes processed.")));
}

TEST_F(Windows, LoadButtonShowsTheWarningThenTheLoader) {
    bool warned = false;
    events.in(10, [&] {
        warned = !ui::dg().isHidden() && l().isHidden();
        ui::dg().Command1->click();
    });
    click(s().cmdStart);
    EXPECT_TRUE(warned);
    EXPECT_FALSE(l().isHidden());
}

// --- EX

TEST_F(Windows, ExitSpeedWindowCaptions) {
    ui::EX& w = ui::ex();
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Final Speed Selection"));
    QStringList captions;
    for (QCheckBox* b : w.Check1) {
        captions << b->text();
        EXPECT_EQ(b->accessibleName(), b->text());
    }
    EXPECT_EQ(captions, (QStringList{"57600", "38400", "19200", "14400", "9600", "4800"}));
    EXPECT_EQ(w.cmdSetandExit->text(), QStringLiteral("Set and Exit"));
    EXPECT_EQ(w.cmdExit->text(), QStringLiteral("Exit"));
    EXPECT_EQ(w.cmdCancel->text(), QStringLiteral("Cancel"));
    EXPECT_EQ(w.Label1->text(), QStringLiteral("Select the final serial port speed for the unit"));
}

TEST_F(Windows, ExitSpeedAtAnUnlistedRateSetsNoBoxAndSendsNothing) {
    platform::ScriptedPeer& peer = attachPeer(1, 115200, true);
    s().txtCrntSpeed->setText(QStringLiteral("115200"));
    ui::EX& w = ui::ex();
    w.show();
    for (QCheckBox* b : w.Check1)
        EXPECT_FALSE(b->isChecked());
    EXPECT_THROW(ui::EX_cmdSetandExit_Click(), platform::ProgramEnd);
    EXPECT_TRUE(peer.frames().isEmpty());
    EXPECT_EQ(scripted->ends, 1);
}

TEST_F(Windows, ExitSpeedAtTheCurrentRateSendsNothingAndDoesNotPause) {
    platform::ScriptedPeer& peer = attachPeer(1, 19200, true);
    s().txtCrntSpeed->setText(QStringLiteral("19200"));
    ui::EX& w = ui::ex();
    w.show();
    EXPECT_TRUE(w.Check1[2]->isChecked());
    const qint64 before = platform::Clock::instance().nowMs();
    EXPECT_THROW(ui::EX_cmdSetandExit_Click(), platform::ProgramEnd);
    EXPECT_TRUE(peer.frames().isEmpty());
    EXPECT_EQ(platform::Clock::instance().nowMs(), before);
}

TEST_F(Windows, ExitSpeedFirstTickedBoxWinsAndPausesFiveSeconds) {
    platform::ScriptedPeer& peer = attachPeer(1, 19200, true);
    peer.on({}, AckReply(), 5);
    s().txtCrntSpeed->setText(QStringLiteral("19200"));
    ui::EX& w = ui::ex();
    w.show();
    w.Check1[1]->setChecked(true); // 38400, before 19200 in the window's order
    const qint64 before = platform::Clock::instance().nowMs();
    EXPECT_THROW(ui::EX_cmdSetandExit_Click(), platform::ProgramEnd);
    ASSERT_FALSE(peer.frames().isEmpty());
    EXPECT_TRUE(peer.frames().first().startsWith(QByteArray("\x02"
                                                            "30")));
    EXPECT_TRUE(peer.frames().first().contains("A3"));
    EXPECT_GE(platform::Clock::instance().nowMs() - before, 5000);
}

TEST_F(Windows, ExitSpeedCancelGoesBack) {
    events.in(10, [] { ui::ex().cmdCancel->click(); });
    EXPECT_FALSE(ui::ShowExitSpeedWindow());
    EXPECT_TRUE(ui::ex().isHidden());
    EXPECT_EQ(scripted->ends, 0);
}

TEST_F(Windows, ExitEndsWithoutASpeedChange) {
    EXPECT_THROW(ui::EX_cmdExit_Click(), platform::ProgramEnd);
}

// --- RS

TEST_F(Windows, RestartWindowWithoutAFileHidesItsBox) {
    s().lstPort->addItems(
        {QStringLiteral("?????"), QStringLiteral("COM1"), QStringLiteral("COM2")});
    ui::RS& w = ui::rs();
    w.show();
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Emergency Firmware Update Restart"));
    EXPECT_TRUE(w.Check1->isHidden());
    EXPECT_EQ(w.List1->count(), 3);
    EXPECT_EQ(w.List1->item(1)->text(), QStringLiteral("COM1"));
    EXPECT_EQ(w.Label2->text(), QStringLiteral("Select Select COM Port"));
    EXPECT_EQ(w.Label3->text(),
              QStringLiteral(
                  "Select the file to be loaded, Select the COM port the unit is connected to. "
                  "The unit should be sitting at the boot Loader Prompt (Load frk file now). "
                  "Click Restart to begin the loading process. "));
    EXPECT_EQ(w.List1->accessibleName(), w.Label2->text());
}

TEST_F(Windows, RestartFromTheFileSetsPortSpeedsAndSkip) {
    attachLoader();
    writeHomeFile(QStringLiteral("restartloader.txt"), "COM2,19200,57600,1\r\n");
    s().chkSim->setChecked(true); // the entries go by without a transfer
    writeHomeFile(QStringLiteral("FileList.frl"), "1.frk\r\n2.frk\r\n");
    QStringList loaded;
    QStringList fields; // as the load saw them
    QObject::connect(l().txtFileName, &QLineEdit::textChanged, [&](const QString& t) {
        if (t.isEmpty())
            return;
        loaded << t;
        fields = QStringList{s().txtPort->text(), s().txtOrigSpeed->text(), s().txtxfrspeed->text(),
                             s().txtCrntSpeed->text()};
    });
    ui::RS& w = ui::rs();
    w.show();
    ASSERT_FALSE(w.Check1->isHidden());
    click(w.Check1);
    EXPECT_FALSE(w.cmdBrowse->isEnabled());
    EXPECT_FALSE(w.List1->isEnabled());
    ui::RS_cmdReStart_Click();
    EXPECT_EQ(fields, (QStringList{QStringLiteral("COM2"), QStringLiteral("19200"),
                                   QStringLiteral("57600"), QStringLiteral("57600")}));
    EXPECT_EQ(ui::FW().RestartIndex, 1);
    EXPECT_EQ(loaded, QStringList{QStringLiteral("2.frk")});
    EXPECT_TRUE(logLines().contains(QStringLiteral("Using Restart file to restart the loader")));
    EXPECT_TRUE(w.isHidden());
    EXPECT_FALSE(l().isHidden());
    EXPECT_FALSE(ui::FW().RestartLoad);
    EXPECT_EQ(ui::Link().PowerState, QStringLiteral("ON"));
}

TEST_F(Windows, RestartWithPortAndFileTakesNineteenTwoHundredAsTheFormerSpeed) {
    attachLoader();
    s().chkSim->setChecked(true);
    s().txtOrigSpeed->setText(QStringLiteral("9600"));
    s().lstPort->addItems(
        {QStringLiteral("?????"), QStringLiteral("COM1"), QStringLiteral("COM3")});
    scripted->paths = {QStringLiteral("C:\\fw\\new.frk")};
    ui::RS& w = ui::rs();
    w.show();
    click(w.cmdBrowse);
    EXPECT_EQ(w.Text1->text(), QStringLiteral("C:\\fw\\new.frk"));
    EXPECT_EQ(ui::G().ldrText.text(), QStringLiteral("C:\\fw\\new.frk"));
    w.List1->setCurrentRow(2);
    ui::RS_List1_Click();
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM3"));
    QStringList fields;
    QObject::connect(l().txtFileName, &QLineEdit::textChanged, [&](const QString& t) {
        if (!t.isEmpty())
            fields =
                QStringList{s().txtPort->text(), s().txtOrigSpeed->text(), s().txtxfrspeed->text()};
    });
    writeHomeFile(QStringLiteral("FileList.frl"), "C:\\fw\\new.frk\r\n");
    ui::RS_cmdReStart_Click();
    EXPECT_EQ(fields, (QStringList{QStringLiteral("COM3"), QStringLiteral("19200"),
                                   QStringLiteral("57600")}));
    EXPECT_EQ(ui::FW().RestartIndex, 0);
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
}

TEST_F(Windows, CancelDeletesTheFileAndTheNextOpenHidesTheBox) {
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    ui::RS& w = ui::rs();
    w.show();
    EXPECT_FALSE(w.Check1->isHidden());
    click(w.cmdCancel);
    EXPECT_TRUE(w.isHidden());
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    w.show();
    EXPECT_TRUE(w.Check1->isHidden());
}

TEST_F(Windows, NothingSelectedWarnsAndRunsOnWithAnEmptyPort) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeHomeFile(QStringLiteral("FileList.frl"), "1.frk\r\n");
    ui::RS& w = ui::rs();
    w.show();
    QString portThen = QStringLiteral("unset");
    QObject::connect(l().txtFileName, &QLineEdit::textChanged, [&](const QString& t) {
        if (!t.isEmpty())
            portThen = s().txtPort->text();
    });
    ui::RS_cmdReStart_Click();
    EXPECT_EQ(portThen, QString());
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("You must select a COM port and a File to load")});
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("You must select a COM port and a File to load")));
    EXPECT_EQ(ui::FW().RestartIndex, 0);
    EXPECT_FALSE(ui::FW().RestartLoad);
}

TEST_F(Windows, RestartFileThatWontOpenEndsTheClick) {
    // A folder by that name: it exists, but it is no file to read.
    QDir(home()).mkdir(QStringLiteral("RestartLoader.txt"));
    ui::RS& w = ui::rs();
    w.show();
    w.Check1->setChecked(true);
    s().txtPort->setText(QStringLiteral("COM7"));
    ui::RS_cmdReStart_Click();
    ASSERT_EQ(scripted->messageTexts().size(), 1);
    EXPECT_TRUE(scripted->messageTexts()[0].startsWith(
        QStringLiteral("Restart Command1:Error opening file for input\r\n")));
    EXPECT_EQ(s().txtPort->text(), QStringLiteral("COM7"));
}

TEST_F(Windows, LoaderRestartButtonOpensTheRestartWindow) {
    events.in(10, [] { ui::rs().cmdCancel->click(); });
    click(l().cmdReStart);
    EXPECT_TRUE(ui::rs().isHidden());
}

TEST_F(Windows, StartUpResumesACutOffLoadThroughTheRestartWindow) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    writeHomeFile(QStringLiteral("FileList.frl"), "1.frk\r\n");
    events.in(10, [this] {
        ui::rs().Check1->click();
        ui::rs().cmdReStart->click();
    });
    clickLater(l().cmdEnd, 20);
    ui::ResumeCutOffLoad();
    EXPECT_TRUE(ui::rs().isHidden());
    EXPECT_TRUE(l().isHidden());
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
}

// --- DG and the store

TEST_F(Windows, WarningCaptions) {
    ui::DG& w = ui::dg();
    w.show();
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Warning Regarding USB to Serial Converters"));
    EXPECT_EQ(w.Label1->text(),
              QStringLiteral("PLEASE READ THIS FIRST BEFORE DOWNLOADING SOFTWARE!!!!"));
    EXPECT_TRUE(
        w.Label2->text().startsWith(QStringLiteral("We have found problems with the newest FTDI")));
    EXPECT_TRUE(w.Label2->text().endsWith(QStringLiteral("adapters with the FTDI chip-set.")));
    EXPECT_EQ(w.Check1->text(), QStringLiteral("Do not show this warning again"));
    EXPECT_EQ(w.Command1->text(), QStringLiteral("Continue"));
    EXPECT_EQ(w.Command2->text(), QStringLiteral("Cancel"));
}

TEST_F(Windows, WithTheValueSetTheWarningDoesNotComeAndTheLoaderOpens) {
    ASSERT_EQ(ui::RegWrite(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                           QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), 1),
              0);
    ui::cmdStartSCL_Click();
    EXPECT_FALSE(ui::FirmwareWindowExists("DG") && !ui::dg().isHidden());
    EXPECT_FALSE(l().isHidden());
}

TEST_F(Windows, WarningContinueOpensTheLoaderCancelDoesNot) {
    events.in(10, [] { ui::dg().Command2->click(); });
    ui::cmdStartSCL_Click();
    EXPECT_TRUE(ui::dg().isHidden());
    EXPECT_TRUE(l().isHidden());
    events.in(10, [] { ui::dg().Command1->click(); });
    ui::cmdStartSCL_Click();
    EXPECT_FALSE(l().isHidden());
}

// An accessibility tool's "Toggle" runs the check boxes' Clicks as the mouse does.
TEST_F(Windows, CheckBoxesByTheAccessibilityToggle) {
    ui::DG& d = ui::dg();
    d.show();
    ASSERT_TRUE(accessibleToggle(d.Check1));
    qint64 v = -1;
    EXPECT_EQ(ui::RegRead(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                          QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), v),
              0);
    EXPECT_EQ(v, 1);
    d.hide();
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM2,19200,57600,1\r\n");
    ui::RS& r = ui::rs();
    r.show();
    ASSERT_FALSE(r.Check1->isHidden());
    ASSERT_TRUE(accessibleToggle(r.Check1));
    EXPECT_FALSE(r.cmdBrowse->isEnabled());
    EXPECT_FALSE(r.List1->isEnabled());
    ASSERT_TRUE(accessibleToggle(r.Check1));
    EXPECT_TRUE(r.cmdBrowse->isEnabled());
    EXPECT_TRUE(r.List1->isEnabled());
}

TEST_F(Windows, UncheckingAfterCheckingWritesZeroAtOnce) {
    ui::DG& w = ui::dg();
    w.show();
    click(w.Check1);
    qint64 v = -1;
    EXPECT_EQ(ui::RegRead(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                          QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), v),
              0);
    EXPECT_EQ(v, 1);
    click(w.Check1);
    EXPECT_EQ(ui::RegRead(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                          QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), v),
              0);
    EXPECT_EQ(v, 0);
    // Only the private file was written.
    QSettings f(regFile(), QSettings::IniFormat);
    EXPECT_EQ(
        f.value(QStringLiteral("HKCU/Software/Brackwell/Telvo/Utility/ShowDongleWarning")).toInt(),
        0);
}

TEST_F(Windows, AValueOfAnotherTypeReadsWithoutAMessage) {
    ASSERT_EQ(ui::RegWrite(QStringLiteral("HKCU"), QStringLiteral("Software\\T"),
                           QStringLiteral("N"), QStringLiteral("S"), QStringLiteral("abc")),
              0);
    qint64 v = 7;
    EXPECT_EQ(ui::RegRead(QStringLiteral("HKCU"), QStringLiteral("Software\\T"),
                          QStringLiteral("N"), QStringLiteral("D"), v),
              0);
    EXPECT_EQ(v, 0);
    EXPECT_TRUE(scripted->shown.empty());
}

TEST_F(Windows, RootTextIsComparedUpperCased) {
    EXPECT_EQ(ui::RootHandle(QStringLiteral("hkcu")), 0x80000001u);
    EXPECT_EQ(ui::RootHandle(QStringLiteral("HKLM")), 0x80000002u);
    EXPECT_EQ(ui::RootHandle(QStringLiteral("HKU")), 0x80000003u);
    EXPECT_EQ(ui::RootHandle(QStringLiteral("hkcc")), 0x80000005u);
    EXPECT_EQ(ui::RootHandle(QStringLiteral("HKDD")), 0x80000006u);
    EXPECT_EQ(ui::RootHandle(QStringLiteral("HKCR")), 0x80000000u);
    EXPECT_EQ(ui::RootHandle(QStringLiteral("nowhere")), 0u);
    EXPECT_EQ(ui::RegWrite(QStringLiteral("hkcu"), QStringLiteral("K"), QStringLiteral("V"),
                           QStringLiteral("d"), 5),
              0);
    qint64 v = 0;
    EXPECT_EQ(ui::RegRead(QStringLiteral("HKCU"), QStringLiteral("K"), QStringLiteral("V"),
                          QStringLiteral("D"), v),
              0);
    EXPECT_EQ(v, 5);
    EXPECT_EQ(ui::RegRead(QStringLiteral("nowhere"), QStringLiteral("K"), QStringLiteral("V"),
                          QStringLiteral("D"), v),
              99);
    EXPECT_EQ(ui::RegRead(QStringLiteral("HKCU"), QStringLiteral("K"), QStringLiteral("absent"),
                          QStringLiteral("D"), v),
              2);
}

TEST_F(Windows, ProfileFileBranch) {
    const QString ini = homeFile(QStringLiteral("p.ini"));
    writeHomeFile(QStringLiteral("p.ini"), "[Sec]\r\nName=hello\r\nNum=42\r\n");
    EXPECT_EQ(ui::RootHandle(ini), 1u);
    QVariant v;
    EXPECT_EQ(ui::RegRead(ini, QStringLiteral("Sec"), QStringLiteral("Name"), QStringLiteral("S"),
                          v, QStringLiteral("dflt")),
              0);
    EXPECT_EQ(v.toString(), QStringLiteral("hello"));
    EXPECT_EQ(ui::RegRead(ini, QStringLiteral("Sec"), QStringLiteral("None"), QStringLiteral("S"),
                          v, QStringLiteral("dflt")),
              0);
    EXPECT_EQ(v.toString(), QStringLiteral("dflt"));
    EXPECT_EQ(
        ui::RegRead(ini, QStringLiteral("Sec"), QStringLiteral("Num"), QStringLiteral("D"), v), 0);
    EXPECT_EQ(v.toInt(), 42);
    EXPECT_EQ(ui::RegWrite(ini, QStringLiteral("Sec"), QStringLiteral("New"), QStringLiteral("S"),
                           QStringLiteral("x")),
              0);
    EXPECT_EQ(
        ui::RegRead(ini, QStringLiteral("Sec"), QStringLiteral("New"), QStringLiteral("S"), v), 0);
    EXPECT_EQ(v.toString(), QStringLiteral("x"));
}

} // namespace
