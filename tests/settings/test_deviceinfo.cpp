// What a connection reads of the device: the state word and the loader window it drives, the
// firmware, the model, the options.

#include "common/DriverFixture.h"

#include "app/Globals.h"
#include "config/FWR.h"
#include "config/MDL.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "settings/SCL.h"

#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

// ---- the state word ------------------------------------------------------------------------

struct StateCase {
    const char* word;
    int led;  // 1 on, 0 off, -1 unchanged
    int end;  // 1 enabled, 0 disabled, -1 unchanged
    int wait; // 1 shown, 0 hidden, -1 unchanged
};

class StateWords : public Driver, public ::testing::WithParamInterface<StateCase> {};

TEST_P(StateWords, DriveTheLoaderWindow) {
    const StateCase c = GetParam();
    ui::LDR& l = ui::ldr();
    for (bool before : {false, true}) {
        l.CTSled->setVisible(before);
        l.lblCTS->setVisible(!before);
        l.cmdEnd->setEnabled(before);
        l.lblWait->setVisible(before);
        ui::SetState(QString::fromLatin1(c.word));
        EXPECT_EQ(s().txtState->text(), QString::fromLatin1(c.word));
        EXPECT_EQ(ui::App().DeviceState, QString::fromLatin1(c.word).toUpper());
        EXPECT_EQ(!l.CTSled->isHidden(), c.led < 0 ? before : c.led == 1) << c.word;
        EXPECT_EQ(!l.lblCTS->isHidden(), !l.CTSled->isHidden()) << c.word;
        EXPECT_EQ(l.cmdEnd->isEnabled(), c.end < 0 ? before : c.end == 1) << c.word;
        EXPECT_EQ(!l.lblWait->isHidden(), c.wait < 0 ? before : c.wait == 1) << c.word;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Driver, StateWords,
    ::testing::Values(StateCase{"Resetting", 0, 0, 0}, StateCase{"Invalid", 0, 1, 0},
                      StateCase{"Waiting", 0, 0, -1}, StateCase{"Wait", 0, 0, -1},
                      StateCase{"OC Loading", 1, 0, 1}, StateCase{"Idle", 0, 1, 0},
                      StateCase{"Powered", 0, 1, 0}, StateCase{"Standby", 0, 1, 0},
                      StateCase{"?????", 0, 1, 0}, StateCase{"Not Available", 0, 1, 0},
                      StateCase{"Not Connected", 0, 1, 0},
                      StateCase{"Attempting to Connect", -1, -1, -1}));

TEST_F(Driver, FirmwareWordBecomesIdleOrInvalidByWhetherDeviceTalks) {
    link().DeviceTalking = true;
    ui::SetState(QStringLiteral("Firmware"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Idle"));
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("IDLE"));
    link().DeviceTalking = false;
    ui::SetState(QStringLiteral("Firmware"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Invalid"));
    EXPECT_TRUE(ui::ldr().cmdEnd->isEnabled());
}

// ---- what a connection reads ---------------------------------------------------------------

class DeviceReads : public Driver {
protected:
    void SetUp() override {
        Driver::SetUp();
        peer = &attachPeer();
    }
    platform::ScriptedPeer* peer = nullptr;
};

TEST_F(DeviceReads, FirmwareTextIsTakenByItsLength) {
    peer->on(Query("A9"), DataReply("A9", "1.24b"), 5);
    ui::ReadFirmware();
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("1.24b"));
}

TEST_F(DeviceReads, FirmwareOneEightySevenFReadsAsUnknown) {
    s().txtFirmware->setText(QStringLiteral("1.20"));
    peer->on(Query("A9"), DataReply("A9", "1.87f"), 5);
    ui::ReadFirmware();
    EXPECT_EQ(s().txtFirmware->text(), QString());
    for (const char* v : {"1.87B", "1.87g"}) {
        peer->clearRules();
        peer->on(Query("A9"), DataReply("A9", v), 5);
        ui::ReadFirmware();
        EXPECT_EQ(s().txtFirmware->text(), QString()) << v;
    }
}

TEST_F(DeviceReads, DebuggerModeKeepsEvenTheUnknownFirmwareTexts) {
    ui::App().DebuggerMode = true;
    peer->on(Query("A9"), DataReply("A9", "1.87f"), 5);
    ui::ReadFirmware();
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("1.87f"));
}

TEST_F(DeviceReads, NoFirmwareAnswerAsksTheUserInFirmwareWindow) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "[SYSTEM]\r\nCurrent Firmware = \r\n");
    bool shown = false;
    m_events.in(400, [&] {
        shown = !ui::fwr().isHidden();
        ui::fwr().Text1->setText(QStringLiteral(" 1.07 "));
        QTest::mouseClick(ui::fwr().Command1, Qt::LeftButton);
    });
    ui::ReadFirmware();
    EXPECT_TRUE(shown);
    EXPECT_TRUE(ui::fwr().isHidden());
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("1.07"));
    EXPECT_EQ(readHomeFile(QStringLiteral("Telvo.ini")),
              QByteArray("[SYSTEM]\r\nCurrent Firmware = 1.07\r\n"));
}

TEST_F(DeviceReads, ModelAnswerHoldingFennaAndGordaGivesFenna) {
    peer->on(Query("A8"), DataReply("A8", "Gorda-Fenna combo"), 5);
    ui::ReadModel();
    EXPECT_EQ(s().DeviceModel->text(), QStringLiteral("Fenna"));
}

struct ModelCase {
    QByteArray answer;
    const char* model;
};

class ModelAnswers : public DeviceReads, public ::testing::WithParamInterface<ModelCase> {};

