#pragma once
// A serial port served over the network: "rfc2217://HOST:PORT" (Telnet with the COM port
// option: the program's rate, framing and flow control are set on the server's port, and the
// server's CTS is ours) or "socket://HOST:PORT" (plain bytes at the server's fixed rate).
//
// One TCP connection serves an address for the whole run: the routines close and open the port
// many times (every rate of the search, every speed change), and servers that serve one client
// at a time queue or refuse a new connection while they let go of the last one. So a close
// marks the port closed and purges, and an open reuses the connection and sends the line
// settings again. A connection is made only for the first open or after the server dropped it,
// and a refused or busy server is tried again with a short, growing pause for a bounded time.
//
// Everything runs on the one thread: the waits for the connection and for the server's answers
// are bounded blocking waits on the socket, so no routine can re-enter meanwhile. A connection
// that drops is a cut line the program can see: the port reads as closed (as a local adapter
// pulled out), so a job's closed-port path runs, and the next open connects again.

#include "core/link/Rfc2217.h"
#include "platform/serial/CommBackend.h"
#include "platform/serial/LinePacer.h"

#include <QPointer>
#include <QTimer>

namespace telvo::platform {

class NetworkConnection;

class NetworkPortBackend : public CommBackend {
    Q_OBJECT
public:
    static constexpr int kConnectMs = 3000; // one attempt to connect
    static constexpr int kReplyMs = 2000;   // the longest wait for the server's answers
    static constexpr int kRetryMs = 5000;   // how long a refused or busy server is tried again
    static constexpr int kFirstPauseMs = 100, kLongestPauseMs = 1000;
    // Bounds on what nobody has read yet: a server that floods cannot grow memory.
    static constexpr int kReadChunk = 64 * 1024;
    static constexpr int kMaxUnread = 1024 * 1024;

    explicit NetworkPortBackend(const QString& address);
    ~NetworkPortBackend() override;

    // Tests shorten the waits.
    void setTimeLimits(int connectMs, int replyMs, int retryMs = kRetryMs);

    int open(const LineSettings& s, QString* error) override;
    void close() override;
    bool isOpen() const override;
    void apply(const LineSettings& s) override;
    qint64 write(const QByteArray& bytes) override;
    QByteArray readAll() override;
    int bytesAvailable() const override;
    bool cts() const override;
    int outBufferCount() const override;
    void setWriteTimeout(int ms) override { m_writeTimeoutMs = ms; }
    int writeTimeout() const override { return m_writeTimeoutMs; }
    qintptr handle() const override;
    QString closedReason() const override;

    // The rate the far line runs at: the server's answer to the rate asked, else the rate asked
    // (for socket://, the rate the port was opened with).
    int lineBaud() const;
    bool connectionLost() const;
    // The server refused RTS/CTS flow control: a transfer paced by CTS is not paced there.
    bool flowControlRefused() const;
    // TCP connections made for this address in the run.
    int connectionsMade() const;
    // The round trip measured on this address's connection (0 before any).
    int roundTripMs() const;

    // Ends every connection of the run (tests, between runs in one process).
    static void dropConnections();

private:
    NetworkConnection& c() const;
    bool usable() const;
    int connectAndNegotiate(QString* why);
    // Sets the server's port as m_settings asks and purges; false when the connection went.
    bool setLine(bool fresh);
    bool negotiate();
    void pump();
    void deliver(const QByteArray& data);
    void take(const core::TelnetEvent& e);
    void answered(const core::TelnetEvent& e);
    void send(const QByteArray& bytes);
    void ask(unsigned char command, const QByteArray& value);
    void sendSettings(const LineSettings& s, bool all);
    void purge(unsigned char what);
    // Waits until every command sent has its answer, or the time limit; false on the limit.
    bool awaitAnswers();
    template <class Done> void waitFor(Done done, int ms);
    void sample(qint64 sentAtMs);
    void lose();
    void say(const QString& text);
    QString server() const;

    QString m_address;
    core::NetworkAddress m_addr;
    QPointer<QObject> m_c; // the run's connection of this address (a NetworkConnection)
    bool m_open = false;
    LineSettings m_settings;
    LinePacer m_pacer;
    int m_writeTimeoutMs = 0;
    QTimer m_writeWatch;
    int m_connectMs = kConnectMs;
    int m_replyMs = kReplyMs;
    int m_retryMs = kRetryMs;
    int m_waiting = 0;          // inside a blocking wait: arrivals are told afterwards
    bool m_toldPending = false; // data arrived during a wait
};

} // namespace telvo::platform
