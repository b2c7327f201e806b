#pragma once
// The serial control of the main window, with the classic properties the routines use. Errors
// never throw here: each operation leaves a number and a description that the caller reads
// (8012: the port is not open), as the routines ignore errors statement by statement.

#include "platform/serial/CommBackend.h"

#include <QObject>
#include <QPointer>
#include <memory>

namespace telvo::platform {

enum CommEvents { comEvReceive = 2, comEvCTS = 3 };

class CommControl : public QObject {
    Q_OBJECT
public:
    explicit CommControl(QObject* parent = nullptr);
    ~CommControl() override;

    int CommPort() const { return m_commPort; }
    void setCommPort(int port);
    bool PortOpen() const;
    void setPortOpen(bool open);
    QString Settings() const { return m_settings; }
    void setSettings(const QString& settings);
    int Handshaking() const { return m_handshaking; }
    void setHandshaking(int h);
    int RThreshold() const { return m_rThreshold; }
    void setRThreshold(int n) { m_rThreshold = n; }
    int SThreshold() const { return m_sThreshold; }
    void setSThreshold(int n) { m_sThreshold = n; }
    int CommEvent() const { return m_commEvent; }
    bool CTSHolding() const;
    int OutBufferCount() const;
    int InBufferCount() const;
    qintptr CommID() const;

    void Output(const QString& text); // one character a byte
    void OutputBytes(const QByteArray& bytes);
    QString Input(); // reads and empties the receive buffer

    // The platform's communication time-outs: the write time-out of a probe.
    int WriteTimeout() const;
    void setWriteTimeout(int ms);

    int ErrNumber() const { return m_errNumber; }
    QString ErrDescription() const { return m_errDescription; }
    // The device file whose open failed last (empty for the in-process line or no open error).
    QString ErrDevice() const { return m_errDevice; }
    void ClearError();

    int Baud() const; // the rate of Settings

Q_SIGNALS:
    // The classic OnComm event: CommEvent tells a receive (2) or a change of CTS (3).
    void OnComm();
    // A line for the log about the port: "COM1: connected to rfc2217://host:4001".
    void Note(const QString& text);

private:
    void setError(int number, const QString& description);
    // 8012, with the back-end's reason when it has one ("HOST:PORT: the server closed the
    // connection").
    void setNotOpen();
    void attach(CommBackend* b);

    int m_commPort = 1;
    QString m_settings = QStringLiteral("9600,n,8,1");
    int m_handshaking = 0;
    int m_rThreshold = 0;
    int m_sThreshold = 0;
    int m_commEvent = 0;
    int m_writeTimeout = 0;
    // The in-process line belongs to the port map and may go first (a test's teardown).
    QPointer<CommBackend> m_backend;
    std::unique_ptr<CommBackend> m_owned;
    int m_errNumber = 0;
    QString m_errDescription;
    QString m_errDevice;
};

// What a user can do about a port that would not open, naming the device file: for a refused
// permission (8010) "<path>: permission denied: add your user to the dialout group and log in
// again"; empty for any other error.
QString OpenFailureReason(int errNumber, const QString& path);

// Parses "19200,n,8,1"; 0 when the text is no valid setting.
int ParseSettingsBaud(const QString& settings);

} // namespace telvo::platform
