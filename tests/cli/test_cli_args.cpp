// The command line of telvo-cli: what it takes, what it refuses, and its man-style help.
#include "cli/Args.h"
#include "cli/Help.h"
#include "core/settings/ValueCheck.h"

#include <gtest/gtest.h>

using namespace telvo::cli;

namespace {

Options parse(const QStringList& words) {
    return ParseArguments(words);
}

TEST(CliArgs, CommonOptionsAnywhereAndPortsInOrder) {
    const Options o =
        parse({QStringLiteral("--port"), QStringLiteral("COM3"), QStringLiteral("get"),
               QStringLiteral("Brightness"), QStringLiteral("--port=/dev/ttyUSB0"),
               QStringLiteral("--json"), QStringLiteral("--baud"), QStringLiteral("57600"),
               QStringLiteral("Contrast"), QStringLiteral("--trace"), QStringLiteral("t.txt"),
               QStringLiteral("--quiet"), QStringLiteral("--yes"), QStringLiteral("--home"),
               QStringLiteral("/h")});
    EXPECT_TRUE(o.error.isEmpty()) << o.error.toStdString();
    EXPECT_EQ(o.command, QStringLiteral("get"));
    EXPECT_EQ(o.words, (QStringList{QStringLiteral("Brightness"), QStringLiteral("Contrast")}));
    EXPECT_EQ(o.ports, (QStringList{QStringLiteral("COM3"), QStringLiteral("/dev/ttyUSB0")}));
    EXPECT_EQ(o.baud, QStringLiteral("57600"));
    EXPECT_EQ(o.trace, QStringLiteral("t.txt"));
    EXPECT_EQ(o.home, QStringLiteral("/h"));
    EXPECT_TRUE(o.json && o.quiet && o.yes);
}

TEST(CliArgs, PowerOnAndNoWaitAreOffUnlessGiven) {
    const Options plain = parse({QStringLiteral("info")});
    EXPECT_FALSE(plain.powerOn || plain.noWait);
    const Options o =
        parse({QStringLiteral("--power-on"), QStringLiteral("info"), QStringLiteral("--no-wait")});
    EXPECT_TRUE(o.error.isEmpty()) << o.error.toStdString();
    EXPECT_TRUE(o.powerOn && o.noWait);
}

TEST(CliArgs, JobsTakesHowManyPortsRunAtOnce) {
    EXPECT_EQ(parse({QStringLiteral("info")}).jobs, 0);
    const Options o =
        parse({QStringLiteral("--jobs"), QStringLiteral("3"), QStringLiteral("info")});
    EXPECT_TRUE(o.error.isEmpty()) << o.error.toStdString();
    EXPECT_EQ(o.jobs, 3);
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("--jobs=1")}).jobs, 1);
    for (const char* bad : {"0", "-2", "four", "2.5", ""})
        EXPECT_EQ(
            parse({QStringLiteral("info"), QStringLiteral("--jobs"), QLatin1String(bad)}).error,
            QStringLiteral("--jobs takes how many ports run at once, such as 4, not ") +
                QLatin1String(bad))
            << bad;
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("--jobs")}).error,
              QStringLiteral("--jobs needs a value"));
}

TEST(CliArgs, CommandFlagsBelongToTheirCommand) {
    EXPECT_TRUE(parse({QStringLiteral("ports"), QStringLiteral("--probe")}).probe);
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("--probe")}).error,
              QStringLiteral("unknown option --probe"));
}

TEST(CliArgs, UsageErrorsAreTold) {
    EXPECT_EQ(parse({}).error, QStringLiteral("no command given"));
    EXPECT_EQ(parse({QStringLiteral("fly")}).error, QStringLiteral("unknown command fly"));
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("--port")}).error,
              QStringLiteral("--port needs a value"));
    EXPECT_EQ(
        parse({QStringLiteral("info"), QStringLiteral("--baud"), QStringLiteral("fast")}).error,
        QStringLiteral("--baud takes a rate such as 57600, not fast"));
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("--colour")}).error,
              QStringLiteral("unknown option --colour"));
}

