// "Advanced Options": scheduling class, thread priority bounds, and the port speed that changes
// without telling the device.

#include "common/Accessible.h"
#include "common/Fixture.h"
#include "platform/doubles/ScriptedPriority.h"

#include "app/Tools.h"
#include "options/ADV.h"
#include "platform/doubles/ScriptedPeer.h"
#include "platform/os/Priority.h"
#include "platform/serial/CommControl.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QTest>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace telvo;
using namespace telvo::test;

namespace {

// Counts the openings of the program's end of the line.
class CountingPeer : public platform::ScriptedPeer {
public:
    void hostOpenChanged(bool open) override {
        if (open)
            ++opens;
        platform::ScriptedPeer::hostOpenChanged(open);
    }
    int opens = 0;
};

class Advanced : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        pri = &platform::InstallScriptedPriority();
        initControls();
    }
    void TearDown() override {
        RunFixture::TearDown();
        platform::InstallPriority(platform::MakeSystemPriority());
    }
    void openOnPeer(int baud) {
        platform::PortMap::instance().attachPeer(1, &peer);
        line(1)->setPacing(false);
        openPort(1, baud);
    }
    ui::ADV& a() { return ui::adv(); }
    void click(QWidget* w) { QTest::mouseClick(w, Qt::LeftButton); }
    // An option button takes clicks on its mark and caption only, not across its whole width.
    void click(QRadioButton* o) {
        QTest::mouseClick(o, Qt::LeftButton, {}, QPoint(8, o->height() / 2));
    }
    QStringList checkedClasses() {
        QStringList out;
        for (QRadioButton* o : a().optProcessPriority)
            if (o->isChecked())
                out << o->text();
        return out;
    }
    QStringList checkedSpeeds() {
        QStringList out;
        for (QRadioButton* o : a().optSpeed)
            if (o->isChecked())
                out << o->text();
        return out;
    }
    platform::ScriptedPriority* pri = nullptr;
    CountingPeer peer;
};

TEST_F(Advanced, CaptionsNamesAndIndices) {
    ui::ShowADV();
    EXPECT_EQ(a().windowTitle(), QStringLiteral("Advanced Options"));
    EXPECT_EQ(a().frmADV->title(), QStringLiteral("Advanced Options"));
    EXPECT_EQ(a().Frame5->title(), QStringLiteral("Set Process Priority Class"));
    EXPECT_EQ(a().Frame2->title(), QStringLiteral("Set Application Com Speed"));
    EXPECT_EQ(a().optProcessPriority.value(32)->text(), QStringLiteral("Normal"));
    EXPECT_EQ(a().optProcessPriority.value(64)->text(), QStringLiteral("Low (Idle)"));
    EXPECT_EQ(a().optProcessPriority.value(128)->text(), QStringLiteral("High"));
    EXPECT_EQ(a().optProcessPriority.value(256)->text(), QStringLiteral("Realtime (Dangerous)"));
    const char* speeds[] = {"4800", "9600", "14400", "19200", "38400", "57600"};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(a().optSpeed[i]->text(), QLatin1String(speeds[i]));
    EXPECT_EQ(a().Label17->text(), QStringLiteral("Thread Priority"));
    EXPECT_EQ(a().chkNoFWupdate->text(), QStringLiteral("No Firmware Update (Testing)"));
    EXPECT_EQ(a().cmdDelFileList->text(), QStringLiteral("Delete File List"));
    EXPECT_EQ(a().cmdSaveFileList->text(), QStringLiteral("Save File List"));
    EXPECT_EQ(a().cmdAdvDone->text(), QStringLiteral("Done"));
    EXPECT_EQ(a().txtThreadPriority->accessibleName(), QStringLiteral("Thread Priority"));
    EXPECT_EQ(a().Label17->buddy(), a().txtThreadPriority);
    EXPECT_EQ(a().cmdPriUP->accessibleName(), QStringLiteral("Thread priority up"));
    EXPECT_EQ(a().cmdPriDN->accessibleName(), QStringLiteral("Thread priority down"));
    for (QAbstractButton* b : a().findChildren<QAbstractButton*>()) {
        EXPECT_FALSE(b->objectName().isEmpty());
        EXPECT_FALSE(b->accessibleName().isEmpty()) << b->objectName().toStdString();
    }
}

TEST_F(Advanced, ActivationShowsClassThreadAndRate) {
    pri->priorityClass = 128;
    pri->threadPriority = 2;
    openOnPeer(38400);
    ui::ShowADV();
    EXPECT_EQ(checkedClasses(), QStringList{QStringLiteral("High")});
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("2"));
    EXPECT_EQ(checkedSpeeds(), QStringList{QStringLiteral("38400")});
    EXPECT_FALSE(a().Loading);
    // Setting the buttons is not the user's click: the port was not reopened.
    EXPECT_EQ(peer.opens, 1);
}

