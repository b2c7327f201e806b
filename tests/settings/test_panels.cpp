// The setting panels and value entry on the main window, clicked as a user clicks them, against
// the emulated device: the labels, their refresh, the selectors and each kind of chooser.

#include "common/SettingsFixture.h"

#include "app/Controls.h"
#include "common/Accessible.h"
#include "core/text/Classic.h"

#include "firmware/LDR.h"
#include "link/zSCL.h"
#include "settings/Panels.h"
#include "settings/ValueEntry.h"

#include <QWheelEvent>

using namespace telvo;
using namespace telvo::test;

namespace {

class Panels : public DeviceRun {
protected:
    void SetUp() override {
        DeviceRun::SetUp();
        ui::BuildPanels();
        s().show();
    }
    // A mouse-down on a label, as the user gives it.
    void press(QWidget* label) { QTest::mousePress(label, Qt::LeftButton, {}, QPoint(5, 5)); }
};

TEST_F(Panels, EverySettingOfTheFileHasALabelInItsPanel) {
    // The sample holds 17 + 16 + 18 settings for a Gorda at firmware 1.24 with SDI, less the
    // lines its conditions leave out.
    int tops = 0, midCount = 0, bottom = 0;
    for (int i = 1; i < ui::Config().Commands.size(); ++i) {
        const core::CommandRec& r = ui::Config().Commands.at(i);
        tops += r.Panel == 1;
        midCount += r.Panel == 2;
        bottom += r.Panel == 3;
    }
    EXPECT_EQ(s().lblSettingTop.size(), tops + 1);
    EXPECT_EQ(s().lblSettingMid.size(), midCount + 1);
    EXPECT_EQ(s().lblSettingBtm.size(), bottom + 1);
    EXPECT_TRUE(s().lblSettingTop.at(0)->isHidden());
    EXPECT_EQ(top(1)->text(), QStringLiteral("Brightness"));
    EXPECT_EQ(top(1)->accessibleName(), QStringLiteral("Brightness"));
    EXPECT_EQ(top(1)->focusPolicy(), Qt::StrongFocus);
    EXPECT_EQ(s().lstPreset->count(), 14);
    EXPECT_EQ(s().lstPreset->item(4)->text(), QStringLiteral("User 1"));
    EXPECT_EQ(s().lstProfile->count(), 8);
    // Read-only labels are disabled.
    EXPECT_FALSE(labelNamed(QStringLiteral("Model"))->isEnabled());
    EXPECT_TRUE(labelNamed(QStringLiteral("OSD Timeout"))->isEnabled());
    EXPECT_EQ(ui::ControlMapAt(1),
              core::FindCommandByName(ui::Config().Commands, QStringLiteral("Brightness")));
    EXPECT_EQ(ui::ControlMapAt(201),
              core::FindCommandByName(ui::Config().Commands, QStringLiteral("Model")));
}

TEST_F(Panels, FourthLabelOpensRowTwoOfTheTopButStaysInRowOneOfTheBottom) {
    int row, col, rs, cs;
    s().gridTop->getItemPosition(s().gridTop->indexOf(top(4)), &row, &col, &rs, &cs);
    EXPECT_EQ(row, 1);
    EXPECT_EQ(col, 0);
    s().gridBtm->getItemPosition(s().gridBtm->indexOf(btm(4)), &row, &col, &rs, &cs);
    EXPECT_EQ(row, 0);
    EXPECT_EQ(col, 3);
    // And on screen: the fourth top label sits under the first.
    QApplication::processEvents();
    EXPECT_GT(top(4)->y(), top(1)->y());
    EXPECT_EQ(top(4)->x(), top(1)->x());
}

TEST_F(Panels, RefreshShowsTheDevicesValuesAndSendsTheSelectorsFirst) {
    vorix::sim::Device& dev = attachDevice();
    dev.settings().set("B1", "-12");
    dev.settings().set("C1", "2");
    const int from = logSize();
    QTest::mouseClick(s().cmdRefreshAll, Qt::LeftButton);
    const QStringList frames = sent(from);
    ASSERT_GE(frames.size(), 4);
    EXPECT_EQ(frames.mid(0, 4), (QStringList{query("4C"), query("E1"), query("60"), query("E0")}));
    EXPECT_EQ(labelNamed(QStringLiteral("Brightness"))->text(), QStringLiteral("Brightness=-12"));
    EXPECT_EQ(labelNamed(QStringLiteral("Aspect Ratio"))->text(),
              QStringLiteral("Aspect Ratio=16:9"));
    EXPECT_EQ(labelNamed(QStringLiteral("Model"))->text(), QStringLiteral("Model=Gorda"));
    EXPECT_EQ(labelNamed(QStringLiteral("Firmware"))->text(), QStringLiteral("Firmware=1.24"));
    // A write-only setting shows its name and is never asked.
    EXPECT_EQ(labelNamed(QStringLiteral("Test Pattern"))->text(), QStringLiteral("Test Pattern"));
    EXPECT_FALSE(frames.contains(query("D9")));
    EXPECT_TRUE(s().lblWait->isHidden());
}

TEST_F(Panels, BeginnerLevelRefreshSendsNothingAtAll) {
    attachDevice();
    ui::Config().UserLevel = 1;
    const int from = logSize();
    ui::RefreshPanels(7);
    EXPECT_TRUE(sent(from).isEmpty());
    EXPECT_EQ(line(1)->outBufferCount(), 0);
}

TEST_F(Panels, ChangingTheTabSelectsTheInputThenRefreshesTheTopPanel) {
    vorix::sim::Device& dev = attachDevice();
    const int from = logSize();
    s().SSTab1->setCurrentIndex(2); // as a click on "S-Vid-1" does
    const QStringList frames = sent(from);
    ASSERT_GE(frames.size(), 2);
    EXPECT_EQ(frames.at(0), set("4C", QStringLiteral("3")));
    EXPECT_EQ(frames.at(1), query("4C"));
    EXPECT_EQ(dev.settings().input(), 3);
    EXPECT_FALSE(frames.contains(query("60"))); // the middle panel is not refreshed
}

TEST_F(Panels, WheelOverTheTabsSelectsNoInput) {
    attachDevice();
    s().show();
    const int tab = s().SSTab1->currentIndex();
    const int from = logSize();
    const QPointF p = QPointF(s().SSTab1->tabRect(0).center());
    for (int notch : {-120, -120, 120}) {
        QWheelEvent wheel(p, s().SSTab1->mapToGlobal(p), QPoint(), QPoint(0, notch), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(s().SSTab1, &wheel);
    }
    EXPECT_EQ(s().SSTab1->currentIndex(), tab);
    EXPECT_TRUE(sent(from).isEmpty());
}

TEST_F(Panels, ProgramsOwnTabChangeIsNoCommand) {
    attachDevice();
    ui::G().settings.SuppressTab = true;
    const int from = logSize();
    s().SSTab1->setCurrentIndex(4);
    ui::G().settings.SuppressTab = false;
    EXPECT_TRUE(sent(from).isEmpty());
}

TEST_F(Panels, OutputButtonsSetTheOutputType) {
    vorix::sim::Device& dev = attachDevice();
    ui::RefreshPanels(2);
    ASSERT_TRUE(s().optAnalog->isChecked()); // the device starts on its analog output
    const int from = logSize();
    QTest::mouseClick(s().optDigital, Qt::LeftButton, {}, QPoint(6, s().optDigital->height() / 2));
    EXPECT_EQ(sent(from).value(0), set("60", QStringLiteral("2")));
    EXPECT_EQ(dev.settings().output(), 2);
    const int from2 = logSize();
    QTest::mouseClick(s().optAnalog, Qt::LeftButton, {}, QPoint(6, s().optAnalog->height() / 2));
    EXPECT_EQ(sent(from2).value(0), set("60", QStringLiteral("1")));
    EXPECT_EQ(dev.settings().output(), 1);
}

TEST_F(Panels, OutputButtonsByTheAccessibilityToggle) {
    vorix::sim::Device& dev = attachDevice();
    ui::RefreshPanels(2);
    ASSERT_TRUE(s().optAnalog->isChecked());
    const int from = logSize();
    ASSERT_TRUE(accessibleToggle(s().optDigital));
    EXPECT_EQ(sent(from).value(0), set("60", QStringLiteral("2")));
    EXPECT_EQ(dev.settings().output(), 2);
    const int from2 = logSize();
    ASSERT_TRUE(accessibleToggle(s().optAnalog));
    EXPECT_EQ(sent(from2).value(0), set("60", QStringLiteral("1")));
    EXPECT_EQ(dev.settings().output(), 1);
    // The refresh sets the button the device names under SuppressOutput: no command.
    dev.settings().set("60", "2");
    const int from3 = logSize();
    ui::RefreshPanels(2);
    EXPECT_TRUE(s().optDigital->isChecked());
    EXPECT_FALSE(sent(from3).contains(set("60", QStringLiteral("2"))));
}

// The adapter pulled: the first write is a run-time error. The routines' flags and the wait
// sign are put back, so that tabs and Digital/Analog act again.
TEST_F(Panels, RunTimeErrorInARefreshOrARestorePutsTheFlagsBack) {
    attachDevice();
    ui::RefreshPanels(7);
    ui::SaveViewState();
    // The first wait for an answer meets the error.
    at(1, [] { throw core::RuntimeError(8012, QStringLiteral("The port is not open")); });
    ui::Handle([] { ui::RefreshPanels(7); });
    ASSERT_EQ(scripted->messageTexts().size(), 1);
    EXPECT_TRUE(scripted->messageTexts().at(0).startsWith(QStringLiteral("Run-time error '8012'")));
    EXPECT_TRUE(s().lblWait->isHidden());
    EXPECT_FALSE(ui::G().settings.SuppressTab);
    EXPECT_FALSE(ui::G().settings.SuppressOutput);
    at(1, [] { throw core::RuntimeError(8012, QStringLiteral("The port is not open")); });
    ui::Handle([] { ui::RestoreViewState(); });
    ASSERT_EQ(scripted->messageTexts().size(), 2);
    EXPECT_FALSE(ui::G().settings.SuppressTab);
    EXPECT_FALSE(ui::G().settings.SuppressOutput);
    EXPECT_TRUE(s().lblWait->isHidden());
}

TEST_F(Panels, DoubleClickOnAPresetSetsItsIndex) {
    vorix::sim::Device& dev = attachDevice();
    s().lstPreset->setCurrentRow(5);
    const int from = logSize();
    ui::lstPreset_DblClick();
    EXPECT_EQ(sent(from).value(0), set("E1", QStringLiteral("5")));
    EXPECT_EQ(dev.settings().preset(), 5);
    s().lstPreset->setCurrentRow(-1);
    const int from2 = logSize();
    ui::lstPreset_DblClick();
    EXPECT_TRUE(sent(from2).isEmpty());
}

TEST_F(Panels, AnAnswerOfAnUnknownCommandIsAnAlert) {
    attachDevice();
    const QString reply = QString(QChar(2)) + QStringLiteral("2105ZZ") + QChar(0) +
                          QStringLiteral("1") + QChar(0) + QChar(3);
    EXPECT_EQ(ui::FormatAnswer(reply), QString());
    EXPECT_TRUE(s().lblMessage->text().startsWith(QStringLiteral(
        "Device returned an un-recognized command code(1). Reply was '(STX)2105ZZ(NUL)1")));
}

TEST_F(Panels, ViewStateIsKeptAndPutBackWithTheDeliberateOffByOne) {
    vorix::sim::Device& dev = attachDevice();
    ui::RefreshPanels(7);
    s().SSTab1->setCurrentIndex(1);
    s().lstPreset->setCurrentRow(6);
    ui::lstPreset_DblClick();
    s().optDigital->setChecked(true); // refreshes the middle panel
    s().lstProfile->setCurrentRow(2);
    ui::SaveViewState();
    s().SSTab1->setCurrentIndex(0);
    const int from = logSize();
    ui::RestoreViewState();
    const QStringList frames = sent(from);
    ASSERT_GE(frames.size(), 9);
    EXPECT_EQ(
        frames.mid(0, 9),
        (QStringList{set("4C", QStringLiteral("2")), query("4C"), set("E1", QStringLiteral("7")),
                     query("E1"), set("60", QStringLiteral("2")), set("60", QStringLiteral("1")),
                     query("60"), set("E0", QStringLiteral("3")), query("E0")}));
    EXPECT_EQ(dev.settings().input(), 2);
    EXPECT_EQ(dev.settings().preset(), 7);
    EXPECT_EQ(dev.settings().output(), 1);
}

class EmptyPanels : public DeviceRun {
protected:
    QByteArray ini() override { return "[SYSTEM]\r\nModel = Gorda\r\n"; }
};

TEST_F(EmptyPanels, NoSettingsLeaveTheFramesAndListsEmpty) {
    ui::BuildPanels();
    EXPECT_EQ(s().lblSettingTop.size(), 1);
    EXPECT_EQ(s().lblSettingMid.size(), 1);
    EXPECT_EQ(s().lblSettingBtm.size(), 1);
    EXPECT_EQ(s().lstPreset->count(), 0);
    EXPECT_EQ(s().lstProfile->count(), 0);
    EXPECT_EQ(s().gridTop->count(), 0);
}

// --- value entry

TEST_F(Panels, AListSettingOpensTheListAndAChoiceIsSetThenRead) {
    vorix::sim::Device& dev = attachDevice();
    press(labelNamed(QStringLiteral("Noise Reduction")));
    ASSERT_FALSE(s().frmSelect->isHidden());
    EXPECT_TRUE(s().frmEnter->isHidden());
    ASSERT_EQ(s().lstSelect->count(), 4);
    EXPECT_EQ(s().lstSelect->item(2)->text(), QStringLiteral("Medium"));
    EXPECT_EQ(s().lstSelectTwips, 960);
    const int from = logSize();
    QListWidgetItem* item = s().lstSelect->item(2);
    QTest::mouseClick(s().lstSelect->viewport(), Qt::LeftButton, {},
                      s().lstSelect->visualItemRect(item).center());
    EXPECT_EQ(sent(from), (QStringList{set("B6", QStringLiteral("2")), query("B6")}));
    EXPECT_EQ(dev.settings().query("B6").value, QByteArray("2"));
    EXPECT_EQ(labelNamed(QStringLiteral("Noise Reduction"))->text(),
              QStringLiteral("Noise Reduction=Medium"));
    EXPECT_TRUE(s().frmSelect->isHidden());
}

TEST_F(Panels, KeyboardReachesAChooser) {
    attachDevice();
    ui::SettingLabel* l = labelNamed(QStringLiteral("Zoom"));
    l->setFocus();
    QTest::keyClick(l, Qt::Key_Return);
    EXPECT_FALSE(s().frmEnter->isHidden());
    QTest::keyClick(s().txtValEnter, Qt::Key_Escape);
    EXPECT_TRUE(s().frmEnter->isHidden());
}

TEST_F(Panels, RangeValuesArePaddedToTheirDecimalsBeforeTheyAreSent) {
    attachDevice();
    struct Row {
        const char* typed;
        const char* sentValue;
    };
    for (const Row r : {Row{"1", "1.00"}, Row{"1.5", "1.50"}, Row{"1.234", "1.234"}}) {
        press(labelNamed(QStringLiteral("Red Gain")));
        ASSERT_FALSE(s().frmEnter->isHidden());
        EXPECT_EQ(
            s().lblEnter->text(),
            QStringLiteral("Enter a value in the range 0.00 to 1.50, Press enter to execute"));
        s().txtValEnter->setText(QLatin1String(r.typed));
        const int from = logSize();
        QTest::keyClick(s().txtValEnter, Qt::Key_Return);
        EXPECT_EQ(sent(from).value(0), set("67", QLatin1String(r.sentValue))) << r.typed;
        EXPECT_EQ(s().txtValEnter->text(), QLatin1String(r.sentValue));
        EXPECT_TRUE(s().frmEnter->isHidden());
    }
}

TEST_F(Panels, WholeNumberRangeSendsWhatWasTypedAndTheDeviceJudges) {
    attachDevice();
    press(labelNamed(QStringLiteral("Saturation")));
    s().txtValEnter->setText(QStringLiteral("5.5"));
    const int from = logSize();
    QTest::keyClick(s().txtValEnter, Qt::Key_Return);
    EXPECT_EQ(sent(from).value(0), set("B3", QStringLiteral("5.5")));
}

TEST_F(Panels, EmptyEntryDoesNothingAndTheBoxStays) {
    attachDevice();
    press(labelNamed(QStringLiteral("Saturation")));
    s().txtValEnter->clear();
    const int from = logSize();
    QTest::keyClick(s().txtValEnter, Qt::Key_Return);
    EXPECT_TRUE(sent(from).isEmpty());
    EXPECT_FALSE(s().frmEnter->isHidden());
}

TEST_F(Panels, IntegerSettingPromptsWithItsRangeAndMarksTheContext) {
    attachDevice();
    press(labelNamed(QStringLiteral("Audio Delay")));
    EXPECT_EQ(s().lblEnter->text(),
              QStringLiteral("Enter a value in the range 0 to 250 ms, press ENTER to execute"));
    EXPECT_EQ(ui::G().settings.ValueContext, QStringLiteral("Integer"));
}

TEST_F(Panels, ReadOnlySettingBeepsAndOpensNothing) {
    attachDevice();
    ui::SettingLabel* model = labelNamed(QStringLiteral("Model"));
    const int before = scripted->beeps;
    ui::OpenSetting(model, 201, 1, 1, QStringLiteral("Btm"));
    EXPECT_EQ(scripted->beeps, before + 1);
    EXPECT_TRUE(s().frmSelect->isHidden());
    EXPECT_TRUE(s().frmEnter->isHidden());
}

TEST_F(Panels, ChoosersOpenDownFromTheTopAndUpFromTheLowerPanels) {
    attachDevice();
    QApplication::processEvents();
    ui::SettingLabel* t = labelNamed(QStringLiteral("Noise Reduction"));
    press(t);
    EXPECT_GE(s().frmSelect->y(), t->mapTo(&s(), QPoint(0, 0)).y());
    ui::SettingLabel* b = labelNamed(QStringLiteral("Menu Language"));
    press(b);
    EXPECT_LE(s().frmSelect->y() + s().frmSelect->height(), b->mapTo(&s(), QPoint(0, 5)).y() + 1);
    // A click on a frame abandons the choice.
    QTest::mousePress(s().FrameBtm, Qt::LeftButton, {}, QPoint(2, 2));
    EXPECT_TRUE(s().frmSelect->isHidden());
}

TEST_F(Panels, RebootActionWaitsThenFindsTheDeviceAtItsOriginalSpeed) {
    vorix::sim::Device& dev = attachDevice();
    (void)dev;
    press(labelNamed(QStringLiteral("Restart")));
    const qint64 t0 = platform::Clock::instance().nowUs();
    const int from = logSize();
    QTest::mouseClick(s().lstSelect->viewport(), Qt::LeftButton, {},
                      s().lstSelect->visualItemRect(s().lstSelect->item(0)).center());
    const QStringList frames = sent(from);
    EXPECT_EQ(frames.value(0), set("DC", QStringLiteral("1")));
    // The probe at the original speed follows the wait.
    EXPECT_EQ(frames.value(1), query("A1"));
    EXPECT_GE(platform::Clock::instance().nowUs() - t0, 8'000'000);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Idle"));
    EXPECT_EQ(s().lblWait->text(), QStringLiteral("WAIT - Processing"));
    EXPECT_TRUE(s().lblWait->isHidden());
    EXPECT_TRUE(s().frmSelect->isHidden());
}

TEST_F(Panels, DoubleClickOnARebootChoiceSendsItOnce) {
    attachDevice();
    press(labelNamed(QStringLiteral("Restart")));
    const int from = logSize();
    const QPoint at0 = s().lstSelect->visualItemRect(s().lstSelect->item(0)).center();
    // The second click of the double-click comes during the first one's pause.
    at(200,
       [this, at0] { QTest::mouseDClick(s().lstSelect->viewport(), Qt::LeftButton, {}, at0); });
    QTest::mouseClick(s().lstSelect->viewport(), Qt::LeftButton, {}, at0);
    const QStringList frames = sent(from);
    EXPECT_EQ(frames.count(set("DC", QStringLiteral("1"))), 1);
    EXPECT_EQ(frames.value(0), set("DC", QStringLiteral("1")));
    EXPECT_EQ(frames.value(1), query("A1"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Idle"));
}

TEST_F(Panels, LoaderActionMovesToTheTransferSpeedAndShowsTheLoader) {
    // In simulation: a device in its loader no longer answers the speed command, and the
    // search that follows that loss is the connection's own business.
    attachDevice();
    s().chkSim->setChecked(true);
    ui::chkSim_Click();
    press(labelNamed(QStringLiteral("Enter Loader")));
    QTest::mouseClick(s().lstSelect->viewport(), Qt::LeftButton, {},
                      s().lstSelect->visualItemRect(s().lstSelect->item(0)).center());
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Starting program SetGordaBaudRate with input=57600")));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_FALSE(ui::ldr().isHidden());
    EXPECT_TRUE(s().frmSelect->isHidden());
}

class OddLists : public DeviceRun {
protected:
    QByteArray ini() override {
        return "[SYSTEM]\r\nModel = Gorda\r\n[COMMANDS]\r\n"
               "Nine = [1] 61 ; (1)a,(2)b,(3)c,(4)d,(5)e,(6)f,(7)g,(8)h,(9)i ;\r\n"
               "Ten = [1] 62 ; (1)a,(2)b,(3)c,(4)d,(5)e,(6)f,(7)g,(8)h,(9)i,(10)j ;\r\n"
               "Thirty = [1] 63 ; (1)a,(2)b,(3)c,(4)d,(5)e,(6)f,(7)g,(8)h,(9)i,(10)j,(11)k,"
               "(12)l,(13)m,(14)n,(15)o,(16)p,(17)q,(18)r,(19)s,(20)t,(21)u,(22)v,(23)w,(24)x,"
               "(25)y,(26)z,(27)A,(28)B,(29)C,(30)D ;\r\n"
               "Kindless = [1] 64 ; ;\r\n";
    }
};

TEST_F(OddLists, ListHeightIsNineRowsOrTenAtMost) {
    ui::BuildPanels();
    s().show();
    ui::OpenSetting(s().lblSettingTop.at(1), 1, 1, 1, QStringLiteral("top"));
    EXPECT_EQ(s().lstSelectTwips, 2160);
    const int nine = s().lstSelect->height();
    ui::OpenSetting(s().lblSettingTop.at(2), 2, 1, 1, QStringLiteral("TOP"));
    EXPECT_EQ(s().lstSelectTwips, 2400);
    ui::OpenSetting(s().lblSettingTop.at(3), 3, 1, 1, QStringLiteral("top"));
    EXPECT_EQ(s().lstSelectTwips, 2400);
    EXPECT_GT(s().lstSelect->height(), nine);
    EXPECT_EQ(s().lstSelect->count(), 30);
}

// The frame is the list and 300 twips (or its caption's and frame's height where the style
// needs more), and the whole list shows inside it.
TEST_F(OddLists, SelectFrameIsTheListAnd300Twips) {
    ui::BuildPanels();
    s().show();
    const int twips300 = qRound(300.0 * s().logicalDpiY() / 1440.0);
    const QMargins frame = s().frmSelect->contentsMargins();
    const QMargins inner = s().frmSelect->layout()->contentsMargins();
    const int chrome = frame.top() + frame.bottom() + inner.top() + inner.bottom();
    for (int i : {1, 2, 3}) {
        ui::OpenSetting(s().lblSettingTop.at(i), i, 1, 1, QStringLiteral("top"));
        QApplication::processEvents();
        EXPECT_EQ(s().frmSelect->height(), s().lstSelect->height() + qMax(twips300, chrome)) << i;
        EXPECT_LE(s().lstSelect->geometry().bottom(), s().frmSelect->height() - 1) << i;
        EXPECT_GE(s().lstSelect->geometry().top(), 0) << i;
    }
}

TEST_F(OddLists, AKindlessSettingOpensTheStaleListAndSelectsNothingOfUse) {
    ui::BuildPanels();
    s().show();
    // Opened first: the list is empty.
    ui::OpenSetting(s().lblSettingTop.at(4), 4, 1, 1, QStringLiteral("top"));
    EXPECT_FALSE(s().frmSelect->isHidden());
    EXPECT_TRUE(s().frmEnter->isHidden());
    EXPECT_EQ(s().lstSelect->count(), 0);
    const int none = logSize();
    ui::lstSelect_Click();
    EXPECT_TRUE(sent(none).isEmpty());
    ui::OpenSetting(s().lblSettingTop.at(1), 1, 1, 1, QStringLiteral("top"));
    ui::OpenSetting(s().lblSettingTop.at(4), 4, 1, 1, QStringLiteral("top"));
    EXPECT_FALSE(s().frmSelect->isHidden());
    EXPECT_EQ(s().lstSelect->count(), 9); // what the list held
    const int from = logSize();
    s().lstSelect->setCurrentRow(3);
    ui::lstSelect_Click();
    EXPECT_TRUE(sent(from).isEmpty());
    EXPECT_TRUE(s().frmSelect->isHidden());
}

} // namespace
