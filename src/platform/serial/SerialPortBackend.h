#pragma once
// A real serial port through QSerialPort. On a pseudo-terminal the modem lines cannot be read,
// so CTS counts as high there. The output count is the larger of what the driver reports
// (Qt's buffer and the kernel's queue) and what the line cannot yet have carried at its rate:
// a pty's queue, and some adapters' drivers, report nothing while the far end is far behind.

#include "platform/serial/CommBackend.h"
#include "platform/serial/LinePacer.h"

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

    // The bytes written that the line cannot yet have carried at its rate (ten bit times each).
    int bytesOnTheLine() const;

private:
    void dropStalledOutput();

    QString m_path;             // QSerialPort gives back a short name, not the path
    mutable QSerialPort m_port; // reading the modem lines is not const in Qt
    int m_writeTimeoutMs = 0;
    QTimer m_writeWatch;
    bool m_ctsReadable = true;
    bool m_lastCts = true;
    QTimer m_ctsPoll;
    LinePacer m_pacer;
};

} // namespace telvo::platform