TEST(CliArgs, ShortOptionsAreTheLongOnes) {
    const Options o = parse({QStringLiteral("-p"), QStringLiteral("COM2"), QStringLiteral("-pCOM3"),
                             QStringLiteral("-b"), QStringLiteral("57600"), QStringLiteral("-jq"),
                             QStringLiteral("-y"), QStringLiteral("-v"), QStringLiteral("set"),
                             QStringLiteral("Brightness=-5")});
    EXPECT_TRUE(o.error.isEmpty()) << o.error.toStdString();
    EXPECT_EQ(o.ports, (QStringList{QStringLiteral("COM2"), QStringLiteral("COM3")}));
    EXPECT_EQ(o.baud, QStringLiteral("57600"));
    EXPECT_TRUE(o.json && o.quiet && o.yes);
    EXPECT_EQ(o.trace, QStringLiteral("-"));
    EXPECT_EQ(o.words, QStringList{QStringLiteral("Brightness=-5")});
    EXPECT_TRUE(parse({QStringLiteral("-V")}).version);
    EXPECT_TRUE(parse({QStringLiteral("-h")}).help);
    // A value that looks like an option is still the option's value.
    EXPECT_EQ(parse({QStringLiteral("--trace"), QStringLiteral("-"), QStringLiteral("info")}).trace,
              QStringLiteral("-"));
    EXPECT_EQ(
        parse({QStringLiteral("--home"), QStringLiteral("-dir"), QStringLiteral("info")}).home,
        QStringLiteral("-dir"));
    EXPECT_EQ(parse({QStringLiteral("-x"), QStringLiteral("info")}).error,
              QStringLiteral("unknown option -x"));
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("-p")}).error,
              QStringLiteral("--port needs a value"));
}

TEST(CliArgs, SwitchesTakeTrueOrFalse) {
    EXPECT_FALSE(parse({QStringLiteral("--json=false"), QStringLiteral("info")}).json);
    EXPECT_TRUE(parse({QStringLiteral("--json=true"), QStringLiteral("info")}).json);
    EXPECT_TRUE(parse({QStringLiteral("--json"), QStringLiteral("info")}).json);
    EXPECT_FALSE(
        parse({QStringLiteral("-j"), QStringLiteral("--json=false"), QStringLiteral("info")}).json);
    EXPECT_FALSE(parse({QStringLiteral("--yes=false"), QStringLiteral("info")}).yes);
    EXPECT_FALSE(parse({QStringLiteral("--quiet=false"), QStringLiteral("info")}).quiet);
    EXPECT_EQ(parse({QStringLiteral("--json=no"), QStringLiteral("info")}).error,
              QStringLiteral("--json takes true or false, not no"));
}

TEST(CliArgs, ApplyTakesWordsOrOneFileAndCheck) {
    const Options words =
        parse({QStringLiteral("apply"), QStringLiteral("Brightness = 5"), QStringLiteral("--check"),
               QStringLiteral("Noise Reduction=High")});
    EXPECT_TRUE(words.error.isEmpty()) << words.error.toStdString();
    EXPECT_TRUE(words.check);
    EXPECT_EQ(words.words, (QStringList{QStringLiteral("Brightness = 5"),
                                        QStringLiteral("Noise Reduction=High")}));
    for (const QStringList& file : {QStringList{QStringLiteral("-f"), QStringLiteral("a.conf")},
                                    QStringList{QStringLiteral("-fa.conf")},
                                    QStringList{QStringLiteral("--file"), QStringLiteral("a.conf")},
                                    QStringList{QStringLiteral("--file=a.conf")}}) {
        const Options o = parse(QStringList{QStringLiteral("apply")} + file);
        EXPECT_TRUE(o.error.isEmpty()) << o.error.toStdString();
        EXPECT_FALSE(o.check);
        EXPECT_EQ(NamedValue(o, QStringLiteral("--file")), QStringLiteral("a.conf"));
    }
    // A file whose name looks like an option is still the file.
    EXPECT_EQ(
        NamedValue(parse({QStringLiteral("apply"), QStringLiteral("--file"), QStringLiteral("-x")}),
                   QStringLiteral("--file")),
        QStringLiteral("-x"));
}

TEST(CliArgs, ApplyUsageErrors) {
    const auto error = [](const QStringList& words) {
        return parse(QStringList{QStringLiteral("apply")} + words).error;
    };
    EXPECT_EQ(error({}), QStringLiteral("apply needs NAME=VALUE words or --file FILE"));
    EXPECT_EQ(error({QStringLiteral("--check")}),
              QStringLiteral("apply needs NAME=VALUE words or --file FILE"));
    EXPECT_EQ(error({QStringLiteral("Brightness")}),
              QStringLiteral("apply takes NAME=VALUE, not Brightness"));
    EXPECT_EQ(error({QStringLiteral("=5")}), QStringLiteral("apply takes NAME=VALUE, not =5"));
    EXPECT_EQ(error({QStringLiteral("-f"), QStringLiteral("a"), QStringLiteral("Brightness=1")}),
              QStringLiteral("apply takes NAME=VALUE words or --file FILE, not both"));
    EXPECT_EQ(error({QStringLiteral("-f"), QStringLiteral("a"), QStringLiteral("-f"),
                     QStringLiteral("b")}),
              QStringLiteral("apply takes one --file"));
    EXPECT_EQ(error({QStringLiteral("--file")}), QStringLiteral("--file needs a value"));
    EXPECT_EQ(error({QStringLiteral("--file=")}), QStringLiteral("--file needs a FILE"));
    // Apply's options belong to apply.
    EXPECT_EQ(
        parse({QStringLiteral("set"), QStringLiteral("--check"), QStringLiteral("Brightness=1")})
            .error,
        QStringLiteral("unknown option --check"));
    EXPECT_EQ(parse({QStringLiteral("diff"), QStringLiteral("-f"), QStringLiteral("a")}).error,
              QStringLiteral("unknown option --file"));
}

