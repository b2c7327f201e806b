// Changing speed together with the device: the table lookups, the port alone, and the full
// change against devices that acknowledge at the new rate, at the old rate, or refuse.

#include "common/EmulatedDevice.h"
#include "common/Fixture.h"

#include "common/DeviceScript.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

using namespace telvo;
using namespace telvo::test;

namespace {

const QString kFive = QStringLiteral("     ");

class Speed : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
    }
    ui::SCL& s() { return ui::scl(); }
    core::LinkState& link() { return ui::Link(); }

    // A device at `baud` that takes a speed change and acknowledges it at the new rate.
    platform::ScriptedPeer& deviceAt(int baud) {
        auto& peer = attachPeer(1, baud, true, true);
        peer.setBaud(baud);
        for (const auto& [code, rate] :
             {std::pair{"6", 57600}, std::pair{"4", 19200}, std::pair{"5", 38400}}) {
            platform::ScriptedPeer::Rule r;
            r.frame = Set("A3", code);
            r.reply = AckReply();
            r.delayMs = 5;
            r.switchBaud = rate;
            peer.addRule(r);
        }
        return peer;
    }
    void clearLog() { QFile::remove(homeFile(QStringLiteral("LogFile.txt"))); }
    void TearDown() override {
        m_events.cancelAll();
        RunFixture::TearDown();
    }
    TestEvents m_events;
};

struct CodeCase {
    const char* code;
    const char* rate;     // RateFromCode
    const char* rateText; // CodeToRateText
};

class SpeedCodes : public Speed, public ::testing::WithParamInterface<CodeCase> {};

TEST_P(SpeedCodes, GiveTheirRates) {
    const CodeCase c = GetParam();
    EXPECT_EQ(ui::RateFromCode(QString::fromLatin1(c.code)), QString::fromLatin1(c.rate));
    EXPECT_EQ(ui::CodeToRateText(QString::fromLatin1(c.code)), QString::fromLatin1(c.rateText));
}

INSTANTIATE_TEST_SUITE_P(
    Speed, SpeedCodes,
    ::testing::Values(CodeCase{"6", "57600", "57600"}, CodeCase{"1", "4800", "4800"},
                      // Numerically equal, but not the same text.
                      CodeCase{"06", "57600", "?????"}, CodeCase{"9", "19200", "?????"},
                      CodeCase{"", "19200", "?????"}, CodeCase{"?????", "19200", "?????"}));

TEST_F(Speed, RateIndexComparesNumerically) {
    EXPECT_EQ(ui::RateIndex(QStringLiteral("19200")), 1);
    EXPECT_EQ(ui::RateIndex(QStringLiteral("38400")), 6);
    EXPECT_EQ(ui::RateIndex(QStringLiteral("57600.0")), 2);
    EXPECT_EQ(ui::RateIndex(QStringLiteral("115200")), 0);
    EXPECT_EQ(ui::RateIndex(QStringLiteral("6")), 0);
}

