// "IR Support": the window's modes, the checks of values, the mapping of a command to IR inputs,
// and a run without a device.

#include "common/Accessible.h"
#include "common/Fixture.h"

#include "app/Main.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "core/text/Classic.h"
#include "ir/IRG.h"
#include "platform/serial/CommControl.h"
#include "settings/SCL.h"

#include <QDir>
#include <QTest>

using namespace telvo;

namespace {

QString bitsWords(const char* bits) {
    QStringList w;
    for (const char* p = bits; *p; ++p)
        w << QStringLiteral("0016")
          << (*p == '1' ? QStringLiteral("0041") : QStringLiteral("0015"));
    return w.join(u' ');
}

class Window : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        writeHomeFile(QStringLiteral("Telvo.ini"), sampleIni());
        initControls();
        ui::ShowIRG();
    }
    ui::IRG& w() { return ui::irg(); }
    void click(QWidget* b) { QTest::mouseClick(b, Qt::LeftButton); }
    // Selects a list row by a real click on the item.
    void pick(QListWidget* list, const QString& text) {
        const auto items = list->findItems(text, Qt::MatchExactly);
        ASSERT_FALSE(items.isEmpty()) << text.toStdString();
        list->scrollToItem(items.first());
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(items.first()).center());
        ASSERT_EQ(list->currentItem(), items.first());
    }
    void type(QLineEdit* box, const QString& text) {
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, text);
    }
    QString output() { return w().txtOutput->toPlainText(); }
};

TEST_F(Window, CaptionsNamesAndFirstState) {
    EXPECT_EQ(w().windowTitle(), "IR Support");
    EXPECT_EQ(w().frmIR->title(), "IR Data ");
    EXPECT_EQ(w().optDiscrete->text(), "Discrete");
    EXPECT_EQ(w().optRemote->text(), "Remote ");
    EXPECT_EQ(w().optManual->text(), "Manual");
    EXPECT_EQ(w().chkAbsolute->text(), "Absolute");
    EXPECT_EQ(w().optVAL->text(), "value");
    EXPECT_EQ(w().optAscii->text(), "ascii");
    EXPECT_EQ(w().optHex->text(), "hex");
    EXPECT_EQ(w().optDec->text(), "dec");
    EXPECT_EQ(w().Label3->text(), "  hex");
    EXPECT_EQ(w().Label12->text(), "  dec");
    EXPECT_EQ(w().Label13->text(), "Function");
    EXPECT_EQ(w().Label6->text(), "Value");
    EXPECT_EQ(w().cmdGen->text(), "IR Gen");
    EXPECT_EQ(w().cmdGenAll->text(), "Gen ALL");
    EXPECT_EQ(w().quit->text(), "Done");
    EXPECT_EQ(w().lblError->text(), "Value Error");
    EXPECT_EQ(w().txtOutput->font().family(), "Courier New");
    EXPECT_TRUE(w().optDiscrete->isChecked());
    EXPECT_TRUE(w().chkAbsolute->isChecked());
    EXPECT_FALSE(w().cmdGen->isEnabled());
    // Activate: what the main window shows.
    EXPECT_EQ(w().lblModel->text(), "Model=Gorda");
    EXPECT_EQ(w().lblOptions->text(), "Installed Options=SDI");
    EXPECT_EQ(w().lblFirmware->text(), "Firmware=1.24");
    // Every control has its system name and a name a screen reader speaks.
    for (QWidget* c : std::initializer_list<QWidget*>{
             w().lstCmnds,   w().lstValues,   w().lstRemote,    w().optDiscrete, w().optRemote,
             w().optManual,  w().chkAbsolute, w().optVAL,       w().optAscii,    w().optHex,
             w().optDec,     w().txtFChex,    w().txtFCdec,     w().txtValue,    w().txtOutput,
             w().cmdGen,     w().cmdGenAll,   w().quit,         w().lblModel,    w().lblFirmware,
             w().lblOptions, w().prgGenAll,   w().cmdCancelAll, w().cmdSaveAs}) {
        EXPECT_FALSE(c->objectName().isEmpty());
        EXPECT_FALSE(c->accessibleName().isEmpty()) << c->objectName().toStdString();
    }
    EXPECT_EQ(w().findChild<QLineEdit*>(QStringLiteral("txtFCdec")), w().txtFCdec);
    EXPECT_EQ(w().Label6->buddy(), w().txtValue);
}

