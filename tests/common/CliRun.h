#pragma once
// Runs the telvo-cli program as a user's shell would, and reads what it told.

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace telvo::test {

inline QString CliBinary() {
    return qEnvironmentVariable("TELVO_BINARY_DIR") + QStringLiteral("/bin/telvo-cli");
}

struct CliResult {
    int exit = -1;
    QByteArray out;
    QByteArray err;
    QStringList lines() const {
        QStringList l = QString::fromLocal8Bit(out).split(QLatin1Char('\n'));
        if (!l.isEmpty() && l.last().isEmpty())
            l.removeLast();
        return l;
    }
    // Each line of standard output as a JSON object (an empty object for a line that is none).
    QList<QJsonObject> objects() const {
        QList<QJsonObject> out;
        for (const QString& line : lines())
            out << QJsonDocument::fromJson(line.toUtf8()).object();
        return out;
    }
};

// The program's environment without a port map of the test's own, so --port decides.
inline QProcessEnvironment CliEnvironment() {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("TELVO_PORTS"));
    env.remove(QStringLiteral("TELVO_HOME"));
    return env;
}

// Starts telvo-cli; the caller waits on it (Ctrl-C tests signal it on the way).
inline void StartCli(QProcess& p, const QString& home, const QStringList& args) {
    p.setProgram(CliBinary());
    p.setArguments(QStringList{QStringLiteral("--home"), home} + args);
    p.setProcessEnvironment(CliEnvironment());
    p.start();
}

inline CliResult Finish(QProcess& p) {
    CliResult r;
    if (p.waitForFinished(240000) && p.exitStatus() == QProcess::NormalExit)
        r.exit = p.exitCode();
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    return r;
}

inline CliResult RunCli(const QString& home, const QStringList& args) {
    QProcess p;
    StartCli(p, home, args);
    return Finish(p);
}

} // namespace telvo::test
