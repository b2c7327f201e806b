// The command exchange over the in-process line against a scripted device: bytes on the wire,
// lines of LogFile.txt, and the flags the callers read.

#include "common/Fixture.h"

#include "core/link/Protocol.h"
#include "core/text/MinorSubs.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <algorithm>

using namespace telvo;
using telvo::test::Bytes;
using telvo::test::PrintableFrame;

namespace {

const QString kNul = QString(QChar(0));

class Exchange : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
    }
    ui::SCL& s() { return ui::scl(); }
    core::LinkState& link() { return ui::Link(); }
    QByteArray q(const char* id) {
        return Bytes(QStringLiteral("(STX)2003%1(NUL)(ETX)").arg(QLatin1String(id)));
    }
};

QByteArray dataReply(const QByteArray& id, const QByteArray& value) {
    return platform::DeviceFrame("21", id + '\0' + value + '\0');
}
QByteArray errorReply(int code) {
    return platform::DeviceFrame("02", QByteArray::number(code));
}
QByteArray ackReply() {
    return platform::DeviceFrame("01", QByteArray("1\0"
                                                  "30\0",
                                                  5));
}

TEST_F(Exchange, QueryAnsweredPutsQueryFrameOnWireAndLogsReply) {
    auto& peer = attachPeer();
    peer.on(q("A1"), dataReply("A1", "1"), 20);
    ui::QueryDevice(QStringLiteral("A1"));
    ASSERT_EQ(peer.frames().size(), 1);
    EXPECT_EQ(peer.frames()[0], QByteArray::fromHex("0232303033413100"
                                                    "03"));
    EXPECT_EQ(logLines(),
              (QStringList{QStringLiteral("Sent: (STX)2003A1(NUL)(ETX) on COM1 @ 19200"),
                           QStringLiteral("Rply: ") + PrintableFrame("21", QByteArray("A1\0"
                                                                                      "1\0",
                                                                                      5))}));
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
    EXPECT_FALSE(link().TimedOut);
}

TEST_F(Exchange, SetFrameIsTypeThirtyWithValueAndTwoNuls) {
    auto& peer = attachPeer();
    peer.on({}, ackReply());
    ui::SetDevice(QStringLiteral("A1"), QStringLiteral("1"));
    ASSERT_EQ(peer.frames().size(), 1);
    EXPECT_EQ(peer.frames()[0], QByteArray::fromHex("02333030354131003100"
                                                    "03"));
    EXPECT_EQ(logLines().last(), QStringLiteral("Resp: (STX)01051(NUL)30(NUL)5C(ETX)"));
}