TEST_F(Window, ListsFollowTheTables) {
    const auto& c = ui::Config();
    int inIR = 0;
    for (qsizetype i = 1; i < c.Commands.size(); ++i)
        inIR += c.Commands[i].NotInIR ? 0 : 1;
    EXPECT_EQ(w().lstCmnds->count(), inIR);
    EXPECT_TRUE(
        w().lstCmnds->findItems(QStringLiteral("Enter Loader"), Qt::MatchExactly).isEmpty());
    EXPECT_TRUE(w().lstCmnds->findItems(QStringLiteral("Model"), Qt::MatchExactly).isEmpty());
    EXPECT_EQ(w().lstRemote->count(), core::TableRows(c.RemoteCodes));
    EXPECT_EQ(w().lstRemote->item(0)->text(), "Power");
}

TEST_F(Window, ListCommandGeneratesFromItsValue) {
    pick(w().lstCmnds, QStringLiteral("Input"));
    EXPECT_EQ(w().txtFChex->text(), "4C");
    EXPECT_EQ(w().txtFCdec->text(), "76");
    EXPECT_TRUE(w().lstValues->isEnabled());
    EXPECT_EQ(w().lstValues->count(), 12);
    EXPECT_TRUE(w().optVAL->isChecked());
    EXPECT_EQ(ui::G().settings.ValueContext, "Value");
    pick(w().lstValues, QStringLiteral("Video-1"));
    EXPECT_EQ(w().txtValue->text(), "1");
    // FormValue: D 76, the character "1" (49), E = 125.
    EXPECT_EQ(output(), QStringLiteral("0000 006C 001B 0000 0064 0064 ") + bitsWords("00110010") +
                            u' ' + bitsWords("10001100") + u' ' + bitsWords("10111110") +
                            QStringLiteral(" 0044 0044 0016 0001"));
}

TEST_F(Window, SelectingACommandClearsValueAndOutputFirst) {
    pick(w().lstCmnds, QStringLiteral("Input"));
    pick(w().lstValues, QStringLiteral("Video-2"));
    ASSERT_FALSE(output().isEmpty());
    pick(w().lstCmnds, QStringLiteral("Brightness"));
    EXPECT_TRUE(output().isEmpty());
    EXPECT_TRUE(w().txtValue->text().isEmpty());
    EXPECT_EQ(w().lstValues->count(), 0);
    EXPECT_FALSE(w().lstValues->isEnabled());
    EXPECT_EQ(w().lblvalues->text(), "Enter a value in the range -50 to 50");
    EXPECT_TRUE(w().cmdGen->isEnabled());
    EXPECT_TRUE(w().optVAL->isChecked());
    EXPECT_EQ(ui::G().settings.ValueContext, "Range");
}

TEST_F(Window, RangeChecksBothEnds) {
    pick(w().lstCmnds, QStringLiteral("Red Gain"));
    for (const char* ok : {"0", "1.5", "0.00", "1.50"}) {
        type(w().txtValue, QString::fromLatin1(ok));
        click(w().cmdGen);
        EXPECT_FALSE(output().isEmpty()) << ok;
        EXPECT_FALSE(w().cmdGen->isEnabled());
        w().cmdGen->setEnabled(true);
    }
    type(w().txtValue, QStringLiteral("1.51"));
    click(w().cmdGen);
    EXPECT_EQ(scripted->beeps, 2);
    EXPECT_TRUE(w().txtValue->text().isEmpty());
    EXPECT_TRUE(output().isEmpty());
    EXPECT_TRUE(w().lblError->isHidden());
    EXPECT_TRUE(w().cmdGen->isEnabled());
}

