// telvo-cli: every job of the utility from a shell, over the routines of its windows, which are
// created hidden on the offscreen platform.
#include "app/Globals.h"
#include "cli/Args.h"
#include "cli/CliPlatform.h"
#include "cli/Help.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "app/MajorSubs.h"
#include "core/text/Classic.h"
#include "platform/Clock.h"
#include "platform/PortMap.h"
#include "platform/Platform.h"

#include "DevicePeer.h"

#include <QApplication>
#include <QFile>
#include <unistd.h>

using namespace telvo;
using namespace telvo::cli;

namespace {

// Qt's own remarks (no runtime folder, an offscreen window's size) mean nothing to a user of a
// command line; only its errors go to standard error.
void quietQt(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtCriticalMsg || type == QtFatalMsg) Err(text + QLatin1Char('\n'));
}

// One device's job; a prompt or Ctrl-C unwinds it through the program's end.
int runOn(const Options& o, const QString& port) {
    ui::ResetSession();
    platform::ResetProgramEnded();
    const QStringList told = Stopped().told;
    ClearStopped();
    try {
        return RunJob(o, port);
    } catch (const platform::ProgramEnd&) {
        const StopState st = Stopped();
        if (st.code == kInterrupted) {
            QString text = QStringLiteral("interrupted");
            if (o.command == QLatin1String("load"))
                text += QStringLiteral("; RestartLoader.txt is kept: run \"telvo-cli") +
                        (o.home.isEmpty() ? QString() : QStringLiteral(" --home ") + o.home) +
                        (port.isEmpty() ? QString() : QStringLiteral(" --port ") + port) +
                        QStringLiteral(" load --resume\" to finish the load");
            return Report::instance().fail(kInterrupted, text);
        }
        if (st.code == kStoppedAtPrompt)
            return Report::instance().fail(
                kStoppedAtPrompt, QStringLiteral("stopped at a prompt (give --yes to answer it): ") +
                                      st.text);
        if (ui::G().driver.lstComPorts.isEmpty())
            return Report::instance().fail(kNoDevice, QStringLiteral("There were no Com Ports found on this machine."));
        return Report::instance().fail(kDeviceFailed, QStringLiteral("the job ended the program"));
    } catch (const core::RuntimeError& e) {
        // The windows show a run-time error in a box and go on; a job ends with it. 8012 is the
        // port that could not be opened again (a connection lost): the device is gone.
        return Report::instance().fail(
            e.number() == 8012 ? kNoDevice : kDeviceFailed,
            QStringLiteral("Run-time error '%1': %2").arg(e.number()).arg(e.description()));
    }
}

} // namespace

int main(int argc, char** argv) {
    // The windows are the routines' state; they are never shown, so no display is needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(quietQt);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Telvo Utility"));
    QStringList args = QApplication::arguments();
    args.removeFirst();
    const Options o = ParseArguments(args);
    Report& report = Report::instance();
    report.setOptions(o);
    if (o.version) {
        Out(VersionText());
        return kDone;
    }
    if (o.help) {
        Out(HelpText(o.command));
        return kDone;
    }
    if (!o.error.isEmpty()) {
        Err(QStringLiteral("telvo-cli: ") + o.error + QStringLiteral("\n\n") + HelpText(QString()));
        return kUsage;
    }
    if (!o.home.isEmpty()) qputenv("TELVO_HOME", QFile::encodeName(o.home));
    platform::Clock::instance().setVirtual(false);
    platform::PortMap::instance().setPeerFactory(vorix::sim::MakeDefaultPeer);
    platform::InstallPlatform(std::make_unique<CliPlatform>(o.yes));
    PromptWatcher watcher(o.yes);
    app.installEventFilter(&watcher);
    // The log of this run, as the start-up begins it.
    QFile::remove(ui::LogFilePath());
    {
        // A bar for a person watching; none in a pipe or a log.
        const bool progress = (o.command == QLatin1String("load") || o.command == QLatin1String("ir")) &&
                              !o.quiet && isatty(2) != 0;
        Heartbeat beat(o.trace, progress, nullptr);
        const QStringList ports = o.ports.isEmpty() ? QStringList{QString()} : o.ports;
        for (const QString& port : ports) {
            report.keep(runOn(o, port));
            // Ctrl-C ends the run, not just the device in hand.
            if (report.exitCode() == kInterrupted) break;
        }
        ui::ResetSession();
    }
    return report.exitCode();
}
