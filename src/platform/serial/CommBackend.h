#pragma once
// What the serial control needs of a line: a real port (QSerialPort), a port served over the
// network, or the in-process line.

#include <QByteArray>
#include <QObject>
#include <QString>

namespace telvo::platform {

enum class Handshake { None = 0, XonXoff = 1, Rts = 2, RtsXonXoff = 3 };

// The most a back-end holds of what arrived and nobody has read yet, and so the most one read
// returns. Past it a back-end stops taking bytes from the line (the sender waits, as on a full
// UART with flow control) until the program has read; whatever a port sends, the program holds
// no more than this of it at a time.
constexpr qint64 kReceiveChunk = qint64{64} * 1024;

struct LineSettings {
    int baud = 9600;
    Handshake handshake = Handshake::None;
};

class CommBackend : public QObject {
    Q_OBJECT
public:
    // Returns 0 or a classic serial error number, with its description in `error`.
    virtual int open(const LineSettings& s, QString* error) = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
    virtual void apply(const LineSettings& s) = 0;
    virtual qint64 write(const QByteArray& bytes) = 0;
    virtual QByteArray readAll() = 0;
    virtual int bytesAvailable() const = 0;
    virtual bool cts() const = 0;
    virtual int outBufferCount() const = 0;
    // A write that cannot leave within `ms` is dropped; 0 restores the normal behaviour.
    virtual void setWriteTimeout(int ms) = 0;
    virtual int writeTimeout() const = 0;
    virtual qintptr handle() const = 0;
    // Why a port that was open reads closed now (a network server that dropped the connection);
    // empty when there is nothing more to say than that it is not open.
    virtual QString closedReason() const { return {}; }

Q_SIGNALS:
    void received();
    void ctsChanged();
    // A line for the log about the port itself (a network port's address, a setting refused).
    void note(const QString& text);
};

} // namespace telvo::platform