TEST_F(Window, IntegerRefusesPointAndSigns) {
    pick(w().lstCmnds, QStringLiteral("Audio Delay"));
    EXPECT_EQ(w().lblvalues->text(), "Enter an integer value in the range 0 to 250 ms");
    EXPECT_EQ(ui::G().settings.ValueContext, "Integer");
    EXPECT_FALSE(w().IsValueAllowed(QStringLiteral("5.0")));
    EXPECT_FALSE(w().IsValueAllowed(QStringLiteral("-5")));
    EXPECT_FALSE(w().IsValueAllowed(QStringLiteral("+5")));
    EXPECT_FALSE(w().IsValueAllowed(QStringLiteral("x")));
    EXPECT_TRUE(w().IsValueAllowed(QStringLiteral("5")));
    EXPECT_TRUE(w().IsValueAllowed(QStringLiteral("99999"))); // the range text is not checked
    type(w().txtValue, QStringLiteral("+5"));
    QTest::keyClick(w().txtValue, Qt::Key_Return);
    EXPECT_EQ(scripted->beeps, 2);
    type(w().txtValue, QStringLiteral("12"));
    QTest::keyClick(w().txtValue, Qt::Key_Return);
    // "12" goes out as characters with FormValue: 2 + 16 * 4 + 4 = 70 durations, 35 pairs.
    EXPECT_TRUE(output().startsWith(QStringLiteral("0000 006C 0023 0000 0064 0064")));
}

TEST_F(Window, QueryCommandStopsAtTheMissingValue) {
    // Every record in the sample has a kind; a command without one is made here.
    core::CommandRec r;
    r.Name = QStringLiteral("Query Only");
    r.Cmd = QStringLiteral("AA");
    ui::Config().Commands.append(r);
    w().lstCmnds->addItem(r.Name);
    pick(w().lstCmnds, r.Name);
    EXPECT_EQ(w().lblvalues->text(), "Query Commands are not handled by IR");
    EXPECT_TRUE(output().isEmpty());
    EXPECT_TRUE(ui::scl().lblMessage->text().startsWith(
        QStringLiteral(" There is a required value missing (Function code or function Value).")));
}

TEST_F(Window, RemoteKeyGeneratesAtOnce) {
    click(w().optRemote);
    EXPECT_EQ(w().txtFCdec->text(), "8324");
    EXPECT_EQ(w().txtFChex->text(), "2084");
    EXPECT_TRUE(w().optDec->isChecked());
    EXPECT_FALSE(w().lstCmnds->isEnabled());
    EXPECT_TRUE(w().lstRemote->isEnabled());
    pick(w().lstRemote, QStringLiteral("Power"));
    EXPECT_EQ(w().txtValue->text(), "16");
    EXPECT_FALSE(w().cmdGen->isEnabled());
    // The worked example of a remote key, word for word.
    EXPECT_EQ(output(), QStringLiteral("0000 006C 0024 0000 0156 00AA ") +
                            bitsWords("0010000100000100") + u' ' + bitsWords("00001000") + u' ' +
                            bitsWords("11110111") +
                            QStringLiteral(" 0016 06C0 0156 0055 0016 00AA"));
}

