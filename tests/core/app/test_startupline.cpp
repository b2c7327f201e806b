// The program's command line: --help and --version answer and end, an unknown option is an
// error with the usage line, and the start-up words stay words wherever they stand.

#include "core/app/StartupLine.h"

#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

QStringList Args(std::initializer_list<const char*> list) {
    QStringList out;
    for (const char* a : list)
        out << QString::fromUtf8(a);
    return out;
}

TEST(StartupLine, NothingOrStartupWordsRun) {
    EXPECT_EQ(ReadStartupLine({}).action, StartupLine::Run);
    EXPECT_EQ(ReadStartupLine(Args({"FRKdebugger", "\\Reset", "BootLoader"})).action,
              StartupLine::Run);
    EXPECT_EQ(ReadStartupLine(Args({"xxfrkdebuggerBOOTLOADER"})).action, StartupLine::Run);
    // A word behind dashes is still the word, as the whole line is searched as text.
    EXPECT_EQ(ReadStartupLine(Args({"--FRKdebugger"})).action, StartupLine::Run);
    EXPECT_EQ(ReadStartupLine(Args({"/home/u/\\Reset/x"})).action, StartupLine::Run);
}

TEST(StartupLine, HelpPrintsUsageAndTheWords) {
    const StartupLine l = ReadStartupLine(Args({"FRKdebugger", "--help"}));
    EXPECT_EQ(l.action, StartupLine::Help);
    EXPECT_TRUE(l.output.startsWith(QStringLiteral(
        "Usage: telvo [--help] [--version] [FRKdebugger] [\\Reset] [BootLoader]\n")));
    EXPECT_TRUE(l.output.contains(QStringLiteral("TELVO_PORTS")));
}

TEST(StartupLine, VersionIsTheProgramsVersion) {
    const StartupLine l = ReadStartupLine(Args({"--version"}));
    EXPECT_EQ(l.action, StartupLine::Version);
    EXPECT_EQ(l.output, QStringLiteral("telvo (Telvo Utility) 2.0.151\n"));
}

TEST(StartupLine, UnknownOptionIsAnErrorWithTheUsageLine) {
    const StartupLine l = ReadStartupLine(Args({"BootLoader", "--verbose"}));
    EXPECT_EQ(l.action, StartupLine::Error);
    EXPECT_EQ(l.output, QStringLiteral("telvo: unknown option '--verbose'\n"
                                       "Usage: telvo [--help] [--version] [FRKdebugger] [\\Reset] "
                                       "[BootLoader]\n"));
    EXPECT_EQ(ReadStartupLine(Args({"--versio"})).action, StartupLine::Error);
    // The toolkit's own options pass to it.
    EXPECT_EQ(ReadStartupLine(Args({"--platform", "offscreen", "--style=fusion"})).action,
              StartupLine::Run);
    // The answering options win over a mistake beside them.
    EXPECT_EQ(ReadStartupLine(Args({"--bogus", "--version"})).action, StartupLine::Version);
}

} // namespace
