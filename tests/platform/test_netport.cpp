// The network port against a server on loopback that runs on its own thread (the port's waits
// block the test's thread, as they block the program's): the bytes on the wire, the answers
// awaited and their time limit, CTS from the server, pacing, a dropped connection, and the
// serial control and port map taking the address.

#include "NetPortServer.h"
#include "common/CoreApp.h"
#include "core/link/Rfc2217.h"
#include "platform/clock/Clock.h"
#include "platform/serial/CommControl.h"
#include "platform/serial/LinkLatency.h"
#include "platform/serial/NetworkPortBackend.h"
#include "platform/serial/PortMap.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMap>
#include <QMutex>
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

using namespace telvo;
using namespace telvo::core;
using namespace telvo::platform;
using namespace telvo::test;

namespace {

const QString kSaid = QStringLiteral("the server said DO BINARY, DO SUPPRESS-GO-AHEAD, DO "
                                     "COM-PORT-OPTION, WILL BINARY, WILL SUPPRESS-GO-AHEAD");

TEST_F(NetPort, OpenTakesTheOptionsAndSetsRateFramingFlowAndModemMaskThenPurges) {
    Server server;
    const quint16 port = server.begin();
    const QString addr = address("rfc2217", port);
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    LineSettings s = settings(19200, Handshake::Rts);
    QString error;
    ASSERT_EQ(b.open(s, &error), 0) << qPrintable(error);
    EXPECT_TRUE(b.isOpen());
    EXPECT_EQ(commandsOf(server.commands()),
              (QStringList{QStringLiteral("1:00004b00"), QStringLiteral("2:08"),
                           QStringLiteral("3:01"), QStringLiteral("4:01"), QStringLiteral("11:11"),
                           QStringLiteral("5:03"), QStringLiteral("12:03")}));
    EXPECT_TRUE(server.raw().startsWith(
        B({255, 251, 0, 255, 251, 3, 255, 251, 44, 255, 253, 0, 255, 253, 3})));
    // Per connection, the log names the server's answer to each option and the round trip.
    ASSERT_EQ(notes.size(), 3) << qPrintable(notes.join(QLatin1Char('\n')));
    EXPECT_EQ(notes[0], addr + QStringLiteral(": connected (connection 1); ") + kSaid);
    EXPECT_EQ(notes[1], QStringLiteral("connected to ") + addr);
    EXPECT_EQ(notes[2], addr + QStringLiteral(": round trip %1 ms").arg(b.roundTripMs()));
    EXPECT_EQ(LinkRoundTripMs(), b.roundTripMs());
    EXPECT_EQ(b.lineBaud(), 19200);

    // A change of rate and of flow control: only what changed is sent, and answered.
    s.baud = 57600;
    s.handshake = Handshake::None;
    b.apply(s);
    const auto after = server.commands();
    ASSERT_EQ(after.size(), 9u);
    EXPECT_EQ(commandsOf({after[7], after[8]}),
              (QStringList{QStringLiteral("1:0000e100"), QStringLiteral("5:01")}));
    EXPECT_EQ(b.lineBaud(), 57600);
    EXPECT_EQ(notes.size(), 3);
}

TEST_F(NetPort, CloseAndOpenWithinTheRunKeepOneConnectionAndSendTheSettingsAgain) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    QStringList notes;
    {
        NetworkPortBackend b(addr);
        ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
        b.close();
        EXPECT_FALSE(b.isOpen());
        EXPECT_EQ(b.write("x"), -1);
    }
    // The serial control makes a new back-end for every open: the connection is the run's.
    NetworkPortBackend again(addr);
    QObject::connect(&again, &CommBackend::note, [&](const QString& t) { notes << t; });
    LineSettings s;
    s.baud = 38400;
    ASSERT_EQ(again.open(s, nullptr), 0);
    EXPECT_TRUE(again.isOpen());
    EXPECT_EQ(server.accepted(), 1);
    EXPECT_EQ(again.connectionsMade(), 1);
    EXPECT_TRUE(notes.isEmpty()) << qPrintable(notes.join(QLatin1Char('\n')));
    const QStringList cmds = commandsOf(server.commands());
    // The close purged what the server's port received; the open set the line again, and purged.
    EXPECT_EQ(cmds.mid(7), (QStringList{QStringLiteral("12:01"), QStringLiteral("1:00009600"),
                                        QStringLiteral("2:08"), QStringLiteral("3:01"),
                                        QStringLiteral("4:01"), QStringLiteral("11:11"),
                                        QStringLiteral("5:01"), QStringLiteral("12:01")}));
    EXPECT_EQ(again.lineBaud(), 38400);
    EXPECT_EQ(again.write("y"), 1);
    ASSERT_TRUE(until([&] { return server.data() == "y"; }));
}