// Save As keeps the code shown: Pronto hex as the box shows it, or one press as pulse/space.
TEST_F(Window, SaveAsTheShownCode) {
    EXPECT_EQ(w().cmdSaveAs->text(), "Save As...");
    EXPECT_FALSE(w().cmdSaveAs->isEnabled()); // nothing shown
    click(w().optRemote);
    pick(w().lstRemote, QStringLiteral("Power"));
    ASSERT_TRUE(w().cmdSaveAs->isEnabled());
    const QString pronto = output();
    scripted->paths.push_back(homeFile(QStringLiteral("power.txt")));
    click(w().cmdSaveAs);
    ASSERT_EQ(scripted->shown.size(), 1u);
    EXPECT_EQ(scripted->shown[0].kind, "Save");
    EXPECT_EQ(scripted->shown[0].text, "Save the IR code shown");
    EXPECT_EQ(readHomeFile(QStringLiteral("power.txt")),
              (pronto + QStringLiteral("\r\n")).toLatin1());
    scripted->paths.push_back(homeFile(QStringLiteral("power.IR")));
    click(w().cmdSaveAs);
    const QByteArray mode2 = readHomeFile(QStringLiteral("power.IR"));
    // The silence, then 342 and 170 words of 26.054568 us: the leader.
    EXPECT_TRUE(mode2.startsWith("space 100000\npulse 8911\nspace 4429\npulse 573\nspace 547\n"));
    // The tail's last pulse, then its lead-out of 170 words run into the silence after.
    EXPECT_TRUE(mode2.endsWith("pulse 8911\nspace 2215\npulse 573\nspace 104429\n"));
    EXPECT_EQ(mode2.count('\n'), 1 + 72);
    // A cancelled dialog writes nothing; the output box is as it was.
    click(w().cmdSaveAs);
    EXPECT_EQ(QDir(home()).entryList({QStringLiteral("power*")}).size(), 2);
    EXPECT_EQ(output(), pronto);
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    // A new mode clears the box and Save As with it.
    click(w().optDiscrete);
    EXPECT_FALSE(w().cmdSaveAs->isEnabled());
}

TEST_F(Window, ManualCodesAndTheRemoteText) {
    pick(w().lstCmnds, QStringLiteral("Input")); // stays selected: Manual mode checks against it
    click(w().optManual);
    EXPECT_TRUE(w().lblvalues->text().startsWith(
        QStringLiteral("Enter either a decinal or hex number for the function code (8324 Decimal "
                       "for Remote).  Enter a number")));
    EXPECT_TRUE(w().cmdGen->isEnabled());
    EXPECT_FALSE(w().lstCmnds->isEnabled());
    type(w().txtFCdec, QStringLiteral("8324"));
    QTest::keyClick(w().txtFCdec, Qt::Key_Return);
    EXPECT_EQ(w().txtFChex->text(), "2084");
    ui::IRG::SetOption(w().optDec, true);
    type(w().txtValue, QStringLiteral("16"));
    click(w().cmdGen);
    EXPECT_TRUE(output().startsWith(QStringLiteral("0000 006C 0024 0000 0156 00AA")));
    // A leading zero is not the text "8324": a device form.
    w().cmdGen->setEnabled(true);
    type(w().txtFCdec, QStringLiteral("08324"));
    click(w().cmdGen);
    EXPECT_TRUE(output().startsWith(QStringLiteral("0000 006C 001B 0000 0064 0064")));
}

TEST_F(Window, ManualDeviceWorkedExample) {
    pick(w().lstCmnds, QStringLiteral("Input"));
    click(w().optManual);
    type(w().txtFChex, QStringLiteral("45"));
    QTest::keyClick(w().txtFChex, Qt::Key_Return);
    EXPECT_EQ(w().txtFCdec->text(), "69");
    ui::IRG::SetOption(w().optDec, true);
    type(w().txtValue, QStringLiteral("1"));
    click(w().cmdGen);
    EXPECT_EQ(output(), QStringLiteral("0000 006C 001B 0000 0064 0064 ") + bitsWords("10100010") +
                            u' ' + bitsWords("10000000") + u' ' + bitsWords("01100010") +
                            QStringLiteral(" 0044 0044 0016 0001"));
    // Absolute clear: the other leader.
    w().chkAbsolute->setChecked(false);
    w().cmdGen->setEnabled(true);
    click(w().cmdGen);
    EXPECT_TRUE(output().startsWith(QStringLiteral("0000 006C 001B 0000 0085 0085")));
}

