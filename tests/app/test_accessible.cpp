// What a screen reader finds through Qt's accessibility interface: the status lines' messages and
// their events, alerts marked as alerts, captions that rename their controls, prompts that take
// the keyboard, and the Details box read line by line.

#include "common/LoaderFixture.h"
#include "common/SettingsFixture.h"

#include "app/MajorSubs.h"
#include "firmware/Firmware.h"
#include "settings/Panels.h"
#include "settings/SaveRestore.h"

#include <QAccessible>
#include <QTest>
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

using namespace telvo;

namespace {

const QString kFive = QStringLiteral("     ");
const QString kNoSettings =
    QStringLiteral("There is no 'Settings' file (settings.txt) to restore from");

// Every accessibility event the program raises, with what its object said at that moment.
struct Heard {
    QObject* object;
    QAccessible::Event type;
    QString name;
    QString description;
};
std::vector<Heard>& heard() {
    static std::vector<Heard> events;
    return events;
}
void record(QAccessibleEvent* e) {
    QAccessibleInterface* i = e->accessibleInterface();
    heard().push_back({e->object(), e->type(), i ? i->text(QAccessible::Name) : QString(),
                       i ? i->text(QAccessible::Description) : QString()});
}

// Installs the recorder for the life of a test.
class Listening {
public:
    Listening() {
        test::TestApp(); // the platform comes with the application
        heard().clear();
        m_before = QAccessible::installUpdateHandler(record);
        // As when a screen reader is there: Qt raises nothing otherwise. The platform's switch
        // is the one Qt's own accessibility tests use.
        platformAccessibility()->setActive(true);
    }
    ~Listening() {
        platformAccessibility()->setActive(false);
        QAccessible::installUpdateHandler(m_before);
    }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    static int count(QObject* o, QAccessible::Event type) {
        int n = 0;
        for (const Heard& h : heard())
            n += h.object == o && h.type == type;
        return n;
    }
    static QStringList names(QObject* o, QAccessible::Event type) {
        QStringList out;
        for (const Heard& h : heard())
            if (h.object == o && h.type == type)
                out << h.name;
        return out;
    }

private:
    static QPlatformAccessibility* platformAccessibility() {
        return QGuiApplicationPrivate::platformIntegration()->accessibility();
    }
    QAccessible::UpdateHandler m_before;
};

QAccessibleInterface* A(QObject* o) {
    return QAccessible::queryAccessibleInterface(o);
}
QString wholeText(QObject* o) {
    QAccessibleTextInterface* t = A(o)->textInterface();
    return t ? t->text(0, t->characterCount()) : QStringLiteral("(no text interface)");
}

class Spoken : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
    }
    ui::SCL& s() { return ui::scl(); }
    Listening listening;
};

TEST_F(Spoken, StatusLineCarriesTheMessageAndAnnouncesEveryStatus) {
    ui::ShowStatus(QStringLiteral("Reading Settings"));
    QAccessibleInterface* line = A(s().lblMessage);
    EXPECT_EQ(line->text(QAccessible::Name), QStringLiteral("Status"));
    EXPECT_EQ(line->text(QAccessible::Description), QStringLiteral("Reading Settings") + kFive);
    EXPECT_EQ(line->text(QAccessible::Value), QStringLiteral("Reading Settings") + kFive);
    EXPECT_EQ(wholeText(s().lblMessage), QStringLiteral("Reading Settings") + kFive);
    EXPECT_EQ(line->role(), QAccessible::StatusBar);
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::DescriptionChanged), 1);
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::TextUpdated), 1);
    // The same status again is news again (a second save, say): it is announced once more.
    ui::ShowStatus(QStringLiteral("Reading Settings"));
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::DescriptionChanged), 2);
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::Alert), 0);
}

TEST_F(Spoken, AlertIsMarkedAnnouncedOnceAndEndsWithItsCaption) {
    ui::ShowAlert(kNoSettings);
    QAccessibleInterface* line = A(s().lblMessage);
    EXPECT_EQ(line->text(QAccessible::Description), kNoSettings + kFive);
    EXPECT_EQ(wholeText(s().lblMessage), kNoSettings + kFive);
    EXPECT_EQ(line->role(), QAccessible::AlertMessage);
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::Alert), 1);
    ASSERT_FALSE(heard().empty());
    EXPECT_EQ(heard().back().type, QAccessible::Alert);
    EXPECT_EQ(heard().back().description, kNoSettings + kFive);
    // Twenty ticks rewrite the same caption without a word; the emptied line is the last change.
    ASSERT_TRUE(waitUntil([&] { return s().lblMessage->text().isEmpty(); }, 10000));
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::DescriptionChanged), 2);
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::Alert), 1);
    EXPECT_EQ(line->role(), QAccessible::StatusBar);
    EXPECT_EQ(line->text(QAccessible::Description), QString());
}

