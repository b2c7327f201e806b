#include "app/Program.h"

#include "app/Controls.h"
#include "app/Main.h"
#include "core/app/StartupLine.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"

#include <QApplication>
#include <cstdio>

namespace telvo::ui {

int RunProgram(int argc, char** argv, telvo::platform::PortMap::PeerFactory peers,
               const std::function<void()>& beforeMain) {
    using telvo::core::StartupLine;
    // The line is answered before any window system is asked for, so --help, --version and a
    // mistake need no display.
    QStringList raw;
    for (int i = 1; i < argc; ++i)
        raw << QString::fromLocal8Bit(argv[i]);
    const StartupLine line = telvo::core::ReadStartupLine(raw);
    if (line.action == StartupLine::Help || line.action == StartupLine::Version) {
        std::fputs(qPrintable(line.output), stdout);
        return 0;
    }
    if (line.action == StartupLine::Error) {
        std::fputs(qPrintable(line.output), stderr);
        return 2;
    }
#if defined(Q_OS_LINUX)
    // Without a display Qt's platform plugin would end the process with an abort and a core;
    // a user who started us over a plain terminal gets a line that says why instead.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        std::fputs("telvo: no display to show the windows on (neither DISPLAY nor WAYLAND_DISPLAY "
                   "is set); telvo-cli runs every job without one\n",
                   stderr);
        return 1;
    }
#endif
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Telvo Utility"));
    QStringList words = QApplication::arguments();
    words.removeFirst();
    SetCommandLine(words.join(QLatin1Char(' ')));
    telvo::platform::PrepareAppFolder();
    // "sim" entries of TELVO_PORTS put the device emulator behind that COM number, in-process.
    telvo::platform::PortMap::instance().setPeerFactory(std::move(peers));
    if (beforeMain)
        beforeMain();
    try {
        Handle([] { Main(); });
        if (telvo::platform::ProgramEnded())
            return 0;
        return QApplication::exec();
    } catch (const telvo::platform::ProgramEnd&) {
        return 0;
    }
}

} // namespace telvo::ui
