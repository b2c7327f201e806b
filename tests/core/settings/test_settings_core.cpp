// The setting panels, value entry and Settings.txt without a window: placement, answers,
// chooser rules and the file's lines.

#include "core/config/CommandRec.h"
#include "core/link/Protocol.h"
#include "core/settings/Panels.h"
#include "core/settings/SettingsFile.h"
#include "core/settings/ValueEntry.h"

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

using namespace telvo::core;

namespace {

const QString kNul = QString(QChar(0));

CommandTable table(const QStringList& lines) {
    CommandTable t = EmptyCommandTable();
    for (const QString& l : lines)
        ParseCommandLine(l, t, [](const QString&) {});
    return t;
}

// A reply as the device sends it: STX, type, two-digit length, command, NUL, value, NUL, ETX.
QString reply(const QString& type, const QString& cmd, const QString& value,
              const QString& length = QString()) {
    const QString len =
        length.isEmpty() ? QStringLiteral("%1").arg(value.size() + 4, 2, 16, QChar(u'0')).toUpper()
                         : length;
    return QString(QChar(2)) + type + len + cmd + kNul + value + kNul + QString(QChar(3));
}

} // namespace

TEST(Placement, NoSettingsGiveNoLabels) {
    EXPECT_TRUE(PlaceLabels(EmptyCommandTable(), PanelMetrics{}).isEmpty());
}

TEST(Placement, FourthOfTheTopPanelStartsRowTwoButFourthOfTheBottomStaysInRowOne) {
    CommandTable t = table({"A = [1] B1 ; 0..9 ;", "B = [1] B2 ; 0..9 ;", "C = [1] B3 ; 0..9 ;",
                            "D = [1] B4 ; 0..9 ;", "E = [3] D1 ; 0..9 ;", "F = [3] D2 ; 0..9 ;",
                            "G = [3] D3 ; 0..9 ;", "H = [3] D4 ; 0..9 ;", "I = [3] D5 ; 0..9 ;",
                            "J = [0] E1 ; (0)a ;", "K = [2] 61 ; 0..9 ;"});
    PanelMetrics m;
    m.topWidth = 6200;
    m.line1X = 1800;
    m.midWidth = 6200;
    m.line2X = 2000;
    m.btmWidth = 8300;
    m.labelHeight = 255;
    m.interRowSpace = 60;
    const QList<LabelPlace> p = PlaceLabels(t, m);
    ASSERT_EQ(p.size(), 10); // panel 0 gets no label
    const LabelPlace& d = p.at(3);
    EXPECT_EQ(d.panel, 1);
    EXPECT_EQ(d.number, 4);
    EXPECT_EQ(d.row, 1);
    EXPECT_EQ(d.column, 0);
    EXPECT_EQ(d.mapIndex, 4);
    // Top column (6200 - 1800 - 200) / 3 = 1400.
    EXPECT_EQ(d.left, 1800 + 120);
    EXPECT_EQ(d.top, 1 * (255 + 60) + 240);
    EXPECT_EQ(p.at(2).left, 2 * 1400 + 1800 + 120);
    const LabelPlace& h = p.at(7);
    EXPECT_EQ(h.panel, 3);
    EXPECT_EQ(h.number, 4);
    EXPECT_EQ(h.row, 0);
    EXPECT_EQ(h.column, 3);
    EXPECT_EQ(h.mapIndex, 204);
    // Bottom column (8300 - 300) / 4 = 2000.
    EXPECT_EQ(h.left, 3 * 2000 + 120);
    EXPECT_EQ(h.top, 240);
    EXPECT_EQ(p.at(8).row, 1);
    EXPECT_EQ(p.at(8).column, 0);
    const LabelPlace& k = p.at(9);
    EXPECT_EQ(k.panel, 2);
    EXPECT_EQ(k.mapIndex, 101);
    EXPECT_EQ(k.left, 2000 + 120);
}

TEST(Placement, ColumnWidthsRoundToEven) {
    CommandTable t = table({"A = [1] B1 ; 0..9 ;", "B = [1] B2 ; 0..9 ;"});
    PanelMetrics m;
    m.topWidth = 207; // (207 - 0 - 200) / 3 = 2.33 -> 2
    EXPECT_EQ(PlaceLabels(t, m).at(1).left, 2 + 120);
    m.topWidth = 215; // 5 -> 5
    EXPECT_EQ(PlaceLabels(t, m).at(1).left, 5 + 120);
}

class Answers : public ::testing::Test {
protected:
    CommandTable t =
        table({"Noise = [1] B6 ; (0)Off,(1)Low,(3)High ;", "Zoom = [1] C5 ; 1.00..4.00 ;",
               "Delay = [2] 6E ; INTEGER ; 0 to 250", "Code = [3] D4 ; BYTEH ;",
               "Model/R = [3] A8 ; ;", "Firmware/R = [3] A9 ; ;", "Plain = [3] D9 ; ;"});
    QString show(const QString& r, bool* unknown = nullptr) {
        return FormatAnswerText(t, r, QStringLiteral("Gorda"), QStringLiteral("1.24"), unknown);
    }
};

