// The load sequence: the pass and skip rules of the working list, RestartLoader.txt around each
// file, the codes and their messages, and what follows a load.

#include "common/LoaderFixture.h"

#include "common/DeviceScript.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/doubles/ScriptedPeer.h"

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kFive = QStringLiteral("     ");

class Load : public LoaderFixture {
protected:
    // Each entry the load takes up, with RestartLoader.txt as it stood at that moment.
    void watchEntries() {
        QObject::connect(l().txtFileName, &QLineEdit::textChanged, l().txtFileName,
                         [this](const QString& t) {
                             if (t.isEmpty())
                                 return;
                             entries << t;
                             restartLines << QString::fromUtf8(
                                 readHomeFile(QStringLiteral("RestartLoader.txt")));
                         });
    }
    QStringList entries;
    QStringList restartLines;
};

TEST_F(Load, SimulationPassesEveryEntryWithoutAByteAndDeletesTheRestartFile) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeList({QStringLiteral("a.frk"), QStringLiteral(" b.frk "), QStringLiteral("c.frk")});
    watchEntries();
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    EXPECT_EQ(entries, (QStringList{QStringLiteral("a.frk"), QStringLiteral("b.frk"),
                                    QStringLiteral("c.frk")}));
    EXPECT_EQ(restartLines, QStringList(3, QStringLiteral("COM1,19200,57600,0\r\n")));
    EXPECT_TRUE(line(1)->wire().isEmpty());
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
    EXPECT_EQ(l().StartColor(), ui::LDR::kLightGreen);
    EXPECT_FALSE(l().cmdReStart->isHidden());
}

TEST_F(Load, SkipRunsOnEveryPass) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeList({QStringLiteral("1.frk"), QStringLiteral("2.frk"), QStringLiteral("3.frk"),
               QStringLiteral("4.frk")});
    ui::FW().RestartIndex = 1;
    watchEntries();
    EXPECT_EQ(ui::LoadTheFiles(true), 0);
    EXPECT_EQ(entries, (QStringList{QStringLiteral("2.frk"), QStringLiteral("4.frk")}));
    EXPECT_EQ(restartLines, QStringList(2, QStringLiteral("COM1,19200,57600,1\r\n")));
}

TEST_F(Load, EmptyListEndsAtOnceDeletesTheRestartFileAndIsZero) {
    attachLoader();
    writeList({});
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    EXPECT_TRUE(line(1)->wire().isEmpty());
}

TEST_F(Load, ListNamedInAnotherCaseIsTheSameFile) {
    attachLoader();
    s().chkSim->setChecked(true);
    writeHomeFile(QStringLiteral("filelist.frl"), "x.frk\r\n");
    watchEntries();
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    EXPECT_EQ(entries, QStringList{QStringLiteral("x.frk")});
}

TEST_F(Load, NoListIsMinusOneWithTheButtonsBack) {
    attachLoader();
    EXPECT_EQ(ui::LoadTheFiles(false), -1);
    EXPECT_TRUE(l().lblMessage->text().startsWith(
        QStringLiteral("LoadTheFiles: Error opening file 'FileList.frl' ")));
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
    EXPECT_FALSE(l().cmdReStart->isHidden());
}

TEST_F(Load, AMissingFirmwareFileIsMinusOneAndTheRestartFileStays) {
    attachLoader();
    writeList({homeFile(QStringLiteral("gone.frk"))});
    EXPECT_EQ(ui::LoadTheFiles(true), -1);
    EXPECT_TRUE(l().lblMessage->text().startsWith(
        QStringLiteral("Could not set up the file transfer, Problems opening file(s)")));
    EXPECT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")),
              QByteArray("COM1,19200,57600,0\r\n"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Invalid"));
}

TEST_F(Load, TestBoxTakesTheCommandAsDoneAndOnlyTheLoadersTextEndsTheWait) {
    platform::ScriptedPeer& peer = attachPeer(1, 57600, true);
    AnswersIdentity(peer, "1", "Vorix Gorda", "2.00");
    s().txtFirmware->setText(QStringLiteral("1.24"));
    s().chkNoFWupdate->setChecked(true);
    ui::SetState(QStringLiteral("Idle"));
    writeList({firmware(QStringLiteral("a.frk"), 250)});
    events.in(3000, [&peer] { peer.send("\r\nVorix FRK Boot Loader 2.10\r\nLoad frk File now."); });
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    // No update command went out, no byte of the file either; after the 10 s the version is read.
    for (const QByteArray& f : peer.frames())
        EXPECT_FALSE(f.contains("AD"));
    EXPECT_FALSE(peer.heard().contains(fileBytes(QStringLiteral("a.frk")).left(50)));
    EXPECT_GE(platform::Clock::instance().nowMs(), 13000);
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("2.00"));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Skipping Firmware file transfer, debug is set so exiting")));
}

