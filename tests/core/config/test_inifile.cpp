// The reader of Telvo.ini: line syntax, conditions, sections and the two passes.

#include "core/config/IniFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

QStringList linesOf(const char* text) {
    return QString::fromUtf8(text).split(u'\n');
}

struct Reader {
    ConfigTables tables;
    IniControls controls = withRateList();
    QList<IniReport> reports;

    // As the window hands them over after InitDefaults.
    static IniControls withRateList() {
        IniControls c;
        c.lstRate = InitialRateList(DefaultBaudRates());
        return c;
    }

    void pass(int n, const char* text) { passLines(n, linesOf(text)); }
    void passLines(int n, const QStringList& lines) {
        reports += ReadIniText(n, lines, tables, controls);
    }
    void both(const char* text) {
        pass(1, text);
        pass(2, text);
    }
};

QStringList names(const QList<NamedText>& table) {
    QStringList out;
    for (int i = 1; i < table.size(); ++i)
        out.append(table.at(i).first + u'=' + table.at(i).second);
    return out;
}

// ---- defaults

TEST(IniDefaults, TablesStartAsInitDefaultsLeavesThem) {
    const ConfigTables t;
    EXPECT_EQ(t.Options, QString());
    EXPECT_EQ(t.UserLevel, 0);
    EXPECT_EQ(t.InterRowSpace, 60);
    EXPECT_FALSE(t.NoDeviceMode);
    EXPECT_EQ(t.MaxPorts, 16);
    EXPECT_TRUE(t.LogToFile);
    EXPECT_FALSE(t.AutoOpen);
    EXPECT_EQ(t.FirmwareDir, QString());
    EXPECT_EQ(TableRows(t.Commands), 0);
    EXPECT_EQ(TableRows(t.StateSettings), 0);
    EXPECT_EQ(TableRows(t.RemoteCodes), 0);
    EXPECT_EQ(TableRows(t.WebSites), 0);
    ASSERT_EQ(t.BaudRates.size(), 7);
    const char* expected[][2] = {{"19200", "4"}, {"57600", "6"}, {"4800", "1"},
                                 {"9600", "2"},  {"14400", "3"}, {"38400", "5"}};
    for (int i = 1; i <= 6; ++i) {
        EXPECT_EQ(t.BaudRates.at(i).Rate, QLatin1String(expected[i - 1][0]));
        EXPECT_EQ(t.BaudRates.at(i).Code, QLatin1String(expected[i - 1][1]));
    }
    const IniControls c;
    EXPECT_EQ(c.DeviceModel, QStringLiteral("Vorix"));
    EXPECT_TRUE(c.lstRate.isEmpty());
    EXPECT_EQ(InitialRateList(t.BaudRates),
              QStringList({"?????", "19200", "57600", "4800", "9600", "14400", "38400"}));
}

// ---- edge cases of the file

TEST(IniReader, SystemOnlyFileLeavesTheTablesEmptyInPassTwo) {
    Reader r;
    r.both("[SYSTEM]\nModel = Gorda\nPort = 2\n");
    EXPECT_EQ(TableRows(r.tables.Commands), 0);
    EXPECT_EQ(TableRows(r.tables.StateSettings), 0);
    EXPECT_EQ(TableRows(r.tables.RemoteCodes), 0);
    EXPECT_EQ(TableRows(r.tables.WebSites), 0);
    EXPECT_EQ(r.tables.PortName, QStringLiteral("COM2"));
    EXPECT_TRUE(r.reports.isEmpty());
}

TEST(IniReader, ModelWithStarSetsNoDeviceModeAndDropsTheStar) {
    Reader r;
    r.pass(1, "[SYSTEM]\nModel=*Gorda");
    EXPECT_TRUE(r.tables.NoDeviceMode);
    EXPECT_EQ(r.controls.DeviceModel, QStringLiteral("Gorda"));
}

TEST(IniReader, VorixConnectedFalseAloneSetsNoDeviceMode) {
    const struct {
        const char* value;
        bool noDevice;
    } cases[] = {
        {"False", true}, {"FALSE", true}, {"True", false}, {"maybe", false}, {"Fal se", false}};
    for (const auto& c : cases) {
        Reader r;
        const QByteArray text =
            QByteArray("[SYSTEM]\nModel = *Gorda\nVorix Connected = ") + c.value;
        r.pass(1, text.constData());
        EXPECT_EQ(r.tables.NoDeviceMode, c.noDevice) << c.value;
    }
}

TEST(IniReader, PortBecomesAComName) {
    Reader r;
    r.pass(1, "[SYSTEM]\nPort = 3");
    EXPECT_EQ(r.tables.PortName, QStringLiteral("COM3"));
}