TEST_F(Answers, ErrorReplyReadsNotApplicable) {
    EXPECT_EQ(show(reply("02", "B6", "3")), QStringLiteral("N/A"));
}

TEST_F(Answers, OtherTypesShowNothing) {
    EXPECT_EQ(show(reply("01", "B6", "3")), QString());
    EXPECT_EQ(show(QString()), QString());
}

TEST_F(Answers, UnknownCommandIsFlaggedAndEmpty) {
    bool unknown = false;
    EXPECT_EQ(show(reply("21", "ZZ", "3"), &unknown), QString());
    EXPECT_TRUE(unknown);
    show(reply("21", "b6", "1"), &unknown);
    EXPECT_FALSE(unknown); // commands compare without regard to case
}

TEST_F(Answers, EachKindShowsItsValue) {
    EXPECT_EQ(show(reply("21", "B6", "3")), QStringLiteral("High"));
    EXPECT_EQ(show(reply("21", "B6", "2")), QString()); // no such row
    EXPECT_EQ(show(reply("21", "C5", "2.50")), QStringLiteral("2.50"));
    EXPECT_EQ(show(reply("21", "6E", "120")), QStringLiteral("120"));
    EXPECT_EQ(show(reply("21", "D4", "1F")), QStringLiteral("1F"));
    EXPECT_EQ(show(reply("21", "D9", "1")), QString()); // no kind
}

TEST_F(Answers, ModelAndFirmwareShowTheWindowsTexts) {
    EXPECT_EQ(show(reply("21", "A8", "Vorix Gorda FRK102")), QStringLiteral("Gorda"));
    EXPECT_EQ(show(reply("21", "A9", "1.87f")), QStringLiteral("1.24"));
}

TEST_F(Answers, ValueEndsAtNulAndIsEmptyWithoutOne) {
    EXPECT_EQ(AnswerValue(QStringLiteral("x2106B6") + kNul + QStringLiteral("12") + kNul + "zz"),
              QStringLiteral("12"));
    EXPECT_EQ(AnswerValue(QStringLiteral("x2106B6") + kNul + QStringLiteral("12")), QString());
}

TEST(SettingsLines, PlainAndStateFormsStandExactly) {
    EXPECT_EQ(PlainSettingsLine(QStringLiteral("Aspect"), QStringLiteral("A32")),
              QStringLiteral("SetParameter=Aspect, A32"));
    EXPECT_EQ(StateSettingsLine(QStringLiteral("Input 1"), QStringLiteral("4C"),
                                QStringLiteral("1"), QStringLiteral("Brightness"),
                                QStringLiteral("B1120")),
              QStringLiteral("SetState=Input 1,4C1; SetParameter=Brightness, B1120"));
}

TEST(SettingsLines, SavedAnswerReadsTheLengthAsDecimal) {
    EXPECT_EQ(SavedAnswer(reply("21", "B1", "120", "07")), QStringLiteral("B1120"));
    EXPECT_EQ(SavedAnswer(reply("21", "D5", "Q", "05")), QStringLiteral("D5Q"));
    // "0A" reads as 0 here: a value of six characters does not come out.
    EXPECT_EQ(SavedAnswer(reply("21", "D5", "ABCDEF", "0A")), QStringLiteral("D5"));
    // Decimal digits in the length field do.
    EXPECT_EQ(SavedAnswer(reply("21", "D5", "ABCDEF", "10")), QStringLiteral("D5ABCDEF"));
}

TEST(SettingsLines, StateTypeIsTheFirstWordInUpperCase) {
    EXPECT_EQ(StateType(QStringLiteral("Input 1")), QStringLiteral("INPUT"));
    EXPECT_EQ(StateType(QStringLiteral("Display Profile 2")), QStringLiteral("DISPLAY"));
    EXPECT_EQ(StateType(QStringLiteral("preset")), QStringLiteral("PRESET"));
}