TEST_P(ModelAnswers, NameTheModel) {
    s().DeviceModel->setText(QStringLiteral("Jorn"));
    peer->on(Query("A8"), DataReply("A8", GetParam().answer), 5);
    ui::ReadModel();
    EXPECT_EQ(s().DeviceModel->text(), QString::fromLatin1(GetParam().model));
}

INSTANTIATE_TEST_SUITE_P(Driver, ModelAnswers,
                         ::testing::Values(ModelCase{"Vorix Gorda", "Gorda"},
                                           ModelCase{"HESTA 2", "Hesta"},
                                           ModelCase{"vorix", "Vorix"},
                                           ModelCase{"Something else", "Jorn"},
                                           // Only the text behind the last NUL counts.
                                           ModelCase{QByteArray("Fenna\0Hesta", 11), "Hesta"}));

TEST_F(DeviceReads, FrkOneOhTwoInModelAddsOptionOnce) {
    ui::Config().Options = QStringLiteral("SDI ");
    peer->on(Query("A8"), DataReply("A8", "Gorda FRK102"), 5);
    ui::ReadModel();
    EXPECT_EQ(ui::Config().Options, QStringLiteral("SDI FRKDI"));
    ui::ReadModel();
    EXPECT_EQ(ui::Config().Options, QStringLiteral("SDI FRKDI"));
}

TEST_F(DeviceReads, NoModelAnswerAsksTheUserInModelWindow) {
    writeHomeFile(QStringLiteral("Telvo.ini"), "[SYSTEM]\r\nModel = \r\n");
    ui::App().ModelList = {QStringLiteral("None"), QStringLiteral("Gorda"),
                           QStringLiteral("Hesta")};
    peer->on(Query("A8"), ErrorReply(3), 5);
    m_events.in(2000, [&] {
        ui::MDL& m = ui::mdl();
        QListWidgetItem* item = m.lstModels->item(2);
        QTest::mouseClick(m.lstModels->viewport(), Qt::LeftButton, {},
                          m.lstModels->visualItemRect(item).center());
    });
    ui::ReadModel();
    EXPECT_TRUE(ui::mdl().isHidden());
    EXPECT_EQ(s().DeviceModel->text(), QStringLiteral("Hesta"));
    EXPECT_EQ(readHomeFile(QStringLiteral("Telvo.ini")),
              QByteArray("[SYSTEM]\r\nModel = Hesta\r\n"));
}

TEST_F(DeviceReads, TabSDIDisappearsWithoutSDIOption) {
    ui::Config().Options = QStringLiteral("FRKDI");
    ui::CheckSDI();
    EXPECT_EQ(s().SSTab1->count(), 11);
    EXPECT_EQ(s().SSTab1->tabText(10), QStringLiteral("HDMI-4"));
    EXPECT_EQ(logLines(), QStringList{QStringLiteral(
                              "There is no SDI interface module installed in the device")});
    EXPECT_FALSE(ui::G().settings.SuppressTab);
    ui::Config().Options = QStringLiteral("sdi");
    ui::CheckSDI();
    EXPECT_EQ(s().SSTab1->count(), 12);
    EXPECT_EQ(s().SSTab1->tabText(11), QStringLiteral("S D I"));
    EXPECT_EQ(logLines().size(), 1);
}

TEST_F(DeviceReads, SimulationAsksModelAndFirmwareWithoutConnecting) {
    s().chkSim->setChecked(true);
    ui::App().ModelList = {QStringLiteral("None"), QStringLiteral("Gorda")};
    writeHomeFile(QStringLiteral("Telvo.ini"), "Model = Vorix\r\n");
    QStringList seen;
    m_events.in(100, [&] {
        seen << (ui::mdl().isHidden() ? "mdl hidden" : "mdl shown");
        ui::mdl().lstModels_Click(1);
    });
    m_events.in(200, [&] {
        seen << (ui::fwr().isHidden() ? "fwr hidden" : "fwr shown");
        ui::fwr().Text1->setText(QStringLiteral("1.30"));
        QTest::keyClick(ui::fwr().Text1, Qt::Key_Return);
    });
    ui::EnsureModelAndFirmware();
    EXPECT_EQ(seen, (QStringList{QStringLiteral("mdl shown"), QStringLiteral("fwr shown")}));
    EXPECT_EQ(s().DeviceModel->text(), QStringLiteral("Gorda"));
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("1.30"));
    EXPECT_TRUE(peer->heard().isEmpty());
    // Enter takes the version without writing it; the model was written.
    EXPECT_EQ(readHomeFile(QStringLiteral("Telvo.ini")), QByteArray("Model = Gorda\r\n"));
}

TEST_F(DeviceReads, KnownModelAndFirmwareNeedNoConnection) {
    s().DeviceModel->setText(QStringLiteral("Gorda"));
    s().txtFirmware->setText(QStringLiteral("1.24"));
    ui::EnsureModelAndFirmware();
    EXPECT_TRUE(peer->heard().isEmpty());
    EXPECT_FALSE(ui::WindowExists("MDL"));
    EXPECT_FALSE(ui::WindowExists("FWR"));
}

TEST_F(DeviceReads, UnknownFirmwareConnectsAndReadsIt) {
    platform::PortMap::instance().setPorts({QStringLiteral("/nonexistent/a")});
    platform::ScriptedPeer& d = attachPeer(1, 19200, false);
    AnswersIdentity(d, "1", "Vorix Hesta", "2.01");
    ui::BuildPortList();
    s().DeviceModel->setText(QStringLiteral("Hesta"));
    ui::EnsureModelAndFirmware();
    EXPECT_EQ(s().txtFirmware->text(), QStringLiteral("2.01"));
    EXPECT_EQ(s().txtState->text(), QStringLiteral("Powered"));
    EXPECT_FALSE(ui::WindowExists("FWR"));
}

} // namespace
