// The log, the status line, alerts and prompts: what the user sees and what the file keeps.

#include "common/Fixture.h"

#include "app/MajorSubs.h"
#include "config/IniLoader.h"
#include "core/log/LogLines.h"
#include "firmware/LDR.h"
#include "platform/dialogs/Platform.h"
#include "settings/SCL.h"

#include <QTest>
#include <QWidget>

using namespace telvo;

namespace {

class Log : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
    }
    ui::SCL& s() { return ui::scl(); }
};

TEST_F(Log, LogLinePutsTimeStampedLineOnTopAndPlainLineInFile) {
    ui::LogLine(QStringLiteral("first"));
    ui::LogLine(QStringLiteral("second"));
    const core::LogLines& d1 = s().D1->lines();
    ASSERT_EQ(d1.count(), 2);
    EXPECT_TRUE(d1.row(0).endsWith(QStringLiteral("  second")));
    EXPECT_TRUE(d1.row(1).endsWith(QStringLiteral("  first")));
    EXPECT_EQ(logLines(), (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    EXPECT_EQ(readHomeFile(QStringLiteral("LogFile.txt")), QByteArray("first\r\nsecond\r\n"));
}

TEST_F(Log, TimePatternGivesMinutesSecondsAndTheSecondsAgainWithoutFractions) {
    EXPECT_EQ(core::LogTimeText(QTime(14, 3, 7, 900)), QStringLiteral("03:07.7"));
    EXPECT_EQ(core::LogTimeText(QTime(9, 59, 42)), QStringLiteral("59:42.42"));
    ui::LogLine(QStringLiteral("x"));
    const QString row = s().D1->lines().row(0);
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d\\.\\d{1,2}  x$")).match(row).hasMatch())
        << row.toStdString();
}

TEST_F(Log, TwoEmptyWritesGiveOneBlankLine) {
    ui::WriteLogFile(QStringLiteral("a"));
    ui::WriteLogFile(QString());
    ui::WriteLogFile(QString());
    ui::WriteLogFile(QStringLiteral("b"));
    EXPECT_EQ(readHomeFile(QStringLiteral("LogFile.txt")), QByteArray("a\r\n\r\nb\r\n"));
}

TEST_F(Log, EmptyStatusLeavesTheCaptionAndStillWritesFiveBlanks) {
    ui::ShowStatus(QStringLiteral("kept"));
    ui::ShowStatus(QString());
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("kept     "));
    EXPECT_EQ(logLines(), (QStringList{QStringLiteral("kept     "), QStringLiteral("     ")}));
}

TEST_F(Log, StatusWithBlankFlagWritesABlankLineBehind) {
    ui::ShowStatus(QStringLiteral("Checking Com Port COM1"), 1);
    EXPECT_EQ(readHomeFile(QStringLiteral("LogFile.txt")),
              QByteArray("Checking Com Port COM1     \r\n\r\n"));
}

TEST_F(Log, WithLogToFileOffTheBoxGoesOnAndTheFileStops) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "[SYSTEM]\r\nLOGTOFILE=FALSE\r\n");
    ui::ReadIniFile(1);
    ui::LogLine(QStringLiteral("only on screen"));
    EXPECT_EQ(s().D1->lines().count(), 1);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("LogFile.txt"))));
}

TEST_F(Log, ConfirmWithTheBoxOffReturnsTrueAtOnceAndShowsTheText) {
    EXPECT_TRUE(ui::ConfirmOperation(QStringLiteral("Go on")));
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("Go on     "));
    EXPECT_EQ(scripted->beeps, 0);
}

TEST_F(Log, ConfirmAnsweredByContinueIsTrue) {
    s().chkConfirm->setChecked(true);
    QString shown;
    at(500, [&] {
        shown = s().lblMessage->text();
        QTest::mouseClick(s().cmdContinue, Qt::LeftButton);
    });
    EXPECT_TRUE(ui::ConfirmOperation(QStringLiteral("Load now")));
    EXPECT_EQ(shown, QStringLiteral("Confirm Operation: Load now\r\n") +
                         QString(30, QLatin1Char(' ')) +
                         QStringLiteral(" (Click 'Continue' or 'Cancel')"));
    EXPECT_TRUE(s().cmdContinue->isHidden());
    EXPECT_TRUE(s().cmdCancel->isHidden());
    EXPECT_EQ(s().lblMessage->text(), QString());
    EXPECT_EQ(scripted->beeps, 1);
}

TEST_F(Log, ConfirmAnsweredByCancelIsFalseAndHidesBothButtons) {
    s().chkConfirm->setChecked(true);
    at(500, [&] { QTest::mouseClick(s().cmdCancel, Qt::LeftButton); });
    EXPECT_FALSE(ui::ConfirmOperation(QStringLiteral("Load now")));
    EXPECT_TRUE(s().cmdContinue->isHidden());
    EXPECT_TRUE(s().cmdCancel->isHidden());
}

