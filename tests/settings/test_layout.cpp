// The main window's two layouts, the button groups and the captions of its controls, headless;
// ctest runs this at 100 % and at 200 % scale.

#include "common/Accessible.h"
#include "common/Fixture.h"

#include "app/Globals.h"
#include "app/Main.h"
#include "settings/Layout.h"
#include "settings/Panels.h"
#include "settings/SCL.h"

#include <QAbstractButton>
#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

class Layout : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        writeHomeFile(QStringLiteral("Telvo.ini"), sampleIni());
        initControls();
        ui::BuildPanels();
    }
    ui::SCL& s() { return ui::scl(); }
    void lay(int level, bool debugger = false) {
        ui::App().DebuggerMode = debugger;
        ui::ArrangeToolButtons();
        ui::Config().UserLevel = qint16(level);
        ui::SetUserLayout(level);
        s().show();
        QApplication::processEvents();
    }
    static QRect at(QWidget* w) { return QRect(w->mapTo(w->window(), QPoint(0, 0)), w->size()); }
};

TEST_F(Layout, FullWindowStacksTheFramesAsDesigned) {
    lay(0);
    const QRect f2 = at(s().Frame2), f4 = at(s().Frame4), f5 = at(s().Frame5), f6 = at(s().Frame6),
                d1 = at(s().D1), btm = at(s().FrameBtm), top = at(s().FrameTop),
                msg = at(s().lblMessage);
    // Support tools right under communications, at its left and of its width.
    EXPECT_GE(f4.top(), f2.bottom());
    EXPECT_EQ(f4.left(), f2.left());
    EXPECT_EQ(f4.width(), f2.width());
    // Termination beside them, at the options' left.
    EXPECT_EQ(f5.top(), f4.top());
    EXPECT_EQ(f5.height(), f4.height());
    EXPECT_EQ(f5.left(), f6.left());
    // The details under the tools; the bottom panel ends where the details end.
    EXPECT_GE(d1.top(), f4.bottom());
    EXPECT_NEAR(btm.bottom(), d1.bottom(), 2);
    // The panels are the right-hand column; the status line runs under everything.
    EXPECT_GT(top.left(), f6.right());
    EXPECT_GT(msg.top(), d1.bottom());
    EXPECT_FALSE(s().Frame3->isHidden());
    EXPECT_FALSE(s().cmdRefreshAll->isHidden());
    EXPECT_FALSE(s().chkSim->isHidden());
    EXPECT_FALSE(s().chkSaveRestore->isEnabled());
    EXPECT_TRUE(s().chkDefaults->isEnabled());
    // The wait mark sits under the refresh button.
    s().lblWait->show();
    QApplication::processEvents();
    EXPECT_GE(at(s().lblWait).top(), at(s().cmdRefreshAll).bottom());
}

TEST_F(Layout, BeginnersWindowHidesThePanelsAndStacksTheRest) {
    lay(1);
    const QRect f2 = at(s().Frame2), f4 = at(s().Frame4), f5 = at(s().Frame5), f6 = at(s().Frame6),
                d1 = at(s().D1), area = at(s().statusArea);
    EXPECT_TRUE(s().panelArea->isHidden());
    EXPECT_TRUE(s().Frame3->isHidden());
    for (QWidget* w :
         {static_cast<QWidget*>(s().chkConfirm), static_cast<QWidget*>(s().chkSim),
          static_cast<QWidget*>(s().chkNoFWupdate), static_cast<QWidget*>(s().cmdRefreshAll)})
        EXPECT_TRUE(w->isHidden()) << w->objectName().toStdString();
    EXPECT_FALSE(s().Frame6->isHidden());
    EXPECT_GE(f5.top(), f6.bottom());
    EXPECT_EQ(f5.left(), f6.left());
    EXPECT_GE(f4.top(), f5.bottom());
    EXPECT_EQ(f4.left(), f5.left());
    EXPECT_EQ(f4.width(), f5.width());
    EXPECT_EQ(f5.height(), f4.height());
    EXPECT_GE(d1.top(), f2.bottom());
    EXPECT_EQ(area.width(), d1.width());
    EXPECT_FALSE(s().chkSaveRestore->isEnabled());
    EXPECT_FALSE(s().chkDefaults->isEnabled());
}

TEST_F(Layout, WindowIsResizableAndKeepsItsArrangement) {
    lay(0);
    const QSize first = s().size();
    s().resize(first.width() + 200, first.height() + 150);
    QApplication::processEvents();
    EXPECT_EQ(s().width(), first.width() + 200);
    EXPECT_NEAR(at(s().FrameBtm).bottom(), at(s().D1).bottom(), 2);
    EXPECT_EQ(at(s().Frame4).left(), at(s().Frame2).left());
}