TEST_F(NetPort, WhatArrivesBeforeThePurgesAnswerIsDroppedAndWhatFollowsIsKept) {
    Server server;
    server.beforePurgeAnswer = "stale";
    NetworkPortBackend b(address("rfc2217", server.begin()));
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    EXPECT_EQ(b.bytesAvailable(), 0);
    server.queue("fresh");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 5; }));
    EXPECT_EQ(b.readAll(), QByteArray("fresh"));
}

TEST_F(NetPort, ServerRefusingTheComPortOptionIsNoPortAndIsAskedNothing) {
    Server server;
    server.refuseComPort = true;
    const quint16 port = server.begin();
    NetworkPortBackend b(address("rfc2217", port));
    QString error;
    EXPECT_EQ(b.open(LineSettings{}, &error), 8002);
    EXPECT_EQ(error, QStringLiteral("the server at 127.0.0.1:%1 does not take COM port settings: "
                                    "use socket:// and set Baud =")
                         .arg(port));
    EXPECT_FALSE(b.isOpen());
    EXPECT_TRUE(server.commands().empty());
    EXPECT_EQ(server.accepted(), 1);
}

TEST_F(NetPort, ServerKeepingTextModeIsNoPortEither) {
    Server server;
    server.refuseBinary = true;
    const quint16 port = server.begin();
    const QString addr = address("rfc2217", port);
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    QString error;
    EXPECT_EQ(b.open(LineSettings{}, &error), 8002);
    EXPECT_TRUE(error.contains(QStringLiteral("does not take COM port settings")));
    EXPECT_TRUE(notes.contains(addr + QStringLiteral(": refused: BINARY")))
        << qPrintable(notes.join(QLatin1Char('\n')));
    EXPECT_TRUE(server.commands().empty());
}

TEST_F(NetPort, ServerThatNeverNegotiatesIsNoPort) {
    Server server;
    server.telnet = false; // says nothing at all
    const quint16 port = server.begin();
    const QString addr = address("rfc2217", port);
    NetworkPortBackend b(addr);
    b.setTimeLimits(2000, 200);
    QStringList& notes = notesOf(b);
    QString error;
    EXPECT_EQ(b.open(LineSettings{}, &error), 8002);
    EXPECT_TRUE(error.contains(QStringLiteral("does not take COM port settings")));
    EXPECT_TRUE(notes.contains(
        addr + QStringLiteral(": no answer within 200 ms to: COM-PORT-OPTION, BINARY")))
        << qPrintable(notes.join(QLatin1Char('\n')));
    // Not one sub-negotiation was sent after the option went unanswered.
    EXPECT_FALSE(server.raw().contains(B({255, 250})));
}