TEST_F(Load, RestartFileCountsOneAfterEachSuccess) {
    platform::ScriptedPeer& peer = attachPeer(1, 57600, true);
    AnswersIdentity(peer, "1", "Vorix Gorda", "2.00");
    writeList({firmware(QStringLiteral("a.frk"), 150), firmware(QStringLiteral("b.frk"), 150)});
    ui::SetState(QStringLiteral("Idle"));
    QStringList during;
    // Read in each reboot wait.
    events.in(5000, [&] {
        during << QString::fromUtf8(readHomeFile(QStringLiteral("RestartLoader.txt")));
    });
    events.in(16000, [&] {
        during << QString::fromUtf8(readHomeFile(QStringLiteral("RestartLoader.txt")));
    });
    EXPECT_EQ(ui::LoadTheFiles(true), 0);
    EXPECT_EQ(during, QStringList(2, QStringLiteral("COM1,19200,57600,1\r\n")));
    EXPECT_TRUE(ui::Link().DeviceTalking);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
}

TEST_F(Load, FailedLoadWithTalkingDeviceIsOnlyALogLine) {
    ui::Link().DeviceTalking = true;
    ui::FinishFirmwareLoad(-2);
    EXPECT_TRUE(scripted->shown.empty());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("The Load failed, but the firmware in the device still may be valid.") +
        kFive));
    ui::FinishFirmwareLoad(-1);
    EXPECT_TRUE(scripted->shown.empty());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral(
            "Load could not start, file problems. The Gorda may have to be power cycled") +
        kFive));
}

TEST_F(Load, FailedLoadWithoutFirmwareIsTheCriticalSituation) {
    ui::Link().DeviceTalking = false;
    const QString critical = QStringLiteral(
        "Critical Situation\r\nThe Gorda no longer appears to have valid firmware loaded.\r\n"
        "A load must be performed now using 'RESTART'");
    ui::FinishFirmwareLoad(-2);
    ui::FinishFirmwareLoad(-1);
    ui::FinishFirmwareLoad(-3);
    ASSERT_EQ(scripted->messageTexts(), (QStringList{critical, critical}));
    EXPECT_EQ(scripted->shown[0].buttons, platform::vbOKOnly);
}

TEST_F(Load, UnableToLocateTheDeviceStopsBeforeAnything) {
    attachLoader();
    ui::Link().PowerState = QStringLiteral("ON");
    ui::SetState(QStringLiteral("?????"));
    EXPECT_FALSE(ui::CheckDeviceReady());
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Unable to locate or Power UP the Gorda, Gorda state = ?????") + kFive));
}

TEST_F(Load, NothingChosenIsMinusThreeWithTheDeviceUntouched) {
    attachLoader();
    ui::Link().PowerState = QStringLiteral("ON");
    scripted->paths.push_back(QString()); // the dialog cancelled
    EXPECT_EQ(ui::StartFirmwareLoad(false), -3);
    EXPECT_TRUE(line(1)->wire().isEmpty());
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
}

} // namespace

namespace {

struct WayIn {
    const char* model;
    const char* version;
    bool command; // "AD" rather than the menu
};

class WaysIn : public Load, public ::testing::WithParamInterface<WayIn> {};

// The device acknowledges everything and shows its banner at each Enter and at "AD".
TEST_P(WaysIn, IntoTheLoaderByCommandOrByMenu) {
    platform::ScriptedPeer& peer = attachPeer(1, 57600, true);
    const QByteArray banner = "\r\nVorix FRK Boot Loader 2.10\r\nLoad frk File now.";
    peer.on(Set("AD", "1"), AckReply() + banner, 5);
    peer.on(Set("A2", "6"), AckReply() + banner, 5);
    peer.on(Query("A9"), DataReply("A9", "2.00"), 5);
    peer.on({}, AckReply(), 5);
    s().DeviceModel->setText(QString::fromLatin1(GetParam().model));
    s().txtFirmware->setText(QString::fromLatin1(GetParam().version));
    ui::SetState(QStringLiteral("Idle"));
    writeList({firmware(QStringLiteral("empty.frk"), 0)});
    EXPECT_EQ(ui::LoadTheFiles(false), 0);
    const QList<QByteArray> frames = peer.frames();
    ASSERT_FALSE(frames.isEmpty());
    if (GetParam().command) {
        EXPECT_EQ(frames.first(), Set("AD", "1"));
    } else {
        EXPECT_EQ(frames.first(), Set("A2", "5")); // Menu, then the path 4,6,1
        EXPECT_FALSE(frames.contains(Set("AD", "1")));
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, WaysIn,
                         ::testing::Values(WayIn{"Gorda", "1.10b", false},
                                           WayIn{"Gorda", "1.11", true},
                                           WayIn{"Gorda", "1.11Beta", true},
                                           WayIn{"Hesta", "0.10", true},
                                           WayIn{"Hesta", "9.99", true}));

} // namespace
