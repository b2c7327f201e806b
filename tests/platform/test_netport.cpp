// The network port against a server on loopback that runs on its own thread (the port's waits
// block the test's thread, as they block the program's): the bytes on the wire, the answers
// awaited and their time limit, CTS from the server, pacing, a dropped connection, and the
// serial control and port map taking the address.

#include "core/link/Rfc2217.h"
#include "platform/Clock.h"
#include "platform/CommControl.h"
#include "platform/NetworkPortBackend.h"
#include "platform/PortMap.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>

using namespace telvo;
using namespace telvo::core;
using namespace telvo::platform;

namespace {

QCoreApplication& app() {
    static int argc = 1;
    static char name[] = "t";
    static char* argv[] = {name, nullptr};
    static auto* a = new QCoreApplication(argc, argv);
    return *a;
}

QByteArray B(std::initializer_list<int> bytes) {
    QByteArray out;
    for (const int b : bytes) out += char(b);
    return out;
}

// A COM port server: takes the option, answers every setting (unless told to stay silent),
// keeps what it was sent and sends what the test queues.
class Server : public QThread {
public:
    bool answers = true;
    bool telnet = true;
    ~Server() override {
        m_stop = true;
        wait();
    }
    quint16 begin() {
        start();
        m_ready.acquire();
        return m_port;
    }
    void queue(const QByteArray& bytes) {
        QMutexLocker lock(&m_mutex);
        m_out += bytes;
    }
    void hangUp() { m_hangUp = true; }
    QByteArray raw() {
        QMutexLocker lock(&m_mutex);
        return m_raw;
    }
    QByteArray data() {
        QMutexLocker lock(&m_mutex);
        return m_data;
    }
    std::vector<TelnetEvent> commands() {
        QMutexLocker lock(&m_mutex);
        return m_commands;
    }

protected:
    void run() override {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost, 0);
        m_port = server.serverPort();
        m_ready.release();
        while (!m_stop) {
            if (!server.waitForNewConnection(20)) continue;
            QTcpSocket* s = server.nextPendingConnection();
            serve(s);
            delete s;
        }
    }

private:
    void serve(QTcpSocket* s) {
        TelnetParser parser;
        while (!m_stop && s->state() == QAbstractSocket::ConnectedState) {
            if (m_hangUp) {
                m_hangUp = false;
                s->abort();
                return;
            }
            {
                QMutexLocker lock(&m_mutex);
                if (!m_out.isEmpty()) s->write(std::exchange(m_out, {}));
            }
            s->flush();
            if (!s->waitForReadyRead(10)) continue;
            const QByteArray raw = s->readAll();
            std::vector<TelnetEvent> events;
            const QByteArray data = telnet ? parser.feed(raw, &events) : raw;
            QMutexLocker lock(&m_mutex);
            m_raw += raw;
            m_data += data;
            for (const TelnetEvent& e : events) {
                if (e.kind == TelnetEvent::Option && e.option == telnet::COM_PORT &&
                    e.verb == telnet::WILL)
                    s->write(B({255, telnet::DO, telnet::COM_PORT}));
                if (e.kind != TelnetEvent::ComPort) continue;
                m_commands.push_back(e);
                if (answers && e.command != comport::SetModemstateMask)
                    s->write(ComPortCommand(e.command + comport::kServerOffset, e.value));
            }
        }
    }

    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_hangUp{false};
    QSemaphore m_ready;
    quint16 m_port = 0;
    QMutex m_mutex;
    QByteArray m_out, m_raw, m_data;
    std::vector<TelnetEvent> m_commands;
};