TEST_F(NetPort, EveryAnswerIsCheckedAndAChangeIsNamed) {
    Server server;
    server.answerInstead[comport::SetControl] = B({comport::ControlNone});
    server.answerInstead[comport::SetDatasize] = B({7});
    server.answerInstead[comport::SetBaudrate] = B({0, 0, 0x96, 0x00});
    const quint16 port = server.begin();
    const QString addr = address("rfc2217", port);
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    LineSettings s = settings(19200, Handshake::Rts);
    ASSERT_EQ(b.open(s, nullptr), 0);
    EXPECT_TRUE(
        notes.contains(addr + QStringLiteral(": the server runs at 38400 baud, not 19200")));
    EXPECT_TRUE(notes.contains(
        addr + QStringLiteral(": the server changed SET-DATASIZE: asked 8, answered 7")));
    EXPECT_TRUE(notes.contains(
        addr + QStringLiteral(": the server at 127.0.0.1:%1 does not do RTS/CTS flow control "
                              "(SET-CONTROL answered 1, not 3): a firmware load is not paced by "
                              "the device there and may overrun")
                   .arg(port)))
        << qPrintable(notes.join(QLatin1Char('\n')));
    EXPECT_TRUE(b.flowControlRefused());
    EXPECT_EQ(b.lineBaud(), 38400);
}

TEST_F(NetPort, ServerThatNeverAnswersASettingIsWaitedForOnlyUpToTheLimitAndALateAnswerIsNotTaken) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    NetworkPortBackend b(addr);
    b.setTimeLimits(2000, 200);
    QStringList& notes = notesOf(b);
    server.answers = false;
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    EXPECT_TRUE(b.isOpen());
    EXPECT_EQ(notes.last(),
              addr + QStringLiteral(": no answer to SET-BAUDRATE 9600, SET-DATASIZE, "
                                    "SET-PARITY, SET-STOPSIZE, SET-CONTROL, PURGE-DATA "
                                    "within 200 ms"));
    LineSettings s;
    s.baud = 38400;
    b.apply(s);
    EXPECT_EQ(notes.last(), addr + QStringLiteral(": no answer to SET-BAUDRATE 38400, SET-CONTROL "
                                                  "within 200 ms"));
    // The port goes on at the rate asked, and an answer after its wait is not the line's rate.
    EXPECT_EQ(b.lineBaud(), 38400);
    server.queue(ComPortCommand(101, B({0, 0, 0xE1, 0})) + "z");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 1; }));
    EXPECT_EQ(b.lineBaud(), 38400);
    EXPECT_EQ(notes.last(), addr + QStringLiteral(": late answer SET-BAUDRATE 57600 ignored"));
    EXPECT_EQ(b.write("x"), 1);
}

TEST_F(NetPort, SignatureIsAnsweredWhenAskedAndTheServersIsLogged) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    server.queue(ComPortCommand(100, {}) + ComPortCommand(100, "Box 2") + "a");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 1; }));
    ASSERT_TRUE(until([&] {
        for (const TelnetEvent& e : server.commands())
            if (e.command == comport::Signature)
                return true;
        return false;
    }));
    for (const TelnetEvent& e : server.commands()) {
        if (e.command == comport::Signature) {
            EXPECT_EQ(e.value, QByteArray("Telvo Utility"));
        }
    }
    EXPECT_EQ(notes.last(), addr + QStringLiteral(": the server is \"Box 2\""));
}

TEST_F(NetPort, RoundTripIsMeasuredOnTheAnswersAndPublishedForTheWaits) {
    Server server;
    server.ackDelayMs = 120;
    NetworkPortBackend b(address("rfc2217", server.begin()));
    SetLinkRoundTripMs(0);
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    // No answer can come sooner than the server gives it.
    EXPECT_GE(b.roundTripMs(), 120);
    EXPECT_EQ(LinkRoundTripMs(), b.roundTripMs());
}

TEST_F(NetPort, ResetJustAfterAcceptIsTriedAgainWithAGrowingPause) {
    Server server;
    server.resets = 2;
    const QString addr = address("rfc2217", server.begin());
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    QString error;
    ASSERT_EQ(b.open(LineSettings{}, &error), 0) << qPrintable(error);
    EXPECT_EQ(server.accepted(), 3);
    EXPECT_EQ(b.connectionsMade(), 3);
    const QStringList retries = notes.filter(QStringLiteral("trying again"));
    ASSERT_EQ(retries.size(), 2) << qPrintable(notes.join(QLatin1Char('\n')));
    EXPECT_TRUE(retries[0].endsWith(QStringLiteral(": trying again in 100 ms (attempt 2)")));
    EXPECT_TRUE(retries[1].endsWith(QStringLiteral(": trying again in 200 ms (attempt 3)")));
    EXPECT_TRUE(notes.contains(addr + QStringLiteral(": connected (connection 3); ") + kSaid));
}