TEST(IniReader, ApostropheCutsTheRestOfTheLineWherever) {
    EXPECT_EQ(StripIniLine(QStringLiteral("x = 1 ' it's")), QStringLiteral("x = 1 "));
    EXPECT_EQ(StripIniLine(QStringLiteral("  Name = Don't  ")), QStringLiteral("Name = Don"));
    EXPECT_EQ(StripIniLine(QStringLiteral("x = \"a'b\"")), QStringLiteral("x = \"a"));
    EXPECT_EQ(StripIniLine(QStringLiteral("' whole line")), QString());
    Reader r;
    r.pass(1, "[SYSTEM]\nExit Speed = Don't\nBaud = 9600 ' the usual");
    EXPECT_EQ(r.tables.ExitSpeed, QStringLiteral("Don"));
    EXPECT_EQ(r.tables.BaudName, QStringLiteral("9600"));
}

TEST(IniReader, TabBeforeASectionLineKeepsItFromBeingASection) {
    Reader r;
    r.pass(2, "[COMMANDS]\nA = [1] B1 ; 0..9 ;\n\t[WEBSITES]\nForum = [2] B2 ; 0..9 ;");
    EXPECT_EQ(TableRows(r.tables.WebSites), 0);
    ASSERT_EQ(TableRows(r.tables.Commands), 2);
    EXPECT_EQ(r.tables.Commands.at(2).Name, QStringLiteral("Forum"));
}

TEST(IniReader, QuotedSettingValueKeepsDelimitersAndLosesQuotes) {
    Reader r;
    r.pass(2, "[SETTINGS]\nMode = 4C,\"1:2\" : 4C,\"3,4\" ; [A:\"B,1\",C:D]");
    ASSERT_EQ(TableRows(r.tables.StateSettings), 1);
    const StateSettingRow& row = r.tables.StateSettings.at(1);
    EXPECT_EQ(row.SelectCmd, QStringLiteral("4C"));
    EXPECT_EQ(row.SelectValue, QStringLiteral("1:2"));
    EXPECT_EQ(row.RestoreCmd, QStringLiteral("4C"));
    EXPECT_EQ(row.RestoreValue, QStringLiteral("3,4"));
    ASSERT_EQ(row.Parameters.size(), 2);
    EXPECT_EQ(row.Parameters.at(0), NamedText("A", "B,1"));
    EXPECT_EQ(row.Parameters.at(1), NamedText("C", "D"));
}

TEST(IniReader, SecondWebsitesSectionAppends) {
    Reader r;
    r.pass(2, "[WEBSITES]\nA = http://a.invalid/\n[WEBSITES]\nA = http://b.invalid/?x=1");
    EXPECT_EQ(names(r.tables.WebSites),
              QStringList({"A=http://a.invalid/", "A=http://b.invalid/?x=1"}));
}

TEST(IniReader, SecondCommandsSectionEmptiesTheFirst) {
    Reader r;
    r.pass(2,
           "[COMMANDS]\nA = [1] B1 ; 0..9 ;\nB = [1] B2 ; 0..9 ;\n[COMMANDS]\nC = [1] B3 ; 0..9 ;");
    ASSERT_EQ(TableRows(r.tables.Commands), 1);
    EXPECT_EQ(r.tables.Commands.at(1).Name, QStringLiteral("C"));
}

TEST(IniReader, UnknownModelTakesPositiveModelTestsAndSkipsNegatedOnes) {
    Reader r;
    r.pass(1, "[SYSTEM]\nPort (M:~Gorda) = 7\nBaud (M:Gorda) = 9600");
    EXPECT_EQ(r.controls.DeviceModel, QStringLiteral("Vorix"));
    EXPECT_EQ(r.tables.PortName, QString());
    EXPECT_EQ(r.tables.BaudName, QStringLiteral("9600"));
}

// ---- conditions

struct ConditionCase {
    const char* condition;
    const char* model;
    const char* firmware;
    const char* options;
    bool passes;
};

void PrintTo(const ConditionCase& c, std::ostream* os) {
    *os << "(" << c.condition << ") model '" << c.model << "' firmware '" << c.firmware
        << "' options '" << c.options << "'";
}

class Conditions : public ::testing::TestWithParam<ConditionCase> {};

