// The log, the status line, alerts and prompts: what the user sees and what the file keeps.

#include "common/Fixture.h"

#include "core/log/LogLines.h"
#include "app/MajorSubs.h"
#include "config/IniLoader.h"
#include "firmware/LDR.h"
#include "settings/SCL.h"

#include <QTest>

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
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d\\.\\d{1,2}  x$")).match(row).hasMatch())
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
    EXPECT_EQ(shown, QStringLiteral("Confirm Operation: Load now\r\n") + QString(30, QLatin1Char(' ')) +
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
    EXPECT_EQ(readHomeFile(QStringLiteral("LogFile.txt")), QByteArray("\r\nBreakpoint: step 3\r\n"));
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

} // namespace
