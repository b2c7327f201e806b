#include "platform/serial/NetworkPortBackend.h"

#include "platform/serial/LinkLatency.h"
#include "platform/serial/NetworkConnection.h"
#include "platform/serial/SimulatedLine.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QMetaObject>
#include <QTcpSocket>
#include <QThread>
#include <vector>

namespace telvo::platform {

using namespace core;

namespace {
const QByteArray kSignature = QByteArrayLiteral("Telvo Utility");
} // namespace

NetworkConnection& NetworkPortBackend::c() const {
    return *static_cast<NetworkConnection*>(m_c.data());
}

void NetworkPortBackend::dropConnections() {
    DropConnections();
}

NetworkPortBackend::NetworkPortBackend(const QString& address)
    : m_address(address), m_addr(ParseNetworkAddress(address)) {
    m_c = &ConnectionFor(address);
    // The open that holds the connection now is the one told of what arrives.
    for (const auto& w : c().wires)
        QObject::disconnect(w);
    c().wires = {
        connect(&c().socket, &QTcpSocket::readyRead, this, &NetworkPortBackend::pump),
        connect(&c().socket, &QTcpSocket::disconnected, this, &NetworkPortBackend::lose),
        connect(&c().socket, &QTcpSocket::errorOccurred, this,
                [this] {
                    if (c().socket.state() != QAbstractSocket::ConnectedState)
                        lose();
                }),
    };
    m_writeWatch.setSingleShot(true);
    connect(&m_writeWatch, &QTimer::timeout, this, [this] {
        // A write that could not leave in time is dropped, as the local port drops it.
        if (m_open && outBufferCount() > 0)
            m_pacer.forget();
    });
}

NetworkPortBackend::~NetworkPortBackend() {
    close();
}

void NetworkPortBackend::setTimeLimits(int connectMs, int replyMs, int retryMs) {
    m_connectMs = connectMs;
    m_replyMs = replyMs;
    m_retryMs = retryMs;
}

QString NetworkPortBackend::server() const {
    return m_addr.host + QLatin1Char(':') + QString::number(m_addr.port);
}

void NetworkPortBackend::say(const QString& text) {
    Q_EMIT note(m_address + QStringLiteral(": ") + text);
}

bool NetworkPortBackend::usable() const {
    return m_c && !c().lost && c().socket.state() == QAbstractSocket::ConnectedState &&
           (m_addr.kind == NetworkAddress::Socket || c().negotiated);
}

bool NetworkPortBackend::isOpen() const {
    return m_open && usable();
}
int NetworkPortBackend::bytesAvailable() const {
    return m_c ? int(c().in.size()) : 0;
}
bool NetworkPortBackend::cts() const {
    return !m_c || c().cts;
}
qintptr NetworkPortBackend::handle() const {
    return m_c ? c().socket.socketDescriptor() : -1;
}
int NetworkPortBackend::lineBaud() const {
    return m_c ? c().lineBaud : 0;
}
bool NetworkPortBackend::connectionLost() const {
    return !m_c || c().lost;
}
bool NetworkPortBackend::flowControlRefused() const {
    return m_c && c().flowRefused;
}
int NetworkPortBackend::connectionsMade() const {
    return m_c ? c().connections : 0;
}
QString NetworkPortBackend::closedReason() const {
    return m_open && !usable() ? server() + QStringLiteral(": the server closed the connection")
                               : QString();
}
int NetworkPortBackend::roundTripMs() const {
    return m_c ? c().rtt.estimateMs() : 0;
}

int NetworkPortBackend::open(const LineSettings& s, QString* error) {
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        if (m_c) {
            c().socket.abort();
            c().lost = true;
        }
        return 8002;
    };
    if (m_addr.kind == NetworkAddress::None || !m_c) {
        say(QStringLiteral("not a network port"));
        return fail(m_address + QStringLiteral(": not a network port"));
    }
    m_open = false;
    m_settings = s;
    // A live connection is reused; one the server dropped meanwhile is made again.
    if (usable() && setLine(false))
        return 0;
    QString why;
    if (connectAndNegotiate(&why) != 0)
        return fail(why);
    return 0;
}