class NetPort : public ::testing::Test {
protected:
    void SetUp() override {
        app();
        Clock::instance().setVirtual(false);
    }
    void TearDown() override {
        Clock::instance().clear();
        Clock::instance().setVirtual(true);
        PortMap::instance().setPorts({});
    }
    QString address(const char* scheme, quint16 port) {
        return QString::fromLatin1(scheme) + QStringLiteral("://127.0.0.1:") + QString::number(port);
    }
    // Waits, on events, for `cond`; a generous bound so that a broken build fails, not hangs.
    template <class F> bool until(F cond) {
        QElapsedTimer t;
        t.start();
        while (!cond() && t.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        return cond();
    }
    // A loopback port that was free a moment ago: connecting to it is refused.
    static quint16 nobodyListening() {
        QTcpServer gone;
        gone.listen(QHostAddress::LocalHost, 0);
        return gone.serverPort();
    }
    static QStringList commandsOf(const std::vector<TelnetEvent>& events) {
        QStringList out;
        for (const TelnetEvent& e : events)
            out << QString::number(e.command) + QLatin1Char(':') + QString::fromLatin1(e.value.toHex());
        return out;
    }
};

TEST_F(NetPort, OpenTakesTheOptionAndSetsRateFramingFlowAndModemMaskThenPurges) {
    Server server;
    const quint16 port = server.begin();
    NetworkPortBackend b(address("rfc2217", port));
    QStringList notes;
    QObject::connect(&b, &CommBackend::note, [&](const QString& t) { notes << t; });
    LineSettings s;
    s.baud = 19200;
    s.handshake = Handshake::Rts;
    QString error;
    ASSERT_EQ(b.open(s, &error), 0) << qPrintable(error);
    EXPECT_TRUE(b.isOpen());
    EXPECT_EQ(commandsOf(server.commands()),
              (QStringList{QStringLiteral("1:00004b00"), QStringLiteral("2:08"), QStringLiteral("3:01"),
                           QStringLiteral("4:01"), QStringLiteral("5:03"), QStringLiteral("11:11"),
                           QStringLiteral("12:03")}));
    EXPECT_TRUE(server.raw().startsWith(
        B({255, 251, 0, 255, 251, 3, 255, 251, 44, 255, 253, 0, 255, 253, 3})));
    EXPECT_EQ(notes, QStringList{QStringLiteral("connected to ") + address("rfc2217", port)});
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
    EXPECT_EQ(notes.size(), 1);
}

TEST_F(NetPort, DataIsEscapedOnTheWireAndUnescapedComingBack) {
    Server server;
    NetworkPortBackend b(address("rfc2217", server.begin()));
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    const QByteArray frame = B({0x02, 0xFF, 0x00, 0xFF, 0x03});
    EXPECT_EQ(b.write(frame), 5);
    ASSERT_TRUE(until([&] { return server.data() == frame; }));
    EXPECT_TRUE(server.raw().endsWith(B({0x02, 0xFF, 0xFF, 0x00, 0xFF, 0xFF, 0x03})));

    int told = 0;
    QObject::connect(&b, &CommBackend::received, [&] { ++told; });
    // The reply arrives with an IAC doubled and a modem state wedged in the middle.
    server.queue(B({0x02, 'A', 0xFF, 0xFF}) + ComPortCommand(107, B({0x30})) + B({'Z', 0x03}));
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 5; }));
    EXPECT_EQ(b.readAll(), B({0x02, 'A', 0xFF, 'Z', 0x03}));
    EXPECT_GE(told, 1);
}

TEST_F(NetPort, ServerThatNeverAnswersASettingIsWaitedForOnlyUpToTheLimit) {
    Server server;
    server.answers = false;
    const QString addr = address("rfc2217", server.begin());
    NetworkPortBackend b(addr);
    b.setTimeLimits(2000, 200);
    QStringList notes;
    QObject::connect(&b, &CommBackend::note, [&](const QString& t) { notes << t; });
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    EXPECT_TRUE(b.isOpen());
    ASSERT_EQ(notes.size(), 2);
    EXPECT_EQ(notes[1], addr + QStringLiteral(": no answer to SET-BAUDRATE 9600, SET-DATASIZE, "
                                              "SET-PARITY, SET-STOPSIZE, SET-CONTROL, PURGE-DATA "
                                              "within 200 ms"));
    LineSettings s;
    s.baud = 38400;
    b.apply(s);
    ASSERT_EQ(notes.size(), 3);
    EXPECT_EQ(notes[2], addr + QStringLiteral(": no answer to SET-BAUDRATE 38400, SET-CONTROL "
                                              "within 200 ms"));
    // The port goes on at the rate asked.
    EXPECT_EQ(b.lineBaud(), 38400);
    EXPECT_EQ(b.write("x"), 1);
}