TEST_F(Log, BreakpointWaitsForContinueWithCancelHidden) {
    bool cancelHidden = false;
    QString shown;
    at(300, [&] {
        cancelHidden = s().cmdCancel->isHidden();
        shown = s().lblMessage->text();
        QTest::mouseClick(s().cmdContinue, Qt::LeftButton);
    });
    ui::Breakpoint(QStringLiteral("step 3"));
    EXPECT_TRUE(cancelHidden);
    EXPECT_EQ(shown, QStringLiteral("Breakpoint: step 3\r\n") + QString(15, QLatin1Char(' ')) +
                         QStringLiteral(" (Click 'Continue') "));
    EXPECT_EQ(readHomeFile(QStringLiteral("LogFile.txt")),
              QByteArray("\r\nBreakpoint: step 3\r\n"));
}

TEST_F(Log, LoaderTwinsUseTheirOwnCaptions) {
    ui::LDR& l = ui::ldr();
    QString shown;
    at(300, [&] {
        shown = l.lblMessage->text();
        QTest::mouseClick(l.cmdContinue, Qt::LeftButton);
    });
    ui::BreakpointLDR(QStringLiteral("block 7"));
    EXPECT_EQ(shown, QStringLiteral("Breakpoint: block 7      (Click 'Continue') "));
    s().chkConfirm->setChecked(true);
    at(300, [&] {
        shown = l.lblMessage->text();
        QTest::mouseClick(l.cmdContinue, Qt::LeftButton);
    });
    EXPECT_TRUE(ui::ConfirmOperationLDR(QStringLiteral("Start")));
    EXPECT_EQ(shown, QStringLiteral("Confirm Operation: Start"));
}