TEST_F(Speed, ApplyPortRateTakesCodeOrRate) {
    attachPeer(1, 19200);
    ui::ApplyPortRate(QStringLiteral("6"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    ui::ApplyPortRate(QStringLiteral("38400"));
    EXPECT_EQ(s().P1->Baud(), 38400);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("38400"));
}

TEST_F(Speed, ApplyPortRateOfQuestionMarksDoesNothing) {
    attachPeer(1, 19200);
    ui::ApplyPortRate(QStringLiteral("?????"));
    EXPECT_EQ(s().P1->Baud(), 19200);
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
}

TEST_F(Speed, NinetyNineIsTakenForACodeAndGivesIndexText) {
    auto& peer = attachPeer();
    ui::SetGordaBaudRate(QStringLiteral("99"));
    const QString alert =
        QStringLiteral("99 is not a proper serial port rate index for the Vorix") + kFive;
    EXPECT_EQ(logLines(),
              (QStringList{QStringLiteral("Starting program SetGordaBaudRate with input=99"), alert,
                           alert}));
    EXPECT_TRUE(peer.heard().isEmpty());
}

TEST_F(Speed, RateNotInTableGivesTextWithoutIndex) {
    auto& peer = attachPeer();
    s().DeviceModel->setText(QStringLiteral("Gorda"));
    ui::SetGordaBaudRate(QStringLiteral("115200"));
    const QString alert =
        QStringLiteral("115200 is not a proper serial port rate for the Gorda") + kFive;
    EXPECT_EQ(logLines(),
              (QStringList{QStringLiteral("Starting program SetGordaBaudRate with input=115200"),
                           alert, alert}));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_TRUE(peer.heard().isEmpty());
}

QStringList changeLog(const QString& from, const QString& to, const QString& code) {
    const QString set = QStringLiteral("(STX)3005A3(NUL)") + code + QStringLiteral("(NUL)(ETX)");
    const QString timeout =
        QStringLiteral("Timeout on Speed change command, retry count= +cstr(TOretryCount)");
    const QString sentOld = QStringLiteral("Sent: ") + set + QStringLiteral(" on COM1 @ ") + from;
    const QString sentNew = QStringLiteral("Sent: ") + set + QStringLiteral(" on COM1 @ ") + to;
    const QString setting =
        QStringLiteral("Sending command to set Vorix baud rate to ") + to + kFive;
    const QString done = QStringLiteral("Established Communications with the Vorix @ ") + to +
                         QStringLiteral(" Baud") + kFive;
    return {setting,
            setting,
            sentOld,
            timeout,
            sentOld,
            timeout,
            sentOld,
            timeout,
            QStringLiteral("Application Port settings changed to ") + to,
            sentNew,
            QStringLiteral("Resp: ") + PrintableFrame("01", QByteArray("1\0"
                                                                       "30\0",
                                                                       5)),
            done,
            done};
}

TEST_F(Speed, CodeSixAndRateFiftySevenSixHundredDoTheSame) {
    auto& peer = deviceAt(19200);
    QList<QStringList> logs;
    for (const char* input : {"6", "57600"}) {
        clearLog();
        peer.setBaud(19200);
        ui::ApplyPortRate(QStringLiteral("19200"));
        ui::SetGordaBaudRate(QString::fromLatin1(input));
        EXPECT_EQ(s().P1->Baud(), 57600) << input;
        EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600")) << input;
        QStringList log = logLines();
        EXPECT_EQ(log.takeFirst(), QStringLiteral("Starting program SetGordaBaudRate with input=") +
                                       QString::fromLatin1(input));
        logs << log;
    }
    EXPECT_EQ(logs[0],
              changeLog(QStringLiteral("19200"), QStringLiteral("57600"), QStringLiteral("6")));
    EXPECT_EQ(logs[1], logs[0]);
}

TEST_F(Speed, ToFiftySevenSixHundredAndBackWithDeviceAnsweringAtNewRate) {
    auto& peer = deviceAt(19200);
    ui::SetGordaBaudRate(QStringLiteral("57600"));
    EXPECT_EQ(peer.baud(), 57600);
    EXPECT_EQ(s().P1->Baud(), 57600);
    clearLog();
    ui::SetGordaBaudRate(QStringLiteral("19200"));
    EXPECT_EQ(peer.baud(), 19200);
    EXPECT_EQ(s().P1->Baud(), 19200);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    QStringList log = logLines();
    log.removeFirst();
    EXPECT_EQ(log,
              changeLog(QStringLiteral("57600"), QStringLiteral("19200"), QStringLiteral("4")));
    // The configured rate is not changed by a success.
    EXPECT_EQ(s().lstRate->currentIndex(), 0);
}

TEST_F(Speed, DeviceAcknowledgingAtOldRateLeavesPortThereUntilATimeoutMovesIt) {
    auto& peer = attachPeer(1, 19200, true, true);
    peer.setBaud(19200);
    peer.on(Set("A3", "6"), AckReply(), 5, 1);
    peer.on(Query("A3"), DataReply("A3", "6"), 5);
    // The device moves to the new rate only after its acknowledgement has left.
    m_events.in(60, [&] { peer.setBaud(57600); });
    ui::SetGordaBaudRate(QStringLiteral("57600"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_EQ(s().P1->Baud(), 19200);
    EXPECT_EQ(peer.frames(), QList<QByteArray>{Set("A3", "6")});
    EXPECT_FALSE(logLines().contains(QStringLiteral("Application Port settings changed to 57600")));

    // A query of the speed times out three times at the old rate and moves the port.
    ASSERT_TRUE(waitUntil([&] { return peer.baud() == 57600; }));
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("6"));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Application Port settings changed to 57600")));
}

TEST_F(Speed, InSimulationTheChangeSucceedsAtOnce) {
    auto& peer = attachPeer(1, 19200, false);
    s().chkSim->setChecked(true);
    ui::chkSim_Click();
    s().chkNoFWupdate->setChecked(true);
    ui::SetGordaBaudRate(QStringLiteral("57600"));
    EXPECT_EQ(link().SimSpeedCode, QStringLiteral("6"));
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("6"));
    EXPECT_FALSE(link().TimedOut);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    EXPECT_TRUE(peer.heard().isEmpty());
    EXPECT_EQ(logLines().last(),
              QStringLiteral("Established Communications with the Vorix @ 57600 Baud") + kFive +
                  QStringLiteral(" (Simulation Mode),  Data=30A3(NUL)6(NUL)"));
}

TEST_F(Speed, FiveRefusedChangesLoseTheDeviceAndSearchAgain) {
    // A device that refuses the change and reports its old code when asked.
    auto& peer = attachPeer(1, 19200);
    peer.on(Set("A3", "6"), ErrorReply(2), 5);
    peer.on(Query("A3"), DataReply("A3", "4"), 5);
    s().lstRate->setCurrentIndex(3);
    ui::SetGordaBaudRate(QStringLiteral("6"));
    const QString lost =
        QStringLiteral("Lost communications with Vorix trying to set Baud Rate to 57600 baud");
    EXPECT_EQ(scripted->messageTexts(), QStringList{lost});
    int sets = 0, queries = 0;
    for (const QByteArray& f : peer.frames()) {
        sets += f == Set("A3", "6");
        queries += f == Query("A3");
    }
    EXPECT_EQ(sets, 15);
    EXPECT_EQ(queries, 5);
    const QStringList log = logLines();
    const int at = log.indexOf(lost + kFive);
    ASSERT_GE(at, 0);
    EXPECT_EQ(log[at + 1], lost + kFive);
    // The search that follows covers all rates.
    EXPECT_EQ(s().lstRate->currentIndex(), 0);
    EXPECT_TRUE(log.mid(at).contains(QStringLiteral("Starting Subroutine GetProbeMode")));
    EXPECT_EQ(log.last(),
              QStringLiteral("All requested Com Ports Checked, No Vorix Device Found") + kFive);
}

TEST_F(Speed, TableWhereRateTextEqualsCodeLetsTheQueryPathSucceed) {
    ui::Config().BaudRates = {{},
                              {QStringLiteral("19200"), QStringLiteral("4")},
                              {QStringLiteral("6"), QStringLiteral("6")}};
    auto& peer = attachPeer(1, 19200);
    peer.on(Set("A3", "6"), ErrorReply(2), 5);
    peer.on(Query("A3"), DataReply("A3", "6"), 5);
    ui::SetGordaBaudRate(QStringLiteral("6"));
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("6"));
    EXPECT_EQ(logLines().last(),
              QStringLiteral("Established Communications with the Vorix @ 6 Baud") + kFive);
}