TEST_F(NetPort, NobodyListeningIsNoSuchPort) {
    const quint16 port = nobodyListening();
    const QString addr = address("rfc2217", port);
    NetworkPortBackend b(addr);
    QStringList notes;
    QObject::connect(&b, &CommBackend::note, [&](const QString& t) { notes << t; });
    QString error;
    EXPECT_EQ(b.open(LineSettings{}, &error), 8002);
    EXPECT_EQ(error, QStringLiteral("Invalid Port Number"));
    EXPECT_FALSE(b.isOpen());
    ASSERT_EQ(notes.size(), 1);
    EXPECT_TRUE(notes[0].startsWith(addr + QStringLiteral(": "))) << qPrintable(notes[0]);
}

TEST_F(NetPort, CtsFollowsTheServersModemStateAndANullStateTellsNothing) {
    Server server;
    NetworkPortBackend b(address("rfc2217", server.begin()));
    ASSERT_EQ(b.open(LineSettings{}, nullptr), 0);
    int changes = 0;
    QObject::connect(&b, &CommBackend::ctsChanged, [&] { ++changes; });
    EXPECT_TRUE(b.cts());
    server.queue(ComPortCommand(107, B({0x00})) + ComPortCommand(107, B({0x01})) + "a");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 1; }));
    EXPECT_FALSE(b.cts());
    EXPECT_EQ(changes, 1);
    server.queue(ComPortCommand(107, B({0x11})) + "b");
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 2; }));
    EXPECT_TRUE(b.cts());
    EXPECT_EQ(changes, 2);
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
    QStringList notes;
    QObject::connect(&b, &CommBackend::note, [&](const QString& t) { notes << t; });
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
}

TEST_F(NetPort, PlainSocketSendsBytesAsTheyAreAndLogsARateChangeAsNotApplicable) {
    Server server;
    server.telnet = false;
    const QString addr = address("socket", server.begin());
    NetworkPortBackend b(addr);
    QStringList notes;
    QObject::connect(&b, &CommBackend::note, [&](const QString& t) { notes << t; });
    LineSettings s;
    s.baud = 19200;
    ASSERT_EQ(b.open(s, nullptr), 0);
    EXPECT_EQ(b.write(B({0x02, 0xFF, 0x03})), 3);
    ASSERT_TRUE(until([&] { return server.raw().size() == 3; }));
    EXPECT_EQ(server.raw(), B({0x02, 0xFF, 0x03}));
    s.baud = 57600;
    b.apply(s);
    EXPECT_EQ(notes.last(), addr + QStringLiteral(": the rate is the server's; 57600 baud does not apply"));
    server.queue(B({0xFF, 0xFF}));
    ASSERT_TRUE(until([&] { return b.bytesAvailable() == 2; }));
    EXPECT_EQ(b.readAll(), B({0xFF, 0xFF}));
}

TEST_F(NetPort, SerialControlOpensTheAddressThePortMapGivesAndNamesItInItsNotes) {
    Server server;
    const QString addr = address("rfc2217", server.begin());
    PortMap::instance().setPorts({QStringLiteral("/nonexistent/ttyTelvo9"), addr});
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
    EXPECT_EQ(notes, QStringList{QStringLiteral("COM2: connected to ") + addr});
    EXPECT_EQ(commandsOf(server.commands()).value(0), QStringLiteral("1:00009600"));
    p1.setPortOpen(false);
    EXPECT_FALSE(p1.PortOpen());
}

TEST_F(NetPort, SerialControlGivesNoSuchPortAndTheAddressForAnUnreachableServer) {
    const quint16 port = nobodyListening();
    const QString addr = address("socket", port);
    PortMap::instance().setPorts({addr});
    CommControl p1;
    p1.setCommPort(1);
    p1.setPortOpen(true);
    EXPECT_EQ(p1.ErrNumber(), 8002);
    EXPECT_EQ(p1.ErrDevice(), addr);
    EXPECT_FALSE(p1.PortOpen());
}

} // namespace
