#include "cli/Help.h"

#include "cli/Args.h"

#include <QStringList>

namespace telvo::cli {

namespace {

constexpr int kWidth = 79;

// Words filled into lines of at most kWidth columns, each line after `indent` spaces.
QString fill(const QString& text, int indent) {
    QString out;
    QString line;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!line.isEmpty() && indent + line.size() + 1 + word.size() > kWidth) {
            out += QString(indent, QLatin1Char(' ')) + line + QLatin1Char('\n');
            line.clear();
        }
        line += (line.isEmpty() ? QString() : QStringLiteral(" ")) + word;
    }
    if (!line.isEmpty())
        out += QString(indent, QLatin1Char(' ')) + line + QLatin1Char('\n');
    return out;
}

struct Page {
    const char* name;
    const char* synopsis; // lines of "telvo-cli ..." separated by '\n'
    const char* text;
};

const Page kPages[] = {
    {"ports", "telvo-cli ports [--probe]",
     "Lists the ports that open (COMn and the device behind it). With --probe, asks each at "
     "every rate whether a device answers, and tells at which rate."},
    {"info", "telvo-cli info",
     "Connects and prints the model, the firmware, the options, the port, the current, "
     "original and transfer speeds and the power state."},
    {"get", "telvo-cli get NAME...",
     "Reads settings by their names in Telvo.ini and prints each as the main window's label "
     "shows it: \"name=value\"."},
    {"set", "telvo-cli set NAME=VALUE...",
     "Sends settings by name (a list value by its text or its number) through the chooser a "
     "click on the label opens, then prints what the device answers, as the label shows it."},
    {"save", "telvo-cli save [FILE]",
     "Reads every setting of every state into FILE (Settings.txt of the program's folder by "
     "default), as the main window's Save does."},
    {"restore", "telvo-cli restore [FILE]",
     "Writes the settings of FILE (Settings.txt by default) back to the device, as the main "
     "window's Restore does."},
    {"diff", "telvo-cli diff FILE",
     "Reads the settings as Save does and prints each one whose value on the device differs "
     "from FILE's."},
    {"apply",
     "telvo-cli apply [--check] NAME=VALUE...\n"
     "telvo-cli apply [--check] -f|--file FILE",
     "Brings settings to the values named: reads each, sets only those that differ (through "
     "the chooser, as set does) and reads them back, then prints \"NAME: unchanged (VALUE)\" "
     "or \"NAME: changed from X to Y\" for each. FILE holds NAME=VALUE lines (\"#\" comment "
     "lines and blank lines skipped), or is a file save wrote: its plain settings are applied "
     "and its lines of a state are left to restore, which says so. Every value is checked "
     "against Telvo.ini before anything is sent: one refused value is exit 2 with every "
     "refused value named and no frame sent. A setting named twice takes the last value. "
     "--check reads and tells \"NAME: would change from X to Y\" without setting anything: "
     "exit 6 when something would change, 0 when all is already so."},
    {"load",
     "telvo-cli load FILE.frk|LIST.frl [--save-settings] [--restore-defaults]\n"
     "telvo-cli load --resume",
     "Loads firmware as the loader window does, with a progress bar on standard error when it "
     "is a terminal. --save-settings saves the settings before the load and restores them "
     "after; --restore-defaults restores the factory defaults after it. Ctrl-C leaves "
     "RestartLoader.txt as a cut line would; --resume takes the load up where it stopped."},
    {"console", "telvo-cli console",
     "The device's debug console on the terminal, raw, until Ctrl-] ends it."},
    {"ir",
     "telvo-cli ir code COMMAND [--value V] [--format pronto|mode2|lirc]\n"
     "telvo-cli ir code --key KEY [--format pronto|mode2|lirc]\n"
     "telvo-cli ir gen-all OUT.txt|OUT.hex|OUT.ccf|OUT.conf",
     "The Pronto hex of a device command and value (a list value by its text or number), or "
     "of a remote key; with --format mode2 the same code as pulse/space lines in microseconds "
     "(for ir-ctl --send), with --format lirc as a one-button LIRC remote; "
     "gen-all writes the whole command table as the IR tool's Gen ALL does (OUT.conf: one "
     "LIRC remote), with a counter on standard error when it is a terminal."},
    {"gamma",
     "telvo-cli gamma make --source G --scalar G [--reference FILE] OUT.gma\n"
     "telvo-cli gamma export IN.gma OUT.cal|OUT.cube",
     "Computes the gamma tables into a .gma file, or exports one as a calibration (.cal) or a "
     "1D LUT (.cube), as the gamma tool does."},
    {"names", "telvo-cli names [NAME]",
     "Lists the names of the settings Telvo.ini defines, one a line; with NAME, that "
     "setting's values (a list's texts and numbers) or its range, as set takes them. Needs "
     "no device: a line Telvo.ini keeps for a model or firmware is the one of its Model and "
     "Firmware."},
};

const Page* pageOf(const QString& command) {
    for (const Page& p : kPages)
        if (command == QLatin1String(p.name))
            return &p;
    return nullptr;
}

struct Item {
    const char* key;
    const char* text;
};

