#pragma once
// telvo-cli against vorix-sim processes on pseudo-terminals, in a program folder of the test's
// own: the fixture of the command line's end-to-end tests.

#include "common/Fixture.h"

#include "common/CliRun.h"
#include "common/SimProcess.h"

#include "cli/Session.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <functional>
#include <memory>
#include <vector>

namespace telvo::test {

class CliEndToEnd : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        if (!QFile::exists(SimBinary()) || !QFile::exists(CliBinary()))
            GTEST_SKIP() << "vorix-sim or telvo-cli not built";
        writeIni({});
    }
    void TearDown() override {
        RunFixture::TearDown();
        m_sims.clear();
        m_empty.clear();
    }
    // The sample Telvo.ini with `system` lines added to its [SYSTEM] section (replacing theirs).
    void writeIni(QStringList system) {
        // A reply may be slow on a busy machine.
        if (!system.join(QLatin1Char('\n')).contains(QLatin1String("Time Out")))
            system << QStringLiteral("Time Out = 1500");
        RunFixture::writeIni(system);
    }
    // The command line's Telvo.ini with one line replaced; a range wider than the device's lets
    // a value reach the device, which refuses it.
    void replaceIniLine(const QByteArray& from, const QByteArray& to) {
        QByteArray ini = readHomeFile(QStringLiteral("Telvo.ini"));
        ini.replace(from, to);
        writeHomeFile(QStringLiteral("Telvo.ini"), ini);
    }
    SimProcess& sim(const QString& name, const QStringList& options = {}) {
        QStringList args{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))};
        args << options;
        m_sims.push_back(std::make_unique<SimProcess>(home(), name, args));
        return *m_sims.back();
    }
    QString emptyPort() {
        m_empty.push_back(std::make_unique<EmptyPty>());
        return m_empty.back()->path();
    }
    CliResult cli(const QStringList& args) { return RunCli(home(), args); }
    CliResult on(SimProcess& dev, const QStringList& args) {
        return cli(QStringList{QStringLiteral("--port"), dev.path()} + args);
    }
    QStringList hostFrames(SimProcess& dev) { return dev.hostFrames(); }

    // A file of the port's own folder (a port given by its path has one).
    QString portFile(SimProcess& dev, const QString& name) const {
        return QDir(home()).filePath(QStringLiteral("ports/") + cli::PortFolderName(dev.path()) +
                                     QLatin1Char('/') + name);
    }
    static QByteArray readFile(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    QString image(const QString& name, const QString& version, qint64 size) {
        QProcess p;
        p.start(SimBinary(),
                {QStringLiteral("--make-firmware"), homeFile(name), QStringLiteral("--version"),
                 version, QStringLiteral("--size"), QString::number(size)});
        p.waitForFinished(10000);
        return homeFile(name);
    }
    // Waits on a state the other processes reach; false when it never comes.
    static bool waitFor(const std::function<bool()>& cond, int limitMs = 120000) {
        QElapsedTimer t;
        t.start();
        while (!cond()) {
            if (t.elapsed() > limitMs)
                return false;
            QThread::msleep(20);
        }
        return true;
    }

    // Starts `load FILE` on `dev` and waits until the device sits in its boot loader with the
    // load under way (the restart file written): the moment to cut it.
    bool startLoadIntoLoader(QProcess& p, SimProcess& dev, const QString& file) {
        StartCli(p, home(), {QStringLiteral("--port"), dev.path(), QStringLiteral("load"), file});
        return waitFor([&] {
            return QFile::exists(portFile(dev, QStringLiteral("RestartLoader.txt"))) &&
                   dev.traceHas(QStringLiteral("boot loader at"));
        });
    }

    std::vector<std::unique_ptr<SimProcess>> m_sims;
    std::vector<std::unique_ptr<EmptyPty>> m_empty;
};

} // namespace telvo::test
