#pragma once
// The network serial servers of the end-to-end tests, on loopback, each serving a device's
// pseudo-terminal: ser2net as rfc2217:// (Telnet with the COM port option), as plain Telnet
// (no COM port option) or as socket:// (plain bytes at a fixed rate), as a user configures it
// (no `kickolduser`: a second client is refused while one is served); and a server built on
// pySerial's PortManager (tests/link/rfc2217_server.py), one client at a time. The test writes
// the configuration, starts the server and stops it.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

namespace telvo::test {

inline QString Ser2NetBinary() {
    QString path = QStandardPaths::findExecutable(QStringLiteral("ser2net"));
    if (path.isEmpty())
        path = QStandardPaths::findExecutable(
            QStringLiteral("ser2net"), {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")});
    return path;
}

// The Python that has pySerial (Debian's python3-serial), or empty.
inline QString PySerialPython() {
    for (const QString& python : {QStringLiteral("/usr/bin/python3"),
                                  QStandardPaths::findExecutable(QStringLiteral("python3"))}) {
        if (python.isEmpty() || !QFile::exists(python))
            continue;
        QProcess p;
        p.start(python, {QStringLiteral("-c"), QStringLiteral("import serial.rfc2217")});
        if (p.waitForFinished(10000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0)
            return python;
    }
    return {};
}

class Ser2Net {
public:
    enum Kind { Rfc2217, Socket, Telnet, PySerial, PySerialNoHardwareFlow };
    // `rate`: the line settings ser2net opens the terminal with ("19200n81").
    Ser2Net(const QString& folder, const QString& pty, Kind kind,
            const QString& rate = QStringLiteral("19200n81"))
        : m_folder(folder), m_pty(pty), m_kind(kind), m_rate(rate) {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        m_port = probe.serverPort();
        probe.close();
        start();
    }
    ~Ser2Net() { stop(); }

    QString address() const {
        return (m_kind == Socket ? QStringLiteral("socket://127.0.0.1:")
                                 : QStringLiteral("rfc2217://127.0.0.1:")) +
               QString::number(m_port);
    }
    bool running() const { return m_proc.state() == QProcess::Running && m_listening; }

    // Started again on the same port (after stop()).
    void start() {
        if (m_kind == PySerial || m_kind == PySerialNoHardwareFlow)
            return startPySerial();
        const QString config = QDir(m_folder).filePath(QStringLiteral("ser2net.yaml"));
        QFile f(config);
        if (f.open(QIODevice::WriteOnly)) {
            const QString accepter = m_kind == Rfc2217
                                         ? QStringLiteral("telnet(rfc2217),tcp(nodelay)")
                                     : m_kind == Telnet ? QStringLiteral("telnet,tcp(nodelay)")
                                                        : QStringLiteral("tcp(nodelay)");
            f.write(QStringLiteral("connection: &dev\n"
                                   "  accepter: %1,127.0.0.1,%2\n"
                                   "  connector: serialdev,%3,%4,local\n"
                                   "  options:\n"
                                   "    chardelay: false\n")
                        .arg(accepter)
                        .arg(m_port)
                        .arg(m_pty, m_rate)
                        .toUtf8());
        }
        f.close();
        m_proc.setProgram(Ser2NetBinary());
        m_proc.setArguments({QStringLiteral("-n"), QStringLiteral("-d"), QStringLiteral("-c"),
                             config, QStringLiteral("-P"),
                             QDir(m_folder).filePath(QStringLiteral("ser2net.pid"))});
        m_proc.setProcessChannelMode(QProcess::MergedChannels);
        m_proc.setStandardOutputFile(QDir(m_folder).filePath(QStringLiteral("ser2net.log")),
                                     QIODevice::Append);
        m_proc.start();
        waitListening();
    }
    // The pySerial server of tests/link, on the same loopback port.
    void startPySerial() {
        const QDir here(qEnvironmentVariable("TELVO_SOURCE_DIR") + QStringLiteral("/tests"));
        m_proc.setProgram(PySerialPython());
        m_proc.setArguments({here.filePath(QStringLiteral("link/rfc2217_server.py")),
                             QStringLiteral("--port"), QString::number(m_port),
                             QStringLiteral("--device"), m_pty, QStringLiteral("--log"),
                             QDir(m_folder).filePath(QStringLiteral("pyserial.log"))});
        if (m_kind == PySerialNoHardwareFlow)
            m_proc.setArguments(m_proc.arguments() << QStringLiteral("--no-hardware-flow"));
        m_proc.setProcessChannelMode(QProcess::MergedChannels);
        m_proc.setStandardOutputFile(QDir(m_folder).filePath(QStringLiteral("pyserial.out")),
                                     QIODevice::Append);
        m_proc.start();
        waitListening();
    }
    // Ready once its port takes a connection; the probe leaves at once.
    void waitListening() {
        m_listening = false;
        if (!m_proc.waitForStarted(5000))
            return;
        QElapsedTimer t;
        t.start();
        while (m_proc.state() == QProcess::Running && t.elapsed() < 10000) {
            QTcpSocket s;
            s.connectToHost(QHostAddress::LocalHost, m_port);
            if (s.waitForConnected(500)) {
                s.abort();
                m_listening = true;
                return;
            }
            m_proc.waitForFinished(50);
        }
    }
    // The server gone at once, its connections with it.
    void kill() {
        m_proc.kill();
        m_proc.waitForFinished(3000);
        m_listening = false;
    }
    void stop() {
        m_proc.terminate();
        if (!m_proc.waitForFinished(3000))
            m_proc.kill();
        m_proc.waitForFinished(3000);
        m_listening = false;
    }

private:
    QString m_folder, m_pty;
    Kind m_kind;
    QString m_rate;
    quint16 m_port = 0;
    QProcess m_proc;
    bool m_listening = false;
};

} // namespace telvo::test
