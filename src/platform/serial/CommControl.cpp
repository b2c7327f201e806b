#include "platform/serial/CommControl.h"

#include "platform/serial/LinkLatency.h"
#include "platform/serial/NetworkPortBackend.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SerialPortBackend.h"
#include "platform/serial/SimulatedLine.h"

#include <QStringList>

namespace telvo::platform {

namespace {
const char* kNotOpen = "The device is not open";
}

int ParseSettingsBaud(const QString& settings) {
    const QStringList parts = settings.split(QLatin1Char(','));
    if (parts.size() != 4)
        return 0;
    bool ok = false;
    const int baud = parts[0].trimmed().toInt(&ok);
    if (!ok || baud <= 0)
        return 0;
    const QString parity = parts[1].trimmed().toLower();
    if (parity != QLatin1String("n") && parity != QLatin1String("e") &&
        parity != QLatin1String("o") && parity != QLatin1String("m") &&
        parity != QLatin1String("s"))
        return 0;
    return baud;
}

CommControl::CommControl(QObject* parent) : QObject(parent) {}

CommControl::~CommControl() {
    if (m_backend)
        m_backend->close();
}

void CommControl::setError(int number, const QString& description) {
    m_errNumber = number;
    m_errDescription = description;
    m_errDevice.clear();
}

QString OpenFailureReason(int errNumber, const QString& path) {
    if (errNumber != 8010)
        return QString();
    return path + QStringLiteral(": permission denied: add your user to the dialout group and log "
                                 "in again");
}

void CommControl::ClearError() {
    setError(0, QString());
}

void CommControl::setNotOpen() {
    const QString why = m_backend ? m_backend->closedReason() : QString();
    setError(8012, why.isEmpty() ? QString::fromLatin1(kNotOpen) : why);
}

void CommControl::setCommPort(int port) {
    if (PortOpen()) {
        setError(8005, QStringLiteral("Port already open"));
        return;
    }
    if (port < 1 || port > 255) {
        setError(380, QStringLiteral("Invalid property value"));
        return;
    }
    m_commPort = port;
}

bool CommControl::PortOpen() const {
    return m_backend && m_backend->isOpen();
}

static LineSettings lineSettings(int baud, int handshaking) {
    LineSettings s;
    s.baud = baud;
    s.handshake = static_cast<Handshake>(handshaking & 3);
    return s;
}

void CommControl::attach(CommBackend* b) {
    m_backend = b;
    connect(b, &CommBackend::received, this, [this] {
        if (m_rThreshold <= 0)
            return;
        m_commEvent = comEvReceive;
        Q_EMIT OnComm();
    });
    connect(b, &CommBackend::ctsChanged, this, [this] {
        m_commEvent = comEvCTS;
        Q_EMIT OnComm();
    });
}

void CommControl::setPortOpen(bool open) {
    if (!open) {
        if (!PortOpen()) {
            setNotOpen();
            return;
        }
        m_backend->close();
        return;
    }
    if (PortOpen()) {
        setError(8005, QStringLiteral("Port already open"));
        return;
    }
    // A backend belongs to one open; the in-process line outlives it, as a device on a cable.
    if (m_backend) {
        m_backend->disconnect(this);
        m_backend = nullptr;
    }
    m_owned.reset();
    const PortTarget target = PortMap::instance().resolve(m_commPort);
    CommBackend* backend = nullptr;
    if (target.kind == PortTarget::Missing) {
        setError(8002, QStringLiteral("Invalid Port Number"));
        return;
    }
    if (target.kind == PortTarget::Simulated) {
        backend = target.line;
    } else {
        if (target.kind == PortTarget::Network)
            m_owned = std::make_unique<NetworkPortBackend>(target.path);
        else
            m_owned = std::make_unique<SerialPortBackend>(target.path);
        backend = m_owned.get();
        connect(backend, &CommBackend::note, this, [this](const QString& text) {
            Q_EMIT Note(QStringLiteral("COM") + QString::number(m_commPort) + QStringLiteral(": ") +
                        text);
        });
    }
    QString error;
    const int rc = backend->open(lineSettings(Baud(), m_handshaking), &error);
    if (rc != 0) {
        setError(rc, error);
        if (target.kind != PortTarget::Simulated)
            m_errDevice = target.path;
        m_owned.reset();
        return;
    }
    backend->setWriteTimeout(m_writeTimeout);
    attach(backend);
    // A local line has no round trip; a network port measures its own.
    if (target.kind != PortTarget::Network)
        SetLinkRoundTripMs(0);
}

void CommControl::setSettings(const QString& settings) {
    if (ParseSettingsBaud(settings) == 0) {
        setError(380, QStringLiteral("Invalid property value"));
        return;
    }
    m_settings = settings;
    if (PortOpen())
        m_backend->apply(lineSettings(Baud(), m_handshaking));
}

void CommControl::setHandshaking(int h) {
    if (h < 0 || h > 3) {
        setError(380, QStringLiteral("Invalid property value"));
        return;
    }
    m_handshaking = h;
    if (PortOpen())
        m_backend->apply(lineSettings(Baud(), m_handshaking));
}

int CommControl::Baud() const {
    return ParseSettingsBaud(m_settings);
}

bool CommControl::CTSHolding() const {
    return PortOpen() ? m_backend->cts() : false;
}

int CommControl::OutBufferCount() const {
    return PortOpen() ? m_backend->outBufferCount() : 0;
}

int CommControl::InBufferCount() const {
    return PortOpen() ? m_backend->bytesAvailable() : 0;
}

qintptr CommControl::CommID() const {
    return PortOpen() ? m_backend->handle() : -1;
}

void CommControl::Output(const QString& text) {
    OutputBytes(text.toLatin1());
}

void CommControl::OutputBytes(const QByteArray& bytes) {
    if (!PortOpen()) {
        setNotOpen();
        return;
    }
    if (m_backend->write(bytes) < 0)
        setError(8020, QStringLiteral("Error reading comm device"));
}

QString CommControl::Input() {
    if (!PortOpen()) {
        setNotOpen();
        return {};
    }
    return QString::fromLatin1(m_backend->readAll());
}

int CommControl::WriteTimeout() const {
    return m_writeTimeout;
}

void CommControl::setWriteTimeout(int ms) {
    m_writeTimeout = ms;
    if (PortOpen())
        m_backend->setWriteTimeout(ms);
}

} // namespace telvo::platform
