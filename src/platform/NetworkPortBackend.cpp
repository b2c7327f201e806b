#include "platform/NetworkPortBackend.h"

#include <QDeadlineTimer>
#include <QMetaObject>

namespace telvo::platform {

using namespace core;

NetworkPortBackend::NetworkPortBackend(const QString& address)
    : m_address(address), m_addr(ParseNetworkAddress(address)) {
    connect(&m_socket, &QTcpSocket::readyRead, this, &NetworkPortBackend::pump);
    connect(&m_socket, &QTcpSocket::disconnected, this, &NetworkPortBackend::lose);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this] {
        if (m_socket.state() != QAbstractSocket::ConnectedState) lose();
    });
    m_writeWatch.setSingleShot(true);
    connect(&m_writeWatch, &QTimer::timeout, this, [this] {
        // A write that could not leave in time is dropped, as the local port drops it.
        if (m_open && outBufferCount() > 0) m_pacer.forget();
    });
}

NetworkPortBackend::~NetworkPortBackend() { close(); }

void NetworkPortBackend::setTimeLimits(int connectMs, int replyMs) {
    m_connectMs = connectMs;
    m_replyMs = replyMs;
}

int NetworkPortBackend::open(const LineSettings& s, QString* error) {
    const auto fail = [&](const QString& why) {
        if (error) *error = QStringLiteral("Invalid Port Number");
        Q_EMIT note(m_address + QStringLiteral(": ") + why);
        m_socket.abort();
        return 8002;
    };
    if (m_addr.kind == NetworkAddress::None) return fail(QStringLiteral("not a network port"));
    m_parser = TelnetParser();
    m_negotiator = TelnetNegotiator();
    m_in.clear();
    m_awaiting.clear();
    m_lost = false;
    m_cts = true;
    m_settings = s;
    m_lineBaud = s.baud;
    m_socket.connectToHost(m_addr.host, m_addr.port);
    if (!m_socket.waitForConnected(m_connectMs)) {
        const QString why = m_socket.error() == QAbstractSocket::SocketTimeoutError
                                ? QStringLiteral("no connection within %1 ms").arg(m_connectMs)
                                : m_socket.errorString();
        return fail(why);
    }
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_open = true;
    Q_EMIT note(QStringLiteral("connected to ") + m_address);
    if (m_addr.kind == NetworkAddress::Rfc2217) {
        send(m_negotiator.start());
        // The settings are sent once the server took the option: before, it may drop them.
        QDeadlineTimer limit(m_replyMs);
        ++m_waiting;
        while (!m_negotiator.comPortAgreed() && !m_negotiator.comPortRefused() && !m_lost &&
               !limit.hasExpired())
            m_socket.waitForReadyRead(int(qMax<qint64>(1, limit.remainingTime())));
        --m_waiting;
        if (!m_negotiator.comPortAgreed())
            Q_EMIT note(m_address + QStringLiteral(": the server takes no COM port settings"));
        sendSettings(s, true);
        send(ComPortByteCommand(comport::SetModemstateMask,
                                comport::ModemCts | comport::ModemDeltaCts));
        // Whatever the server still held from an earlier connection is not ours.
        send(ComPortByteCommand(comport::PurgeData, comport::PurgeBoth));
        m_awaiting.push_back(comport::PurgeData);
        awaitAnswers();
    }
    if (m_lost) {
        m_open = false;
        return fail(QStringLiteral("the server closed the connection"));
    }
    return 0;
}

void NetworkPortBackend::close() {
    m_writeWatch.stop();
    if (!m_open) return;
    m_open = false;
    // Unread input left in the socket would turn the close into a reset that drops our output.
    m_socket.readAll();
    if (m_socket.state() != QAbstractSocket::UnconnectedState) {
        m_socket.flush();
        m_socket.disconnectFromHost();
        if (m_socket.state() != QAbstractSocket::UnconnectedState) m_socket.abort();
    }
    m_pacer.forget();
    m_in.clear();
}

void NetworkPortBackend::apply(const LineSettings& s) {
    if (!m_open) return;
    if (m_addr.kind == NetworkAddress::Socket) {
        if (s.baud != m_settings.baud)
            Q_EMIT note(m_address + QStringLiteral(": the rate is the server's; %1 baud does not "
                                                   "apply")
                                        .arg(s.baud));
        m_settings = s;
        return;
    }
    const LineSettings before = m_settings;
    m_settings = s;
    if (m_lost) return;
    if (s.baud == before.baud && s.handshake == before.handshake) return;
    sendSettings(s, false);
    awaitAnswers();
}

void NetworkPortBackend::sendSettings(const LineSettings& s, bool all) {
    const auto ask = [&](unsigned char command, const QByteArray& bytes) {
        send(bytes);
        m_awaiting.push_back(command);
    };
    if (all || s.baud != m_lineBaud) {
        m_lineBaud = s.baud;
        ask(comport::SetBaudrate, SetBaudrateCommand(quint32(s.baud)));
    }
    if (all) {
        ask(comport::SetDatasize, ComPortByteCommand(comport::SetDatasize, 8));
        ask(comport::SetParity, ComPortByteCommand(comport::SetParity, comport::ParityNone));
        ask(comport::SetStopsize, ComPortByteCommand(comport::SetStopsize, comport::StopOne));
    }
    const unsigned char control = s.handshake == Handshake::Rts || s.handshake == Handshake::RtsXonXoff
                                      ? comport::ControlHardware
                                  : s.handshake == Handshake::XonXoff ? comport::ControlXonXoff
                                                                      : comport::ControlNone;
    ask(comport::SetControl, ComPortByteCommand(comport::SetControl, control));
}