TEST_F(Advanced, ClassWithoutAButtonSelectsNone) {
    pri->priorityClass = platform::BELOW_NORMAL_PRIORITY_CLASS;
    ui::ShowADV();
    EXPECT_TRUE(checkedClasses().isEmpty());
}

TEST_F(Advanced, RealtimeIsOfferedWithoutAQuestion) {
    ui::ShowADV();
    click(a().optProcessPriority.value(256));
    EXPECT_EQ(pri->classCalls, std::vector<int>{256});
    EXPECT_TRUE(scripted->shown.empty());
    EXPECT_EQ(pri->priorityClass, 256);
}

TEST_F(Advanced, RefusedClassSaysSo) {
    pri->refuse = QStringLiteral("Setting the process priority class to High was refused");
    ui::ShowADV();
    click(a().optProcessPriority.value(128));
    EXPECT_EQ(pri->classCalls, std::vector<int>{128});
    EXPECT_EQ(scripted->messageTexts(), QStringList{pri->refuse});
}

TEST_F(Advanced, RateWithoutAButtonSelectsNone) {
    ui::scl().txtCrntSpeed->setText(QStringLiteral("115200"));
    ui::ShowADV();
    EXPECT_TRUE(checkedSpeeds().isEmpty());
    // A later showing with a known rate, then an unknown one again, clears the choice.
    ui::scl().txtCrntSpeed->setText(QStringLiteral("9600"));
    ui::ShowADV();
    EXPECT_EQ(checkedSpeeds(), QStringList{QStringLiteral("9600")});
    ui::scl().txtCrntSpeed->setText(QStringLiteral("?????"));
    ui::ShowADV();
    EXPECT_TRUE(checkedSpeeds().isEmpty());
}

TEST_F(Advanced, SameRateAgainReopensThePort) {
    openOnPeer(19200);
    ui::ShowADV();
    ASSERT_TRUE(a().optSpeed[3]->isChecked());
    ui::scl().lstRate->setCurrentIndex(0);
    click(a().optSpeed[3]);
    EXPECT_EQ(peer.opens, 2);
    EXPECT_EQ(ui::scl().lstRate->currentText(), QStringLiteral("19200"));
    click(a().optSpeed[3]);
    EXPECT_EQ(peer.opens, 3);
}

// An accessibility tool's "Toggle" runs the same Clicks as the mouse.
TEST_F(Advanced, RateAndClassByTheAccessibilityActions) {
    openOnPeer(19200);
    ui::ShowADV();
    ASSERT_TRUE(accessibleToggle(a().optSpeed[5]));
    EXPECT_EQ(ui::scl().P1->Settings(), QStringLiteral("57600,n,8,1"));
    EXPECT_EQ(peer.opens, 2);
    click(a().optSpeed[5]); // the rate already chosen, again
    EXPECT_EQ(peer.opens, 3);
    ASSERT_TRUE(accessibleToggle(a().optProcessPriority.value(128)));
    EXPECT_EQ(pri->classCalls, std::vector<int>{128});
    EXPECT_EQ(pri->priorityClass, 128);
}

// Activation selects the present class and rate: neither is the user's choice, nothing is set.
TEST_F(Advanced, ActivationSetsNoClassAndOpensNoPort) {
    pri->priorityClass = 64;
    openOnPeer(19200);
    ui::ShowADV();
    ASSERT_EQ(checkedClasses(), QStringList{QStringLiteral("Low (Idle)")});
    EXPECT_TRUE(pri->classCalls.empty());
    EXPECT_EQ(peer.opens, 1);
}

TEST_F(Advanced, OtherRateReopensWithoutTellingTheDevice) {
    openOnPeer(19200);
    ui::ShowADV();
    click(a().optSpeed[5]);
    EXPECT_EQ(ui::scl().P1->Settings(), QStringLiteral("57600,n,8,1"));
    EXPECT_TRUE(ui::scl().P1->PortOpen());
    EXPECT_EQ(ui::scl().lstRate->currentText(), QStringLiteral("57600"));
    EXPECT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_TRUE(peer.heard().isEmpty());
}

TEST_F(Advanced, ClosedPortRefusesTheSpeedChange) {
    ui::ShowADV();
    click(a().optSpeed[1]);
    EXPECT_TRUE(ui::scl().lblMessage->text().startsWith(
        QStringLiteral("The com port has not been initialized yet, Can not change speed")));
    EXPECT_FALSE(ui::scl().P1->PortOpen());
}