TEST_F(Layout, DebuggerButtonsShowOnlyInDebuggerMode) {
    lay(0, false);
    EXPECT_TRUE(s().cmdDebugger->isHidden());
    EXPECT_TRUE(s().cmdAdvanced->isHidden());
    EXPECT_TRUE(s().cmdGamma->isHidden());
    lay(0, true);
    EXPECT_FALSE(s().cmdDebugger->isHidden());
    EXPECT_FALSE(s().cmdAdvanced->isHidden());
    EXPECT_FALSE(s().cmdGamma->isHidden());
    // Adv is the last of the row.
    EXPECT_GT(at(s().cmdAdvanced).right(), at(s().cmdGamma).right());
}

TEST_F(Layout, BeginnersEnableAllLeavesTheTailAlone) {
    lay(1);
    ui::DisableControls(QStringLiteral("ALL"));
    ui::EnableControls(QStringLiteral("ALL"));
    EXPECT_TRUE(s().cmdAdvanced->isEnabled());
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    for (QPushButton* b :
         {s().cmdSave, s().cmdRestore, s().cmdRefreshAll, s().cmdSaveAs, s().cmdSaveAs2})
        EXPECT_FALSE(b->isEnabled()) << b->objectName().toStdString();
    lay(0);
    ui::EnableControls(QStringLiteral("ALL"));
    EXPECT_TRUE(s().cmdSave->isEnabled());
}

TEST_F(Layout, WordsActAsSubstrings) {
    lay(0);
    ui::DisableControls(QStringLiteral("ALL"));
    ui::EnableControls(QStringLiteral("SAVEAS2"));
    EXPECT_TRUE(s().cmdSave->isEnabled());
    EXPECT_TRUE(s().cmdSaveAs->isEnabled());
    EXPECT_TRUE(s().cmdSaveAs2->isEnabled());
    EXPECT_FALSE(s().cmdRestore->isEnabled());
    ui::DisableControls(QStringLiteral("ALL"));
    ui::EnableControls(QStringLiteral("OPEN END"));
    EXPECT_TRUE(s().cmdOpen->isEnabled());
    EXPECT_TRUE(s().cmdEnd->isEnabled());
    EXPECT_FALSE(s().cmdStart->isEnabled());
}

TEST_F(Layout, DefaultsAndSaveSettingsExcludeEachOther) {
    lay(0);
    // A click on the box itself, not on the empty width the layout gives it.
    const auto click = [](QCheckBox* c) {
        QTest::mouseClick(c, Qt::LeftButton, {}, QPoint(6, c->height() / 2));
    };
    s().chkSaveRestore->setChecked(false);
    s().chkDefaults->setChecked(false);
    click(s().chkDefaults);
    EXPECT_TRUE(s().chkDefaults->isChecked());
    EXPECT_FALSE(s().chkSaveRestore->isEnabled());
    click(s().chkDefaults);
    EXPECT_TRUE(s().chkSaveRestore->isEnabled());
    click(s().chkSaveRestore);
    EXPECT_TRUE(s().chkSaveRestore->isChecked());
    EXPECT_FALSE(s().chkDefaults->isEnabled());
    click(s().chkSaveRestore);
    EXPECT_TRUE(s().chkDefaults->isEnabled());
}

// The same through an accessibility tool's "Toggle", and from code: each change runs the Click.
TEST_F(Layout, CheckBoxesRunTheirClickOnEveryChangeOfValue) {
    lay(0);
    s().chkSaveRestore->setEnabled(true);
    s().chkSaveRestore->setChecked(false);
    s().chkDefaults->setChecked(false);
    ASSERT_TRUE(accessibleToggle(s().chkDefaults));
    EXPECT_TRUE(s().chkDefaults->isChecked());
    EXPECT_FALSE(s().chkSaveRestore->isEnabled());
    ASSERT_TRUE(accessibleToggle(s().chkDefaults));
    EXPECT_TRUE(s().chkSaveRestore->isEnabled());
    ASSERT_TRUE(accessibleToggle(s().chkSaveRestore));
    EXPECT_TRUE(s().chkSaveRestore->isChecked());
    EXPECT_FALSE(s().chkDefaults->isEnabled());
    s().chkSaveRestore->setChecked(false);
    EXPECT_TRUE(s().chkDefaults->isEnabled());

    ASSERT_TRUE(accessibleToggle(s().chkSim));
    EXPECT_EQ(ui::Link().SimNote, QStringLiteral(" (Simulation Mode)"));
    ASSERT_TRUE(accessibleToggle(s().chkSim));
    EXPECT_TRUE(ui::Link().SimNote.isEmpty());
    s().chkSim->setChecked(true);
    EXPECT_EQ(ui::Link().SimNote, QStringLiteral(" (Simulation Mode)"));
    s().chkSim->setChecked(false);
}

