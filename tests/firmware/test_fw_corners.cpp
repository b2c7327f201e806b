// The loader's corners: a damaged restart index, a restart without a port, a run-time error
// inside a load, the restart window's box, the transfer's flags, and the save before a load.

#include "common/LoaderFixture.h"

#include "app/Tools.h"
#include "common/DeviceScript.h"
#include "core/config/IniFile.h"
#include "core/firmware/FirmwareFiles.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "settings/SaveRestore.h"

#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kFive = QStringLiteral("     ");
const QString kCritical = QStringLiteral(
    "Critical Situation\r\nThe Gorda no longer appears to have valid firmware loaded.\r\n"
    "A load must be performed now using 'RESTART'");

class Corners : public LoaderFixture {
protected:
    void watchEntries() {
        QObject::connect(l().txtFileName, &QLineEdit::textChanged, l().txtFileName,
                         [this](const QString& t) {
                             if (!t.isEmpty())
                                 entries << t;
                         });
    }
    // Restart from RestartLoader.txt through the window's own box and button.
    void restartFromFile() {
        ui::RS& w = ui::rs();
        w.show();
        ASSERT_FALSE(w.Check1->isHidden());
        w.Check1->click();
        w.cmdReStart->click();
    }
    bool restartFileExists() const {
        return QFile::exists(homeFile(QStringLiteral("RestartLoader.txt")));
    }
    QStringList entries;
};

// --- the index of RestartLoader.txt

TEST_F(Corners, NegativeIndexReadsAsZeroAndTheWholeListLoads) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeList({QStringLiteral("1.frk"), QStringLiteral("2.frk")});
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,-1\r\n");
    watchEntries();
    restartFromFile();
    EXPECT_EQ(entries, (QStringList{QStringLiteral("1.frk"), QStringLiteral("2.frk")}));
    EXPECT_FALSE(restartFileExists());
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
}

TEST_F(Corners, NegativeIndexGivenToTheLoadItselfNeverReadsBeforeTheList) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeList({QStringLiteral("1.frk"), QStringLiteral("2.frk"), QStringLiteral("3.frk")});
    ui::FW().RestartIndex = -2;
    watchEntries();
    EXPECT_EQ(ui::LoadTheFiles(true), 0);
    EXPECT_EQ(entries.size(), 3);
    EXPECT_FALSE(restartFileExists());
}

TEST_F(Corners, IndexPastTheEndEndsTheListAtOnceAndDeletesTheFile) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeList({QStringLiteral("1.frk"), QStringLiteral("2.frk")});
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,2\r\n");
    watchEntries();
    restartFromFile();
    EXPECT_TRUE(entries.isEmpty());
    EXPECT_FALSE(restartFileExists());
}

TEST_F(Corners, ListEndingInsideTheSkipOfALaterPassEndsTheLoad) {
    attachLoader();
    s().chkSim->setChecked(true);
    // Skip 2: the third entry loads, then the skip of the next pass runs past the end.
    writeList({QStringLiteral("1.frk"), QStringLiteral("2.frk"), QStringLiteral("3.frk"),
               QStringLiteral("4.frk")});
    ui::FW().RestartIndex = 2;
    watchEntries();
    EXPECT_EQ(ui::LoadTheFiles(true), 0);
    EXPECT_EQ(entries, QStringList{QStringLiteral("3.frk")});
    EXPECT_FALSE(restartFileExists());
}

// --- a restart without a port

class NoPort : public Corners, public ::testing::WithParamInterface<int> {};

// The serial control last held COM1, where a boot loader listens: nothing may reach it.
TEST_P(NoPort, RestartSendsNothingAndEndsWithTheFailureMessages) {
    LoaderPeer& peer = attachLoader();
    s().P1->setCommPort(1);
    s().lstPort->addItems({QStringLiteral("?????"), QStringLiteral("COM1")});
    const QString file = firmware(QStringLiteral("a.frk"), 300);
    writeList({file});
    scripted->paths = {file};
    ui::RS& w = ui::rs();
    w.show();
    w.cmdBrowse->click();
    const int row = GetParam(); // -1: nothing selected; 0: the "?????" row
    if (row >= 0) {
        w.List1->setCurrentRow(row);
        ui::RS_List1_Click();
    }
    w.cmdReStart->click();
    EXPECT_TRUE(peer.heard.isEmpty());
    EXPECT_TRUE(line(1)->wire().isEmpty());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Could not set up the file transfer, Problems opening file(s)") + kFive));
    QStringList expected{kCritical};
    if (row < 0)
        expected.prepend(QStringLiteral("You must select a COM port and a File to load"));
    EXPECT_EQ(scripted->messageTexts(), expected);
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
    EXPECT_FALSE(l().cmdReStart->isHidden());
    EXPECT_TRUE(restartFileExists());
    EXPECT_FALSE(ui::App().RestartBusy);
}