TEST(CliArgs, BaudIsOneOfTheRatesGiven) {
    const QStringList rates{QStringLiteral("19200"), QStringLiteral("57600")};
    EXPECT_TRUE(BaudProblem(QStringLiteral("57600"), rates).isEmpty());
    EXPECT_TRUE(BaudProblem(QString(), rates).isEmpty());
    EXPECT_EQ(BaudProblem(QStringLiteral("12345"), rates),
              QStringLiteral("--baud 12345 is not a rate Telvo.ini lists (19200, 57600)"));
}

TEST(CliArgs, UsageErrorIsOneLineThatSendsToHelp) {
    EXPECT_EQ(
        UsageText(QStringLiteral("unknown option --x"), QStringLiteral("set")),
        QStringLiteral("telvo-cli: unknown option --x\n"
                       "Usage: telvo-cli [OPTIONS] set NAME=VALUE... (see telvo-cli --help)\n"));
    EXPECT_EQ(
        UsageText(QStringLiteral("no command given"), QString()),
        QStringLiteral("telvo-cli: no command given\n"
                       "Usage: telvo-cli [OPTIONS] COMMAND [ARGS...] (see telvo-cli --help)\n"));
}

telvo::core::CommandRec record(const QString& line) {
    telvo::core::CommandTable t = telvo::core::EmptyCommandTable();
    telvo::core::ParseCommandLine(line, t, [](const QString&) {});
    return t.at(1);
}

TEST(CliValues, ABadValueNamesWhatTheSettingTakes) {
    using telvo::core::ValueProblem;
    const auto range = record(QStringLiteral("Brightness = [1] B1 ; -50..50 ;"));
    EXPECT_TRUE(ValueProblem(range, QStringLiteral("-50")).isEmpty());
    EXPECT_TRUE(ValueProblem(range, QStringLiteral("12.5")).isEmpty());
    EXPECT_EQ(ValueProblem(range, QStringLiteral("abc")),
              QStringLiteral("Brightness takes a number from -50 to 50, not abc"));
    EXPECT_EQ(ValueProblem(range, QStringLiteral("51")),
              QStringLiteral("Brightness takes a number from -50 to 50, not 51"));
    EXPECT_EQ(ValueProblem(range, QStringLiteral("1e1")),
              QStringLiteral("Brightness takes a number from -50 to 50, not 1e1"));
    EXPECT_EQ(ValueProblem(range, QString()),
              QStringLiteral("Brightness needs a value: a number from -50 to 50"));
    const auto list =
        record(QStringLiteral("Noise Reduction = [1] B6 ; (0)Off,(1)Low,(2)Medium ;"));
    EXPECT_TRUE(ValueProblem(list, QStringLiteral("medium")).isEmpty());
    EXPECT_TRUE(ValueProblem(list, QStringLiteral("2")).isEmpty());
    EXPECT_EQ(
        ValueProblem(list, QStringLiteral("Ultra")),
        QStringLiteral("Noise Reduction has no value Ultra: it takes one of Off (0), Low (1), "
                       "Medium (2)"));
    const auto integer =
        record(QStringLiteral("OSD Timeout = [3] D1 ; INTEGER ; 5 to 120 seconds"));
    EXPECT_TRUE(ValueProblem(integer, QStringLiteral("120")).isEmpty());
    EXPECT_EQ(ValueProblem(integer, QStringLiteral("4")),
              QStringLiteral("OSD Timeout takes a whole number, 5 to 120 seconds, not 4"));
    EXPECT_FALSE(ValueProblem(integer, QStringLiteral("7.5")).isEmpty());
    const auto character = record(QStringLiteral("Device Name = [3] D5 ; BYTEA ;"));
    EXPECT_TRUE(ValueProblem(character, QStringLiteral("K")).isEmpty());
    EXPECT_EQ(ValueProblem(character, QStringLiteral("KL")),
              QStringLiteral("Device Name takes one character, not KL"));
    const auto hex =
        record(QStringLiteral("IR Code Set = [3] D4 ; BYTEH ; (0)Standard,(1)Alternate ;"));
    EXPECT_TRUE(ValueProblem(hex, QStringLiteral("0a")).isEmpty());
    EXPECT_EQ(ValueProblem(hex, QStringLiteral("Alternate")),
              QStringLiteral("IR Code Set takes two hexadecimal digits: Standard (00), Alternate "
                             "(01), not Alternate"));
    const auto readOnly = record(QStringLiteral("Serial Number/R = [3] DA ; BYTE ;"));
    EXPECT_EQ(ValueProblem(readOnly, QStringLiteral("1")),
              QStringLiteral("Serial Number cannot be set"));
    const auto none = record(QStringLiteral("Odd = [3] DB ; ;"));
    EXPECT_EQ(ValueProblem(none, QStringLiteral("1")),
              QStringLiteral("Odd cannot be set: it has no value"));
}

