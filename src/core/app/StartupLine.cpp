#include "core/app/StartupLine.h"

namespace telvo::core {

namespace {
// The words of the start-up; they keep working wherever they stand, "--" or not.
bool holdsStartupWord(const QString& arg) {
    for (const char* word : {"FRKdebugger", "\\Reset", "BootLoader"})
        if (arg.contains(QLatin1String(word), Qt::CaseInsensitive))
            return true;
    return false;
}
// Options the toolkit reads itself (it takes "--name" as "-name"); they are not ours to refuse.
bool isToolkitOption(const QString& arg) {
    static const QStringList names{QStringLiteral("platform"),
                                   QStringLiteral("platformpluginpath"),
                                   QStringLiteral("platformtheme"),
                                   QStringLiteral("plugin"),
                                   QStringLiteral("qwindowgeometry"),
                                   QStringLiteral("qwindowicon"),
                                   QStringLiteral("qwindowtitle"),
                                   QStringLiteral("reverse"),
                                   QStringLiteral("session"),
                                   QStringLiteral("style"),
                                   QStringLiteral("stylesheet"),
                                   QStringLiteral("widgetcount"),
                                   QStringLiteral("display"),
                                   QStringLiteral("geometry"),
                                   QStringLiteral("name"),
                                   QStringLiteral("title"),
                                   QStringLiteral("visual"),
                                   QStringLiteral("ncols"),
                                   QStringLiteral("cmap"),
                                   QStringLiteral("nograb"),
                                   QStringLiteral("dograb"),
                                   QStringLiteral("sync")};
    return names.contains(arg.mid(2).section(QLatin1Char('='), 0, 0));
}
} // namespace

QString UsageLine() {
    return QStringLiteral("Usage: telvo [--help] [--version] [FRKdebugger] [\\Reset] [BootLoader]");
}

QString VersionText() {
    return QStringLiteral("telvo (Telvo Utility) %1.%2.%3\n")
        .arg(TELVO_VERSION_MAJOR)
        .arg(TELVO_VERSION_MINOR)
        .arg(TELVO_VERSION_REVISION);
}

QString HelpText() {
    return UsageLine() +
           QStringLiteral(
               "\n\n"
               "Drives a video scaler of the Vorix line over a serial port.\n\n"
               "Start-up words, anywhere on the line, in any letter case:\n"
               "  FRKdebugger   the developer's buttons\n"
               "  \\Reset        turn Telvo.ini back into a template (keeps Telvoold.ini)\n"
               "  BootLoader    recover a cut-off firmware load\n\n"
               "Options:\n"
               "  --help        print this text and end\n"
               "  --version     print the version and end\n\n"
               "Environment:\n"
               "  TELVO_HOME    the program's folder (Telvo.ini, LogFile.txt, Settings.txt)\n"
               "  TELVO_PORTS   device files for COM1, COM2, ... comma-separated, or \"sim\"\n"
               "                (default: the machine's serial ports, USB adapters first)\n");
}

StartupLine ReadStartupLine(const QStringList& args) {
    StartupLine out;
    QString unknown;
    for (const QString& arg : args) {
        if (!arg.startsWith(QLatin1String("--")) || holdsStartupWord(arg) || isToolkitOption(arg))
            continue;
        // --help and --version answer whatever else stands on the line.
        if (arg == QLatin1String("--help")) {
            out.action = StartupLine::Help;
            out.output = HelpText();
            return out;
        }
        if (arg == QLatin1String("--version")) {
            out.action = StartupLine::Version;
            out.output = VersionText();
            return out;
        }
        if (unknown.isEmpty())
            unknown = arg;
    }
    if (!unknown.isEmpty()) {
        out.action = StartupLine::Error;
        out.output = QStringLiteral("telvo: unknown option '") + unknown + QStringLiteral("'\n") +
                     UsageLine() + QLatin1Char('\n');
    }
    return out;
}

} // namespace telvo::core
