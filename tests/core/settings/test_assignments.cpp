// Values compared as the device holds them, and the files apply reads, without a device.

#include "core/config/CommandRec.h"
#include "core/settings/Assignments.h"
#include "core/settings/ValueCheck.h"

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

using namespace telvo::core;

namespace {

CommandTable table() {
    CommandTable t = EmptyCommandTable();
    for (const char* l :
         {"Brightness = [1] B1 ; -50..50 ;",
          "Noise Reduction = [1] B6 ; (0)Off,(1)Low,(2)Medium,(3)High ;",
          "Red Gain = [2] 67 ; 0.00..1.50 ;", "Audio Delay = [2] 6E ; INTEGER ; 0 to 250 ms",
          "OSD Timeout = [3] D1 ; INTEGER ; 5 to 120 seconds",
          "Menu Language = [3] D3 ; (1)English,(2)Deutsch,(3)Francais ;",
          "IR Code Set = [3] D4 ; BYTEH ; (0)Standard,(1)Alternate ;",
          "Device Name = [3] D5 ; BYTEA ;"})
        ParseCommandLine(QString::fromLatin1(l), t, [](const QString&) {});
    return t;
}

const CommandRec& rec(const CommandTable& t, const char* name) {
    return t.at(FindCommandByName(t, QString::fromLatin1(name)));
}

TEST(DeviceTerms, ARangeComparesAtItsDecimals) {
    const CommandTable t = table();
    const CommandRec& gain = rec(t, "Red Gain");
    EXPECT_EQ(DeviceTerms(gain, QStringLiteral("1.5")), QStringLiteral("1.50"));
    EXPECT_TRUE(SameDeviceValue(gain, QStringLiteral("1.5"), QStringLiteral("1.50")));
    EXPECT_TRUE(SameDeviceValue(gain, QStringLiteral(".5"), QStringLiteral("0.50")));
    EXPECT_FALSE(SameDeviceValue(gain, QStringLiteral("1.5"), QStringLiteral("1.49")));
    const CommandRec& b = rec(t, "Brightness");
    EXPECT_TRUE(SameDeviceValue(b, QStringLiteral("-0"), QStringLiteral("0")));
    EXPECT_TRUE(SameDeviceValue(b, QStringLiteral("+7"), QStringLiteral("7")));
    EXPECT_FALSE(SameDeviceValue(b, QStringLiteral("7"), QStringLiteral("-7")));
    EXPECT_EQ(DeviceTerms(b, QStringLiteral("abc")), std::nullopt);
}

TEST(DeviceTerms, AListComparesByRowWhateverItsSpelling) {
    const CommandTable t = table();
    const CommandRec& nr = rec(t, "Noise Reduction");
    EXPECT_EQ(DeviceTerms(nr, QStringLiteral("medium")), QStringLiteral("2"));
    EXPECT_TRUE(SameDeviceValue(nr, QStringLiteral("Medium"), QStringLiteral("2")));
    EXPECT_TRUE(SameDeviceValue(nr, QStringLiteral("MEDIUM"), QStringLiteral("medium")));
    EXPECT_FALSE(SameDeviceValue(nr, QStringLiteral("Medium"), QStringLiteral("High")));
    // Menu Language's numbers start at 1: its row 0 is the value 1.
    const CommandRec& lang = rec(t, "Menu Language");
    EXPECT_TRUE(SameDeviceValue(lang, QStringLiteral("English"), QStringLiteral("1")));
    EXPECT_FALSE(SameDeviceValue(lang, QStringLiteral("English"), QStringLiteral("0")));
    // Not a value of the list: equal only to itself.
    EXPECT_FALSE(SameDeviceValue(nr, QStringLiteral("N/A"), QStringLiteral("Off")));
    EXPECT_TRUE(SameDeviceValue(nr, QStringLiteral("N/A"), QStringLiteral("N/A")));
}

TEST(DeviceTerms, IntegersHexBytesAndCharacters) {
    const CommandTable t = table();
    EXPECT_TRUE(
        SameDeviceValue(rec(t, "Audio Delay"), QStringLiteral("040"), QStringLiteral("40")));
    EXPECT_FALSE(
        SameDeviceValue(rec(t, "Audio Delay"), QStringLiteral("40"), QStringLiteral("41")));
    EXPECT_TRUE(SameDeviceValue(rec(t, "IR Code Set"), QStringLiteral("0a"), QStringLiteral("0A")));
    EXPECT_FALSE(
        SameDeviceValue(rec(t, "IR Code Set"), QStringLiteral("00"), QStringLiteral("01")));
    // A character is its own value: case matters.
    EXPECT_TRUE(SameDeviceValue(rec(t, "Device Name"), QStringLiteral("V"), QStringLiteral("V")));
    EXPECT_FALSE(SameDeviceValue(rec(t, "Device Name"), QStringLiteral("v"), QStringLiteral("V")));
}

TEST(DeviceTerms, AValueAsTheLabelWillShowIt) {
    const CommandTable t = table();
    EXPECT_EQ(ValueAsShown(rec(t, "Red Gain"), QStringLiteral("1.5")), QStringLiteral("1.50"));
    EXPECT_EQ(ValueAsShown(rec(t, "Red Gain"), QStringLiteral(".5")), QStringLiteral("0.50"));
    EXPECT_EQ(ValueAsShown(rec(t, "Audio Delay"), QStringLiteral("+040")), QStringLiteral("40"));
    EXPECT_EQ(ValueAsShown(rec(t, "Noise Reduction"), QStringLiteral("2")),
              QStringLiteral("Medium"));
    EXPECT_EQ(ValueAsShown(rec(t, "Noise Reduction"), QStringLiteral("high")),
              QStringLiteral("High"));
    EXPECT_EQ(ValueAsShown(rec(t, "Brightness"), QStringLiteral("12")), QStringLiteral("12"));
    EXPECT_EQ(ValueAsShown(rec(t, "IR Code Set"), QStringLiteral("0a")), QStringLiteral("0A"));
}

TEST(Assignments, AWordIsNameEqualsValueWithBlanksAllowed) {
    const std::optional<Assignment> a = ParseAssignment(QStringLiteral("  Red Gain =  1.5 "));
    ASSERT_TRUE(a);
    EXPECT_EQ(a->name, QStringLiteral("Red Gain"));
    EXPECT_EQ(a->value, QStringLiteral("1.5"));
    EXPECT_EQ(ParseAssignment(QStringLiteral("Brightness")), std::nullopt);
    EXPECT_EQ(ParseAssignment(QStringLiteral("=5")), std::nullopt);
    // An empty value is a value the checks refuse, not a parse error.
    EXPECT_EQ(ParseAssignment(QStringLiteral("Brightness=")).value().value, QString());
}

TEST(Assignments, AFileOfLinesWithCommentsAndBlankLines) {
    const AssignmentFile f = ReadAssignments("# the rack's look\r\n\r\nBrightness = 10\r\n   # "
                                             "indented comment\nNoise Reduction=High\n\n",
                                             table());
    EXPECT_TRUE(f.problem.isEmpty()) << f.problem.toStdString();
    EXPECT_FALSE(f.saved);
    ASSERT_EQ(f.items.size(), 2);
    EXPECT_EQ(f.items.at(0).line, 3);
    EXPECT_EQ(f.items.at(0).name, QStringLiteral("Brightness"));
    EXPECT_EQ(f.items.at(0).value, QStringLiteral("10"));
    EXPECT_EQ(f.items.at(1).line, 5);
    EXPECT_EQ(f.items.at(1).value, QStringLiteral("High"));
}

TEST(Assignments, AFileThatIsNeitherKindIsToldByItsLine) {
    EXPECT_EQ(ReadAssignments("Brightness=1\nhello world\n", table()).problem,
              QStringLiteral("line 2 is neither NAME=VALUE nor a saved setting: hello world"));
    EXPECT_EQ(ReadAssignments("# nothing\n\n", table()).problem,
              QStringLiteral("it names no setting"));
    EXPECT_EQ(ReadAssignments(QByteArray("a=\0b", 4), table()).problem,
              QStringLiteral("it is not text"));
    // A saved file is as save wrote it: no other line in it.
    const AssignmentFile mixed =
        ReadAssignments("SetParameter=OSD Timeout, D130\r\nBrightness=4\r\n", table());
    EXPECT_TRUE(mixed.saved);
    EXPECT_EQ(mixed.problem, QStringLiteral("line 2 is not a saved setting: Brightness=4"));
    EXPECT_TRUE(mixed.items.isEmpty());
}

TEST(Assignments, ASavedFileGivesItsPlainLinesAndLeavesItsStates) {
    const AssignmentFile f =
        ReadAssignments("SetState=Input Video 1,4C1; SetParameter=Brightness, B10\r\n"
                        "SetState=Input Video 1,4C1; SetParameter=Noise Reduction, B62\r\n"
                        "SetState=Output Analog,601; SetParameter=Output Resolution, 613\r\n"
                        "SetParameter=OSD Timeout, D130\r\n"
                        "SetParameter=Menu Language, D32\r\n"
                        "SetParameter=IR Code Set, D401\r\n"
                        "SetParameter=Mystery, Z95\r\n",
                        table());
    EXPECT_TRUE(f.problem.isEmpty()) << f.problem.toStdString();
    EXPECT_TRUE(f.saved);
    EXPECT_EQ(f.leftLines, 3);
    EXPECT_EQ(f.leftStates,
              (QStringList{QStringLiteral("Input Video 1"), QStringLiteral("Output Analog")}));
    ASSERT_EQ(f.items.size(), 4);
    EXPECT_EQ(f.items.at(0).line, 4);
    EXPECT_EQ(f.items.at(0).name, QStringLiteral("OSD Timeout"));
    EXPECT_EQ(f.items.at(0).value, QStringLiteral("30"));
    // A list's number becomes its text, as set takes it.
    EXPECT_EQ(f.items.at(1).name, QStringLiteral("Menu Language"));
    EXPECT_EQ(f.items.at(1).value, QStringLiteral("Deutsch"));
    EXPECT_EQ(f.items.at(2).value, QStringLiteral("01"));
    // A code in no record keeps the name and the value as saved: the checks name it.
    EXPECT_EQ(f.items.at(3).name, QStringLiteral("Mystery"));
    EXPECT_EQ(f.items.at(3).value, QStringLiteral("5"));
}

} // namespace