TEST_F(NetPort, NobodyListeningIsTriedForABoundedTimeThenConnectionRefused) {
    const quint16 port = nobodyListening();
    const QString addr = address("rfc2217", port);
    NetworkPortBackend b(addr);
    b.setTimeLimits(2000, 200, 350);
    QStringList& notes = notesOf(b);
    QString error;
    EXPECT_EQ(b.open(LineSettings{}, &error), 8002);
    EXPECT_EQ(error, QStringLiteral("127.0.0.1:%1: connection refused").arg(port));
    EXPECT_FALSE(b.isOpen());
    // 100 + 200 ms of pauses fit the bound, 400 more do not.
    ASSERT_EQ(notes.size(), 3) << qPrintable(notes.join(QLatin1Char('\n')));
    EXPECT_TRUE(notes[0].endsWith(
        QStringLiteral("connection refused: trying again in 100 ms (attempt 2)")));
    EXPECT_TRUE(notes[2].startsWith(
        addr + QStringLiteral(": 127.0.0.1:%1: connection refused, given up after 3 attempts in ")
                   .arg(port)))
        << qPrintable(notes[2]);
}

TEST_F(NetPort, HostNotFoundIsSaidAtOnce) {
    NetworkPortBackend b(QStringLiteral("rfc2217://no-such-host.invalid:4001"));
    QString error;
    EXPECT_EQ(b.open(LineSettings{}, &error), 8002);
    EXPECT_EQ(error, QStringLiteral("no-such-host.invalid:4001: host not found"));
}

TEST_F(NetPort, CtsIsTheServersBitFromTheFirstReportOn) {
    Server server;
    // Reported low at connect, with nothing else set: low.
    server.queue(ComPortCommand(107, B({0x00})));
    NetworkPortBackend b(address("rfc2217", server.begin()));
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    ASSERT_TRUE(until([&] { return !b.cts(); }));
    int changes = 0;
    QObject::connect(&b, &CommBackend::ctsChanged, [&] { ++changes; });
    server.queue(ComPortCommand(107, B({0x11})) + "b");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 1; }));
    EXPECT_TRUE(b.cts());
    EXPECT_EQ(changes, 1);
    server.queue(ComPortCommand(107, B({0x01})) + "c");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 2; }));
    EXPECT_FALSE(b.cts());
    EXPECT_EQ(changes, 2);
}

TEST_F(NetPort, DataIsEscapedOnTheWireAndUnescapedComingBack) {
    Server server;
    NetworkPortBackend b(address("rfc2217", server.begin()));
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    const QByteArray frame = B({0x02, 0xFF, 0x00, 0xFF, 0x03});
    EXPECT_EQ(b.write(frame), 5);
    ASSERT_TRUE(until([&] { return server.data() == frame; }));
    EXPECT_TRUE(server.raw().contains(B({0x02, 0xFF, 0xFF, 0x00, 0xFF, 0xFF, 0x03})));

    int told = 0;
    QObject::connect(&b, &CommBackend::received, [&] { ++told; });
    // The reply arrives with an IAC doubled and a modem state wedged in the middle.
    server.queue(B({0x02, 'A', 0xFF, 0xFF}) + ComPortCommand(107, B({0x30})) + B({'Z', 0x03}));
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 5; }));
    EXPECT_EQ(b.readAll(), B({0x02, 'A', 0xFF, 'Z', 0x03}));
    EXPECT_GE(told, 1);
}