bool NetworkPortBackend::awaitAnswers() {
    QDeadlineTimer limit(m_replyMs);
    ++m_waiting;
    while (!m_awaiting.empty() && !m_lost && !limit.hasExpired())
        m_socket.waitForReadyRead(int(qMax<qint64>(1, limit.remainingTime())));
    --m_waiting;
    if (m_toldPending && m_waiting == 0) {
        m_toldPending = false;
        // Told from the event loop, never from inside a setting the routine is making.
        QMetaObject::invokeMethod(
            this, [this] {
                if (m_open && !m_in.isEmpty()) Q_EMIT received();
            },
            Qt::QueuedConnection);
    }
    if (m_awaiting.empty()) return true;
    QStringList names;
    for (const unsigned char c : m_awaiting) names << commandName(c);
    m_awaiting.clear();
    if (!m_lost)
        Q_EMIT note(m_address + QStringLiteral(": no answer to %1 within %2 ms")
                                    .arg(names.join(QStringLiteral(", ")))
                                    .arg(m_replyMs));
    return false;
}

QString NetworkPortBackend::commandName(unsigned char command) const {
    switch (command) {
    case comport::SetBaudrate: return QStringLiteral("SET-BAUDRATE %1").arg(m_lineBaud);
    case comport::SetDatasize: return QStringLiteral("SET-DATASIZE");
    case comport::SetParity: return QStringLiteral("SET-PARITY");
    case comport::SetStopsize: return QStringLiteral("SET-STOPSIZE");
    case comport::SetControl: return QStringLiteral("SET-CONTROL");
    case comport::PurgeData: return QStringLiteral("PURGE-DATA");
    default: return QString::number(command);
    }
}

void NetworkPortBackend::send(const QByteArray& bytes) {
    if (bytes.isEmpty() || m_socket.state() != QAbstractSocket::ConnectedState) return;
    m_socket.write(bytes);
    m_socket.flush();
}

qint64 NetworkPortBackend::write(const QByteArray& bytes) {
    if (!isOpen()) return -1;
    send(m_addr.kind == NetworkAddress::Rfc2217 ? TelnetEscape(bytes) : bytes);
    m_pacer.sent(bytes.size(), m_lineBaud);
    if (m_writeTimeoutMs > 0) m_writeWatch.start(m_writeTimeoutMs);
    return bytes.size();
}

QByteArray NetworkPortBackend::readAll() {
    // What has come in is taken now; telling of it here would re-enter the reader.
    const bool told = m_toldPending;
    ++m_waiting;
    pump();
    --m_waiting;
    m_toldPending = told;
    QByteArray out;
    out.swap(m_in);
    return out;
}

int NetworkPortBackend::outBufferCount() const {
    if (!isOpen()) return 0;
    const int queued = int(m_socket.bytesToWrite());
    return qMax(queued, m_pacer.bytesOnTheLine(m_lineBaud));
}

void NetworkPortBackend::pump() {
    const QByteArray raw = m_socket.readAll();
    if (raw.isEmpty() || !m_open) return;
    QByteArray data;
    if (m_addr.kind == NetworkAddress::Socket) {
        data = raw;
    } else {
        std::vector<TelnetEvent> events;
        data = m_parser.feed(raw, &events);
        for (const TelnetEvent& e : events) take(e);
    }
    if (data.isEmpty()) return;
    m_in += data;
    if (m_waiting > 0) m_toldPending = true;
    else Q_EMIT received();
}

void NetworkPortBackend::take(const TelnetEvent& e) {
    if (e.kind == TelnetEvent::Option) {
        send(m_negotiator.answer(e.verb, e.option));
        return;
    }
    if (e.command == comport::NotifyModemstate + comport::kServerOffset) {
        const auto state = e.value.isEmpty() ? 0 : static_cast<unsigned char>(e.value[0]);
        // A server that cannot read its port's lines (a pseudo-terminal) reports none at all:
        // CTS then counts as high, as on a local pseudo-terminal.
        if (state == 0) return;
        const bool cts = state & comport::ModemCts;
        if (cts != m_cts) {
            m_cts = cts;
            Q_EMIT ctsChanged();
        }
        return;
    }
    if (e.command < comport::kServerOffset) return;
    const unsigned char asked = e.command - comport::kServerOffset;
    for (auto it = m_awaiting.begin(); it != m_awaiting.end(); ++it)
        if (*it == asked) {
            m_awaiting.erase(it);
            break;
        }
    if (asked == comport::SetBaudrate && e.value.size() == 4) {
        quint32 baud = 0;
        for (const char c : e.value) baud = (baud << 8) | static_cast<unsigned char>(c);
        // Zero is the server telling its rate without a change; what it runs at is kept.
        if (baud != 0 && baud != quint32(m_lineBaud)) {
            Q_EMIT note(m_address + QStringLiteral(": the server runs at %1 baud, not %2")
                                        .arg(baud)
                                        .arg(m_lineBaud));
            m_lineBaud = int(baud);
        }
    }
}

void NetworkPortBackend::lose() {
    if (!m_open || m_lost) return;
    m_lost = true;
    Q_EMIT note(m_address + QStringLiteral(": connection lost"));
}

} // namespace telvo::platform
