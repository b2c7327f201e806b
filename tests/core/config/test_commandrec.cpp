// One [COMMANDS] line of Telvo.ini into a command record.

#include "core/config/CommandRec.h"
#include "core/text/Classic.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

struct Parsed {
    CommandTable table = EmptyCommandTable();
    QStringList messages;

    void parse(const char* line) {
        ParseCommandLine(QString::fromUtf8(line), table,
                         [this](const QString& text) { messages.append(text); });
    }
    const CommandRec& last() const { return table.last(); }
};

QStringList texts(const CommandRec& rec) {
    QStringList out;
    for (int i = 1; i < rec.Values.size(); ++i)
        out.append(QString::number(rec.Values.at(i).Value) + u'=' + rec.Values.at(i).Text);
    return out;
}

// One row per worked example: name, cmd, action, panel, kind, flags RO/WO/NotInIR.
struct ExampleCase {
    const char* line;
    const char* name;
    const char* cmd;
    const char* action;
    int panel;
    const char* kind;
    bool isRange, isList, isInteger, isByte;
    bool readOnly, writeOnly, notInIR;
};

void PrintTo(const ExampleCase& c, std::ostream* os) {
    *os << c.line;
}

class WorkedExamples : public ::testing::TestWithParam<ExampleCase> {};