TEST_F(NetPort, ARunningLinkIsAskedItsRateToKeepTheRoundTripUpToDate) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    ASSERT_EQ(b.open(settings(19200), nullptr), 0);
    const size_t before = server.commands().size();
    EXPECT_EQ(b.write("x"), 1);
    EXPECT_EQ(b.write("y"), 1); // at most one question in flight, and one every 2 s
    ASSERT_TRUE(until([&] { return server.data() == "xy"; }));
    const auto cmds = server.commands();
    ASSERT_EQ(cmds.size(), before + 1);
    // SET-BAUDRATE 0 asks without changing: the answer (the rate) changes nothing.
    EXPECT_EQ(commandsOf({cmds.back()}), QStringList{QStringLiteral("1:00000000")});
    server.queue("z");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 1; }));
    EXPECT_EQ(b.lineBaud(), 19200);
    EXPECT_TRUE(notes.filter(QStringLiteral("late")).isEmpty())
        << qPrintable(notes.join(QLatin1Char('\n')));
    EXPECT_TRUE(notes.filter(QStringLiteral("changed")).isEmpty());
}

TEST_F(NetPort, AFloodNobodyReadsIsHeldToAFixedAmount) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    const int total = 8 * 1024 * 1024;
    server.queue(QByteArray(total - 3, 'f') + "end");
    // Nobody reads: what is held stays within its bound, and the newest bytes are the ones kept.
    ASSERT_TRUE(until([&] {
        return b.bytesAvailable() > 0 && b.bytesAvailable() <= NetworkPortBackend::kMaxUnread &&
               notes.last().contains(QStringLiteral("nobody read"));
    }));
    bool ended = false;
    ASSERT_TRUE(until([&] {
        EXPECT_LE(b.bytesAvailable(), NetworkPortBackend::kMaxUnread);
        ended = ended || b.readAll().endsWith("end");
        return ended;
    }));
    // Each time it runs over again is one line, never one per byte dropped.
    EXPECT_GE(notes.filter(QStringLiteral("nobody read")).size(), 1);
    EXPECT_LE(notes.filter(QStringLiteral("nobody read")).size(),
              total / NetworkPortBackend::kMaxUnread);
    EXPECT_EQ(notes.last(),
              addr +
                  QStringLiteral(": more than 1048576 bytes nobody read: the oldest are dropped"));
}

TEST_F(NetPort, OutputCountsWhatTheRemoteLineCannotYetHaveCarried) {
    Server server;
    NetworkPortBackend b(address("rfc2217", server.begin()));
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0); // 9600: 1042 us a byte
    Clock::instance().setVirtual(true);
    ASSERT_EQ(b.write(QByteArray(96, 'x')), 96);
    EXPECT_EQ(b.outBufferCount(), 96);
    Clock::instance().advanceBy(50'000);
    EXPECT_EQ(b.outBufferCount(), 49);
    Clock::instance().advanceBy(60'000);
    EXPECT_EQ(b.outBufferCount(), 0);
}

TEST_F(NetPort, DroppedConnectionClosesThePortAndTheNextOpenConnectsAgain) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    server.hangUp();
    ASSERT_TRUE(until([&] { return b.connectionLost(); }));
    EXPECT_FALSE(b.isOpen());
    EXPECT_EQ(notes.last(), addr + QStringLiteral(": connection lost"));
    // Nothing is pending on a line that is gone, so no drain wait hangs on it.
    EXPECT_EQ(b.write(QByteArray(10, 'y')), -1);
    EXPECT_EQ(b.outBufferCount(), 0);
    b.close();
    EXPECT_EQ(b.open(LineSettings{}, nullptr), 0);
    EXPECT_TRUE(b.isOpen());
    EXPECT_FALSE(b.connectionLost());
    EXPECT_EQ(server.accepted(), 2);
    EXPECT_TRUE(notes.contains(addr + QStringLiteral(": connected (connection 2); ") + kSaid));
}

