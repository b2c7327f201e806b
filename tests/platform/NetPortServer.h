#pragma once
// A COM port server on loopback that runs on its own thread (the port's waits block the test's
// thread, as they block the program's), and the fixture of the network port's tests.

#include "common/CoreApp.h"
#include "core/link/Rfc2217.h"
#include "platform/clock/Clock.h"
#include "platform/serial/CommBackend.h"
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
#include <gtest/gtest.h>

namespace telvo::test {

using namespace telvo::core;
using namespace telvo::platform;

inline QByteArray B(std::initializer_list<int> bytes) {
    QByteArray out;
    for (const int b : bytes)
        out += char(b);
    return out;
}

// A COM port server: negotiates as a server should (or refuses what it is told to), answers
// every setting (unless told to stay silent, or with another value), keeps what it was sent and
// sends what the test queues. `resets` connections are closed at once after accept.
class Server : public QThread {
public:
    std::atomic<bool> answers{true};
    bool telnet = true;
    bool refuseComPort = false;
    bool refuseBinary = false;
    int resets = 0;
    int ackDelayMs = 0;
    QMap<int, QByteArray> answerInstead; // command -> the value answered
    QByteArray beforePurgeAnswer;        // data sent just before the purge's answer
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
    int accepted() const { return m_accepted; }
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
            if (!server.waitForNewConnection(20))
                continue;
            QTcpSocket* s = server.nextPendingConnection();
            ++m_accepted;
            if (m_accepted <= resets)
                s->abort();
            else
                serve(s);
            delete s;
        }
    }

private:
    QByteArray negotiate(const TelnetEvent& e) const {
        using namespace telnet;
        const bool refused =
            (e.option == COM_PORT && refuseComPort) || (e.option == BINARY && refuseBinary);
        const bool known = e.option == COM_PORT || e.option == BINARY || e.option == SGA;
        if (e.verb == WILL)
            return B({255, (refused || !known) ? DONT : DO, e.option});
        if (e.verb == DO && e.option != COM_PORT)
            return B({255, (refused || !known) ? WONT : WILL, e.option});
        return {};
    }
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
                if (!m_out.isEmpty())
                    s->write(std::exchange(m_out, {}));
            }
            s->flush();
            if (!s->waitForReadyRead(10))
                continue;
            const QByteArray raw = s->readAll();
            std::vector<TelnetEvent> events;
            const QByteArray data = telnet ? parser.feed(raw, &events) : raw;
            QMutexLocker lock(&m_mutex);
            m_raw += raw;
            m_data += data;
            for (const TelnetEvent& e : events) {
                if (e.kind == TelnetEvent::Option)
                    s->write(negotiate(e));
                if (e.kind != TelnetEvent::ComPort)
                    continue;
                m_commands.push_back(e);
                if (!answers || e.command == comport::SetModemstateMask ||
                    e.command == comport::Signature)
                    continue;
                if (ackDelayMs > 0) {
                    s->flush();
                    QThread::msleep(ulong(ackDelayMs));
                }
                if (e.command == comport::PurgeData)
                    s->write(beforePurgeAnswer);
                s->write(ComPortCommand(e.command + comport::kServerOffset,
                                        answerInstead.value(e.command, e.value)));
            }
        }
    }

    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_hangUp{false};
    std::atomic<int> m_accepted{0};
    QSemaphore m_ready;
    quint16 m_port = 0;
    QMutex m_mutex;
    QByteArray m_out, m_raw, m_data;
    std::vector<TelnetEvent> m_commands;
};

class NetPort : public ::testing::Test {
protected:
    void SetUp() override {
        telvo::test::TestCoreApp();
        Clock::instance().setVirtual(false);
    }
    void TearDown() override {
        Clock::instance().clear();
        Clock::instance().setVirtual(true);
        PortMap::instance().setPorts({});
    }
    QString address(const char* scheme, quint16 port) {
        return QString::fromLatin1(scheme) + QStringLiteral("://127.0.0.1:") +
               QString::number(port);
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
    // The port's notes, as the log gets them.
    QStringList& notesOf(CommBackend& b) {
        QObject::connect(&b, &CommBackend::note, [this](const QString& t) { m_notes << t; });
        return m_notes;
    }
    static LineSettings settings(int baud, Handshake handshake = Handshake::None) {
        LineSettings s;
        s.baud = baud;
        s.handshake = handshake;
        return s;
    }
    QStringList m_notes;
    static QStringList commandsOf(const std::vector<TelnetEvent>& events) {
        QStringList out;
        for (const TelnetEvent& e : events)
            out << QString::number(e.command) + QLatin1Char(':') +
                       QString::fromLatin1(e.value.toHex());
        return out;
    }
};

} // namespace telvo::test
