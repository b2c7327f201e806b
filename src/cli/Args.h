#pragma once
// The command line of telvo-cli: the common options, the command and its own words. Parsing is
// pure, so that every usage error can be tested without a device.

#include <QString>
#include <QStringList>

namespace telvo::cli {

// The exit codes, worst last (a run over several ports ends with the highest).
enum ExitCode {
    kDone = 0,
    kDeviceFailed = 1,
    kUsage = 2,
    kNoDevice = 3,
    kFileError = 4,
    kStoppedAtPrompt = 5,
    kDiffers = 6,  // diff: the device's settings differ from the file's
    kLockHeld = 7, // --no-wait: another job holds the port
    kHangUp = 129,
    kInterrupted = 130,
    kTerminated = 143,
};

struct Options {
    QString command;   // "ports", "info", ...; empty with --help or --version alone
    QStringList words; // the command's own words (names, files, the ir sub-command...)
    QStringList ports; // --port, in the order given
    QString baud;      // --baud
    QString home;      // --home
    QString trace;     // --trace; -v is "-" (standard error)
    bool json = false;
    bool quiet = false;
    bool yes = false;
    bool help = false;
    bool version = false;
    bool powerOn = false;         // --power-on: a device in standby may be powered up
    bool noWait = false;          // --no-wait: a port another job holds is exit 7, not a wait
    int jobs = 0;                 // --jobs: how many ports' jobs run at once (0: all)
    bool probe = false;           // ports --probe
    bool saveSettings = false;    // load --save-settings
    bool restoreDefaults = false; // load --restore-defaults
    bool resume = false;          // load --resume
    bool check = false;           // apply --check
    // Gamma's and the IR tool's named values (--source 2.2, --reference FILE, ...).
    QStringList named;
    QString error; // set when the line is not usable: the text told with exit code 2
};

// The commands, as --help lists them (from the command table, src/cli/Jobs.cpp).
QStringList CommandNames();
Options ParseArguments(const QStringList& args);
// The value of a command's named option (--source G), empty when absent.
QString NamedValue(const Options& o, const QString& name);
// Why apply's words and --file cannot be used as given, or nothing when they can.
QString ApplyUsageProblem(const Options& o);
// Why --baud cannot be used with Telvo.ini's rates (in their order), or nothing when it can.
QString BaudProblem(const QString& baud, const QStringList& rates);

} // namespace telvo::cli