TEST_F(Advanced, ThreadPriorityStepsWithinBounds) {
    pri->threadPriority = 14;
    ui::ShowADV();
    click(a().cmdPriUP);
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("15"));
    EXPECT_EQ(pri->threadCalls, std::vector<int>{15});
    click(a().cmdPriUP);
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("15"));
    EXPECT_EQ(scripted->beeps, 1);
    EXPECT_EQ(pri->threadCalls.size(), 1u);
}

TEST_F(Advanced, ThreadPriorityLowerBoundIsMinus15) {
    pri->threadPriority = -14;
    ui::ShowADV();
    click(a().cmdPriDN);
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("-15"));
    click(a().cmdPriDN);
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("-15"));
    EXPECT_EQ(scripted->beeps, 1);
    EXPECT_EQ(pri->threadCalls, std::vector<int>{-15});
}

// Each arrow checks its own bound only: up "below 16", down "-15 or more".
TEST_F(Advanced, EachArrowChecksItsOwnBound) {
    pri->threadPriority = 20; // beyond the box's range, as the system may report
    ui::ShowADV();
    click(a().cmdPriDN);
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("19"));
    EXPECT_EQ(pri->threadCalls, std::vector<int>{19});
    a().txtThreadPriority->setText(QStringLiteral("-20"));
    click(a().cmdPriUP);
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("-19"));
    EXPECT_EQ(pri->threadCalls, (std::vector<int>{19, -19}));
    EXPECT_EQ(scripted->beeps, 0);
}

// Where the user could not raise the priority again, Low (Idle) is asked about first.
TEST_F(Advanced, IdleWithoutAWayBackIsAskedFirst) {
    pri->canRaise = false;
    ui::ShowADV();
    ASSERT_EQ(checkedClasses(), QStringList{QStringLiteral("Normal")});
    scripted->answers.push_back(platform::vbNo);
    click(a().optProcessPriority.value(64));
    ASSERT_EQ(scripted->messageTexts().size(), 1);
    EXPECT_EQ(
        scripted->messageTexts().at(0),
        QStringLiteral("Low (Idle) can not be undone: once it is set, this user may not raise "
                       "the program's priority again until the program is restarted.\r\n"
                       "Set Low (Idle)?"));
    EXPECT_TRUE(pri->classCalls.empty());
    EXPECT_EQ(checkedClasses(), QStringList{QStringLiteral("Normal")});
    scripted->answers.push_back(platform::vbYes);
    click(a().optProcessPriority.value(64));
    EXPECT_EQ(pri->classCalls, std::vector<int>{64});
    EXPECT_EQ(checkedClasses(), QStringList{QStringLiteral("Low (Idle)")});
    // With a way back, nothing is asked.
    pri->canRaise = true;
    pri->priorityClass = 32;
    ui::ShowADV();
    click(a().optProcessPriority.value(64));
    EXPECT_EQ(scripted->messageTexts().size(), 2);
    EXPECT_EQ(pri->classCalls, (std::vector<int>{64, 64}));
}

TEST_F(Advanced, RefusedThreadPriorityStandsInTheBoxAndIsTold) {
    pri->refuse = QStringLiteral("Setting the thread priority to 1 was refused");
    ui::ShowADV();
    click(a().cmdPriUP);
    EXPECT_EQ(a().txtThreadPriority->text(), QStringLiteral("1"));
    EXPECT_EQ(scripted->messageTexts(), QStringList{pri->refuse});
}

TEST_F(Advanced, DoneHides) {
    ui::ShowADV();
    click(a().cmdAdvDone);
    EXPECT_TRUE(a().isHidden());
}

TEST_F(Advanced, MainWindowButtonOpensTheWindow) {
    click(ui::scl().cmdAdvanced);
    EXPECT_TRUE(a().isVisible());
}

// The system's own priorities, tried in a child process so that this one keeps its own.
TEST(SystemPriority, NiceValuesFollowTheChoices) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto p = platform::MakeSystemPriority();
        QString error;
        const int tid = int(syscall(SYS_gettid));
        const int before = getpriority(PRIO_PROCESS, id_t(tid));
        int code = 0;
        if (!p->SetThreadPriority(-3, error))
            code = 1;
        else if (getpriority(PRIO_PROCESS, id_t(tid)) != std::min(before + 3, 19))
            code = 2;
        else if (p->GetThreadPriority() != -3)
            code = 3;
        else if (!p->SetPriorityClass(platform::IDLE_PRIORITY_CLASS, error))
            code = 4;
        else if (p->GetPriorityClass() != platform::IDLE_PRIORITY_CLASS)
            code = 5;
        else if (getpriority(PRIO_PROCESS, id_t(tid)) != 19)
            code = 6;
        _exit(code);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