TEST_F(Spoken, LoaderStatusLineSpeaksItsOwnMessagesAndAlerts) {
    ui::LDR& l = ui::ldr();
    ui::ShowStatusLDR(QStringLiteral("Entering Firmware update mode"));
    EXPECT_EQ(A(l.lblMessage)->text(QAccessible::Name), QStringLiteral("Status"));
    EXPECT_EQ(A(l.lblMessage)->text(QAccessible::Description),
              QStringLiteral("Entering Firmware update mode") + kFive);
    ui::ShowAlertLDR(QStringLiteral("Boot Loader failed"));
    EXPECT_EQ(wholeText(l.lblMessage), QStringLiteral("Boot Loader failed") + kFive);
    EXPECT_EQ(A(l.lblMessage)->role(), QAccessible::AlertMessage);
    EXPECT_EQ(Listening::count(l.lblMessage, QAccessible::Alert), 1);
    EXPECT_EQ(Listening::count(l.lblMessage, QAccessible::DescriptionChanged), 2);
    // The main window's line heard nothing of it.
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::DescriptionChanged), 0);
}

TEST_F(Spoken, ConfirmTakesTheFocusCarriesItsTextAndEnterContinues) {
    s().chkConfirm->setChecked(true);
    s().show();
    s().cmdRefreshAll->setFocus();
    QWidget* focused = nullptr;
    QString description;
    at(300, [&] {
        focused = s().focusWidget();
        description = A(s().cmdContinue)->text(QAccessible::Description);
        QTest::keyClick(s().cmdContinue, Qt::Key_Return);
    });
    EXPECT_TRUE(ui::ConfirmOperation(QStringLiteral("Load now")));
    EXPECT_EQ(focused, s().cmdContinue);
    const QString prompt = QStringLiteral("Confirm Operation: Load now\r\n") +
                           QString(30, QLatin1Char(' ')) +
                           QStringLiteral(" (Click 'Continue' or 'Cancel')");
    EXPECT_EQ(description, prompt);
    EXPECT_GE(Listening::count(s().lblMessage, QAccessible::DescriptionChanged), 1);
    // Answered: the description goes and the focus returns where it was.
    EXPECT_EQ(A(s().cmdContinue)->text(QAccessible::Description), QString());
    EXPECT_EQ(s().focusWidget(), s().cmdRefreshAll);
}

TEST_F(Spoken, EscapeAnswersCancel) {
    s().chkConfirm->setChecked(true);
    at(300, [&] { QTest::keyClick(s().cmdContinue, Qt::Key_Escape); });
    EXPECT_FALSE(ui::ConfirmOperation(QStringLiteral("Load now")));
    EXPECT_TRUE(s().cmdContinue->isHidden());
    EXPECT_TRUE(s().cmdCancel->isHidden());
}

TEST_F(Spoken, LoaderBreakpointTakesTheFocusAndEnterContinues) {
    ui::LDR& l = ui::ldr();
    QWidget* focused = nullptr;
    QString description;
    QString statusText;
    at(300, [&] {
        focused = l.focusWidget();
        description = A(l.cmdContinue)->text(QAccessible::Description);
        statusText = wholeText(l.lblMessage);
        QTest::keyClick(l.cmdContinue, Qt::Key_Enter);
    });
    ui::BreakpointLDR(QStringLiteral("block 7"));
    EXPECT_EQ(focused, l.cmdContinue);
    EXPECT_EQ(description, QStringLiteral("Breakpoint: block 7      (Click 'Continue') "));
    EXPECT_EQ(statusText, description);
    EXPECT_TRUE(l.cmdContinue->isHidden());
}

TEST_F(Spoken, EscapeLeavesABreakpointStanding) {
    int stillStanding = 0;
    at(300, [&] {
        QTest::keyClick(s().cmdContinue, Qt::Key_Escape);
        stillStanding = !s().cmdContinue->isHidden();
    });
    at(400, [&] { QTest::keyClick(s().cmdContinue, Qt::Key_Space); });
    ui::Breakpoint(QStringLiteral("step 3"));
    EXPECT_EQ(stillStanding, 1);
}

TEST_F(Spoken, DetailsBoxReadsLineByLineWithoutAnnouncingLines) {
    heard().clear(); // what building the window raised
    ui::LogLine(QStringLiteral("first"));
    ui::LogLine(QStringLiteral("second"));
    QAccessibleTextInterface* text = A(s().D1)->textInterface();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(A(s().D1)->text(QAccessible::Name), QStringLiteral("Details"));
    EXPECT_TRUE(A(s().D1)->state().readOnly);
    int start = -1, end = -1;
    const QString newest = text->textAtOffset(0, QAccessible::LineBoundary, &start, &end);
    EXPECT_TRUE(newest.trimmed().endsWith(QStringLiteral("  second"))) << newest.toStdString();
    const QString older = text->textAfterOffset(start, QAccessible::LineBoundary, &start, &end);
    EXPECT_TRUE(older.trimmed().endsWith(QStringLiteral("  first"))) << older.toStdString();
    for (const Heard& h : heard())
        EXPECT_NE(h.object, s().D1) << std::hex << int(h.type);
    // A line added later is read at once.
    ui::LogLine(QStringLiteral("third"));
    EXPECT_TRUE(text->textAtOffset(0, QAccessible::LineBoundary, &start, &end)
                    .trimmed()
                    .endsWith(QStringLiteral("  third")));
}