INSTANTIATE_TEST_SUITE_P(Rows, NoPort, ::testing::Values(-1, 0));

// --- a run-time error inside a load

TEST_F(Corners, RunTimeErrorInALoadPutsTheWindowBackAndIsTheCriticalSituation) {
    LoaderPeer& peer = attachLoader(true); // at the line's pace
    writeList({firmware(QStringLiteral("a.frk"), 1000)});
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    ui::Link().DeviceTalking = false;
    // Raised in one of the load's yields, once blocks have gone.
    std::function<void()> raise = [&] {
        if (peer.heard.size() < 300)
            return events.in(1, raise);
        throw core::RuntimeError(core::kOverflow, QStringLiteral("Overflow"));
    };
    events.in(1, raise);
    restartFromFile();
    EXPECT_LT(peer.heard.size(), 1000);
    EXPECT_EQ(scripted->messageTexts(),
              (QStringList{QStringLiteral("Run-time error '6':\r\n\r\nOverflow"), kCritical}));
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
    EXPECT_EQ(l().StartColor(), ui::LDR::kLightGreen);
    EXPECT_FALSE(l().cmdReStart->isHidden());
    EXPECT_TRUE(s().lblWait->isHidden());
    EXPECT_TRUE(restartFileExists());
    EXPECT_FALSE(ui::App().RestartBusy);
    EXPECT_FALSE(ui::FW().RestartLoad);
    // The next load can start: the button says Start again and runs a load, not an abort.
    scripted->shown.clear();
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    peer.heard.clear();
    restartFromFile();
    EXPECT_TRUE(peer.heard.contains(fileBytes(QStringLiteral("a.frk"))));
    EXPECT_FALSE(restartFileExists());
}

// --- the restart window's box

TEST_F(Corners, BoxTickedThenCancelledIsClearAtTheNextOpen) {
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    ui::RS& w = ui::rs();
    w.show();
    w.Check1->click();
    ASSERT_TRUE(w.Check1->isChecked());
    ASSERT_FALSE(w.cmdBrowse->isEnabled());
    w.cmdCancel->click();
    w.show();
    EXPECT_TRUE(w.Check1->isHidden());
    EXPECT_FALSE(w.Check1->isChecked());
    EXPECT_TRUE(w.cmdBrowse->isEnabled());
    EXPECT_TRUE(w.List1->isEnabled());
}

TEST_F(Corners, AfterARestartFromTheFileAManualRestartIsPossible) {
    attachLoader();
    s().chkSim->setChecked(true);
    s().lstPort->addItems({QStringLiteral("?????"), QStringLiteral("COM1")});
    writeList({QStringLiteral("1.frk")});
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    restartFromFile();
    ASSERT_FALSE(restartFileExists());
    ui::RS& w = ui::rs();
    w.show();
    EXPECT_FALSE(w.Check1->isChecked());
    EXPECT_TRUE(w.cmdBrowse->isEnabled());
    // The manual way: a port and a file, and Restart runs the load without the file's error.
    scripted->paths = {QStringLiteral("1.frk")};
    w.cmdBrowse->click();
    w.List1->setCurrentRow(1);
    ui::RS_List1_Click();
    watchEntries();
    w.cmdReStart->click();
    EXPECT_EQ(entries, QStringList{QStringLiteral("1.frk")});
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
}

// --- the transfer's flags

class StaleFlag : public Corners, public ::testing::WithParamInterface<bool> {};