bool NetworkPortBackend::setLine(bool fresh) {
    c().in.clear();
    c().overflowTold = false;
    m_pacer.forget();
    m_open = true;
    if (m_addr.kind == NetworkAddress::Socket) {
        c().lineBaud = m_settings.baud;
        return true;
    }
    // Reused or new, the line is set as this open asks, and what the server's port held
    // before is not ours: everything up to the purge's answer is dropped.
    sendSettings(m_settings, true);
    purge(fresh ? comport::PurgeBoth : comport::PurgeReceive);
    awaitAnswers();
    if (fresh && c().rtt.samples() > 0)
        say(QStringLiteral("round trip %1 ms").arg(c().rtt.estimateMs()));
    if (usable())
        return true;
    m_open = false;
    return false;
}

int NetworkPortBackend::connectAndNegotiate(QString* why) {
    QElapsedTimer total;
    total.start();
    int pause = kFirstPauseMs;
    for (int attempt = 1;; ++attempt) {
        c().reset();
        c().socket.abort();
        c().socket.setReadBufferSize(kReadChunk);
        c().socket.connectToHost(m_addr.host, m_addr.port);
        bool again = false;
        if (!c().socket.waitForConnected(m_connectMs)) {
            const auto err = c().socket.error();
            if (err == QAbstractSocket::HostNotFoundError) {
                *why = server() + QStringLiteral(": host not found");
            } else if (err == QAbstractSocket::SocketTimeoutError) {
                *why = server() + QStringLiteral(": timed out");
                say(QStringLiteral("no connection within %1 ms").arg(m_connectMs));
            } else {
                *why = server() + (err == QAbstractSocket::ConnectionRefusedError
                                       ? QStringLiteral(": connection refused")
                                       : QStringLiteral(": ") + c().socket.errorString());
                again = true;
            }
        } else {
            ++c().connections;
            c().socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
            c().lost = false;
            if (m_addr.kind == NetworkAddress::Socket) {
                say(QStringLiteral("connected (connection %1)").arg(c().connections));
                Q_EMIT note(QStringLiteral("connected to ") + m_address);
                setLine(true);
                return 0;
            }
            // A busy server may take the options and hang up at the first setting.
            if (negotiate() && setLine(true))
                return 0;
            if (c().lost) {
                // Busy ("Port already in use") or reset just after accept: tried again.
                QString said = QString::fromLatin1(c().banner).simplified();
                *why = server() + QStringLiteral(": the server closed the connection");
                if (!said.isEmpty())
                    *why += QStringLiteral(" (\"") + said.left(80) + QStringLiteral("\")");
                again = true;
            } else {
                *why = QStringLiteral("the server at ") + server() +
                       QStringLiteral(" does not take COM port settings: use socket:// and set "
                                      "Baud =");
                say(*why);
                c().socket.abort();
                c().lost = true;
                return -1;
            }
        }
        if (!again || total.elapsed() + pause > m_retryMs) {
            say(*why + (attempt > 1 ? QStringLiteral(", given up after %1 attempts in %2 ms")
                                          .arg(attempt)
                                          .arg(total.elapsed())
                                    : QString()));
            c().lost = true;
            return -1;
        }
        say(*why +
            QStringLiteral(": trying again in %1 ms (attempt %2)").arg(pause).arg(attempt + 1));
        c().socket.abort();
        QThread::msleep(ulong(pause));
        pause = qMin(pause * 2, kLongestPauseMs);
    }
}

bool NetworkPortBackend::negotiate() {
    send(c().negotiator.start());
    waitFor([this] { return c().negotiator.settled(); }, m_replyMs);
    if (c().lost)
        return false;
    say(QStringLiteral("connected (connection %1); the server said %2")
            .arg(c().connections)
            .arg(c().serverOptions.isEmpty() ? QStringLiteral("nothing")
                                             : c().serverOptions.join(QStringLiteral(", "))));
    if (!c().negotiator.comPortAgreed() || !c().negotiator.binaryAgreed()) {
        QStringList missing;
        if (!c().negotiator.comPortAgreed())
            missing << QStringLiteral("COM-PORT-OPTION");
        if (!c().negotiator.binaryAgreed())
            missing << QStringLiteral("BINARY");
        say((c().negotiator.settled()
                 ? QStringLiteral("refused: ")
                 : QStringLiteral("no answer within %1 ms to: ").arg(m_replyMs)) +
            missing.join(QStringLiteral(", ")));
        return false;
    }
    c().negotiated = true;
    Q_EMIT note(QStringLiteral("connected to ") + m_address);
    return true;
}