TEST_P(Conditions, DecideWhetherTheLineCounts) {
    const ConditionCase c = GetParam();
    IniControls controls;
    controls.DeviceModel = QLatin1String(c.model);
    controls.txtFirmware = QLatin1String(c.firmware);
    QString line = QStringLiteral("Key (") + QLatin1String(c.condition) + QStringLiteral(") = v");
    const int mode = FilterIniLine(line, 3, controls, QLatin1String(c.options));
    EXPECT_EQ(mode, c.passes ? 3 : 0) << c.condition << " model " << c.model;
    if (c.passes) {
        EXPECT_EQ(line, QStringLiteral("Key  = v"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    IniReader, Conditions,
    ::testing::Values(ConditionCase{"M:Gorda", "Gorda", "", "", true},
                      ConditionCase{"m:gorda", "GORDA", "", "", true},
                      ConditionCase{"M:Gorda", "Fenna", "", "", false},
                      ConditionCase{"M:Gorda", "Vorix", "", "", true},
                      ConditionCase{"M:~Gorda", "Gorda", "", "", false},
                      ConditionCase{"M:~Gorda", "Fenna", "", "", true},
                      ConditionCase{"M:~Gorda", "Vorix", "", "", false},
                      ConditionCase{"M: ~ Fenna", "Gorda", "", "", true},
                      ConditionCase{"M:  Gorda", "Gorda", "", "", true},
                      ConditionCase{"F:1.5", "Gorda", "1.24", "", false},
                      ConditionCase{"F:1.2", "Gorda", "1.24", "", true},
                      ConditionCase{"F:1.24", "Gorda", "1.24", "", true},
                      ConditionCase{"F:9", "Gorda", "", "", true},
                      ConditionCase{"F:1e999", "Gorda", "", "", true},
                      ConditionCase{"F:1e999", "Gorda", "1.0", "", false},
                      ConditionCase{"F: 2", "Gorda", "1.87b", "", false},
                      ConditionCase{"O:SDI", "Gorda", "", "SDI FRKDI", true},
                      ConditionCase{"O:sdi", "Gorda", "", "FRKDI", false},
                      ConditionCase{"O:FRK", "Gorda", "", "FRKDI", true},
                      ConditionCase{"O:SDI", "Gorda", "", "", false},
                      ConditionCase{"O:~SDI", "Gorda", "", "SDI", false},
                      ConditionCase{"O:~ SDI", "Gorda", "", "", true},
                      ConditionCase{"", "Gorda", "", "", true},
                      ConditionCase{"X:anything", "Gorda", "", "", true},
                      ConditionCase{"F:1.5, M:~Fenna", "Gorda", "1.6", "", true},
                      ConditionCase{"F:1.5, M:~Fenna", "Fenna", "1.6", "", false},
                      ConditionCase{"F:1.5, M:~Fenna", "Gorda", "1.4", "", false}));

TEST(IniReader, LineWithoutEqualsIsSkippedInEverySection) {
    IniControls controls;
    QString line = QStringLiteral("just words");
    EXPECT_EQ(FilterIniLine(line, 5, controls, QString()), 0);
    Reader r;
    r.pass(2, "[WEBSITES]\nno equals here\n[REMOTECODES]\nPower 16");
    EXPECT_EQ(TableRows(r.tables.WebSites), 0);
    EXPECT_EQ(TableRows(r.tables.RemoteCodes), 0);
}

TEST(IniReader, BracketAfterTheEqualsIsNoCondition) {
    IniControls controls;
    QString line = QStringLiteral("Restart = [3] 46(1 ; (1)Yes ;");
    EXPECT_EQ(FilterIniLine(line, 3, controls, QString()), 3);
    EXPECT_EQ(line, QStringLiteral("Restart = [3] 46(1 ; (1)Yes ;"));
}

TEST(IniReader, UnclosedConditionMakesTheLineMalformed) {
    IniControls controls;
    QString line = QStringLiteral("Key (M:Gorda = v");
    EXPECT_EQ(FilterIniLine(line, 2, controls, QString()), 0);
}

// ---- [SYSTEM]

TEST(IniReader, SystemKeysAreSquashedAndEachSetsItsField) {
    Reader r;
    r.pass(1, "[ system ]\n"
              "options = sdi frkdi\nUser Level = 1\nInter Row Space = 90\n"
              "Current Firmware = 1.23\nMaximum Ports = 8\n"
              "TelvoUpdateURL = http://updates.telvo.example/list.txt?a=b\n"
              "Exit Speed = 19200\nVorix Models = Gorda, Hesta,Jorn+\n"
              "Confirm Operations = t rue\nRestore Defaults = no\nMax Retry = 3\n"
              "Time Out = 500\nSpeed = 38400\nTransfer Baud = 57600\nSave Settings = TRUE\n"
              "Firmware Folder = C:\\Fw\nSimulation = True\nLog To File = false\n"
              "AutoOpen = True\nUnknown Key = 1");
    const ConfigTables& t = r.tables;
    EXPECT_EQ(t.Options, QStringLiteral("SDI FRKDI"));
    EXPECT_EQ(t.UserLevel, 1);
    EXPECT_EQ(t.InterRowSpace, 90);
    EXPECT_EQ(r.controls.txtFirmware, QStringLiteral("1.23"));
    EXPECT_EQ(t.MaxPorts, 8);
    EXPECT_EQ(t.UpdateUrl, QStringLiteral("http://updates.telvo.example/list.txt?a=b"));
    EXPECT_EQ(t.ExitSpeed, QStringLiteral("19200"));
    EXPECT_EQ(r.controls.lstModelsOfMDL, QStringList({"None", "Gorda", "Hesta", "Jorn+"}));
    EXPECT_EQ(r.controls.chkConfirm, true);
    EXPECT_EQ(r.controls.chkDefaults, false);
    EXPECT_EQ(r.controls.txtretry, QStringLiteral("3"));
    EXPECT_EQ(r.controls.txtTO, QStringLiteral("500"));
    EXPECT_EQ(t.BaudName, QStringLiteral("38400"));
    EXPECT_EQ(t.TransferSpeed, QStringLiteral("57600"));
    EXPECT_EQ(r.controls.chkSaveRestore, true);
    EXPECT_EQ(t.FirmwareDir, QStringLiteral("C:\\Fw\\"));
    EXPECT_EQ(r.controls.chkSim, true);
    EXPECT_FALSE(t.LogToFile);
    EXPECT_TRUE(t.AutoOpen);
    EXPECT_TRUE(r.reports.isEmpty());
}

TEST(IniReader, KeyAliasesReachTheSameField) {
    const struct {
        const char* line;
        int maxPorts;
        const char* options;
    } cases[] = {{"Max Ports = 4", 4, ""},
                 {"Port Count = 5", 5, ""},
                 {"MAXIMUMPORTS = 6", 6, ""},
                 {"Option = x", 16, "X"}};
    for (const auto& c : cases) {
        Reader r;
        r.pass(1, (QByteArray("[SYSTEM]\n") + c.line).constData());
        EXPECT_EQ(r.tables.MaxPorts, c.maxPorts) << c.line;
        EXPECT_EQ(r.tables.Options, QLatin1String(c.options)) << c.line;
    }
}

TEST(IniReader, BooleanKeysLeaveUntouchedControlsUnset) {
    Reader r;
    r.pass(1, "[SYSTEM]\nPort = 1");
    EXPECT_FALSE(r.controls.chkConfirm.has_value());
    EXPECT_FALSE(r.controls.chkSim.has_value());
    EXPECT_FALSE(r.controls.txtTO.has_value());
    EXPECT_FALSE(r.controls.lstModelsOfMDL.has_value());
}

TEST(IniReader, FirmwareFolderGetsOneClosingSeparator) {
    const struct {
        const char* value;
        const char* dir;
    } cases[] = {{"C:\\Fw\\", "C:\\Fw\\"}, {"/home/u/fw/", "/home/u/fw/"}, {"fw", "fw\\"}};
    for (const auto& c : cases) {
        Reader r;
        r.pass(1, (QByteArray("[SYSTEM]\nFirmware Folder = ") + c.value).constData());
        EXPECT_EQ(r.tables.FirmwareDir, QLatin1String(c.dir));
    }
}

TEST(IniReader, BaudRatesReplaceTheTableButNotTheRateList) {
    Reader r;
    r.pass(1, "[SYSTEM]\nBaud Rates = 9600 : 2 , 115200:7,");
    ASSERT_EQ(TableRows(r.tables.BaudRates), 2);
    EXPECT_EQ(r.tables.BaudRates.at(1).Rate, QStringLiteral("9600"));
    EXPECT_EQ(r.tables.BaudRates.at(1).Code, QStringLiteral("2"));
    EXPECT_EQ(r.tables.BaudRates.at(2).Rate, QStringLiteral("115200"));
    EXPECT_EQ(r.tables.BaudRates.at(2).Code, QStringLiteral("7"));
    EXPECT_EQ(r.controls.lstRate, InitialRateList(DefaultBaudRates()));
}

TEST(IniReader, TransferSpeedMustBeInTheRateListFromIndexOne) {
    const struct {
        QStringList rates;
        const char* value;
        const char* kept; // TransferSpeed after the line, which starts as "old"
    } cases[] = {{InitialRateList(DefaultBaudRates()), "38400", "38400"},
                 {InitialRateList(DefaultBaudRates()), "115200", "old"},
                 {InitialRateList(DefaultBaudRates()), "?????", "old"},
                 {{}, "57600", "old"},
                 {{"?????", "Fast"}, "FAST", "FAST"}};
    for (const auto& c : cases) {
        Reader r;
        r.controls.lstRate = c.rates;
        r.tables.TransferSpeed = QStringLiteral("old");
        r.pass(1, (QByteArray("[SYSTEM]\nTransfer Speed = ") + c.value).constData());
        EXPECT_EQ(r.tables.TransferSpeed, QLatin1String(c.kept)) << c.value;
        const bool legal = QLatin1String(c.kept) != QLatin1String("old");
        ASSERT_EQ(r.reports.size(), legal ? 0 : 1) << c.value;
        if (!legal) {
            EXPECT_EQ(r.reports.at(0).kind, IniReport::Alert);
            EXPECT_EQ(r.reports.at(0).text,
                      QStringLiteral("Illegal File Transfer Speed In ini File"));
        }
    }
}

TEST(IniReader, OverflowingNumberSkipsOnlyItsLine) {
    Reader r;
    r.pass(1, "[SYSTEM]\nUser Level = 99999\nMax Ports = 1e400\nPort = 4");
    EXPECT_EQ(r.tables.UserLevel, 0);
    EXPECT_EQ(r.tables.MaxPorts, 16);
    EXPECT_EQ(r.tables.PortName, QStringLiteral("COM4"));
}

TEST(IniReader, InPassOneNothingEndsTheSystemSection) {
    Reader r;
    r.pass(1, "[SYSTEM]\nPort = 1\n[WEBSITES]\nPort = 5\n[COMMANDS]\nBaud = 4800");
    EXPECT_EQ(r.tables.PortName, QStringLiteral("COM5"));
    EXPECT_EQ(r.tables.BaudName, QStringLiteral("4800"));
    EXPECT_EQ(TableRows(r.tables.WebSites), 0);
}

TEST(IniReader, PassOneReadsNothingBeforeTheSystemSection) {
    Reader r;
    r.pass(1, "Port = 9\n[WEBSITES]\nPort = 8");
    EXPECT_EQ(r.tables.PortName, QString());
}

TEST(IniReader, InPassTwoSystemLinesAreIgnoredAndSystemEndsNothing) {
    Reader r;
    r.pass(2, "[SYSTEM]\nPort = 1\nModel = Fenna\n[WEBSITES]\nA = a\n[SYSTEM]\nB = b");
    EXPECT_EQ(r.tables.PortName, QString());
    EXPECT_EQ(r.controls.DeviceModel, QStringLiteral("Vorix"));
    EXPECT_EQ(names(r.tables.WebSites), QStringList({"A=a", "B=b"}));
}

TEST(IniReader, LaterConditionsSeeModelFirmwareAndOptionsSetEarlierInThePass) {
    Reader r;
    r.pass(1, "[SYSTEM]\nModel = Fenna\nPort (M:Gorda) = 5\nCurrent Firmware = 1.1\n"
              "Baud (F:1.2) = 9600\nOptions = SDI\nExit Speed (O:SDI) = 4800");
    EXPECT_EQ(r.tables.PortName, QString());
    EXPECT_EQ(r.tables.BaudName, QString());
    EXPECT_EQ(r.tables.ExitSpeed, QStringLiteral("4800"));
}

// ---- sections of pass 2

TEST(IniReader, SectionLinesAreSquashedAndUnknownOnesChangeNothing) {
    Reader r;
    r.pass(2, "[ Web Sites ]\nA = a\n[Something Else]\nB = b\n[ websites ] ' again\nC = c");
    EXPECT_EQ(names(r.tables.WebSites), QStringList({"A=a", "B=b", "C=c"}));
}

TEST(IniReader, PassOneFillsNoTables) {
    Reader r;
    r.pass(1, "[COMMANDS]\nA = [1] B1 ; 0..9 ;\n[SETTINGS]\nX = B1;\n[REMOTECODES]\nP = 1");
    EXPECT_EQ(TableRows(r.tables.Commands), 0);
    EXPECT_EQ(TableRows(r.tables.StateSettings), 0);
    EXPECT_EQ(TableRows(r.tables.RemoteCodes), 0);
}

TEST(IniReader, SettingRowsOfAllThreeSectionsShareOneTable) {
    Reader r;
    r.controls.DeviceModel = QStringLiteral("Gorda");
    r.controls.txtFirmware = QStringLiteral("1.6");
    r.tables.Options = QStringLiteral("SDI FRKDI");
    r.pass(2, "[SETTINGSBYSTATE]\n"
              "Input 1 = 4C,1 : 4C,1 ; [Brightness:B1,Contrast:B2]\n"
              "Input SDI (O:SDI) = 4C,12 : 4C,12 ; [Brightness:B1]\n"
              "[GENERALSETTINGS]\n"
              "Aspect (F:1.5, M:~Fenna) = A3;\n"
              "Skipped (F:2.0) = D1;\n"
              "[SETTINGS]\n"
              "Odd Tail = D2 ; Brightness:B1\n");
    ASSERT_EQ(TableRows(r.tables.StateSettings), 4);
    const StateSettingRow& in1 = r.tables.StateSettings.at(1);
    EXPECT_EQ(in1.Name, QStringLiteral("Input 1"));
    EXPECT_EQ(in1.SelectCmd, QStringLiteral("4C"));
    EXPECT_EQ(in1.SelectValue, QStringLiteral("1"));
    EXPECT_EQ(in1.RestoreCmd, QStringLiteral("4C"));
    EXPECT_EQ(in1.RestoreValue, QStringLiteral("1"));
    EXPECT_EQ(in1.Parameters, QList<NamedText>({{"Brightness", "B1"}, {"Contrast", "B2"}}));
    EXPECT_EQ(r.tables.StateSettings.at(2).Name, QStringLiteral("Input SDI"));
    EXPECT_EQ(r.tables.StateSettings.at(2).SelectValue, QStringLiteral("12"));
    const StateSettingRow& aspect = r.tables.StateSettings.at(3);
    EXPECT_EQ(aspect.Name, QStringLiteral("Aspect"));
    EXPECT_EQ(aspect.SelectCmd, QStringLiteral("A3"));
    EXPECT_EQ(aspect.SelectValue, QString());
    EXPECT_EQ(aspect.RestoreCmd, QString());
    EXPECT_TRUE(aspect.Parameters.isEmpty());
    EXPECT_TRUE(r.tables.StateSettings.at(4).Parameters.isEmpty()); // tail without brackets
}

TEST(IniReader, SettingRowOfTheSameNameIsReusedAndItsParametersEmptied) {
    Reader r;
    r.pass(2, "[SETTINGS]\nInput 1 = 4C,1 : 4C,1 ; [A:B1,C:B2]\nINPUT 1 = 4C,2 : 4C,3 ;\n"
              "[GENERALSETTINGS]\nOther = D1;");
    ASSERT_EQ(TableRows(r.tables.StateSettings), 2);
    const StateSettingRow& row = r.tables.StateSettings.at(1);
    EXPECT_EQ(row.Name, QStringLiteral("INPUT 1"));
    EXPECT_EQ(row.SelectValue, QStringLiteral("2"));
    EXPECT_EQ(row.RestoreValue, QStringLiteral("3"));
    EXPECT_TRUE(row.Parameters.isEmpty());
}

TEST(IniReader, RemoteCodesKeepTheLastLineOfANameAndAreEmptiedBySection) {
    Reader r;
    r.pass(2, "[REMOTECODES]\nOld = 1\n[REMOTECODES]\nPower = 16\nMenu = 17\npower = 99\n");
    EXPECT_EQ(names(r.tables.RemoteCodes), QStringList({"power=99", "Menu=17"}));
}

TEST(IniReader, CommandMessagesBecomeReportsInOrder) {
    Reader r;
    r.pass(2, "[COMMANDS]\nFirst = 3A ; 0..9\nGood = [1] B1 ; 0..9 ;\nSecond = B2 ; 0..9 ;");
    ASSERT_EQ(r.reports.size(), 2);
    EXPECT_EQ(r.reports.at(0).kind, IniReport::MessageBox);
    EXPECT_EQ(r.reports.at(0).text, QStringLiteral("Badly formed index number in command 'First'"));
    EXPECT_EQ(r.reports.at(1).text,
              QStringLiteral("Badly formed index number in command 'Second'"));
    EXPECT_EQ(TableRows(r.tables.Commands), 3);
}

TEST(IniReader, ConditionalCommandLineOverridesTheGeneralOne) {
    Reader r;
    r.controls.DeviceModel = QStringLiteral("Hesta");
    r.pass(2, "[COMMANDS]\nGamma = [2] 65 ; 1.0..2.8 ;\nGamma (M:Hesta) = [2] 65 ; 1.0..2.6 ;\n"
              "Gamma (M:Fenna) = [2] 65 ; 1.0..2.2 ;");
    ASSERT_EQ(TableRows(r.tables.Commands), 1);
    EXPECT_EQ(r.tables.Commands.at(1).MaxText, QStringLiteral("2.6"));
}

// ---- lines of a file

TEST(IniText, SplitTakesCrLfAndLf) {
    EXPECT_EQ(SplitTextLines("a\r\nb\nc"), QStringList({"a", "b", "c"}));
    EXPECT_EQ(SplitTextLines("a\r\n\r\nb\r\n"), QStringList({"a", "", "b"}));
    EXPECT_EQ(SplitTextLines("a\rb\n"), QStringList{QStringLiteral("a\rb")});
    EXPECT_EQ(SplitTextLines(QByteArray()), QStringList());
    EXPECT_EQ(SplitTextLines("\n"), QStringList{QString()});
}

TEST(IniText, SplitReadsUtf8AndLatin1ForInvalidBytes) {
    EXPECT_EQ(SplitTextLines("caf\xC3\xA9"), QStringList{QStringLiteral("caf\u00E9")});
    EXPECT_EQ(SplitTextLines("caf\xE9"), QStringList{QStringLiteral("caf\u00E9")});
    EXPECT_EQ(SplitTextLines("\xC3"), QStringList{QStringLiteral("\u00C3")});
    EXPECT_EQ(SplitTextLines("\xED\xA0\x80"), QStringList{QStringLiteral("\u00ED\u00A0\u0080")});
    EXPECT_EQ(SplitTextLines("\xF0\x9F\x98\x80!"), QStringList{QStringLiteral("\U0001F600!")});
    EXPECT_EQ(SplitTextLines(QByteArray("a\0b", 3)), QStringList{QString("a") + QChar(0) + "b"});
}

TEST(IniText, SplitDropsAByteOrderMark) {
    EXPECT_EQ(SplitTextLines("\xEF\xBB\xBF[SYSTEM]\n"), QStringList{QStringLiteral("[SYSTEM]")});
}

TEST(IniText, FirstLineAndPrototypeWord) {
    const QStringList proto = {"", "  ' comment", "  Prototype", "[SYSTEM]"};
    EXPECT_EQ(FirstIniLine(proto), QStringLiteral("Prototype"));
    EXPECT_TRUE(IsPrototypeFile(proto));
    // The comment-cut line keeps its blank: with a note behind it the word is no template.
    const QStringList noted = {"PROTOTYPE ' note", "[SYSTEM]"};
    EXPECT_EQ(FirstIniLine(noted), QStringLiteral("PROTOTYPE "));
    EXPECT_FALSE(IsPrototypeFile(noted));
    EXPECT_FALSE(IsPrototypeFile({"[SYSTEM]", "PROTOTYPE"}));
    EXPECT_FALSE(IsPrototypeFile({"PROTOTYPES"}));
    EXPECT_EQ(FirstIniLine({"", "'"}), QString());
    EXPECT_FALSE(IsPrototypeFile({}));
}

// ---- the sample file that goes with the program

QStringList sampleLines() {
    // ctest names the source folder; run by hand, the test finds it from its own path.
    QString dir = qEnvironmentVariable("TELVO_SOURCE_DIR");
    if (dir.isEmpty())
        dir = QFileInfo(QStringLiteral(__FILE__)).absolutePath() + QStringLiteral("/../..");
    QFile file(dir + QStringLiteral("/data/Telvo.ini"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return SplitTextLines(file.readAll());
}

TEST(SampleIni, ReadsCleanlyThroughBothPasses) {
    const QStringList lines = sampleLines();
    ASSERT_FALSE(lines.isEmpty()) << "data/Telvo.ini not found";
    EXPECT_FALSE(IsPrototypeFile(lines));
    Reader r;
    r.passLines(1, lines);
    EXPECT_TRUE(r.reports.isEmpty());
    const QStringList texts = {r.controls.DeviceModel,
                               r.controls.txtFirmware,
                               r.tables.Options,
                               r.tables.PortName,
                               r.tables.BaudName,
                               r.tables.TransferSpeed,
                               r.tables.ExitSpeed,
                               r.tables.UpdateUrl,
                               r.controls.txtTO.value_or("unset"),
                               r.controls.txtretry.value_or("unset")};
    EXPECT_EQ(texts, QStringList({"Gorda", "1.24", "SDI", "COM1", "19200", "57600", "",
                                  "http://updates.telvo.example/vorix/list.txt", "250", "1"}));
    EXPECT_EQ(r.tables.MaxPorts, 16);
    EXPECT_EQ(r.tables.UserLevel, 0);
    EXPECT_FALSE(r.tables.NoDeviceMode);
    EXPECT_TRUE(r.tables.AutoOpen && r.tables.LogToFile);
    EXPECT_EQ(r.controls.chkConfirm, false);
    EXPECT_EQ(r.controls.chkSaveRestore, true);
    EXPECT_EQ(r.controls.lstModelsOfMDL,
              QStringList({"None", "Fenna", "Gorda", "Hesta", "Jorn", "Jorn+"}));
    EXPECT_EQ(TableRows(r.tables.BaudRates), 6);

    r.passLines(2, lines);
    EXPECT_TRUE(r.reports.isEmpty());
    const CommandTable& cmds = r.tables.Commands;
    int onPanels = 0;
    bool list = false, range = false, decimals = false, integer = false, byteA = false,
         byteH = false, readOnly = false, writeOnly = false, notInIR = false;
    QSet<QString> actions;
    for (int i = 1; i < cmds.size(); ++i) {
        const CommandRec& c = cmds.at(i);
        if (c.Panel >= 1 && c.Panel <= 3)
            ++onPanels;
        EXPECT_EQ(c.Cmd.size(), 2) << c.Name.toStdString();
        list |= c.IsList;
        range |= c.IsRange;
        decimals |= c.IsRange && c.Decimals > 0;
        integer |= c.IsInteger && !c.RangeText.isEmpty();
        byteA |= c.IsByte && c.Kind == QStringLiteral("A");
        byteH |= c.IsByte && c.Kind == QStringLiteral("H");
        readOnly |= c.ReadOnly;
        writeOnly |= c.WriteOnly;
        notInIR |= c.NotInIR && !c.ReadOnly;
        if (!c.Action.isEmpty())
            actions.insert(c.Action);
    }
    EXPECT_GE(onPanels, 40);
    EXPECT_TRUE(list && range && decimals && integer && byteA && byteH);
    EXPECT_TRUE(readOnly && writeOnly && notInIR);
    EXPECT_EQ(actions, QSet<QString>({"1", "2", "3"}));
    for (const char* code : {"E0", "E1", "A8", "A9", "4C", "60"})
        EXPECT_GT(FindCommandByCode(cmds, QLatin1String(code)), 0) << code;
    EXPECT_EQ(cmds.at(FindCommandByCode(cmds, "E1")).Panel, 0);
    EXPECT_EQ(cmds.at(FindCommandByCode(cmds, "E0")).Panel, 0);
    // Conditions: the Gorda line is in, the Fenna, Hesta and firmware 2.0 lines are out.
    EXPECT_GT(FindCommandByName(cmds, "Sync Polarity"), 0);
    EXPECT_EQ(FindCommandByName(cmds, "Fenna Bypass"), 0);
    EXPECT_EQ(FindCommandByName(cmds, "Legacy Sync"), 0);
    EXPECT_EQ(cmds.at(FindCommandByName(cmds, "Gamma")).MaxText, QStringLiteral("2.8"));
    EXPECT_EQ(cmds.at(FindCommandByName(cmds, "Sharpness")).MaxText, QStringLiteral("15"));
    for (const char* reserved : {"A1", "A2", "A3", "AC", "AD", "AE"})
        EXPECT_EQ(FindCommandByCode(cmds, QLatin1String(reserved)), 0) << reserved;

    int inputs = 0;
    QSet<QString> types;
    for (int i = 1; i < r.tables.StateSettings.size(); ++i) {
        const StateSettingRow& row = r.tables.StateSettings.at(i);
        if (!row.SelectValue.isEmpty()) {
            types.insert(row.Name.section(u' ', 0, 0).toUpper());
            EXPECT_FALSE(row.Parameters.isEmpty()) << row.Name.toStdString();
            for (const NamedText& p : row.Parameters)
                EXPECT_GT(FindCommandByCode(cmds, p.second), 0) << p.first.toStdString();
        }
        if (row.SelectCmd == QStringLiteral("4C"))
            ++inputs;
    }
    EXPECT_EQ(inputs, 12);
    EXPECT_EQ(types, QSet<QString>({"INPUT", "OUTPUT", "PRESET", "DISPLAY"}));
    EXPECT_GE(TableRows(r.tables.StateSettings), 25);

    QStringList remote;
    for (int i = 1; i < r.tables.RemoteCodes.size(); ++i)
        remote.append(r.tables.RemoteCodes.at(i).first);
    for (const char* key : {"Power", "Menu", "Up", "Down", "Left", "Right", "Enter", "Exit",
                            "Digit 0", "Digit 9", "Input SDI"})
        EXPECT_TRUE(remote.contains(QLatin1String(key))) << key;
    EXPECT_GE(TableRows(r.tables.WebSites), 3);
}

} // namespace