TEST(SettingsLines, LinesAreCutAsTheRestoreReadsThem) {
    const SettingsLine s =
        ParseSettingsLine(QStringLiteral("SetState=Input 1,4C1; SetParameter=Brightness, B1120"));
    EXPECT_TRUE(s.isState);
    EXPECT_EQ(s.state, QStringLiteral("Input 1"));
    EXPECT_EQ(s.setBody, QStringLiteral("4C") + kNul + QStringLiteral("1") + kNul);
    EXPECT_EQ(s.stateType, QStringLiteral("INPUT"));
    EXPECT_EQ(s.parameter, QStringLiteral("Brightness"));
    EXPECT_EQ(s.item, QStringLiteral("B1120"));
    const SettingsLine p = ParseSettingsLine(QStringLiteral("SetParameter=Aspect, A32"));
    EXPECT_FALSE(p.isState);
    EXPECT_EQ(p.parameter, QStringLiteral("Aspect"));
    EXPECT_EQ(p.item, QStringLiteral("A32"));
    EXPECT_EQ(SetBody(p.item), QStringLiteral("A3") + kNul + QStringLiteral("2") + kNul);
    // The first eight characters name a state line in any case.
    const SettingsLine lower =
        ParseSettingsLine(QStringLiteral("setstate=X,4C1; SetParameter=B, B11"));
    EXPECT_TRUE(lower.isState);
    EXPECT_EQ(lower.state, QStringLiteral("X"));
    EXPECT_EQ(lower.setBody, QStringLiteral("4C") + kNul + QStringLiteral("1") + kNul);
    EXPECT_EQ(lower.parameter, QStringLiteral("B"));
    EXPECT_EQ(lower.item, QStringLiteral("B11"));
    EXPECT_TRUE(ParseSettingsLine(QStringLiteral("SETSTATE=X,4C1; SetParameter=B, B11")).isState);
}

TEST(Chooser, ListHeightFollowsTheItemCount) {
    EXPECT_EQ(SelectListHeight(9), 2160);
    EXPECT_EQ(SelectListHeight(10), 2400);
    EXPECT_EQ(SelectListHeight(30), 2400);
    EXPECT_EQ(SelectListHeight(0), 0);
}

TEST(Chooser, RangeValuesArePaddedToTheDecimals) {
    EXPECT_EQ(PadToDecimals(QStringLiteral("1"), 2), QStringLiteral("1.00"));
    EXPECT_EQ(PadToDecimals(QStringLiteral("1.5"), 2), QStringLiteral("1.50"));
    EXPECT_EQ(PadToDecimals(QStringLiteral("1.234"), 2), QStringLiteral("1.234"));
    EXPECT_EQ(PadToDecimals(QStringLiteral("."), 1), QStringLiteral(".0"));
}

TEST(Chooser, EachKindHasItsPrompt) {
    CommandTable t = table({"L = [1] B6 ; (0)Off ;", "R = [1] C5 ; 0.00..1.50 ;",
                            "I = [2] 6E ; INTEGER ; 0 to 250 ms", "H = [3] D4 ; BYTEH ;",
                            "A = [3] D5 ; BYTEA ;", "B = [3] DA ; BYTE ;", "N = [3] D9 ; ;"});
    EXPECT_EQ(PlanChooser(t.at(1)).mode, QStringLiteral("Select"));
    const ChooserPlan r = PlanChooser(t.at(2));
    EXPECT_EQ(r.mode, QStringLiteral("Enter"));
    EXPECT_EQ(r.prompt,
              QStringLiteral("Enter a value in the range 0.00 to 1.50, Press enter to execute"));
    const ChooserPlan i = PlanChooser(t.at(3));
    EXPECT_EQ(i.prompt,
              QStringLiteral("Enter a value in the range 0 to 250 ms, press ENTER to execute"));
    EXPECT_TRUE(i.integerContext);
    EXPECT_EQ(PlanChooser(t.at(4)).prompt,
              QStringLiteral("Enter a single byte as 2 hex digits, Press enter to execute"));
    EXPECT_EQ(PlanChooser(t.at(5)).prompt,
              QStringLiteral("Enter a ascii Character, Press enter to execute"));
    // Another letter keeps the prompt that stands.
    EXPECT_EQ(PlanChooser(t.at(6)).mode, QStringLiteral("Enter"));
    EXPECT_TRUE(PlanChooser(t.at(6)).prompt.isEmpty());
    EXPECT_TRUE(PlanChooser(t.at(7)).mode.isEmpty());
}

TEST(SettingsFileCheck, TellsTheFirstLineThatNoSaveWrites) {
    const QByteArray good = "SetState=Input Video 1,4C1; SetParameter=Brightness, B10\r\n"
                            "SetParameter=OSD Timeout, D130\r\n\r\n";
    EXPECT_EQ(SettingsFileProblem(good), QString());
    EXPECT_EQ(SettingsFileProblem("SetParameter=Device Name, D5\r\n"), QString());
    EXPECT_EQ(SettingsFileProblem(""), QStringLiteral("it holds no settings"));
    EXPECT_EQ(SettingsFileProblem("SetParameter=OSD Timeout, D130\r\nhello\r\n"),
              QStringLiteral("line 2 is not a saved setting: hello"));
    EXPECT_EQ(SettingsFileProblem("SetState=Input Video 1,4C1 SetParameter=Brightness, B10\r\n"),
              QStringLiteral("line 1 is not a saved setting: SetState=Input Video 1,4C1 "
                             "SetParameter=Brightness, B10"));
    EXPECT_EQ(SettingsFileProblem(QByteArray("SetParameter=OSD Timeout, D1\0\r\n", 31)),
              QStringLiteral("it is not text"));
}