TEST_F(Spoken, CaptionsRenameTheirControls) {
    ui::SetCaption(s().lblWait, QStringLiteral("WAIT - Rebooting"));
    EXPECT_EQ(A(s().lblWait)->text(QAccessible::Name), QStringLiteral("WAIT - Rebooting"));
    EXPECT_GE(Listening::count(s().lblWait, QAccessible::NameChanged), 1);
    ui::SetCaption(s().cmdOpen, QStringLiteral("&Connect "));
    EXPECT_EQ(A(s().cmdOpen)->text(QAccessible::Name), QStringLiteral("Connect"));
}

class SpokenLoad : public test::LoaderFixture {
protected:
    Listening listening;
};

TEST_F(SpokenLoad, StartIsNamedAbortWhileALoadRuns) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeHomeFile(QStringLiteral("FileList.frl"), "a.frk\r\n");
    heard().clear(); // what building the windows raised
    EXPECT_EQ(A(l().cmdStart)->text(QAccessible::Name), QStringLiteral("Start"));
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    ui::LoadEnded();
    // The name changed with the caption, and a reader was told each time.
    const QStringList names = Listening::names(l().cmdStart, QAccessible::NameChanged);
    ASSERT_GE(names.size(), 2);
    EXPECT_EQ(names.first(), QStringLiteral("Abort"));
    EXPECT_EQ(names.last(), QStringLiteral("Start"));
    EXPECT_EQ(A(l().cmdStart)->text(QAccessible::Name), QStringLiteral("Start"));
}

class SpokenDevice : public test::DeviceRun {
protected:
    void SetUp() override {
        DeviceRun::SetUp();
        ui::BuildPanels();
    }
    Listening listening;
};

TEST_F(SpokenDevice, RestoreWithoutASettingsFileIsAnAlertAReaderHears) {
    attachDevice();
    QTest::mouseClick(s().cmdRestore, Qt::LeftButton);
    EXPECT_EQ(A(s().lblMessage)->text(QAccessible::Description), kNoSettings + kFive);
    EXPECT_EQ(A(s().lblMessage)->role(), QAccessible::AlertMessage);
    EXPECT_EQ(Listening::count(s().lblMessage, QAccessible::Alert), 1);
}

TEST_F(SpokenDevice, PanelLabelIsNamedByItsNameAndValue) {
    attachDevice();
    ui::RefreshPanels(7);
    ui::SettingLabel* brightness = labelNamed(QStringLiteral("Brightness"));
    ASSERT_NE(brightness, nullptr);
    EXPECT_TRUE(brightness->text().startsWith(QStringLiteral("Brightness=")));
    EXPECT_EQ(A(brightness)->text(QAccessible::Name), brightness->text());
    EXPECT_GE(Listening::count(brightness, QAccessible::NameChanged), 1);
}

TEST_F(SpokenDevice, TabFollowsTheReadingOrderOfTheFullWindow) {
    const QList<QWidget*> regions = {s().Frame2,   s().Frame3,      s().Frame6,    s().Frame4,
                                     s().Frame5,   s().detailsArea, s().SSTab1,    s().FrameTop,
                                     s().FrameMid, s().FrameBtm,    s().statusArea};
    auto regionOf = [&](QWidget* w) {
        for (int i = 0; i < regions.size(); ++i)
            if (regions.at(i) == w || regions.at(i)->isAncestorOf(w))
                return i;
        return int(regions.size());
    };
    int last = -1, seen = 0;
    QStringList walk;
    for (QWidget* w = s().lstPort; seen < 400; w = w->nextInFocusChain(), ++seen) {
        if (w == &s())
            break;
        if (!(w->focusPolicy() & Qt::TabFocus) || !w->isVisibleTo(&s()))
            continue;
        walk << w->objectName();
        EXPECT_GE(regionOf(w), last) << walk.join(QLatin1Char(' ')).toStdString();
        last = regionOf(w);
    }
    // The whole way round to the bottom panel: the status line has nothing to focus until a
    // prompt stands (see the prompt tests).
    EXPECT_EQ(last, regions.size() - 2) << walk.join(QLatin1Char(' ')).toStdString();
    EXPECT_TRUE(walk.contains(QStringLiteral("lblSettingTop_1")));
    EXPECT_LT(walk.indexOf(QStringLiteral("cmdRestore")), walk.indexOf(QStringLiteral("D1")));
    EXPECT_LT(walk.indexOf(QStringLiteral("D1")), walk.indexOf(QStringLiteral("lblSettingTop_1")));
}

} // namespace