const Item kOptions[] = {
    {"-p, --port COMn|PATH",
     "the port: COMn as Telvo.ini and TELVO_PORTS name it, or a device path. Give it more "
     "than once to run the job on every device at once, one process a device."},
    {"--jobs N", "with several --port, how many devices' jobs run at once (default: all; "
                 "1: one after another, in the order given)"},
    {"-b, --baud RATE",
     "the device's rate, one of Telvo.ini's Baud Rates: skips the search over rates"},
    {"--home DIR", "the program's folder (Telvo.ini, Settings.txt, LogFile.txt)"},
    {"-j, --json[=true|false]", "one JSON object per result on standard output"},
    {"-q, --quiet[=true|false]", "nothing on standard error but failures"},
    {"-y, --yes[=true|false]", "answer Continue/Yes/OK to every prompt the job meets"},
    {"--power-on", "let a read power up a device found in standby (without it: exit 3)"},
    {"--no-wait", "when another job holds the port, end at once (exit 7) instead of waiting"},
    {"--trace FILE", "the LogFile.txt lines, as they are written, to FILE (\"-\": standard error)"},
    {"-v, --verbose", "the same as --trace -"},
    {"-h, --help", "this text; \"telvo-cli COMMAND --help\" for a command's"},
    {"-V, --version", "the version"},
};

const Item kExits[] = {
    {"0", "done"},
    {"1", "the job ran but failed in part (the device refused or failed: its text on "
          "standard error)"},
    {"2", "usage: a word, option or value the command does not take"},
    {"3", "no device, or the connection failed (with its reason), or the device is in "
          "standby and --power-on was not given, or it stopped answering after a speed "
          "change (60 s)"},
    {"4", "a file could not be read or written, or is not what the command takes"},
    {"5", "stopped at a prompt (give --yes to answer Continue/Yes/OK)"},
    {"6", "diff: the settings differ; apply --check: a setting would change"},
    {"7", "another job holds the port and --no-wait was given"},
    {"129", "hung up (SIGHUP)"},
    {"130", "interrupted (Ctrl-C)"},
    {"143", "terminated (SIGTERM)"},
};

// "       key   text..." with the text's further lines under its first.
QString table(const Item* items, int count, int column) {
    QString out;
    for (int i = 0; i < count; ++i) {
        const QString key = QStringLiteral("       ") + QLatin1String(items[i].key);
        const QString text = fill(QLatin1String(items[i].text), column);
        out += key.leftJustified(column, QLatin1Char(' ')) + text.mid(column);
    }
    return out;
}

QString commonSections() {
    return QStringLiteral("COMMON OPTIONS\n") + table(kOptions, int(std::size(kOptions)), 33) +
           QStringLiteral("\nEXIT STATUS\n") + table(kExits, int(std::size(kExits)), 12) +
           fill(QStringLiteral("With several --port options the exit status is the worst of "
                               "the ports."),
                7);
}

QString synopsisOf(const Page& p) {
    QString out;
    for (const QString& line : QString::fromLatin1(p.synopsis).split(QLatin1Char('\n')))
        out += QStringLiteral("       ") + line + QLatin1Char('\n');
    return out;
}

} // namespace

QString VersionText() {
    return QStringLiteral("telvo-cli " TELVO_VERSION "\n");
}

QString UsageText(const QString& error, const QString& command) {
    const Page* page = CommandNames().contains(command) ? pageOf(command) : nullptr;
    const QString form =
        page ? QString::fromLatin1(page->synopsis)
                   .section(QLatin1Char('\n'), 0, 0)
                   .replace(QStringLiteral("telvo-cli "), QStringLiteral("telvo-cli [OPTIONS] "))
             : QStringLiteral("telvo-cli [OPTIONS] COMMAND [ARGS...]");
    return QStringLiteral("telvo-cli: ") + error + QStringLiteral("\nUsage: ") + form +
           QStringLiteral(" (see telvo-cli --help)\n");
}

QString HelpText(const QString& command) {
    const Page* page = CommandNames().contains(command) ? pageOf(command) : nullptr;
    if (page) {
        return QStringLiteral("NAME\n       telvo-cli ") + command +
               QStringLiteral("\n\nSYNOPSIS\n") + synopsisOf(*page) +
               QStringLiteral("\nDESCRIPTION\n") + fill(QLatin1String(page->text), 7) +
               QLatin1Char('\n') + commonSections();
    }
    QString out =
        QStringLiteral("NAME\n"
                       "       telvo-cli - every job of the Telvo Utility from a shell\n\n"
                       "SYNOPSIS\n"
                       "       telvo-cli [OPTIONS] COMMAND [ARGS...]\n\n"
                       "DESCRIPTION\n");
    out +=
        fill(QStringLiteral("Runs the very routines of the Telvo Utility's windows without showing "
                            "them: the same bytes go on the wire and the same files are written. "
                            "Prompts are answered by --yes; without it a job stops at a prompt and "
                            "tells its text."),
             7);
    out += QStringLiteral("\nCOMMANDS\n");
    for (const QString& name : CommandNames())
        if (const Page* p = pageOf(name))
            out += synopsisOf(*p);
    out += QStringLiteral("\n       \"telvo-cli COMMAND --help\" tells more of each.\n\n");
    out += commonSections();
    out += QStringLiteral("\nEXAMPLES\n"
                          "       telvo-cli --port /dev/ttyUSB0 info\n"
                          "       telvo-cli --port COM1 --port COM2 --json save\n"
                          "       telvo-cli --port COM1 apply --check -f lobby.conf\n");
    return out;
}

} // namespace telvo::cli