void NetworkPortBackend::close() {
    m_writeWatch.stop();
    if (!m_open)
        return;
    m_open = false;
    // As a local port's close drains its output: the bytes still on the far line go at the
    // rate they were written at, before the next open may change it.
    if (m_c && usable()) {
        const qint64 byteUs = SimulatedLine::byteTimeUs(c().lineBaud);
        const qint64 drainMs =
            m_pacer.bytesOnTheLine(c().lineBaud) * byteUs / 1000 + c().rtt.estimateMs() / 2;
        if (drainMs > 0)
            QThread::msleep(ulong(qMin<qint64>(drainMs, kReplyMs)));
    }
    m_pacer.forget();
    if (!m_c)
        return;
    c().in.clear();
    // The connection stays for the next open; what the server's port still receives is not
    // wanted by anyone, as on a closed local port. Its answer is awaited by the next open.
    if (m_addr.kind == NetworkAddress::Rfc2217 && usable())
        purge(comport::PurgeReceive);
}

void NetworkPortBackend::apply(const LineSettings& s) {
    if (!isOpen())
        return;
    const LineSettings before = m_settings;
    m_settings = s;
    if (m_addr.kind == NetworkAddress::Socket) {
        if (s.baud != before.baud)
            say(QStringLiteral("the rate is the server's; %1 baud does not apply").arg(s.baud));
        return;
    }
    if (s.baud == before.baud && s.handshake == before.handshake)
        return;
    sendSettings(s, false);
    awaitAnswers();
}

void NetworkPortBackend::ask(unsigned char command, const QByteArray& value) {
    // Nothing is asked of an option the server does not hold.
    if (!c().negotiator.comPortAgreed())
        return;
    send(ComPortCommand(command, value));
    c().awaiting.push_back({command, value, c().clock.elapsed()});
}

void NetworkPortBackend::sendSettings(const LineSettings& s, bool all) {
    if (all || s.baud != c().lineBaud) {
        QByteArray v(4, '\0');
        for (int i = 0; i < 4; ++i)
            v[i] = char((quint32(s.baud) >> (8 * (3 - i))) & 0xFF);
        ask(comport::SetBaudrate, v);
        c().lineBaud = s.baud;
    }
    if (all) {
        ask(comport::SetDatasize, QByteArray(1, char(8)));
        ask(comport::SetParity, QByteArray(1, char(comport::ParityNone)));
        ask(comport::SetStopsize, QByteArray(1, char(comport::StopOne)));
        if (c().negotiator.comPortAgreed())
            send(ComPortByteCommand(comport::SetModemstateMask,
                                    comport::ModemCts | comport::ModemDeltaCts));
    }
    const unsigned char control =
        s.handshake == Handshake::Rts || s.handshake == Handshake::RtsXonXoff
            ? comport::ControlHardware
        : s.handshake == Handshake::XonXoff ? comport::ControlXonXoff
                                            : comport::ControlNone;
    ask(comport::SetControl, QByteArray(1, char(control)));
}

void NetworkPortBackend::purge(unsigned char what) {
    ask(comport::PurgeData, QByteArray(1, char(what)));
}

template <class Done> void NetworkPortBackend::waitFor(Done done, int ms) {
    QDeadlineTimer limit(ms);
    ++m_waiting;
    while (!done() && !c().lost && !limit.hasExpired()) {
        if (c().socket.bytesAvailable() > 0)
            pump();
        else
            c().socket.waitForReadyRead(int(qMax<qint64>(1, limit.remainingTime())));
    }
    --m_waiting;
}

bool NetworkPortBackend::awaitAnswers() {
    waitFor([this] { return c().awaiting.empty(); }, m_replyMs);
    if (m_toldPending && m_waiting == 0) {
        m_toldPending = false;
        // Told from the event loop, never from inside a setting the routine is making.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (isOpen() && !c().in.isEmpty())
                    Q_EMIT received();
            },
            Qt::QueuedConnection);
    }
    if (c().awaiting.empty())
        return true;
    QStringList names;
    for (const auto& a : c().awaiting) {
        if (a.command == comport::SetBaudrate && a.value == QByteArray(4, '\0'))
            c().probeUnanswered = true;
        names << ComPortCommandName(a.command) +
                     (a.command == comport::SetBaudrate
                          ? QLatin1Char(' ') + ComPortValueText(a.command, a.value)
                          : QString());
    }
    // Whatever answers later is late: never taken for what is asked next.
    c().awaiting.clear();
    if (!c().lost)
        say(QStringLiteral("no answer to %1 within %2 ms")
                .arg(names.join(QStringLiteral(", ")))
                .arg(m_replyMs));
    return false;
}