// ---- against the emulated device on the in-process line ------------------------------------

class SpeedEmulated : public Speed {
protected:
    vorix::sim::Device& start(bool ackAtOldRate) {
        vorix::sim::DeviceOptions o;
        o.ackAtOldRate = ackAtOldRate;
        vorix::sim::Device& device = m_device.attach(sampleIni(), o);
        openPort(1, 19200);
        s().DeviceModel->setText(QStringLiteral("Gorda"));
        return device;
    }
    // Outlives the line, which TearDown takes down.
    EmulatedDevice m_device;
};

TEST_F(SpeedEmulated, ToFiftySevenSixHundredAndBackWithDeviceAnsweringAtNewRate) {
    vorix::sim::Device& device = start(false);
    ui::SetGordaBaudRate(QStringLiteral("57600"));
    EXPECT_EQ(device.baud(), 57600);
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    ui::SetGordaBaudRate(QStringLiteral("19200"));
    EXPECT_EQ(device.baud(), 19200);
    EXPECT_EQ(s().P1->Baud(), 19200);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_EQ(logLines().last(),
              QStringLiteral("Established Communications with the Gorda @ 19200 Baud") + kFive);
}

TEST_F(SpeedEmulated, ToFiftySevenSixHundredAndBackWithDeviceAnsweringAtOldRate) {
    vorix::sim::Device& device = start(true);
    ui::SetGordaBaudRate(QStringLiteral("57600"));
    // Acknowledged where it was asked: the port stays, the field follows the request.
    EXPECT_EQ(s().P1->Baud(), 19200);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    ASSERT_TRUE(waitUntil([&] { return device.baud() == 57600; }));
    // A query of the speed times out at the old rate, and moves the port.
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("6"));
    // And back: acknowledged at 57600, where the port still is.
    ui::SetGordaBaudRate(QStringLiteral("19200"));
    EXPECT_EQ(s().P1->Baud(), 57600);
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    ASSERT_TRUE(waitUntil([&] { return device.baud() == 19200; }));
}

} // namespace