TEST_F(Window, FunctionCodeLimit) {
    // An alert is three beeps and the text on the main window's status line.
    const QString illegal =
        QStringLiteral("Illegal function code. The function code exceeds 255 decimal");
    click(w().optManual);
    type(w().txtFCdec, QStringLiteral("255"));
    QTest::keyClick(w().txtFCdec, Qt::Key_Return);
    EXPECT_EQ(w().txtFChex->text(), "FF");
    EXPECT_EQ(scripted->beeps, 0);
    type(w().txtFCdec, QStringLiteral("256"));
    QTest::keyClick(w().txtFCdec, Qt::Key_Return);
    EXPECT_EQ(scripted->beeps, 3);
    EXPECT_TRUE(ui::scl().lblMessage->text().startsWith(illegal));
    EXPECT_EQ(w().txtFCdec->text(), "256");
    EXPECT_EQ(w().txtFChex->text(), "FF");
    type(w().txtFCdec, QStringLiteral("8324"));
    QTest::keyClick(w().txtFCdec, Qt::Key_Return);
    EXPECT_EQ(w().txtFChex->text(), "2084");
    EXPECT_EQ(scripted->beeps, 3);
    type(w().txtFChex, QStringLiteral("1ff"));
    QTest::keyClick(w().txtFChex, Qt::Key_Return);
    EXPECT_EQ(w().txtFChex->text(), "1FF");
    EXPECT_EQ(w().txtFCdec->text(), "511");
    EXPECT_EQ(scripted->beeps, 6);
    // Emptying one box empties the other.
    w().txtFChex->clear();
    EXPECT_TRUE(w().txtFCdec->text().isEmpty());
    type(w().txtFCdec, QStringLiteral("12"));
    w().txtFCdec->clear();
    EXPECT_TRUE(w().txtFChex->text().isEmpty());
}

TEST_F(Window, ManualNeedsASelectedCommand) {
    click(w().optManual);
    type(w().txtFCdec, QStringLiteral("69"));
    type(w().txtFChex, QStringLiteral("45"));
    type(w().txtValue, QStringLiteral("1"));
    click(w().cmdGen);
    EXPECT_EQ(scripted->beeps, 2);
    EXPECT_TRUE(output().isEmpty());
}

TEST_F(Window, DoneHidesAndDeletesTheTemporaryFile) {
    writeHomeFile(QStringLiteral("Temp$$.hex"), "x");
    click(w().quit);
    EXPECT_TRUE(w().isHidden());
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Temp$$.hex"))));
    EXPECT_EQ(scripted->ends, 0);
}

TEST_F(Window, DiscreteClearsTheWindow) {
    pick(w().lstCmnds, QStringLiteral("Input"));
    pick(w().lstValues, QStringLiteral("Video-1"));
    click(w().optRemote);
    click(w().optDiscrete);
    EXPECT_EQ(w().lstCmnds->currentRow(), -1);
    EXPECT_TRUE(w().txtFCdec->text().isEmpty());
    EXPECT_TRUE(output().isEmpty());
    EXPECT_FALSE(w().optDec->isChecked());
    EXPECT_FALSE(w().optAscii->isChecked());
    EXPECT_FALSE(w().optHex->isChecked());
    EXPECT_TRUE(w().lstCmnds->isEnabled());
    EXPECT_FALSE(w().lstRemote->isEnabled());
}

