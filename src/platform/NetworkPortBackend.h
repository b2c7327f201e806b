#pragma once
// A serial port served over the network: "rfc2217://HOST:PORT" (Telnet with the COM port
// option: the program's rate, framing and flow control are set on the server's port, and the
// server's CTS is ours) or "socket://HOST:PORT" (plain bytes at the server's fixed rate).
// Everything runs on the one thread: the waits for the connection and for the server's
// answers are bounded blocking waits on the socket, so no routine can re-enter meanwhile.
// A connection that drops is a cut line that the program can see: the port reads as closed (as
// a local adapter pulled out), so a job's closed-port path runs, and the next open connects
// again.

#include "core/link/Rfc2217.h"
#include "platform/CommBackend.h"
#include "platform/LinePacer.h"

#include <QTcpSocket>
#include <QTimer>
#include <vector>

namespace telvo::platform {

class NetworkPortBackend : public CommBackend {
    Q_OBJECT
public:
    static constexpr int kConnectMs = 2000; // an unreachable server is no port after this
    static constexpr int kReplyMs = 1000;   // the longest wait for the answer to a setting

    explicit NetworkPortBackend(const QString& address);
    ~NetworkPortBackend() override;

    // Tests shorten the waits.
    void setTimeLimits(int connectMs, int replyMs);

    int open(const LineSettings& s, QString* error) override;
    void close() override;
    bool isOpen() const override { return m_open && !m_lost; }
    void apply(const LineSettings& s) override;
    qint64 write(const QByteArray& bytes) override;
    QByteArray readAll() override;
    int bytesAvailable() const override { return int(m_in.size()); }
    bool cts() const override { return m_cts; }
    int outBufferCount() const override;
    void setWriteTimeout(int ms) override { m_writeTimeoutMs = ms; }
    int writeTimeout() const override { return m_writeTimeoutMs; }
    qintptr handle() const override { return m_socket.socketDescriptor(); }

    // The rate the far line runs at: the server's answer to the last rate asked, else the rate
    // asked (for socket://, the rate the port was opened with).
    int lineBaud() const { return m_lineBaud; }
    bool connectionLost() const { return m_lost; }

private:
    void pump();
    void take(const core::TelnetEvent& e);
    void send(const QByteArray& bytes);
    void sendSettings(const LineSettings& s, bool all);
    // Waits until every command sent has its answer, or the time limit; false on the limit.
    bool awaitAnswers();
    void lose();
    QString commandName(unsigned char command) const;

    QString m_address;
    core::NetworkAddress m_addr;
    mutable QTcpSocket m_socket;
    core::TelnetParser m_parser;
    core::TelnetNegotiator m_negotiator;
    QByteArray m_in;
    bool m_open = false;
    bool m_lost = false;
    bool m_cts = true;
    LineSettings m_settings;
    int m_lineBaud = 0;
    std::vector<unsigned char> m_awaiting; // commands sent, answers not yet seen
    LinePacer m_pacer;
    int m_writeTimeoutMs = 0;
    QTimer m_writeWatch;
    int m_connectMs = kConnectMs;
    int m_replyMs = kReplyMs;
    int m_waiting = 0;          // inside a blocking wait: arrivals are told afterwards
    bool m_toldPending = false; // data arrived during a wait
};

} // namespace telvo::platform
