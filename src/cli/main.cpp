// telvo-cli: every job of the utility from a shell, over the routines of its windows, which are
// created hidden on the offscreen platform.
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "cli/Args.h"
#include "cli/CliPlatform.h"
#include "cli/Fleet.h"
#include "cli/Help.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "core/text/Classic.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "platform/serial/PortMap.h"

#include "DevicePeer.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <memory>
#include <unistd.h>

using namespace telvo;
using namespace telvo::cli;

namespace {

// Qt's own remarks (no runtime folder, an offscreen window's size) mean nothing to a user of a
// command line; only its errors go to standard error.
void quietQt(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        Err(text + QLatin1Char('\n'));
}

// The exit code and message of a job that a signal ended.
int signalled(const Options& o, const QString& port, int code) {
    QString text = SignalText(code - 128);
    // Where the load stood: a device that gave its verdict is rebooting into the new image.
    if (o.command == QLatin1String("load") &&
        ui::G().ldrText.text().contains(QLatin1String("Verify OK")))
        text += QStringLiteral("; the device had accepted the image and is rebooting into it");
    if (o.command == QLatin1String("load"))
        text += QStringLiteral("; RestartLoader.txt is kept: run \"telvo-cli") +
                (o.home.isEmpty() ? QString() : QStringLiteral(" --home ") + o.home) +
                (port.isEmpty() ? QString() : QStringLiteral(" --port ") + port) +
                QStringLiteral(" load --resume\" to finish the load");
    return Report::instance().fail(code, text);
}

// The job's own folder under the program's when it cannot be the program's: several ports in
// one run, or a port other than COM1 (whose files the program's folder has always held).
QString jobFolderOf(const Options& o, const QString& port) {
    if (port.isEmpty())
        return QString();
    if (o.ports.size() == 1 && port.compare(QLatin1String("COM1"), Qt::CaseInsensitive) == 0)
        return QString();
    return QDir(platform::AppPath()).filePath(QStringLiteral("ports/") + PortFolderName(port));
}

// Who holds a port's lock, as its command line reads.
QString holderOf(QLockFile& lock) {
    qint64 pid = 0;
    QString host, app;
    if (!lock.getLockInfo(&pid, &host, &app))
        return QStringLiteral("another job");
    QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
    QString words;
    if (cmdline.open(QIODevice::ReadOnly))
        words = QString::fromLocal8Bit(cmdline.readAll())
                    .replace(QLatin1Char('\0'), QLatin1Char(' '))
                    .trimmed();
    return QStringLiteral("job %1").arg(pid) +
           (words.isEmpty() ? QString() : QStringLiteral(" (") + words + QLatin1Char(')'));
}

// Holds the port's lock for the job: waits for the job that has it (telling which), or with
// --no-wait gives up at once. A signal while waiting ends the run as during a job.
int lockPort(const Options& o, const QString& port, QLockFile& lock) {
    lock.setStaleLockTime(0);
    bool told = false;
    while (!lock.tryLock(200)) {
        if (lock.error() != QLockFile::LockFailedError)
            return Report::instance().fail(kFileError,
                                           QStringLiteral("cannot lock ") + lock.fileName());
        if (o.noWait)
            return Report::instance().fail(kLockHeld, QStringLiteral("the port is in use by ") +
                                                          holderOf(lock));
        if (!told)
            Report::instance().note(QStringLiteral("waiting for ") + holderOf(lock) +
                                    QStringLiteral(", which has this port"));
        told = true;
        if (const int sig = TakeSignal(); sig != 0)
            return signalled(o, port, 128 + sig);
    }
    return kDone;
}

// The log of this run starts afresh; the previous run's stays beside it as LogFile.1.txt.
void keepPreviousLog() {
    const QString log = ui::LogFilePath();
    if (!QFile::exists(log))
        return;
    const QString previous = QDir(platform::JobFolder()).filePath(QStringLiteral("LogFile.1.txt"));
    QFile::remove(previous);
    QFile::rename(log, previous);
}

// One device's job; a prompt or a signal unwinds it through the program's end.
int runOn(const Options& o, const QString& port) {
    ui::ResetSession();
    platform::ResetProgramEnded();
    ClearStopped();
    ClearHeard();
    const bool device = o.command != QLatin1String("gamma");
    std::unique_ptr<QLockFile> lock;
    if (device) {
        const QString folder = jobFolderOf(o, port);
        if (!folder.isEmpty() && !QDir().mkpath(folder))
            return Report::instance().fail(kFileError, QStringLiteral("cannot make ") + folder);
        platform::SetJobFolder(folder);
        lock = std::make_unique<QLockFile>(
            QDir(platform::JobFolder()).filePath(QStringLiteral("telvo-cli.lock")));
        const int locked = lockPort(o, port, *lock);
        if (locked != kDone)
            return locked;
        keepPreviousLog();
    }
    try {
        return RunJob(o, port);
    } catch (const platform::ProgramEnd&) {
        const StopState st = Stopped();
        if (st.code > 128)
            return signalled(o, port, st.code);
        if (st.code == kNoDevice)
            return Report::instance().fail(kNoDevice, st.text);
        if (st.code == kStoppedAtPrompt)
            return Report::instance().fail(
                kStoppedAtPrompt,
                QStringLiteral("stopped at a prompt (give --yes to answer it): ") + st.text);
        if (ui::G().driver.lstComPorts.isEmpty())
            return Report::instance().fail(
                kNoDevice, QStringLiteral("There were no Com Ports found on this machine."));
        return Report::instance().fail(kDeviceFailed, QStringLiteral("the job ended the program"));
    } catch (const core::RuntimeError& e) {
        // The windows show a run-time error in a box and go on; a job ends with it. 8012 is the
        // port that could not be opened again (a connection lost): the device is gone.
        return Report::instance().fail(
            e.number() == 8012 ? kNoDevice : kDeviceFailed,
            QStringLiteral("Run-time error '%1': %2").arg(e.number()).arg(e.description()));
    }
}

// The job's words for the n-th port: "{n}" and "{port}" in a file name give each device its own.
Options forPort(const Options& o, const QString& port, int n) {
    Options one = o;
    for (QString& w : one.words)
        w.replace(QLatin1String("{n}"), QString::number(n))
            .replace(QLatin1String("{port}"), PortFolderName(port));
    return one;
}

// A usage error: its line, and under --json its object too.
int usageError(const Options& o, const QString& text) {
    Err(UsageText(text, o.command));
    if (o.json)
        Out(JsonLine({{QStringLiteral("command"), o.command},
                      {QStringLiteral("error"), text},
                      {QStringLiteral("exit"), int(kUsage)}}));
    return kUsage;
}

} // namespace