void NetworkPortBackend::send(const QByteArray& bytes) {
    if (bytes.isEmpty() || c().socket.state() != QAbstractSocket::ConnectedState)
        return;
    c().socket.write(bytes);
    c().socket.flush();
}

qint64 NetworkPortBackend::write(const QByteArray& bytes) {
    if (!isOpen())
        return -1;
    const bool telnet = m_addr.kind == NetworkAddress::Rfc2217;
    send(telnet ? TelnetEscape(bytes) : bytes);
    m_pacer.sent(bytes.size(), c().lineBaud);
    if (m_writeTimeoutMs > 0)
        m_writeWatch.start(m_writeTimeoutMs);
    // A running link's round trip is kept up to date: the rate is asked (0 asks without a change).
    if (telnet && !c().probeUnanswered &&
        c().clock.elapsed() - c().lastProbeMs >= NetworkConnection::kProbeEveryMs &&
        c().awaiting.empty()) {
        c().lastProbeMs = c().clock.elapsed();
        ask(comport::SetBaudrate, QByteArray(4, '\0'));
    }
    return bytes.size();
}

QByteArray NetworkPortBackend::readAll() {
    if (!m_c)
        return {};
    // What has come in is taken now; telling of it here would re-enter the reader.
    const bool told = m_toldPending;
    ++m_waiting;
    pump();
    --m_waiting;
    m_toldPending = told;
    c().overflowTold = false;
    QByteArray out;
    out.swap(c().in);
    return out;
}

int NetworkPortBackend::outBufferCount() const {
    if (!isOpen())
        return 0;
    const int queued = int(c().socket.bytesToWrite());
    return qMax(queued, m_pacer.bytesOnTheLine(c().lineBaud));
}

void NetworkPortBackend::pump() {
    if (!m_c)
        return;
    const qsizetype before = c().in.size();
    // In bounded pieces: the socket's buffer holds at most one, and what is decoded is capped.
    while (c().socket.bytesAvailable() > 0) {
        const QByteArray raw = c().socket.read(kReadChunk);
        if (raw.isEmpty())
            break;
        if (m_addr.kind == NetworkAddress::Socket) {
            deliver(raw);
            continue;
        }
        std::vector<TelnetEvent> events;
        const QByteArray data = c().parser.feed(raw, &events);
        qsizetype from = 0;
        for (const TelnetEvent& e : events) {
            deliver(data.mid(from, e.at - from));
            from = e.at;
            take(e);
        }
        deliver(data.mid(from));
    }
    if (c().in.size() == before || c().in.isEmpty())
        return;
    if (m_waiting > 0)
        m_toldPending = true;
    else
        Q_EMIT received();
}

void NetworkPortBackend::deliver(const QByteArray& data) {
    if (data.isEmpty())
        return;
    // Nothing before the options are settled, nothing on a closed port, and nothing from before
    // the purge's answer is ours; a busy server's words among it are kept for the log.
    const bool settled = m_addr.kind == NetworkAddress::Socket || c().negotiated;
    if (!settled || !m_open || c().purging()) {
        if (c().banner.size() < 256)
            c().banner += data.left(256 - c().banner.size());
        return;
    }
    c().in += data;
    if (c().in.size() > kMaxUnread) {
        const qsizetype drop = c().in.size() - kMaxUnread;
        c().in.remove(0, drop);
        if (!c().overflowTold) {
            c().overflowTold = true;
            say(QStringLiteral("more than %1 bytes nobody read: the oldest are dropped")
                    .arg(kMaxUnread));
        }
    }
}