// An accessibility tool's "Toggle" sets a mode as a click does: its Click runs.
TEST_F(Window, ModesRunTheirClickByTheAccessibilityToggle) {
    ASSERT_TRUE(test::accessibleToggle(w().optManual));
    EXPECT_TRUE(w().optManual->isChecked());
    EXPECT_FALSE(w().lstCmnds->isEnabled());
    EXPECT_FALSE(w().lstValues->isEnabled());
    EXPECT_FALSE(w().lstRemote->isEnabled());
    EXPECT_FALSE(w().lblvalues->isHidden());
    EXPECT_TRUE(w().lblvalues->text().startsWith(
        QStringLiteral("Enter either a decinal or hex number for the function code (8324")));
    EXPECT_TRUE(w().cmdGen->isEnabled());

    ASSERT_TRUE(test::accessibleToggle(w().optRemote));
    EXPECT_TRUE(w().lstRemote->isEnabled());
    EXPECT_FALSE(w().lstCmnds->isEnabled());
    EXPECT_EQ(w().txtFCdec->text(), "8324");
    EXPECT_EQ(w().txtFChex->text(), "2084");
    EXPECT_TRUE(w().optDec->isChecked());
    EXPECT_TRUE(w().lblvalues->isHidden());
    EXPECT_FALSE(w().cmdGen->isEnabled());

    ASSERT_TRUE(test::accessibleToggle(w().optDiscrete));
    EXPECT_TRUE(w().lstCmnds->isEnabled());
    EXPECT_FALSE(w().lstRemote->isEnabled());
    EXPECT_TRUE(w().txtFCdec->text().isEmpty());
    EXPECT_FALSE(w().optDec->isChecked());
}

// The mouse runs the same Click (an option button offers an accessibility tool "Toggle" only);
// a mode set in code runs it too.
TEST_F(Window, ModesRunTheirClickByMouseAndCode) {
    click(w().optManual);
    EXPECT_TRUE(w().cmdGen->isEnabled());
    EXPECT_FALSE(w().lstCmnds->isEnabled());
    click(w().optRemote);
    EXPECT_EQ(w().txtFCdec->text(), "8324");
    EXPECT_TRUE(w().lstRemote->isEnabled());
    w().optManual->setChecked(true);
    EXPECT_TRUE(w().txtFCdec->text().isEmpty());
    EXPECT_FALSE(w().lblvalues->isHidden());
    // Clearing an option button runs nothing.
    ui::IRG::SetOption(w().optManual, false);
    EXPECT_FALSE(w().lblvalues->isHidden());
    // A click on the mode already set runs its Click again.
    w().optDiscrete->setChecked(true);
    pick(w().lstCmnds, QStringLiteral("Input"));
    ASSERT_FALSE(w().txtFCdec->text().isEmpty());
    click(w().optDiscrete);
    EXPECT_TRUE(w().txtFCdec->text().isEmpty());
    EXPECT_EQ(w().lstCmnds->currentRow(), -1);
}

// Activate shows what the main window holds now: firmware and options as they change.
TEST_F(Window, ActivateShowsFirmwareAndOptions) {
    w().hide();
    ui::scl().txtFirmware->setText(QString());
    ui::Config().Options = QString();
    ui::ShowIRG();
    EXPECT_EQ(w().lblFirmware->text(), "Firmware=???");
    EXPECT_EQ(w().lblOptions->text(), "Installed Options=None");
    w().hide();
    ui::scl().txtFirmware->setText(QStringLiteral("2.05"));
    ui::Config().Options = QStringLiteral("FRKDI SDI");
    ui::ShowIRG();
    EXPECT_EQ(w().lblFirmware->text(), "Firmware=2.05");
    EXPECT_EQ(w().lblOptions->text(), "Installed Options=FRKDI SDI");
}