int main(int argc, char** argv) {
    // One port's job of a run over several: a signal from the very start ends it as a job, and
    // the job ends with its parent.
    const int position = FleetPosition();
    if (position > 0) {
        CatchEndingSignals();
        FollowParent();
    }
    // The windows are the routines' state; they are never shown, so no display is needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(quietQt);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Telvo Utility"));
    QStringList args = QApplication::arguments();
    args.removeFirst();
    const Options o = ParseArguments(args);
    Report& report = Report::instance();
    report.setOptions(o);
    report.setFleetChild(position > 0);
    if (o.version) {
        Out(VersionText());
        return kDone;
    }
    if (o.help) {
        Out(HelpText(o.command));
        return kDone;
    }
    if (!o.error.isEmpty())
        return usageError(o, o.error);
    // Two devices saved to one file would leave the first one's settings nowhere.
    if (o.command == QLatin1String("save") && o.ports.size() > 1 && !o.words.isEmpty() &&
        !o.words.first().contains(QLatin1String("{n}")) &&
        !o.words.first().contains(QLatin1String("{port}")))
        return usageError(o, QStringLiteral("several ports cannot save to one file: put {n} or "
                                            "{port} in its name"));
    if (!o.home.isEmpty())
        qputenv("TELVO_HOME", QFile::encodeName(o.home));
    if (RunsAsFleet(o))
        return RunFleet(o, args);
    platform::Clock::instance().setVirtual(false);
    platform::PortMap::instance().setPeerFactory(vorix::sim::MakeDefaultPeer);
    platform::InstallPlatform(std::make_unique<CliPlatform>(o.yes));
    {
        // A bar for a person watching; none in a pipe or a log.
        const bool progress =
            (o.command == QLatin1String("load") || o.command == QLatin1String("ir")) && !o.quiet &&
            isatty(2) != 0;
        Heartbeat beat(o.trace, progress, nullptr);
        PipeProgress lines(o.command == QLatin1String("load") && !o.quiet && isatty(2) == 0);
        const QStringList ports = o.ports.isEmpty() ? QStringList{QString()} : o.ports;
        for (int i = 0; i < ports.size(); ++i) {
            if (position > 0 && i + 1 != position)
                continue;
            report.keep(runOn(forPort(o, ports.at(i), i + 1), ports.at(i)));
            // A signal ends the run, not just the device in hand.
            if (report.exitCode() > 128)
                break;
        }
        ui::ResetSession();
        // The windows that reported progress are gone: the bar ends with them.
        ClearHeard();
    }
    return report.exitCode();
}