TEST_F(Exchange, OrdinaryTimeoutsResendHundredMillisecondsApartThenGiveUp) {
    auto& peer = attachPeer();
    ui::QueryDevice(QStringLiteral("B1"), 2);
    ASSERT_EQ(peer.frames().size(), 2);
    const QList<qint64> t = peer.frameTimesUs();
    // 250 ms of time-out and 100 ms of pause lie between the two sendings.
    EXPECT_GE(t[1] - t[0], 350'000);
    EXPECT_EQ(logLines(),
              (QStringList{QStringLiteral("Sent: (STX)2003B1(NUL)(ETX) on COM1 @ 19200"),
                           QStringLiteral("Transmission Timed Out (1), Resending Command. "
                                          "Transmission Timed out"),
                           QStringLiteral("Sent: (STX)2003B1(NUL)(ETX) on COM1 @ 19200"),
                           QStringLiteral("Transmission Timed Out.  Transmission Timed out")}));
    EXPECT_TRUE(link().TimedOut);
    EXPECT_TRUE(link().Reply.isEmpty());
}

TEST_F(Exchange, SingleTryTimeoutLogsNoResendLine) {
    attachPeer();
    ui::QueryDevice(QStringLiteral("B1"), 1);
    EXPECT_EQ(logLines(),
              (QStringList{QStringLiteral("Sent: (STX)2003B1(NUL)(ETX) on COM1 @ 19200"),
                           QStringLiteral("Transmission Timed Out.  Transmission Timed out")}));
}

TEST_F(Exchange, ErrorFourOnBothTriesRetriesThenLogsErrAndText) {
    auto& peer = attachPeer();
    peer.on({}, errorReply(4));
    ui::SetDevice(QStringLiteral("B1"), QStringLiteral("99"), 2);
    ASSERT_EQ(peer.frames().size(), 2);
    EXPECT_GE(peer.frameTimesUs()[1] - peer.frameTimesUs()[0], 100'000);
    const QString sent = QStringLiteral("Sent: (STX)3006B1(NUL)99(NUL)(ETX) on COM1 @ 19200");
    EXPECT_EQ(logLines(),
              (QStringList{sent, QStringLiteral("System Returned Error (1), Retrying Command"),
                           sent, QStringLiteral("System Returned Error (2), Retrying Command"),
                           QStringLiteral("Err:  ") + PrintableFrame("02", "4"),
                           QStringLiteral("Range Error. Attempt to modify a device setting with "
                                          "vlaue out of range")}));
    EXPECT_FALSE(link().TimedOut);
    EXPECT_EQ(core::ReplyErrorCode(link().Reply), 4);
}

TEST_F(Exchange, ErrorTwoOnLastTryIsBadCommandWithoutErrLine) {
    auto& peer = attachPeer();
    peer.on({}, errorReply(2));
    ui::QueryDevice(QStringLiteral("ZZ"), 2);
    const QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[1], QStringLiteral("System Returned Error (1), Retrying Command"));
    EXPECT_EQ(lines[3],
              QStringLiteral("System Returned 'Bad Command' Response (error), Received: ") +
                  PrintableFrame("02", "2"));
    EXPECT_TRUE(link().BadCommand);
    EXPECT_EQ(link().Reply.toLatin1(), errorReply(2));
}

TEST_F(Exchange, ErrorCodesTwentyToTwentyNineLookLikeBadCommand) {
    auto& peer = attachPeer();
    peer.on({}, errorReply(25));
    ui::QueryDevice(QStringLiteral("ZZ"));
    EXPECT_TRUE(link().BadCommand);
}

TEST_F(Exchange, ErrorOnFirstTryThenDataIsAnsweredQuery) {
    auto& peer = attachPeer();
    peer.on({}, errorReply(8), 0, 1);
    peer.on({}, dataReply("B1", "12"));
    ui::QueryDevice(QStringLiteral("B1"), 2);
    const QStringList lines = logLines();
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[1], QStringLiteral("System Returned Error (1), Retrying Command"));
    EXPECT_TRUE(lines[3].startsWith(QStringLiteral("Rply: (STX)2106B1(NUL)12(NUL)")));
    EXPECT_FALSE(link().BadCommand);
}

TEST_F(Exchange, CodeTwelveLogsEmptyTextLine) {
    auto& peer = attachPeer();
    peer.on({}, errorReply(12));
    ui::QueryDevice(QStringLiteral("B1"));
    const QStringList lines = logLines();
    ASSERT_GE(lines.size(), 3);
    EXPECT_TRUE(lines[lines.size() - 2].startsWith(QStringLiteral("Err:  ")));
    EXPECT_EQ(lines.last(), QString());
    EXPECT_TRUE(ui::scl().D1->lines().row(0).endsWith(QStringLiteral("  ")));
}

TEST_F(Exchange, EchoIsLoggedAndTheWaitGoesOnUntilTheReply) {
    auto& peer = attachPeer();
    platform::ScriptedPeer::Rule r;
    r.echo = true;
    r.reply = dataReply("B1", "5");
    r.delayMs = 30;
    peer.addRule(r);
    ui::QueryDevice(QStringLiteral("B1"));
    EXPECT_EQ(logLines(),
              (QStringList{QStringLiteral("Sent: (STX)2003B1(NUL)(ETX) on COM1 @ 19200"),
                           QStringLiteral("Echo: (STX)2003B1(NUL)(ETX)"),
                           QStringLiteral("Rply: ") + PrintableFrame("21", QByteArray("B1\0"
                                                                                      "5\0",
                                                                                      5))}));
}

