#pragma once
// End-to-end helpers: the emulator as its own process on a pseudo-terminal, a pseudo-terminal
// with nothing on its far end, and the reading of the emulator's trace.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

namespace telvo::test {

inline QString SimBinary() {
    return qEnvironmentVariable("TELVO_BINARY_DIR") + QStringLiteral("/bin/vorix-sim");
}

// vorix-sim serving one device; its trace goes to a file of `folder`.
class SimProcess {
public:
    SimProcess(const QString& folder, const QString& name, const QStringList& options)
        : m_trace(QDir(folder).filePath(name + QStringLiteral("-trace.txt"))) {
        QStringList args{QStringLiteral("--trace"), m_trace};
        args << options;
        m_proc.setProgram(SimBinary());
        m_proc.setArguments(args);
        m_proc.setProcessChannelMode(QProcess::SeparateChannels);
        m_proc.start();
        // The terminal's path is the first line the emulator prints.
        if (m_proc.waitForStarted(5000)) {
            while (!m_proc.canReadLine() && m_proc.waitForReadyRead(5000)) {
            }
            m_path = QString::fromLocal8Bit(m_proc.readLine()).trimmed();
        }
    }
    ~SimProcess() {
        m_proc.terminate();
        if (!m_proc.waitForFinished(3000))
            m_proc.kill();
        m_proc.waitForFinished(3000);
    }
    QString path() const { return m_path; }
    // The adapter pulled out: the process and its pseudo-terminal go at once.
    void vanish() {
        m_proc.kill();
        m_proc.waitForFinished(3000);
    }
    qint64 pid() const { return m_proc.processId(); }
    bool running() const { return m_proc.state() == QProcess::Running && !m_path.isEmpty(); }

    // "host  ...", "device  ..." and "note  ..." lines, without their time.
    QStringList trace() const {
        QFile f(m_trace);
        if (!f.open(QIODevice::ReadOnly))
            return {};
        static const QRegularExpression re(
            QStringLiteral("^\\s*[0-9.]+\\s+(host|device|note)\\s+(.*)$"));
        QStringList out;
        for (const QByteArray& raw : f.readAll().split('\n')) {
            const auto m = re.match(QString::fromUtf8(raw));
            if (m.hasMatch())
                out << m.captured(1) + QStringLiteral("  ") + m.captured(2);
        }
        return out;
    }
    // Whether a line of the trace holds `text`.
    bool traceHas(const QString& text) const {
        for (const QString& l : trace())
            if (l.contains(text))
                return true;
        return false;
    }
    // What the program sent, as the device heard it, without the "host  " mark.
    QStringList hostFrames() const {
        QStringList out;
        for (const QString& f : frames())
            if (f.startsWith(QLatin1String("host  ")))
                out << f.mid(6);
        return out;
    }
    // The frames only, host and device.
    QStringList frames() const {
        QStringList out;
        for (const QString& line : trace())
            if (!line.startsWith(QLatin1String("note")))
                out << line;
        return out;
    }

private:
    QProcess m_proc;
    QString m_trace;
    QString m_path;
};

// A serial port that exists with nothing attached: the far end is held and never read.
class EmptyPty {
public:
    EmptyPty() {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (m_master >= 0 && ::grantpt(m_master) == 0 && ::unlockpt(m_master) == 0)
            m_path = QString::fromLocal8Bit(::ptsname(m_master));
    }
    ~EmptyPty() {
        if (m_master >= 0)
            ::close(m_master);
    }
    QString path() const { return m_path; }

private:
    int m_master = -1;
    QString m_path;
};

} // namespace telvo::test
