#include "link/zSCL.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/link/LinkTiming.h"
#include "core/link/Protocol.h"
#include "core/link/Rfc2217.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/Driver.h"
#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/serial/LinkLatency.h"
#include "platform/serial/PortMap.h"
#include "settings/SCL.h"

namespace telvo::ui {

using core::CStr;
using core::DeviceErrorText;
using core::Mid;
using core::Printable;
using core::SameText;
using core::Val;

namespace {

bool simTicked() {
    return scl().chkSim->isChecked();
}

void waitForReply() {
    while (Link().WaitingReply)
        platform::DoEvents();
}

// The reply carries the power state or the speed code when it answers A1 or A3.
void notePowerAndSpeed(const QString& reply) {
    core::LinkState& l = Link();
    if (SameText(Mid(reply, 2, 6), QStringLiteral("2105A1")))
        l.PowerState = Mid(reply, 9, 1) == QLatin1String("1") ? QStringLiteral("ON")
                                                              : QStringLiteral("STANDBY");
    else if (SameText(Mid(reply, 2, 6), QStringLiteral("2105A3")))
        l.ReportedSpeedCode = Mid(reply, 9, 1);
}

void logError(const QString& reply) {
    LogLine(QStringLiteral("Err:  ") + Printable(reply));
    const QString why = DeviceErrorText(core::ReplyErrorCode(reply));
    LogLine(why);
    platform::ExchangeFailed(why);
}

// Moves the port to the rate of a speed code, to follow a device that changed speed unheard.
void followDevice(const QString& code) {
    SCL& s = scl();
    s.P1->setPortOpen(false);
    const QString rate = RateFromCode(code);
    s.txtCrntSpeed->setText(rate);
    s.P1->setSettings(rate + QStringLiteral(",n,8,1"));
    s.P1->setPortOpen(true);
    LogLine(QStringLiteral("Application Port settings changed to ") + rate);
}

qint64 nowMs() {
    return platform::Clock::instance().nowMs();
}

// The time a frame and its reply spent on the serial line beyond the server, at the port's rate.
int lineTimeOf(const QString& reply) {
    return core::LineTimeMs(Link().SentFrame.size() + reply.size(), scl().P1->Baud());
}

// One answer's round trip into the estimate of the link; the log tells each change that matters.
void noteRoundTrip(int ms) {
    core::LinkState& l = Link();
    const int before = l.RoundTrip.measured() ? l.RoundTrip.value() : -1;
    l.RoundTrip.add(ms);
    const int now = l.RoundTrip.value();
    platform::SetLinkRoundTripMs(now);
    if (before < 0 || qAbs(now - before) >= 50)
        WriteLogFile(l.RoundTripOf + QStringLiteral(": round trip ") + QString::number(now) +
                     QStringLiteral(" ms"));
}

class Sink : public core::ReceiveSink {
public:
    void EchoReceived(const QString& reply) override {
        LogLine(QStringLiteral("Echo: ") + Printable(reply));
    }
    void ReplyReceived() override {
        scl().T1->setEnabled(false);
        core::LinkState& l = Link();
        if (l.WaitingReply && !NetworkAddress().isEmpty())
            noteRoundTrip(int(nowMs() - l.SentAtMs) - lineTimeOf(l.Reply));
    }
    void PromptSeen() override { dbg().MoveCursorToEnd(); }
    bool LateReply(const QString& reply) override {
        core::LinkState& l = Link();
        if (l.WaitingReply || l.LateUntilMs == 0 || nowMs() > l.LateUntilMs)
            return false;
        // One frame, one reply: the wait for this one ends with it.
        l.LateUntilMs = 0;
        const int age = int(nowMs() - l.SentAtMs);
        LogLine(QStringLiteral("Late: ") + Printable(reply) + QStringLiteral(", ") +
                QString::number(age) + QStringLiteral(" ms after it was sent"));
        noteRoundTrip(age - lineTimeOf(reply));
        return true;
    }
};

// After a time-out on a network port the frame's reply may still be on its way: nothing more is
// sent until it has come (and is logged as late) or can no longer be expected, so that it is
// never taken for the answer to the next frame.
void awaitLateReply() {
    core::LinkState& l = Link();
    if (!l.TimedOut || NetworkAddress().isEmpty())
        return;
    l.LateUntilMs = l.SentAtMs + scl().T1->Interval() + core::LateWindowMs(DeviceWaitGrowthMs());
    const qint64 waitMs = l.LateUntilMs - nowMs();
    if (waitMs <= 0) {
        l.LateUntilMs = 0;
        return;
    }
    // The end of the window is a clock event of its own, dropped however the wait ends (the end
    // of the program unwinds through it).
    struct Window {
        bool over = false;
        platform::Clock::Id id = 0;
        ~Window() { platform::Clock::instance().cancel(id); }
    } window;
    window.id =
        platform::Clock::instance().scheduleIn(waitMs * 1000, [&window] { window.over = true; });
    while (!window.over && l.LateUntilMs != 0)
        platform::DoEvents();
    l.LateUntilMs = 0;
}

} // namespace

QString NetworkAddress() {
    const platform::PortMap& map = platform::PortMap::instance();
    const QStringList ports = map.ports();
    const int port = scl().P1->CommPort();
    if (map.usesDefault() || port < 1 || port > ports.size())
        return QString();
    QString entry = ports.at(port - 1);
    if (core::ParseNetworkAddress(entry).kind == core::NetworkAddress::None)
        return QString();
    core::LinkState& l = Link();
    // A round trip belongs to its link: another address is measured afresh.
    if (l.RoundTripOf != entry) {
        l.RoundTripOf = entry;
        l.RoundTrip.clear();
    }
    return entry;
}

int DeviceWaitGrowthMs() {
    if (NetworkAddress().isEmpty())
        return 0;
    const int measured = qMax(Link().RoundTrip.value(), platform::LinkRoundTripMs());
    return core::WaitGrowthMs(true, Link().RoundTrip.measured() || measured > 0, measured);
}

int DeviceWaitMs(int ms) {
    return ms + DeviceWaitGrowthMs();
}

void DevicePause(int ms) {
    Pause(DeviceWaitMs(ms));
}

QString LatencyBeyondReach() {
    const core::LinkState& l = Link();
    if (l.RoundTripOf.isEmpty() || l.RoundTrip.value() <= core::kWorkableRoundTripMs)
        return QString();
    return l.RoundTripOf + QStringLiteral(" answers after ") +
           QString::number(l.RoundTrip.value()) + QStringLiteral(" ms, beyond the ") +
           QString::number(core::kWorkableRoundTripMs) +
           QStringLiteral(" ms round trip the program waits for");
}

void Pause(int ms) {
    platform::Timer* t = scl().tmrdelay;
    t->setEnabled(false);
    t->setInterval(ms);
    t->setEnabled(true);
    while (t->Enabled())
        platform::DoEvents();
}

void tmrdelay_Timer() {
    scl().tmrdelay->setEnabled(false);
}

void T1_Timer() {
    scl().T1->setEnabled(false);
    Link().TimedOut = true;
    Link().WaitingReply = false;
}

void chkSim_Click() {
    Link().SimNote = scl().chkSim->isChecked() ? QStringLiteral(" (Simulation Mode)") : QString();
}

void SimulatedAck() {
    Link().Reply = core::SimulatedAckFrame();
}

void GordaCommSend(const QString& frame) {
    SCL& s = scl();
    core::LinkState& l = Link();
    s.T1->setEnabled(false);
    s.T1->setInterval(DeviceWaitMs(int(Val(s.txtTO->text()))));
    s.T1->setEnabled(true);
    l.SentAtMs = nowMs();
    l.LateUntilMs = 0;
    // Flags are set before the frame leaves: a reply can only be seen at the next yield.
    l.Reply.clear();
    l.WaitingReply = true;
    l.TimedOut = false;
    l.BadCommand = false;
    const QString sent = QStringLiteral("Sent: ") + Printable(frame) + QStringLiteral(" on ") +
                         s.txtPort->text() + QStringLiteral(" @ ") + s.txtCrntSpeed->text();
    if (simTicked()) {
        LogLine(sent);
        s.T1->setEnabled(false);
        SimulatedAck();
        l.WaitingReply = false;
        return;
    }
    // An open port takes the frame first and its line is written while the wire carries it:
    // the log reads the same, since a reply is only seen at the next yield.
    const bool open = s.P1->PortOpen();
    if (!open) {
        LogLine(sent);
        LogLine(QStringLiteral("GordaCommSend attempted to send ") + Printable(frame) +
                QStringLiteral(" Port is closed"));
        ReopenPort();
    }
    s.P1->ClearError();
    s.P1->Output(frame);
    if (open)
        LogLine(sent);
    if (s.P1->ErrNumber() != 0)
        throw core::RuntimeError(s.P1->ErrNumber(), s.P1->ErrDescription());
}

void SendCommand(const QString& type, const QString& data, int retries) {
    core::LinkState& l = Link();
    int R = retries != 0 ? retries : 1;
    if (simTicked()) {
        l.SimCommandText = Printable(type + data);
        SimulateCommand(type, data);
        return;
    }
    l.SentFrame = core::BuildFrame(type, data);
    l.LastCommandType = type;
    l.LastCommandData = data;

    enum class Kind { Ordinary, SpeedChange, SpeedQuery } kind = Kind::Ordinary;
    const QString id = core::Left(data, 2);
    if (SameText(id, QStringLiteral("A3")) && type == QLatin1String("30")) {
        kind = Kind::SpeedChange;
        R = 3;
        l.SpeedCodeSent = Mid(data, 4, 1);
    } else if (SameText(id, QStringLiteral("A3")) && type == QLatin1String("20")) {
        kind = Kind::SpeedQuery;
        R = 3;
    } else if (SameText(id, QStringLiteral("AE")) || SameText(id, QStringLiteral("AC"))) {
        // Sent without a wait: the running timer ends the waiting state later.
        GordaCommSend(l.SentFrame);
        return;
    } else if (SameText(id, QStringLiteral("AD"))) {
        GordaCommSend(l.SentFrame);
        waitForReply();
        awaitLateReply();
        return;
    }

    int K = 0;
    qint64 followedAt = -1; // the first follow of an unanswered speed query
    while (K < R) {
        GordaCommSend(l.SentFrame);
        waitForReply();
        ++K;
        if (l.TimedOut) {
            awaitLateReply();
            QString followCode;
            if (kind == Kind::SpeedChange) {
                LogLine(QStringLiteral(
                    "Timeout on Speed change command, retry count= +cstr(TOretryCount)"));
                if (K != R)
                    continue;
                // An acknowledgement sent at the new rate is lost at the old one.
                followCode = Mid(data, 4, 1);
            } else if (kind == Kind::SpeedQuery) {
                LogLine(QStringLiteral(
                    "Timeout on Speed query command, retry count= +cstr(TOretryCount)"));
                if (K != R)
                    continue;
                followCode = l.SpeedCodeSent;
            } else {
                if (K >= R) {
                    const QString why =
                        QStringLiteral("Transmission Timed Out.  ") + DeviceErrorText(13);
                    LogLine(why);
                    platform::ExchangeFailed(why);
                    Pause(100);
                    return;
                }
                LogLine(QStringLiteral("Transmission Timed Out (") + CStr(K) +
                        QStringLiteral("), Resending Command. ") + DeviceErrorText(13));
                Pause(100);
                continue;
            }
            followDevice(followCode);
            // Sent once more at the new rate. A speed query keeps its mark, and so waits here
            // for as long as the device takes to restart its port.
            if (kind == Kind::SpeedQuery) {
                if (followedAt < 0)
                    followedAt = nowMs();
                platform::SpeedQueryUnanswered(scl().txtCrntSpeed->text(), nowMs() - followedAt);
            }
            R = 1;
            if (kind == Kind::SpeedChange)
                kind = Kind::Ordinary;
            K = 0;
            continue;
        }
        if (core::ReplyType(l.Reply) != QLatin1String("02")) {
            K = R;
            break;
        }
        if (Mid(l.Reply, 6, 1) == QLatin1String("2") && K >= R) {
            LogLine(QStringLiteral("System Returned 'Bad Command' Response (error), Received: ") +
                    Printable(l.Reply));
            l.BadCommand = true;
            Pause(100);
            return;
        }
        LogLine(QStringLiteral("System Returned Error (") + CStr(K) +
                QStringLiteral("), Retrying Command"));
        Pause(100);
    }

    const QString kindOfReply = core::ReplyType(l.Reply);
    if (kindOfReply == QLatin1String("02")) {
        logError(l.Reply);
    } else if (kindOfReply == QLatin1String("21")) {
        LogLine(QStringLiteral("Rply: ") + Printable(l.Reply));
        notePowerAndSpeed(l.Reply);
    } else if (kindOfReply == QLatin1String("01")) {
        LogLine(QStringLiteral("Resp: ") + Printable(l.Reply));
    } else {
        LogLine(QStringLiteral("Unkn: ") + Printable(l.Reply));
        l.Reply.clear();
    }
}

void QueryDevice(const QString& id, int retries) {
    SendCommand(QStringLiteral("20"), id + core::NUL(), retries);
}

void SetDevice(const QString& id, const QString& value, int retries) {
    SendCommand(QStringLiteral("30"), id + core::NUL() + value + core::NUL(), retries);
}

bool SendVerified(const QString& type, const QString& data, int attempts) {
    const int N = attempts != 0 ? attempts : 6;
    const QString ack = core::STX() + QStringLiteral("01051") + core::NUL() + QStringLiteral("30");
    int K = 0;
    while (K < N) {
        if (type == QLatin1String("30")) {
            SendCommand(type, data, 2);
            if (simTicked())
                return true;
            if (core::Left(Link().Reply, 9) == ack)
                return true;
        } else if (type == QLatin1String("20")) {
            SendCommand(type, data, 2);
            if (simTicked())
                return true;
            // Only a whole answer goes on to be saved: noise spliced into it would be written
            // to a settings file that no restore could send back.
            if (Mid(Link().Reply, 6, 3) == data && core::ReplyWhole(Link().Reply))
                return true;
        } else {
            // No caller passes another type; the loop has no way out, as designed.
            platform::DoEvents();
            continue;
        }
        ++K;
        ShowStatus(QStringLiteral("Error receiving result. Result=") + Link().Reply +
                       QStringLiteral(", K=") + CStr(K),
                   0);
    }
    return false;
}

bool ProbeExchange(const QString& type, const QString& data) {
    core::LinkState& l = Link();
    SCL& s = scl();
    if (simTicked()) {
        l.SimPower = QStringLiteral("STANDBY");
        l.PowerState = QStringLiteral("STANDBY");
        return true;
    }
    l.SentFrame = core::BuildFrame(type, data);
    l.LastCommandType = type;
    l.LastCommandData = data;
    double K = 0;
    while (K < Val(s.txtretry->text())) {
        GordaCommSend(l.SentFrame);
        waitForReply();
        awaitLateReply();
        if (!l.TimedOut && core::ReplyType(l.Reply) != QLatin1String("02")) {
            K = Val(s.txtretry->text());
            continue;
        }
        K += 1;
        if (l.TimedOut)
            LogLine(QStringLiteral("Transmission Timed Out (") + CStr(K) +
                    QStringLiteral("), Resending Command"));
        else
            LogLine(QStringLiteral("System Returned Error (") + CStr(K) +
                    QStringLiteral("), Retrying Command"));
    }
    if (l.TimedOut)
        return false;
    const QString kindOfReply = core::ReplyType(l.Reply);
    if (kindOfReply == QLatin1String("02")) {
        logError(l.Reply);
        return false;
    }
    if (kindOfReply == QLatin1String("21")) {
        notePowerAndSpeed(l.Reply);
        LogLine(QStringLiteral("Rply: ") + Printable(l.Reply));
        return true;
    }
    if (kindOfReply == QLatin1String("01")) {
        LogLine(QStringLiteral("Resp: ") + Printable(l.Reply));
        return true;
    }
    return false;
}

void SimulateCommand(const QString& type, const QString& data) {
    core::LinkState& l = Link();
    const QString id = core::Left(data, 2);
    if (type == QLatin1String("30")) {
        if (SameText(id, QStringLiteral("A1"))) {
            l.SimPower = Mid(data, 4, 1) == QLatin1String("1") ? QStringLiteral("ON")
                                                               : QStringLiteral("STANDBY");
            l.PowerState = l.SimPower;
        } else if (SameText(id, QStringLiteral("A3"))) {
            l.SimSpeedCode = Mid(data, 4, 1);
            l.ReportedSpeedCode = l.SimSpeedCode;
        }
    } else if (type == QLatin1String("20")) {
        if (SameText(id, QStringLiteral("A1")))
            l.PowerState = l.SimPower;
        else if (SameText(id, QStringLiteral("A3")))
            l.ReportedSpeedCode = l.SimSpeedCode;
    }
}

void P1_OnComm() {
    SCL& s = scl();
    core::LinkState& l = Link();
    if (s.P1->CommEvent() == platform::comEvReceive) {
        const bool special = core::IsSpecialState(App().DeviceState, l.ConsoleActive);
        const QString input = s.P1->Input();
        Sink sink;
        core::RouteReceived(input, special, l, G().ldrText, G().dbgText, sink);
        if (WindowExists("LDR"))
            ldr().SyncText();
        if (WindowExists("DBG"))
            dbg().SyncText();
        return;
    }
    if (s.P1->CommEvent() == platform::comEvCTS) {
        const bool cts = s.P1->CTSHolding();
        if (cts)
            ldr().setCTSColor(0, 255, 0);
        else
            ldr().setCTSColor(255, 0, 0);
        const int pending = s.P1->OutBufferCount();
        if (pending == 100 && App().FilePosition == 100)
            return;
        if (!cts && pending > 0) {
            const QString line = QStringLiteral("CTS Dropped, Fileposition= ") +
                                 CStr(App().FilePosition) + QStringLiteral(", Bytes sent =") +
                                 CStr(100 - pending);
            if (line != App().LastCTSLine) {
                LogLine(line);
                App().LastCTSLine = line;
            }
        }
    }
}

} // namespace telvo::ui