TEST_F(Exchange, EchoAloneStillTimesOut) {
    auto& peer = attachPeer();
    platform::ScriptedPeer::Rule r;
    r.echo = true;
    peer.addRule(r);
    ui::QueryDevice(QStringLiteral("B1"));
    EXPECT_TRUE(link().TimedOut);
    EXPECT_EQ(logLines().last(), QStringLiteral("Transmission Timed Out.  Transmission Timed out"));
}

TEST_F(Exchange, UnknownReplyTypeIsLoggedAndEmptiesReply) {
    auto& peer = attachPeer();
    peer.on({}, platform::DeviceFrame("77", "xy"));
    ui::QueryDevice(QStringLiteral("B1"));
    EXPECT_TRUE(logLines().last().startsWith(QStringLiteral("Unkn: (STX)7702xy")));
    EXPECT_TRUE(link().Reply.isEmpty());
    EXPECT_FALSE(link().TimedOut);
}

TEST_F(Exchange, DataReplyOfOtherLengthLeavesPowerAndSpeedAlone) {
    auto& peer = attachPeer();
    peer.on({}, dataReply("A1", "10"));
    link().PowerState = QStringLiteral("STANDBY");
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_EQ(link().PowerState, QStringLiteral("STANDBY"));
    peer.clearRules();
    peer.on({}, dataReply("A3", "66"));
    link().ReportedSpeedCode = QStringLiteral("4");
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("4"));
}

TEST_F(Exchange, SpeedQueryReplyNotesReportedCode) {
    auto& peer = attachPeer();
    peer.on({}, dataReply("A3", "6"));
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("6"));
}

TEST_F(Exchange, SpeedChangeTimingOutThreeTimesFollowsTheDevice) {
    auto& peer = attachPeer();
    const QByteArray frame = Bytes(QStringLiteral("(STX)3005A3(NUL)6(NUL)(ETX)"));
    // The device moved at once: it answers only at its new rate.
    peer.setBaud(57600);
    peer.on(frame, ackReply());
    ui::SetDevice(QStringLiteral("A3"), QStringLiteral("6"));
    EXPECT_EQ(s().P1->Settings(), QStringLiteral("57600,n,8,1"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("57600"));
    const QString sentOld = QStringLiteral("Sent: (STX)3005A3(NUL)6(NUL)(ETX) on COM1 @ 19200");
    const QString timeout =
        QStringLiteral("Timeout on Speed change command, retry count= +cstr(TOretryCount)");
    EXPECT_EQ(logLines(),
              (QStringList{sentOld, timeout, sentOld, timeout, sentOld, timeout,
                           QStringLiteral("Application Port settings changed to 57600"),
                           QStringLiteral("Sent: (STX)3005A3(NUL)6(NUL)(ETX) on COM1 @ 57600"),
                           QStringLiteral("Resp: (STX)01051(NUL)30(NUL)5C(ETX)")}));
    EXPECT_EQ(link().SpeedCodeSent, QStringLiteral("6"));
    // Three frames were noise at the device's rate; the fourth arrived whole.
    EXPECT_EQ(peer.frames().size(), 1);
}

TEST_F(Exchange, SpeedChangeToDeadDeviceReturnsAfterFourthSending) {
    auto& peer = attachPeer();
    peer.setBaud(57600);
    ui::SetDevice(QStringLiteral("A3"), QStringLiteral("6"));
    QStringList sent;
    for (const QString& l : logLines())
        if (l.startsWith(QStringLiteral("Sent: ")))
            sent << l.section(QStringLiteral(" @ "), 1);
    EXPECT_EQ(sent, (QStringList{QStringLiteral("19200"), QStringLiteral("19200"),
                                 QStringLiteral("19200"), QStringLiteral("57600")}));
    EXPECT_EQ(logLines().last(), QStringLiteral("Transmission Timed Out.  Transmission Timed out"));
    EXPECT_TRUE(link().TimedOut);
}

TEST_F(Exchange, SpeedChangeAnsweredAtOldRateLeavesThePort) {
    auto& peer = attachPeer();
    peer.on({}, ackReply());
    ui::SetDevice(QStringLiteral("A3"), QStringLiteral("6"));
    EXPECT_EQ(s().P1->Settings(), QStringLiteral("19200,n,8,1"));
    EXPECT_EQ(logLines().last(), QStringLiteral("Resp: (STX)01051(NUL)30(NUL)5C(ETX)"));
}

TEST_F(Exchange, SpeedQueryWithoutSpeedChangeFallsBackTo19200) {
    auto& peer = attachPeer(1, 57600);
    int sends = 0;
    peer.on({}, {}, 0, 3);
    // After three silent tries at 57600 the port moves to 19200, where the device answers.
    peer.setBaud(19200);
    peer.on({}, dataReply("A3", "4"));
    (void)sends;
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(s().txtCrntSpeed->text(), QStringLiteral("19200"));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Application Port settings changed to 19200")));
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("4"));
}