TEST_F(Layout, EveryCaptionIsTheSystemsOwn) {
    struct Row {
        const char* name;
        const char* caption;
    };
    const Row rows[] = {
        {"Frame2", "Communications"},
        {"Label2", "Com Port"},
        {"Label4", "Baud Rate"},
        {"Label1", "Vorix Port"},
        {"Label7", "Original Vorix Speed"},
        {"Label11", "Current Vorix Speed"},
        {"Label6", "Vorix XFR Speed"},
        {"cmdOpen", "Connect"},
        {"Frame3", "Device Settings"},
        {"cmdSave", "Save"},
        {"cmdRestore", "Restore"},
        {"Label8", "Device Model"},
        {"lblFirmware", "Firmware Loaded"},
        {"Frame4", "Vorix Support Tools"},
        {"cmdStart", " Loader"},
        {"cmdDecodeIR", "IR Tool"},
        {"cmdDebugger", " Debug"},
        {"cmdAdvanced", "Adv"},
        {"cmdSupport", "Support"},
        {"cmdGamma", "Gamma"},
        {"Frame5", "Termination"},
        {"chkSaveRestore", "Save Settings"},
        {"chkDefaults", "Restore Defaults"},
        {"cmdEnd", "Exit"},
        {"Frame6", "Operation and Options"},
        {"cmdRefreshAll", "Get Current State"},
        {"chkConfirm", "Confirm "},
        {"chkSim", "Simulate"},
        {"chkNoFWupdate", "No Firmware Update"},
        {"lblState", "Device State"},
        {"lblWait", "WAIT - Processing"},
        {"Label9", "Details"},
        {"cmdContinue", "Continue"},
        {"cmdCancel", "Cancel"},
        {"FrameTop", "Input and Picture Settings"},
        {"FrameMid", "Output Settings"},
        {"FrameBtm", "Configuration Settings"},
        {"optDigital", "Digital (HDMI)"},
        {"optAnalog", "Analog (BNC)"},
        {"cmdSaveAs", "Save As"},
        {"cmdSaveAs2", "Save As"},
        {"frmEnter", "Enter Value"},
        {"frmSelect", "Select Value"},
    };
    for (const Row& r : rows) {
        QWidget* w = s().findChild<QWidget*>(QLatin1String(r.name));
        ASSERT_NE(w, nullptr) << r.name;
        QString text;
        if (auto* b = qobject_cast<QAbstractButton*>(w))
            text = b->text();
        else if (auto* g = qobject_cast<QGroupBox*>(w))
            text = g->title();
        else if (auto* l = qobject_cast<QLabel*>(w))
            text = l->text();
        EXPECT_EQ(text, QLatin1String(r.caption)) << r.name;
    }
    EXPECT_EQ(s().SSTab1->count(), 12);
    EXPECT_EQ(s().SSTab1->tabText(11), QStringLiteral("S D I"));
}

TEST_F(Layout, EveryControlHasANameAndSomethingToSpeak) {
    lay(0, true);
    for (QWidget* w : s().findChildren<QWidget*>()) {
        const bool control = qobject_cast<QAbstractButton*>(w) || qobject_cast<QLineEdit*>(w) ||
                             qobject_cast<QComboBox*>(w) || qobject_cast<QListWidget*>(w) ||
                             qobject_cast<ui::SettingLabel*>(w);
        if (!control || w->parent() == nullptr)
            continue;
        if (qobject_cast<QListWidget*>(w->parentWidget()))
            continue;
        EXPECT_FALSE(w->objectName().isEmpty()) << w->metaObject()->className();
        QString spoken = w->accessibleName();
        if (auto* b = qobject_cast<QAbstractButton*>(w); spoken.isEmpty() && b)
            spoken = b->text();
        if (auto* l = qobject_cast<QLabel*>(w); spoken.isEmpty() && l)
            spoken = l->text();
        EXPECT_FALSE(spoken.trimmed().isEmpty()) << w->objectName().toStdString();
    }
}

} // namespace