TEST_F(NetPort, PlainSocketSendsBytesAsTheyAreAndLogsARateChangeAsNotApplicable) {
    Server server;
    server.telnet = false;
    const QString addr = address("socket", server.begin());
    NetworkPortBackend b(addr);
    QStringList& notes = notesOf(b);
    LineSettings s;
    s.baud = 19200;
    ASSERT_EQ(b.open(s, nullptr), 0);
    EXPECT_EQ(b.write(B({0x02, 0xFF, 0x03})), 3);
    ASSERT_TRUE(until([&] { return server.raw().size() == 3; }));
    EXPECT_EQ(server.raw(), B({0x02, 0xFF, 0x03}));
    s.baud = 57600;
    b.apply(s);
    EXPECT_EQ(notes.last(),
              addr + QStringLiteral(": the rate is the server's; 57600 baud does not apply"));
    server.queue(B({0xFF, 0xFF}));
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 2; }));
    EXPECT_EQ(b.readAll(), B({0xFF, 0xFF}));
}

TEST_F(NetPort, SerialControlOpensTheAddressThePortMapGivesAndNamesItInItsNotes) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    PortMap::instance().setPorts({QStringLiteral("sim"), addr});
    EXPECT_EQ(PortMap::instance().resolve(2).kind, PortTarget::Network);
    EXPECT_EQ(PortMap::instance().resolve(2).path, addr);
    CommControl p1;
    QStringList notes;
    QObject::connect(&p1, &CommControl::Note, [&](const QString& t) { notes << t; });
    p1.setCommPort(2);
    p1.setSettings(QStringLiteral("38400,n,8,1"));
    p1.setPortOpen(true);
    ASSERT_EQ(p1.ErrNumber(), 0) << qPrintable(p1.ErrDescription());
    EXPECT_TRUE(p1.PortOpen());
    EXPECT_TRUE(notes.contains(QStringLiteral("COM2: connected to ") + addr));
    EXPECT_EQ(commandsOf(server.commands()).value(0), QStringLiteral("1:00009600"));
    p1.setPortOpen(false);
    EXPECT_FALSE(p1.PortOpen());
    // Open again, at another rate, as the search does: the same connection.
    p1.setSettings(QStringLiteral("19200,n,8,1"));
    p1.setPortOpen(true);
    EXPECT_TRUE(p1.PortOpen());
    EXPECT_EQ(server.accepted(), 1);
    p1.setPortOpen(false);

    // A local port has no round trip.
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    PortMap::instance().setPorts({QString::fromLocal8Bit(ptsname(master)), addr});
    SetLinkRoundTripMs(77);
    p1.setCommPort(1);
    p1.setPortOpen(true);
    ASSERT_TRUE(p1.PortOpen()) << qPrintable(p1.ErrDescription());
    EXPECT_EQ(LinkRoundTripMs(), 0);
    p1.setPortOpen(false);
    ::close(master);
}

TEST_F(NetPort, SerialControlSaysTheServerClosedTheConnectionMidJob) {
    Server server;
    const quint16 port = server.begin();
    PortMap::instance().setPorts({address("rfc2217", port)});
    CommControl p1;
    p1.setCommPort(1);
    p1.setPortOpen(true);
    ASSERT_TRUE(p1.PortOpen());
    server.hangUp();
    ASSERT_TRUE(until([&] { return !p1.PortOpen(); }));
    p1.Output(QStringLiteral("x"));
    EXPECT_EQ(p1.ErrNumber(), 8012);
    EXPECT_EQ(p1.ErrDescription(),
              QStringLiteral("127.0.0.1:%1: the server closed the connection").arg(port));
}

TEST_F(NetPort, SerialControlGivesNoSuchPortAndTheAddressForAnUnreachableServer) {
    const quint16 port = nobodyListening();
    const QString addr = address("socket", port);
    PortMap::instance().setPorts({addr});
    CommControl p1;
    p1.setCommPort(1);
    p1.setPortOpen(true);
    EXPECT_EQ(p1.ErrNumber(), 8002);
    EXPECT_EQ(p1.ErrDescription(), QStringLiteral("127.0.0.1:%1: connection refused").arg(port));
    EXPECT_EQ(p1.ErrDevice(), addr);
    EXPECT_FALSE(p1.PortOpen());
}

} // namespace