TEST_F(Exchange, SpeedQueryToDeadDeviceKeepsTryingUntilAReplyComes) {
    auto& peer = attachPeer();
    link().SpeedCodeSent = QStringLiteral("6");
    peer.setBaud(57600);
    // The device stays silent for a long while, then wakes at 57600 (the test ends it so).
    at(10'000, [&] { peer.on({}, dataReply("A3", "6")); });
    ui::QueryDevice(QStringLiteral("A3"));
    const QStringList lines = logLines();
    const int reopened =
        int(lines.count(QStringLiteral("Application Port settings changed to 57600")));
    EXPECT_GE(reopened, 10);
    // Each unanswered pass is told with the time since the first, for a job that cannot wait
    // for ever (a departure of the command line, docs/ARCHITECTURE.md); the routine goes on.
    const std::vector<qint64>& waits = scripted->speedQueryWaits;
    ASSERT_EQ(int(waits.size()), reopened);
    EXPECT_EQ(waits.front(), 0);
    EXPECT_TRUE(std::is_sorted(waits.begin(), waits.end()));
    EXPECT_GE(waits.back(), 9'000);
    EXPECT_LT(waits.back(), 10'000);
    EXPECT_EQ(lines.last(), QStringLiteral("Rply: ") + PrintableFrame("21", QByteArray("A3\0"
                                                                                       "6\0",
                                                                                       5)));
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("6"));
}

TEST_F(Exchange, PortFoundClosedAtSendingIsReopened) {
    auto& peer = attachPeer();
    peer.on({}, dataReply("B1", "1"));
    s().P1->setPortOpen(false);
    ui::QueryDevice(QStringLiteral("B1"));
    EXPECT_TRUE(s().P1->PortOpen());
    EXPECT_EQ(peer.frames().size(), 1);
    const QStringList lines = logLines();
    ASSERT_GE(lines.size(), 3);
    EXPECT_EQ(
        lines[1],
        QStringLiteral("GordaCommSend attempted to send (STX)2003B1(NUL)(ETX) Port is closed"));
    EXPECT_TRUE(lines[2].startsWith(QStringLiteral("Rply: ")));
}

TEST_F(Exchange, NoWaitCommandsReturnAtOnceAndTheTimerEndsTheWaitLater) {
    auto& peer = attachPeer();
    ui::SetDevice(QStringLiteral("AC"), QStringLiteral("1"));
    EXPECT_TRUE(link().WaitingReply);
    EXPECT_TRUE(waitUntil([&] { return !link().WaitingReply; }, 1000));
    EXPECT_TRUE(link().TimedOut);
    EXPECT_EQ(peer.frames().size(), 1);
}

TEST_F(Exchange, OneWaitCommandDoesNotClassifyItsReply) {
    auto& peer = attachPeer();
    peer.on({}, ackReply());
    ui::SetDevice(QStringLiteral("AD"), QStringLiteral("1"));
    EXPECT_EQ(logLines().size(), 1);
    EXPECT_EQ(link().Reply, core::SimulatedAckFrame());
}

TEST_F(Exchange, SimulationBuildsNoFrameAndKeepsStaleReply) {
    auto& peer = attachPeer();
    link().Reply = QStringLiteral("stale");
    s().chkSim->click();
    ui::SetDevice(QStringLiteral("A1"), QStringLiteral("1"));
    EXPECT_TRUE(peer.heard().isEmpty());
    EXPECT_EQ(link().Reply, QStringLiteral("stale"));
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
    EXPECT_EQ(link().SimCommandText, QStringLiteral("30A1(NUL)1(NUL)"));
    EXPECT_TRUE(logLines().isEmpty());
    EXPECT_TRUE(ui::SendVerified(QStringLiteral("30"), QStringLiteral("B1") + kNul));
}

TEST_F(Exchange, SimulatedSpeedChangeIsReportedBack) {
    s().chkSim->click();
    ui::SetDevice(QStringLiteral("A3"), QStringLiteral("6"));
    ui::QueryDevice(QStringLiteral("A3"));
    EXPECT_EQ(link().ReportedSpeedCode, QStringLiteral("6"));
    ui::SetDevice(QStringLiteral("A1"), QStringLiteral("0"));
    EXPECT_EQ(link().PowerState, QStringLiteral("STANDBY"));
}

TEST_F(Exchange, SendVerifiedAcceptsAnAcknowledgedSet) {
    auto& peer = attachPeer();
    peer.on({}, ackReply());
    EXPECT_TRUE(ui::SendVerified(QStringLiteral("30"),
                                 QStringLiteral("B1") + kNul + QStringLiteral("5") + kNul));
    EXPECT_EQ(peer.frames().size(), 1);
}

TEST_F(Exchange, SendVerifiedAcceptsAQueryAnsweredForItsSetting) {
    auto& peer = attachPeer();
    peer.on({}, dataReply("B2", "7"));
    EXPECT_TRUE(ui::SendVerified(QStringLiteral("20"), QStringLiteral("B2") + kNul));
}

TEST_F(Exchange, SendVerifiedGivesUpAfterItsAttemptsWithStatusLines) {
    auto& peer = attachPeer();
    peer.on({}, dataReply("B9", "7"));
    EXPECT_FALSE(ui::SendVerified(QStringLiteral("20"), QStringLiteral("B2") + kNul, 3));
    EXPECT_EQ(peer.frames().size(), 3);
    const QStringList lines = logLines();
    EXPECT_EQ(lines.filter(QStringLiteral("Error receiving result. Result=")).size(), 3);
    EXPECT_TRUE(lines.last().endsWith(QStringLiteral(", K=3     ")));
}

// Pins a departure (docs/ARCHITECTURE.md): a query's answer counts only when it is whole by its
// length field. Noise spliced into an answer on its way makes the length no longer fit.
QByteArray spliced(const QByteArray& frame, const QByteArray& noise) {
    return frame.left(8) + noise + frame.mid(8);
}

TEST_F(Exchange, SendVerifiedAsksAgainWhenTheAnswerCameWithNoiseInIt) {
    auto& peer = attachPeer();
    peer.then(spliced(dataReply("B2", "7"), "\xd7"
                                            "5"));
    peer.on({}, dataReply("B2", "7"));
    EXPECT_TRUE(ui::SendVerified(QStringLiteral("20"), QStringLiteral("B2") + kNul));
    EXPECT_EQ(peer.frames().size(), 2);
    EXPECT_EQ(link().Reply.toLatin1(), dataReply("B2", "7"));
    const QStringList lines = logLines();
    EXPECT_EQ(lines.filter(QStringLiteral("Rply: ")),
              (QStringList{QStringLiteral("Rply: ") + core::Printable(QString::fromLatin1(
                                                          spliced(dataReply("B2", "7"), "\xd7"
                                                                                        "5"))),
                           QStringLiteral("Rply: ") + PrintableFrame("21", QByteArray("B2\0"
                                                                                      "7\0",
                                                                                      5))}));
    EXPECT_EQ(lines.filter(QStringLiteral("Error receiving result. Result=")).size(), 1);
}

TEST_F(Exchange, SendVerifiedGivesUpWhenEveryAnswerCameDamaged) {
    auto& peer = attachPeer();
    peer.on({}, spliced(dataReply("B2", "7"), "12"));
    EXPECT_FALSE(ui::SendVerified(QStringLiteral("20"), QStringLiteral("B2") + kNul, 3));
    EXPECT_EQ(peer.frames().size(), 3);
}

TEST_F(Exchange, ProbeAnsweredGivesTrueAndPower) {
    auto& peer = attachPeer();
    peer.on({}, dataReply("A1", "0"));
    EXPECT_TRUE(ui::ProbeExchange(QStringLiteral("20"), QStringLiteral("A1") + kNul));
    EXPECT_EQ(link().PowerState, QStringLiteral("STANDBY"));
}

TEST_F(Exchange, ProbeTimeoutsTryAsOftenAsTxtretryWithoutPause) {
    auto& peer = attachPeer();
    s().txtretry->setText(QStringLiteral("3"));
    EXPECT_FALSE(ui::ProbeExchange(QStringLiteral("20"), QStringLiteral("A1") + kNul));
    ASSERT_EQ(peer.frames().size(), 3);
    EXPECT_LT(peer.frameTimesUs()[1] - peer.frameTimesUs()[0], 300'000);
    EXPECT_EQ(logLines().filter(QStringLiteral("Transmission Timed Out (")).last(),
              QStringLiteral("Transmission Timed Out (3), Resending Command"));
}

TEST_F(Exchange, ProbeErrorReplyLogsErrAndGivesFalse) {
    auto& peer = attachPeer();
    peer.on({}, errorReply(3));
    EXPECT_FALSE(ui::ProbeExchange(QStringLiteral("20"), QStringLiteral("A1") + kNul));
    const QStringList lines = logLines();
    EXPECT_EQ(lines[1], QStringLiteral("System Returned Error (1), Retrying Command"));
    EXPECT_EQ(lines.last(), QStringLiteral("Invalid Setting ID (Brightness, Contrast etc.)"));
}

TEST_F(Exchange, EmptyRetryTextSendsNothingAndClassifiesStaleReply) {
    auto& peer = attachPeer();
    s().txtretry->setText(QString());
    link().TimedOut = false;
    link().Reply = QString::fromLatin1(dataReply("A1", "1"));
    EXPECT_TRUE(ui::ProbeExchange(QStringLiteral("20"), QStringLiteral("A1") + kNul));
    EXPECT_TRUE(peer.heard().isEmpty());
    EXPECT_EQ(link().PowerState, QStringLiteral("ON"));
}

TEST_F(Exchange, SimulatedProbeIsStandbyAtOnce) {
    s().chkSim->click();
    EXPECT_TRUE(ui::ProbeExchange(QStringLiteral("20"), QStringLiteral("A1") + kNul));
    EXPECT_EQ(link().PowerState, QStringLiteral("STANDBY"));
    EXPECT_EQ(link().SimPower, QStringLiteral("STANDBY"));
}

TEST_F(Exchange, GordaCommSendInSimulationFillsTheSimulatedAck) {
    s().chkSim->click();
    ui::GordaCommSend(core::BuildFrame(QStringLiteral("20"), QStringLiteral("A1") + kNul));
    EXPECT_FALSE(link().WaitingReply);
    EXPECT_EQ(link().Reply.toLatin1(), QByteArray::fromHex("0230313035310033300035430"
                                                           "3"));
}

TEST_F(Exchange, GarbageBetweenFramesIsDropped) {
    auto& peer = attachPeer();
    peer.on({}, QByteArray("xx\r\n\x08zz") + dataReply("B1", "3") + "tail");
    ui::QueryDevice(QStringLiteral("B1"));
    EXPECT_EQ(logLines().last(), QStringLiteral("Rply: ") + PrintableFrame("21", QByteArray("B1\0"
                                                                                            "3\0",
                                                                                            5)));
}

TEST_F(Exchange, CtsDropDuringBlockIsLoggedOnceForTheSameLine) {
    attachPeer();
    ui::App().FilePosition = 300;
    auto* l = line();
    l->setPacing(true);
    // CTS low stops the line: the block stays in the output buffer.
    l->peerSetCts(false);
    s().P1->Output(QString(100, QLatin1Char('x')));
    l->peerSetCts(true);
    l->peerSetCts(false);
    const QStringList lines = logLines();
    EXPECT_EQ(lines.filter(QStringLiteral("CTS Dropped")).size(), 1);
    EXPECT_TRUE(
        lines.last().startsWith(QStringLiteral("CTS Dropped, Fileposition= 300, Bytes sent =")));
}

} // namespace