TEST_P(WorkedExamples, GiveTheirRecord) {
    const ExampleCase c = GetParam();
    Parsed p;
    p.parse(c.line);
    ASSERT_EQ(p.table.size(), 2);
    const CommandRec& r = p.last();
    EXPECT_EQ(r.Name, QString::fromUtf8(c.name));
    EXPECT_EQ(r.Cmd, QString::fromUtf8(c.cmd));
    EXPECT_EQ(r.Action, QString::fromUtf8(c.action));
    EXPECT_EQ(r.Panel, c.panel);
    EXPECT_EQ(r.ControlIndex, 0);
    EXPECT_EQ(r.Kind, QString::fromUtf8(c.kind));
    EXPECT_EQ(r.IsRange, c.isRange);
    EXPECT_EQ(r.IsList, c.isList);
    EXPECT_EQ(r.IsInteger, c.isInteger);
    EXPECT_EQ(r.IsByte, c.isByte);
    EXPECT_EQ(r.ReadOnly, c.readOnly);
    EXPECT_EQ(r.WriteOnly, c.writeOnly);
    EXPECT_EQ(r.NotInIR, c.notInIR);
    EXPECT_TRUE(p.messages.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WorkedExamples,
    ::testing::Values(ExampleCase{"Contrast = [1] 3A ; -20..20 ;", "Contrast", "3A", "", 1, "V",
                                  true, false, false, false, false, false, false},
                      ExampleCase{"Gain/W = [2] 3B ; 0.00..1.50 ;", "Gain", "3B", "", 2, "V", true,
                                  false, false, false, false, true, false},
                      ExampleCase{"Source/R = [3] 41 ; (1)Video,(2)S-Video,(3)Component ;",
                                  "Source", "41", "", 3, "V", false, true, false, false, true,
                                  false, true},
                      ExampleCase{"Delay = [3] 42 ; INTEGER ; 0 to 2000", "Delay", "42", "", 3, "V",
                                  false, false, true, false, false, false, false},
                      ExampleCase{"Key = [3] 44 ; BYTEH ; (0)None ;", "Key", "44", "", 3, "H",
                                  false, false, false, true, false, false, false},
                      ExampleCase{"Restart = [3] 46(1 ; (1)Yes ;", "Restart", "46", "1", 3, "V",
                                  false, true, false, false, false, false, false},
                      ExampleCase{"Loader/N = [3] 47(3 ; (1)Yes ;", "Loader", "47", "3", 3, "V",
                                  false, true, false, false, false, false, true},
                      ExampleCase{"Profile = [0] E0 ; (1)Profile 1,(2)Profile 2 ;", "Profile", "E0",
                                  "", 0, "V", false, true, false, false, false, false, false},
                      ExampleCase{"Model/R = [3] A8 ; ;", "Model", "A8", "", 3, "", false, false,
                                  false, false, true, false, true}));

TEST(CommandRec, ListItemsGiveValueAndText) {
    Parsed p;
    p.parse("Source/R = [3] 41 ; (1)Video,(2)S-Video,(3)Component ;");
    EXPECT_EQ(texts(p.last()), QStringList({QStringLiteral("1=Video"), QStringLiteral("2=S-Video"),
                                            QStringLiteral("3=Component")}));
    EXPECT_EQ(p.last().Values.size(), 4); // entry 0 unused
}

TEST(CommandRec, IntegerKeepsTheRestOfTheLineAsRangeText) {
    Parsed p;
    p.parse("Delay = [3] 42 ; INTEGER ; 0 to 2000");
    EXPECT_EQ(p.last().RangeText, QStringLiteral("0 to 2000"));
    EXPECT_EQ(p.last().Tail, QStringLiteral("0 to 2000"));
}

TEST(CommandRec, ByteKindIsTheLastLetterAndTheNextFieldIsItsList) {
    const struct {
        const char* line;
        const char* kind;
        int values;
    } cases[] = {{"K = [3] 44 ; BYTEH ; (0)None,(1)All ;", "H", 2},
                 {"K = [3] 44 ; BYTEA ;", "A", 0},
                 {"K = [3] 44 ; BYTE ;", "E", 0},
                 {"K = [3] 44 ; byte h ; (7)Seven", "H", 1}};
    for (const auto& c : cases) {
        Parsed p;
        p.parse(c.line);
        EXPECT_TRUE(p.last().IsByte) << c.line;
        EXPECT_FALSE(p.last().IsList) << c.line;
        EXPECT_EQ(p.last().Kind, QLatin1String(c.kind)) << c.line;
        EXPECT_EQ(p.last().Values.size() - 1, c.values) << c.line;
    }
}

TEST(CommandRec, MissingBracketIsReportedAndTheTokenReadAsItStands) {
    Parsed p;
    p.parse("Name = 3A ; 0..9");
    EXPECT_EQ(p.messages,
              QStringList{QStringLiteral("Badly formed index number in command 'Name'")});
    const CommandRec& r = p.last();
    EXPECT_EQ(r.Panel, 3);
    EXPECT_EQ(r.Cmd, QString());
    EXPECT_TRUE(r.IsRange);
    EXPECT_EQ(r.MinText, QStringLiteral("0"));
    EXPECT_EQ(r.MaxText, QStringLiteral("9"));
}

TEST(CommandRec, PanelNumberIsReadFromUpToThreeCharactersBehindTheBracket) {
    const struct {
        const char* line;
        int panel;
    } cases[] = {{"A = [12] B1 ; 0..9 ;", 12},
                 {"A = [1] B1 ; 0..9 ;", 1},
                 {"A = [x] B1 ; 0..9 ;", 0},
                 {"A = [1234] B1 ; 0..9 ;", 123},
                 {"A = [] B1 ; 0..9 ;", 0}};
    for (const auto& c : cases) {
        Parsed p;
        p.parse(c.line);
        EXPECT_EQ(p.last().Panel, c.panel) << c.line;
        EXPECT_EQ(p.last().Cmd, QStringLiteral("B1")) << c.line;
        EXPECT_TRUE(p.messages.isEmpty()) << c.line;
    }
}

TEST(CommandRec, RangeDecimalsComeFromTheHighEndOnly) {
    const struct {
        const char* values;
        const char* min;
        const char* max;
        int decimals;
    } cases[] = {{"0..1.5", "0", "1.5", 1},   {"0.5..2", "0.5", "2", 0},
                 {"-20..20", "-20", "20", 0}, {"0.00..1.50", "0.00", "1.50", 2},
                 {"1...5", "1", ".5", 1},     {" 1 .. 4.000 ", "1", "4.000", 3}};
    for (const auto& c : cases) {
        Parsed p;
        p.parse(QByteArray("R = [1] B1 ; ").append(c.values).append(" ;").constData());
        EXPECT_EQ(p.last().MinText, QLatin1String(c.min)) << c.values;
        EXPECT_EQ(p.last().MaxText, QLatin1String(c.max)) << c.values;
        EXPECT_EQ(p.last().Decimals, c.decimals) << c.values;
    }
}

TEST(CommandRec, ListItemWithoutTextOrBracket) {
    Parsed p;
    p.parse("L = [1] B1 ; (3),(1)On,27,(4 ;");
    EXPECT_EQ(texts(p.last()), QStringList({QStringLiteral("3="), QStringLiteral("1=On"),
                                            QStringLiteral("7="), QStringLiteral("4=")}));
}

TEST(CommandRec, QuotedListTextKeepsItsDelimiters) {
    Parsed p;
    p.parse("L = [1] B1 ; (1)\"A, B\",(2)\"x;y\",(3)C ; tail");
    EXPECT_EQ(texts(p.last()), QStringList({QStringLiteral("1=A, B"), QStringLiteral("2=x;y"),
                                            QStringLiteral("3=C")}));
    EXPECT_EQ(p.last().Tail, QStringLiteral("tail"));
}

TEST(CommandRec, SecondLineReplacesButKindFlagsOnlyEverSet) {
    Parsed p;
    p.parse("Mode/R = [1] B1 ; (0)Off,(1)On ;");
    p.table[1].ControlIndex = 5;
    p.parse("mode/W = [2] B2(1 ; 0..9 ;");
    ASSERT_EQ(p.table.size(), 2);
    const CommandRec& r = p.table.at(1);
    EXPECT_EQ(r.Name, QStringLiteral("mode"));
    EXPECT_EQ(r.Cmd, QStringLiteral("B2"));
    EXPECT_EQ(r.Action, QStringLiteral("1"));
    EXPECT_EQ(r.Panel, 2);
    EXPECT_EQ(r.ControlIndex, 0);
    EXPECT_FALSE(r.ReadOnly);
    EXPECT_TRUE(r.WriteOnly);
    EXPECT_FALSE(r.NotInIR);
    EXPECT_TRUE(r.IsList);  // kept from the first line
    EXPECT_TRUE(r.IsRange); // set by the second
    EXPECT_EQ(texts(r), QStringList({QStringLiteral("0=Off"), QStringLiteral("1=On")}));

    p.parse("MODE = [3] B3 ; (5)Five ;");
    const CommandRec& again = p.table.at(1);
    EXPECT_EQ(texts(again), QStringList{QStringLiteral("5=Five")});
    EXPECT_EQ(again.Action, QString());
    EXPECT_FALSE(again.WriteOnly);
    EXPECT_TRUE(again.IsRange);
    EXPECT_EQ(again.MaxText, QStringLiteral("9"));
}

TEST(CommandRec, LineWithoutKindLeavesEarlierKindAlone) {
    Parsed p;
    p.parse("X = [1] B1 ; INTEGER ; 1 to 5");
    p.parse("X = [1] B9 ; ; ");
    EXPECT_TRUE(p.last().IsInteger);
    EXPECT_EQ(p.last().Kind, QStringLiteral("V"));
    EXPECT_EQ(p.last().Cmd, QStringLiteral("B9"));

    Parsed fresh;
    fresh.parse("Y = [1] B1 ; ; ");
    EXPECT_FALSE(fresh.last().IsInteger || fresh.last().IsByte || fresh.last().IsRange ||
                 fresh.last().IsList);
    EXPECT_EQ(fresh.last().Kind, QString());
}

TEST(CommandRec, FlagOrderDoesNotMatter) {
    for (const char* line : {"Name/R/N = [1] B1 ; 0..9 ;", "Name/N/R = [1] B1 ; 0..9 ;",
                             "Name /n /r = [1] B1 ; 0..9 ;"}) {
        Parsed p;
        p.parse(line);
        EXPECT_EQ(p.last().Name, QStringLiteral("Name")) << line;
        EXPECT_TRUE(p.last().ReadOnly) << line;
        EXPECT_FALSE(p.last().WriteOnly) << line;
        EXPECT_TRUE(p.last().NotInIR) << line;
    }
}

TEST(CommandRec, FlagNeedsTheSlashRightBeforeItsLetter) {
    Parsed p;
    p.parse("Name/ R = [1] B1 ; 0..9 ;");
    EXPECT_FALSE(p.last().ReadOnly);
    EXPECT_EQ(p.last().Name, QStringLiteral("Name/ R"));
}

TEST(CommandRec, TheNameLooksUpToTheFirstSlash) {
    Parsed p;
    p.parse("Level = [1] B1 ; 0..9 ;");
    p.parse("Level/N = [2] B2 ; 0..9 ;");
    ASSERT_EQ(p.table.size(), 2);
    EXPECT_EQ(p.table.at(1).Cmd, QStringLiteral("B2"));
    EXPECT_TRUE(p.table.at(1).NotInIR);
}

TEST(CommandRec, OverflowingValueLeavesTheTableAlone) {
    Parsed p;
    p.parse("A = [1] B1 ; (1)One ;");
    EXPECT_THROW(p.parse("A = [2] B2 ; (99999)Big ;"), RuntimeError);
    EXPECT_EQ(p.table.size(), 2);
    EXPECT_EQ(p.table.at(1).Cmd, QStringLiteral("B1"));
    EXPECT_THROW(p.parse("B = 99999 B2 ; 0..1 ;"), RuntimeError);
    EXPECT_EQ(p.table.size(), 2);
}

TEST(CommandRec, AnEmptyTableGetsItsUnusedEntryZero) {
    CommandTable table;
    ParseCommandLine(QStringLiteral("A = [1] B1 ; 0..9 ;"), table, nullptr);
    ASSERT_EQ(table.size(), 2);
    EXPECT_EQ(table.at(0).Name, QString());
    EXPECT_EQ(table.at(1).Name, QStringLiteral("A"));
    ParseCommandLine(QStringLiteral("B = 1 B2 ; 0..9 ;"), table, nullptr); // no reporter: quiet
    EXPECT_EQ(table.size(), 3);
}

TEST(CommandRec, FindByCodeAndByNameIgnoreCaseAndSkipEntryZero) {
    Parsed p;
    p.parse("Brightness = [1] B1 ; 0..9 ;");
    p.parse("Input = [0] 4C ; (1)A ;");
    p.table[0].Cmd = QStringLiteral("ZZ");
    p.table[0].Name = QStringLiteral("Ghost");
    EXPECT_EQ(FindCommandByCode(p.table, QStringLiteral("4c")), 2);
    EXPECT_EQ(FindCommandByCode(p.table, QStringLiteral("B1")), 1);
    EXPECT_EQ(FindCommandByCode(p.table, QStringLiteral("ZZ")), 0);
    EXPECT_EQ(FindCommandByName(p.table, QStringLiteral("BRIGHTNESS")), 1);
    EXPECT_EQ(FindCommandByName(p.table, QStringLiteral("Ghost")), 0);
}

} // namespace
