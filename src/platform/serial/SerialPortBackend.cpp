#include "platform/serial/SerialPortBackend.h"

#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <sys/ioctl.h>
#include <termios.h>
#endif

namespace telvo::platform {

SerialPortBackend::SerialPortBackend(const QString& path) : m_path(path) {
    m_port.setPortName(path);
    // A full buffer stops QSerialPort reading the port until the program has read what it holds.
    m_port.setReadBufferSize(kReceiveChunk);
    connect(&m_port, &QSerialPort::readyRead, this, &CommBackend::received);
    m_writeWatch.setSingleShot(true);
    connect(&m_writeWatch, &QTimer::timeout, this, &SerialPortBackend::dropStalledOutput);
    // The line signals raise no event of their own; a light poll turns a change of CTS into one.
    m_ctsPoll.setInterval(50);
    connect(&m_ctsPoll, &QTimer::timeout, this, [this] {
        const bool now = cts();
        if (now != m_lastCts) {
            m_lastCts = now;
            Q_EMIT ctsChanged();
        }
    });
}

SerialPortBackend::~SerialPortBackend() {
    close();
}

static QSerialPort::FlowControl flowOf(Handshake h) {
    switch (h) {
    case Handshake::Rts:
    case Handshake::RtsXonXoff:
        return QSerialPort::HardwareControl;
    case Handshake::XonXoff:
        return QSerialPort::SoftwareControl;
    default:
        return QSerialPort::NoFlowControl;
    }
}

int SerialPortBackend::open(const LineSettings& s, QString* error) {
    if (!QFileInfo::exists(m_path)) {
        if (error)
            *error = QStringLiteral("Invalid Port Number");
        return 8002;
    }
    m_port.setBaudRate(s.baud);
    m_port.setDataBits(QSerialPort::Data8);
    m_port.setParity(QSerialPort::NoParity);
    m_port.setStopBits(QSerialPort::OneStop);
    m_port.setFlowControl(flowOf(s.handshake));
    if (!m_port.open(QIODevice::ReadWrite)) {
        const auto err = m_port.error();
        if (error)
            *error = m_port.errorString();
        m_port.clearError();
        if (err == QSerialPort::PermissionError)
            return 8010;
        if (err == QSerialPort::DeviceNotFoundError)
            return 8002;
        return 8015;
    }
    // A port opens with nothing received, as a real one does (its last close flushed it, and a
    // closed UART hears nothing). A pseudo-terminal whose far end stays open keeps what came while
    // no one had it open: a dead program's last reply would answer our first question.
    m_port.clear(QSerialPort::Input);
    // A pseudo-terminal has no modem lines: reading them fails, and CTS then counts as high.
    m_port.clearError();
    m_port.pinoutSignals();
    m_ctsReadable = m_port.error() == QSerialPort::NoError;
    m_port.clearError();
    m_lastCts = cts();
    if (m_ctsReadable)
        m_ctsPoll.start();
    return 0;
}

void SerialPortBackend::close() {
    m_ctsPoll.stop();
    m_writeWatch.stop();
    if (!m_port.isOpen())
        return;
    // With a write time-out in force, pending output is discarded so that closing never waits
    // for a line with nothing on it.
    if (m_writeTimeoutMs > 0)
        m_port.clear(QSerialPort::Output);
    m_port.close();
    m_pacer.forget();
}

void SerialPortBackend::apply(const LineSettings& s) {
    m_port.setBaudRate(s.baud);
    m_port.setFlowControl(flowOf(s.handshake));
    m_port.clearError();
}

qint64 SerialPortBackend::write(const QByteArray& bytes) {
    const qint64 n = m_port.write(bytes);
    if (m_writeTimeoutMs > 0)
        m_writeWatch.start(m_writeTimeoutMs);
    m_pacer.sent(n, int(m_port.baudRate()));
    return n;
}

void SerialPortBackend::dropStalledOutput() {
    if (m_port.isOpen() && outBufferCount() > 0) {
        m_port.clear(QSerialPort::Output);
        m_pacer.forget();
    }
}

int SerialPortBackend::bytesOnTheLine() const {
    return m_pacer.bytesOnTheLine(int(m_port.baudRate()));
}

bool SerialPortBackend::cts() const {
    if (!m_port.isOpen() || !m_ctsReadable)
        return true;
    return m_port.pinoutSignals() & QSerialPort::ClearToSendSignal;
}

int SerialPortBackend::outBufferCount() const {
    int pending = int(m_port.bytesToWrite());
#ifdef Q_OS_UNIX
    int queued = 0;
    if (m_port.isOpen() && ::ioctl(int(m_port.handle()), TIOCOUTQ, &queued) == 0)
        pending += queued;
#endif
    return qMax(pending, m_port.isOpen() ? bytesOnTheLine() : 0);
}

} // namespace telvo::platform