TEST(CliArgs, HelpAndVersionNeedNoCommand) {
    EXPECT_TRUE(parse({QStringLiteral("--help")}).error.isEmpty());
    EXPECT_TRUE(parse({QStringLiteral("--version")}).version);
    const Options o = parse({QStringLiteral("save"), QStringLiteral("--help")});
    EXPECT_TRUE(o.help);
    EXPECT_EQ(o.command, QStringLiteral("save"));
}

TEST(CliHelp, ToolHelpIsAManPageWithEveryCommandAndExitCode) {
    const QString help = HelpText(QString());
    for (const char* section : {"NAME\n", "SYNOPSIS\n", "DESCRIPTION\n", "COMMANDS\n",
                                "COMMON OPTIONS\n", "EXIT STATUS\n", "EXAMPLES\n"})
        EXPECT_TRUE(help.contains(QLatin1String(section))) << section;
    EXPECT_TRUE(help.startsWith(
        QStringLiteral("NAME\n       telvo-cli - every job of the Telvo Utility from a shell\n")));
    for (const QString& c : CommandNames())
        EXPECT_TRUE(help.contains(QStringLiteral("\n       telvo-cli ") + c + QLatin1Char(' ')) ||
                    help.contains(QStringLiteral("\n       telvo-cli ") + c + QLatin1Char('\n')))
            << c.toStdString();
    for (const char* line :
         {"       0    done\n",
          "       1    the job ran but failed in part (the device refused or failed: its\n",
          "       2    usage: a word, option or value the command does not take\n",
          "       3    no device, or the connection failed (with its reason), or the\n",
          "       4    a file could not be read or written, or is not what the command\n",
          "       5    stopped at a prompt (give --yes to answer Continue/Yes/OK)\n",
          "       6    diff: the settings differ; apply --check: a setting would change\n",
          "       7    another job holds the port and --no-wait was given\n",
          "       129  hung up (SIGHUP)\n", "       130  interrupted (Ctrl-C)\n",
          "       143  terminated (SIGTERM)\n",
          "       With several --port options the exit status is the worst of the ports.\n"})
        EXPECT_TRUE(help.contains(QLatin1String(line))) << line;
    for (const char* option :
         {"-p, --port COMn|PATH", "-b, --baud RATE", "--home DIR", "-j, --json[=true|false]",
          "-q, --quiet[=true|false]", "-y, --yes[=true|false]", "--power-on", "--no-wait",
          "--jobs N", "--trace FILE", "-v, --verbose", "-h, --help", "-V, --version"})
        EXPECT_TRUE(help.contains(QStringLiteral("       ") + QLatin1String(option))) << option;
    // A terminal of 80 columns shows every line whole.
    for (const QString& line : help.split(QLatin1Char('\n')))
        EXPECT_LE(line.size(), 80) << line.toStdString();
}

TEST(CliHelp, EachCommandHasItsOwnPage) {
    for (const QString& c : CommandNames()) {
        const QString help = HelpText(c);
        EXPECT_TRUE(
            help.startsWith(QStringLiteral("NAME\n       telvo-cli ") + c + QLatin1Char('\n')))
            << c.toStdString();
        EXPECT_TRUE(help.contains(QStringLiteral("SYNOPSIS\n       telvo-cli ") + c))
            << c.toStdString();
        EXPECT_TRUE(help.contains(QStringLiteral("EXIT STATUS\n"))) << c.toStdString();
        for (const QString& line : help.split(QLatin1Char('\n')))
            EXPECT_LE(line.size(), 80) << line.toStdString();
    }
    EXPECT_EQ(VersionText(), QStringLiteral("telvo-cli " TELVO_VERSION "\n"));
}

} // namespace
