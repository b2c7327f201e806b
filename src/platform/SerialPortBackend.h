#pragma once
// A real serial port through QSerialPort. On a pseudo-terminal the modem lines cannot be read,
// so CTS counts as high there.

#include "platform/CommBackend.h"

#include <QSerialPort>
#include <QTimer>

namespace telvo::platform {

class SerialPortBackend : public CommBackend {
    Q_OBJECT
public:
    explicit SerialPortBackend(const QString& path);
    ~SerialPortBackend() override;

    int open(const LineSettings& s, QString* error) override;
    void close() override;
    bool isOpen() const override { return m_port.isOpen(); }
    void apply(const LineSettings& s) override;
    qint64 write(const QByteArray& bytes) override;
    QByteArray readAll() override { return m_port.readAll(); }
    int bytesAvailable() const override { return int(m_port.bytesAvailable()); }
    bool cts() const override;
    int outBufferCount() const override;
    void setWriteTimeout(int ms) override { m_writeTimeoutMs = ms; }
    int writeTimeout() const override { return m_writeTimeoutMs; }
    qintptr handle() const override { return m_port.handle(); }

private:
    void dropStalledOutput();

    QString m_path; // QSerialPort gives back a short name, not the path
    mutable QSerialPort m_port; // reading the modem lines is not const in Qt
    int m_writeTimeoutMs = 0;
    QTimer m_writeWatch;
    bool m_ctsReadable = true;
    bool m_lastCts = true;
    QTimer m_ctsPoll;
};

} // namespace telvo::platform