// The value prompt lies over lstValues after a command's click, and over the list area from
// the left edge of lstCmnds and the top of lstRemote in Manual mode.
TEST_F(Window, ValuePromptLiesOverTheLists) {
    QApplication::processEvents();
    pick(w().lstCmnds, QStringLiteral("Brightness"));
    ASSERT_FALSE(w().lblvalues->isHidden());
    EXPECT_EQ(w().lblvalues->parentWidget(), w().lstValues->parentWidget());
    EXPECT_EQ(w().lblvalues->geometry(), w().lstValues->geometry());
    click(w().optManual);
    ASSERT_FALSE(w().lblvalues->isHidden());
    const QRect g = w().lblvalues->geometry();
    EXPECT_EQ(g.left(), w().lstCmnds->geometry().left());
    EXPECT_EQ(g.top(), w().lstRemote->geometry().top());
    EXPECT_EQ(g.bottomRight(), w().lstRemote->geometry().bottomRight());
    // It follows the lists when the window changes size.
    w().resize(w().width() + 120, w().height() + 40);
    QApplication::processEvents();
    EXPECT_EQ(w().lblvalues->geometry().bottomRight(), w().lstRemote->geometry().bottomRight());
}

// Tabbing into a list with no current row makes its first row current: no choice, no Click.
TEST_F(Window, TabbingIntoAListChoosesNothing) {
    QFocusEvent in(QEvent::FocusIn, Qt::TabFocusReason);
    QApplication::sendEvent(w().lstCmnds, &in);
    EXPECT_EQ(w().lstCmnds->currentRow(), 0);
    EXPECT_TRUE(w().txtFChex->text().isEmpty());
    EXPECT_TRUE(output().isEmpty());
    // Space on that row chooses it.
    QTest::keyClick(w().lstCmnds, Qt::Key_Space);
    EXPECT_EQ(w().txtFChex->text(),
              ui::Config().Commands.at(w().FindCommand(w().lstCmnds->item(0)->text())).Cmd);
    // The remote list likewise: tabbing in generates nothing.
    click(w().optRemote);
    QApplication::sendEvent(w().lstRemote, &in);
    EXPECT_EQ(w().lstRemote->currentRow(), 0);
    EXPECT_TRUE(output().isEmpty());
    // An arrow key is a choice.
    QTest::keyClick(w().lstRemote, Qt::Key_Down);
    EXPECT_EQ(w().lstRemote->currentRow(), 1);
    EXPECT_FALSE(output().isEmpty());
}

// Characters count by their codes in the system's 8-bit set (Windows-1252).
TEST_F(Window, ValueCharactersByTheirEightBitCodes) {
    EXPECT_EQ(ui::IRG::EditValue(QStringLiteral("6\u20AC\u00E9")), "54,128,233");
}

// ---------------------------------------------------------------- a run without a device

class Alone : public test::RunFixture {};

TEST_F(Alone, GordaWithAStarShowsTheIRToolAlone) {
    writeHomeFile(QStringLiteral("Telvo.ini"),
                  sampleIni()
                      .replace("Model = Gorda", "Model = *Gorda")
                      .replace("Vorix Connected = True", "")); // that line would undo the star
    ui::SetCommandLine(QString());
    ui::Main();
    EXPECT_TRUE(ui::scl().isHidden());
    ASSERT_TRUE(ui::irg().isVisible());
    EXPECT_EQ(ui::irg().quit->text(), "Quit");
    EXPECT_EQ(ui::irg().lblModel->text(), "Model=Gorda");
    EXPECT_FALSE(ui::scl().P1->PortOpen());
    EXPECT_GT(ui::irg().lstCmnds->count(), 0);
    // Quit ends the run.
    QTest::mouseClick(ui::irg().quit, Qt::LeftButton);
    EXPECT_EQ(scripted->ends, 1);
}

TEST_F(Alone, IrGeneratorOnlyByTheConnectedKey) {
    writeHomeFile(QStringLiteral("Telvo.ini"),
                  sampleIni().replace("Vorix Connected = True", "Vorix Connected = False"));
    ui::SetCommandLine(QString());
    ui::Main();
    EXPECT_TRUE(ui::scl().isHidden());
    EXPECT_TRUE(ui::irg().isVisible());
    EXPECT_FALSE(ui::scl().P1->PortOpen());
    ui::irg().close(); // closing the window is the end of such a run
    EXPECT_EQ(scripted->ends, 1);
}

} // namespace