TEST_F(Log, AlertIsRedBeepsThreeTimesAndLastsTwentyTicks) {
    const qint64 start = platform::Clock::instance().nowUs();
    ui::ShowAlert(QStringLiteral("Trouble"));
    // The three beeps take their 500 ms before the routine returns.
    EXPECT_EQ(platform::Clock::instance().nowUs() - start, 500'000);
    EXPECT_EQ(scripted->beeps, 3);
    EXPECT_TRUE(s().lblMessage->styleSheet().contains(QStringLiteral("rgb(255,0,0)")));
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("Trouble     "));
    EXPECT_TRUE(waitUntil([&] { return s().lblMessage->text().isEmpty(); }, 10'000));
    const qint64 lasted = platform::Clock::instance().nowUs() - start - 500'000;
    EXPECT_EQ(lasted, 21 * 250'000);
    EXPECT_FALSE(s().tmrmessage->Enabled());
}

TEST_F(Log, StatusDuringAnAlertIsOverwrittenAtTheNextTick) {
    ui::ShowAlert(QStringLiteral("Trouble"));
    ui::ShowStatus(QStringLiteral("Something else"));
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("Something else     "));
    platform::Clock::instance().advanceBy(250'000);
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("Trouble     "));
}

TEST_F(Log, AlertFileLineHasFiveBlanksAndNoSimNoteWhileTheCaptionHasBoth) {
    s().chkSim->click();
    s().chkNoFWupdate->setChecked(true);
    ui::ShowAlert(QStringLiteral("Trouble"));
    EXPECT_EQ(s().lblMessage->text(), QStringLiteral("Trouble      (Simulation Mode)"));
    EXPECT_EQ(logLines(), QStringList{QStringLiteral("Trouble     ")});
}

TEST_F(Log, SimulatedStatusCarriesTheSimulationTailAndIsWipedAfterAPause) {
    s().chkSim->click();
    ui::Link().SimCommandText = QStringLiteral("30A1(NUL)1(NUL)");
    const qint64 start = platform::Clock::instance().nowUs();
    ui::ShowStatus(QStringLiteral("Powering"));
    EXPECT_EQ(platform::Clock::instance().nowUs() - start, 1'500'000);
    EXPECT_EQ(s().lblMessage->text(), QString());
    EXPECT_EQ(logLines(), QStringList{QStringLiteral(
                              "Powering      (Simulation Mode),  Data=30A1(NUL)1(NUL)")});
}

TEST_F(Log, DoubleClickOnTheStatusLineEndsTheAlert) {
    ui::ShowAlert(QStringLiteral("Trouble"));
    QTest::mouseDClick(s().lblMessage, Qt::LeftButton);
    EXPECT_EQ(s().lblMessage->text(), QString());
    platform::Clock::instance().advanceBy(600'000);
    EXPECT_FALSE(s().tmrmessage->Enabled());
    EXPECT_EQ(s().lblMessage->text(), QString());
}

TEST_F(Log, DoubleClickOnDetailsEmptiesTheBoxButNotTheFile) {
    ui::LogLine(QStringLiteral("kept in file"));
    QTest::mouseDClick(s().D1->viewport(), Qt::LeftButton);
    EXPECT_EQ(s().D1->lines().count(), 0);
    EXPECT_EQ(logLines(), QStringList{QStringLiteral("kept in file")});
}

TEST_F(Log, BeepTimesOneIsOneBeepWithoutPause) {
    const qint64 start = platform::Clock::instance().nowUs();
    ui::BeepTimes(1);
    ui::BeepTimes(0);
    EXPECT_EQ(scripted->beeps, 2);
    EXPECT_EQ(platform::Clock::instance().nowUs(), start);
}

// A platform with no person at a window: it hears the routines' prompts, status lines and
// progress as values, and answers every prompt at once.
class Reporting : public platform::ScriptedPlatform {
public:
    platform::PromptAnswer AnswerPrompt(const platform::Prompt& p) override {
        prompts.push_back(p);
        return platform::PromptAnswer::Continue;
    }
    void StatusShown(const QString& text, bool alert) override {
        statuses << (alert ? QStringLiteral("alert: ") : QString()) + text;
    }
    void ProgressMade(const platform::Progress& p) override { progress.push_back(p); }
    void ProgressEnded(platform::Progress::Kind kind) override { ended.push_back(kind); }
    void WindowWaits(const QString& title) override { waits << title; }

    std::vector<platform::Prompt> prompts;
    QStringList statuses;
    std::vector<platform::Progress> progress;
    std::vector<platform::Progress::Kind> ended;
    QStringList waits;
};

class Reports : public Log {
protected:
    void SetUp() override {
        Log::SetUp();
        auto r = std::make_unique<Reporting>();
        rep = r.get();
        scripted = rep;
        platform::InstallPlatform(std::move(r));
    }
    Reporting* rep = nullptr;
};

TEST_F(Reports, PromptsReachThePlatformAsKindAndWordsAndItsContinueEndsTheWait) {
    s().chkConfirm->setChecked(true);
    // No one clicks: the platform's answer alone ends each wait.
    EXPECT_TRUE(ui::ConfirmOperation(QStringLiteral("Load now")));
    ui::Breakpoint(QStringLiteral("step 3"));
    EXPECT_TRUE(ui::ConfirmOperationLDR(QStringLiteral("Start")));
    ui::BreakpointLDR(QStringLiteral("block 7"));
    ASSERT_EQ(rep->prompts.size(), 4U);
    const std::pair<platform::Prompt::Kind, QString> want[] = {
        {platform::Prompt::Confirm, QStringLiteral("Load now")},
        {platform::Prompt::Breakpoint, QStringLiteral("step 3")},
        {platform::Prompt::Confirm, QStringLiteral("Start")},
        {platform::Prompt::Breakpoint, QStringLiteral("block 7")}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(rep->prompts[i].kind, want[i].first) << i;
        EXPECT_EQ(rep->prompts[i].text, want[i].second) << i;
    }
    EXPECT_TRUE(s().cmdContinue->isHidden());
    EXPECT_TRUE(s().cmdCancel->isHidden());
    EXPECT_TRUE(ui::ldr().cmdContinue->isHidden());
    // The window and the log say what they always said.
    EXPECT_EQ(readHomeFile(QStringLiteral("LogFile.txt")),
              QByteArray("\r\nBreakpoint: step 3\r\n\r\nBreakpoint: block 7\r\n"));
}

TEST_F(Reports, StatusLinesAndAlertsReachThePlatformAsTheRoutineGaveThem) {
    ui::ShowStatus(QStringLiteral("Checking Com Port COM1"), 1);
    ui::ShowStatusLDR(QStringLiteral("Sending"));
    ui::ShowAlert(QStringLiteral("Could not Power up the Gorda"));
    EXPECT_EQ(rep->statuses,
              (QStringList{QStringLiteral("Checking Com Port COM1"), QStringLiteral("Sending"),
                           QStringLiteral("alert: Could not Power up the Gorda")}));
}

TEST_F(Reports, TheTransferReachesThePlatformAsNumbersAndItsEnd) {
    ui::LDR& l = ui::ldr();
    l.StartProgress(16000);
    l.ShowProgress(6720, 16000, 1179);
    l.EndProgress();
    ASSERT_EQ(rep->progress.size(), 2U);
    EXPECT_EQ(rep->progress[0].kind, platform::Progress::Transfer);
    EXPECT_EQ(rep->progress[0].percent, 0);
    EXPECT_EQ(rep->progress[0].text, QStringLiteral("0 / 16000 bytes"));
    EXPECT_EQ(rep->progress[1].done, 6720);
    EXPECT_EQ(rep->progress[1].total, 16000);
    EXPECT_EQ(rep->progress[1].percent, 42);
    EXPECT_EQ(rep->progress[1].text, QStringLiteral("6720 / 16000 bytes, 5700 B/s, 2 s left"));
    EXPECT_EQ(rep->progress[1].text, l.lblRate->text());
    EXPECT_EQ(rep->ended, std::vector<platform::Progress::Kind>{platform::Progress::Transfer});
}

TEST_F(Reports, AWindowWaitedOnIsToldByItsTitleBeforeTheWait) {
    QWidget window;
    window.setWindowTitle(QStringLiteral("Firmware Request"));
    window.show();
    bool toldBefore = false;
    at(300, [&] {
        toldBefore = rep->waits == QStringList{QStringLiteral("Firmware Request")};
        window.hide();
    });
    ui::WaitOnWindow(window);
    EXPECT_TRUE(toldBefore);
    EXPECT_EQ(rep->waits, QStringList{QStringLiteral("Firmware Request")});
}

} // namespace