void NetworkPortBackend::take(const TelnetEvent& e) {
    switch (e.kind) {
    case TelnetEvent::Option: {
        const QByteArray reply = c().negotiator.answer(e.verb, e.option);
        if (!c().negotiated)
            c().serverOptions << TelnetVerbName(e.verb) + QLatin1Char(' ') +
                                     TelnetOptionName(e.option);
        else if (e.option == telnet::COM_PORT && !c().negotiator.comPortAgreed())
            say(QStringLiteral("the server withdrew COM-PORT-OPTION: settings are no longer sent"));
        send(reply);
        return;
    }
    case TelnetEvent::Abandoned:
        say(QStringLiteral("a sub-negotiation ran past %1 bytes: left, the rest is data")
                .arg(TelnetParser::kMaxSub));
        return;
    case TelnetEvent::ComPort:
        break;
    }
    const unsigned char command = e.command;
    if (command == comport::Signature + comport::kServerOffset) {
        if (e.value.isEmpty())
            send(ComPortCommand(comport::Signature, kSignature));
        else
            say(QStringLiteral("the server is \"") + QString::fromLatin1(e.value).left(80) +
                QLatin1Char('"'));
        return;
    }
    if (command == comport::NotifyModemstate + comport::kServerOffset) {
        // The state is the server's word on its lines: CTS is its bit, whatever the mask left.
        const auto state = e.value.isEmpty() ? 0 : static_cast<unsigned char>(e.value[0]);
        const bool cts = (state & comport::ModemCts) != 0;
        if (cts != c().cts) {
            c().cts = cts;
            if (m_open)
                Q_EMIT ctsChanged();
        }
        return;
    }
    if (command < comport::kServerOffset + comport::SetBaudrate ||
        command > comport::kServerOffset + comport::PurgeData)
        return;
    answered(e);
}

void NetworkPortBackend::answered(const TelnetEvent& e) {
    const unsigned char asked = e.command - comport::kServerOffset;
    // Answers without a question of ours (the masks, line state, flow suspension) say nothing
    // we act on.
    if (asked == comport::SetModemstateMask || asked == comport::SetLinestateMask ||
        asked == comport::NotifyLinestate || asked == comport::FlowcontrolSuspend ||
        asked == comport::FlowcontrolResume || asked == comport::NotifyModemstate)
        return;
    auto it = c().awaiting.begin();
    while (it != c().awaiting.end() && it->command != asked)
        ++it;
    if (it == c().awaiting.end()) {
        // Late, after its wait gave up: never taken as the line's state.
        say(QStringLiteral("late answer %1 %2 ignored")
                .arg(ComPortCommandName(asked), ComPortValueText(asked, e.value)));
        return;
    }
    const NetworkConnection::Awaited sent = *it;
    c().awaiting.erase(it);
    sample(sent.sentAtMs);
    if (asked == comport::PurgeData)
        return;
    if (asked == comport::SetBaudrate) {
        const quint32 baud = ComPortBaud(e.value);
        const quint32 wanted = ComPortBaud(sent.value);
        // Asked 0 is a question; either way the server's rate is the far line's.
        if (e.value.size() == 4 && baud != 0 && baud != quint32(c().lineBaud)) {
            say(QStringLiteral("the server runs at %1 baud, not %2").arg(baud).arg(c().lineBaud));
            c().lineBaud = int(baud);
        } else if (e.value.size() != 4 && wanted != 0) {
            say(QStringLiteral("the server answered SET-BAUDRATE with %1 bytes")
                    .arg(e.value.size()));
        }
        return;
    }
    if (e.value == sent.value) {
        if (asked == comport::SetControl &&
            sent.value == QByteArray(1, char(comport::ControlHardware)))
            c().flowRefused = false;
        return;
    }
    if (asked == comport::SetControl &&
        sent.value == QByteArray(1, char(comport::ControlHardware))) {
        c().flowRefused = true;
        say(QStringLiteral("the server at %1 does not do RTS/CTS flow control (SET-CONTROL "
                           "answered %2, not 3): a firmware load is not paced by the device there "
                           "and may overrun")
                .arg(server(), ComPortValueText(asked, e.value)));
        return;
    }
    say(QStringLiteral("the server changed %1: asked %2, answered %3")
            .arg(ComPortCommandName(asked), ComPortValueText(asked, sent.value),
                 ComPortValueText(asked, e.value)));
}

void NetworkPortBackend::sample(qint64 sentAtMs) {
    NetworkConnection& n = c();
    // Someone else's evidence (the exchange's answers) counts as a sample too.
    const int now = LinkRoundTripMs();
    if (n.published >= 0 && now != n.published)
        n.rtt.add(now);
    n.rtt.add(int(n.clock.elapsed() - sentAtMs));
    n.published = n.rtt.estimateMs();
    SetLinkRoundTripMs(n.published);
}

void NetworkPortBackend::lose() {
    if (!m_c || c().lost)
        return;
    c().lost = true;
    if (m_open)
        say(QStringLiteral("connection lost"));
}

} // namespace telvo::platform