TEST_P(StaleFlag, ATransferStartsWithBothFlagsClear) {
    LoaderPeer& peer = attachLoader();
    ui::SetState(QStringLiteral("OC Loading"));
    (GetParam() ? ui::Link().LoaderFailed : ui::Link().LoaderAborted) = true;
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 250));
    answerPrompt(true); // a stale flag would stop at the restart's breakpoint
    EXPECT_EQ(ui::XfrOneFile(), 0);
    EXPECT_EQ(peer.chunks, (QList<int>{100, 100, 50}));
    for (const QString& line : logLines()) {
        EXPECT_FALSE(line.startsWith(QStringLiteral("Transfer Failed, ")));
        EXPECT_FALSE(line.startsWith(QStringLiteral("User aborted the transfer, ")));
    }
}

INSTANTIATE_TEST_SUITE_P(FailedOrAborted, StaleFlag, ::testing::Bool());

// --- the save before a load

TEST_F(Corners, SaveThatCouldNotRunStopsTheLoadBeforeAnythingIsSent) {
    attachLoader();
    ui::Link().PowerState = QStringLiteral("ON");
    ui::SetState(QStringLiteral("Idle"));
    s().chkSaveRestore->setChecked(true);
    ASSERT_EQ(core::TableRows(ui::Config().StateSettings), 0); // no rows: the save cannot run
    writeHomeFile(QStringLiteral("Settings.txt"), "Old=1\r\n");
    EXPECT_FALSE(ui::CheckDeviceReady());
    EXPECT_EQ(l().lblMessage->text(),
              QStringLiteral("The settings could not be saved whole: the load is stopped, "
                             "nothing was sent to the Gorda") +
                  kFive);
    EXPECT_TRUE(line(1)->wire().isEmpty());
    EXPECT_FALSE(QFile::exists(ui::LoadSettingsPath()));
    EXPECT_EQ(readHomeFile(QStringLiteral("Settings.txt")), QByteArray("Old=1\r\n"));
}

TEST_F(Corners, CheckedBoxAfterALoadThatSavedNothingRestoresNothing) {
    attachLoader();
    writeHomeFile(QStringLiteral("Settings.txt"), "Brightness=B1,17\r\n"); // another session's
    ui::Link().DeviceTalking = false;
    s().chkSaveRestore->setChecked(true);
    s().chkSim->setChecked(true);
    ui::FinishFirmwareLoad(0);
    // Ticking "Simulate" runs its Click, so the line carries the simulation's note.
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("No settings were saved before this load, so none are restored      "
                       "(Simulation Mode),  Data=")));
    for (const QString& line : logLines())
        EXPECT_FALSE(line.startsWith(QStringLiteral("Restoring ")));
}

// --- what the review found weak

TEST_F(Corners, EmptyListRunsTheRecoveryAndAFailedSearchEndsAfterThirtySeconds) {
    attachLoader(); // a boot loader that never answers a command frame
    writeList({});
    const qint64 start = platform::Clock::instance().nowMs();
    ui::FinishFirmwareLoad(ui::StartFirmwareLoad(true));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral(
            "Load complete, Ready to start search for Gorda after reboot, speed should be 57600") +
        kFive));
    EXPECT_GE(platform::Clock::instance().nowMs() - start, 30000);
    EXPECT_EQ(s().lblMessage->text(),
              QStringLiteral("Communications was not re-established with the Gorda") + kFive);
    EXPECT_EQ(s().txtState->text(), QStringLiteral("?????"));
    EXPECT_FALSE(
        logLines().contains(QStringLiteral("Communications re-established with the Gorda")));
}

TEST_F(Corners, FailureWordsStopTheTransferAtTheEndOfTheBlockTheyArriveIn) {
    LoaderPeer& peer = attachLoader();
    ui::SetState(QStringLiteral("OC Loading"));
    s().chkConfirm->setChecked(true);
    l().txtFileName->setText(firmware(QStringLiteral("a.frk"), 1000));
    bool said = false;
    peer.onBytes = [&](const QByteArray&) {
        // The words come while the second block arrives.
        if (!said && peer.heard.size() > 100) {
            said = true;
            peer.send("\r\nFailure: bad image. Please restart.\r\n");
        }
    };
    QString question;
    answerPrompt(false, &question, 1);
    EXPECT_EQ(ui::XfrOneFile(), -2);
    // The second block went whole and counts (the words came in its last yield); no third.
    EXPECT_EQ(peer.heard.size(), 200);
    EXPECT_EQ(ui::App().FilePosition, 200);
    EXPECT_EQ(question, QStringLiteral("Confirm Operation: ") + core::TransferFailedText(200));
}

} // namespace
