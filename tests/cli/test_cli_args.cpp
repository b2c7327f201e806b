// The command line of telvo-cli: what it takes, what it refuses, and its man-style help.
#include "cli/Args.h"
#include "cli/Help.h"

#include <gtest/gtest.h>

using namespace telvo::cli;

namespace {

Options parse(const QStringList& words) { return ParseArguments(words); }

TEST(CliArgs, CommonOptionsAnywhereAndPortsInOrder) {
    const Options o = parse({QStringLiteral("--port"), QStringLiteral("COM3"), QStringLiteral("get"),
                             QStringLiteral("Brightness"), QStringLiteral("--port=/dev/ttyUSB0"),
                             QStringLiteral("--json"), QStringLiteral("--baud"),
                             QStringLiteral("57600"), QStringLiteral("Contrast"),
                             QStringLiteral("--trace"), QStringLiteral("t.txt"),
                             QStringLiteral("--quiet"), QStringLiteral("--yes"),
                             QStringLiteral("--home"), QStringLiteral("/h")});
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
    const Options o = parse({QStringLiteral("--power-on"), QStringLiteral("info"), QStringLiteral("--no-wait")});
    EXPECT_TRUE(o.error.isEmpty()) << o.error.toStdString();
    EXPECT_TRUE(o.powerOn && o.noWait);
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
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("--baud"), QStringLiteral("fast")}).error,
              QStringLiteral("--baud takes a rate such as 57600, not fast"));
    EXPECT_EQ(parse({QStringLiteral("info"), QStringLiteral("--colour")}).error,
              QStringLiteral("unknown option --colour"));
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
          "       1    the device refused or failed (its failure text on standard error)\n",
          "       2    usage: a word or option the command does not take\n",
          "       3    no device found\n", "       4    a file could not be read or written\n",
          "       5    stopped at a prompt (give --yes to answer Continue/Yes/OK)\n",
          "       6    diff: settings differ (0 when equal)\n",
          "       7    another job holds the port (--no-wait)\n",
          "       129  hung up (SIGHUP)\n", "       130  interrupted (Ctrl-C)\n",
          "       143  terminated (SIGTERM)\n",
          "       With several --port options the exit status is the worst of the ports.\n"})
        EXPECT_TRUE(help.contains(QLatin1String(line))) << line;
    for (const char* option : {"--port COMn|PATH", "--baud RATE", "--home DIR", "--json",
                               "--quiet", "--yes", "--trace FILE", "--power-on", "--no-wait",
                               "--help", "--version"})
        EXPECT_TRUE(help.contains(QStringLiteral("       ") + QLatin1String(option))) << option;
    // A terminal of 80 columns shows every line whole.
    for (const QString& line : help.split(QLatin1Char('\n')))
        EXPECT_LE(line.size(), 80) << line.toStdString();
}

TEST(CliHelp, EachCommandHasItsOwnPage) {
    for (const QString& c : CommandNames()) {
        const QString help = HelpText(c);
        EXPECT_TRUE(help.startsWith(QStringLiteral("NAME\n       telvo-cli ") + c + QLatin1Char('\n')))
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
