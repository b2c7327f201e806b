// IR codes for LIRC, over the widget-free core: Pronto back to microseconds, the pulse/space
// text, button names and the lircd.conf remote.

#include "core/ir/Lirc.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <ostream>

inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

using namespace telvo::core::ir;

namespace {

// The device frame of "Input = Video-1" as the program writes it (D 76, value "1", E 125).
const QString kInputVideo1 = QStringLiteral(
    "0000 006C 001B 0000 0064 0064 0016 0015 0016 0015 0016 0041 0016 0041 0016 0015 0016 0015 "
    "0016 0041 0016 0015 0016 0041 0016 0015 0016 0015 0016 0015 0016 0041 0016 0041 0016 0015 "
    "0016 0015 0016 0041 0016 0015 0016 0041 0016 0041 0016 0041 0016 0041 0016 0041 0016 0015 "
    "0044 0044 0016 0001");

TEST(ProntoDurations, WordsTimesTheCarrierPeriodRoundedToTheMicrosecond) {
    // Word 006C: 108 x 0.241246 = 26.054568 us, 38381 Hz.
    const auto code = ProntoDurations(kInputVideo1);
    ASSERT_TRUE(code.has_value());
    EXPECT_EQ(code->frequency, 38381);
    ASSERT_EQ(code->durations.size(), 54);
    // 100 words: 2605.46; 22: 573.20; 21: 547.15; 65: 1693.55.
    EXPECT_EQ(code->durations.mid(0, 6), (QList<qint32>{2605, 2605, 573, 547, 573, 547}));
    EXPECT_EQ(code->durations.mid(6, 2), (QList<qint32>{573, 1694}));
    // The tail: 68 words 1771.71, 22 and 1 (26.05).
    EXPECT_EQ(code->durations.mid(50), (QList<qint32>{1772, 1772, 573, 26}));
    EXPECT_EQ(LeadOut(*code), 26);
}

TEST(ProntoDurations, RemoteKeyTail) {
    // 342 words 8910.66, 170: 4429.28, 1728: 45022.29, 85: 2214.64.
    const auto code =
        ProntoDurations(QStringLiteral("0000 006C 0003 0000 0156 00AA 06C0 0156 0055 00AA"));
    ASSERT_TRUE(code.has_value());
    EXPECT_EQ(code->durations, (QList<qint32>{8911, 4429, 45022, 8911, 2215, 4429}));
    EXPECT_EQ(LeadOut(*code), 4429);
}

TEST(ProntoDurations, RepeatPartOnceAfterTheOncePart) {
    const auto code = ProntoDurations(QStringLiteral("0000 006C 0001 0001 0064 0064 0016 0041"));
    ASSERT_TRUE(code.has_value());
    EXPECT_EQ(code->durations, (QList<qint32>{2605, 2605, 573, 1694}));
    const auto repeatOnly = ProntoDurations(QStringLiteral("0000 006C 0000 0001 0016 0041"));
    ASSERT_TRUE(repeatOnly.has_value());
    EXPECT_EQ(repeatOnly->durations, (QList<qint32>{573, 1694}));
}

TEST(ProntoDurations, DeclaredPairsDecide) {
    // A word beyond the declared pairs is no part of the code.
    EXPECT_EQ(ProntoDurations(QStringLiteral("0000 006C 0001 0000 0064 0064 0016"))->durations,
              (QList<qint32>{2605, 2605}));
    // Pairs declared beyond the words present (an odd frame, its count rounded up) are cut:
    // the code ends with a pulse and has no lead-out.
    const auto odd = ProntoDurations(QStringLiteral("0000 006C 0002 0000 0064 0064 0016"));
    ASSERT_TRUE(odd.has_value());
    EXPECT_EQ(odd->durations, (QList<qint32>{2605, 2605, 573}));
    EXPECT_EQ(LeadOut(*odd), 0);
    // Other carriers: 0x0073 = 115 words, 27.74 us, 36045 Hz.
    const auto other = ProntoDurations(QStringLiteral("0000 0073 0001 0000 000A 0014"));
    ASSERT_TRUE(other.has_value());
    EXPECT_EQ(other->frequency, 36045);
    EXPECT_EQ(other->durations, (QList<qint32>{277, 555}));
}

TEST(ProntoDurations, NoRawCode) {
    EXPECT_FALSE(ProntoDurations(QString()).has_value());
    EXPECT_FALSE(ProntoDurations(QStringLiteral("0000 006C 0000 0000")).has_value()); // empty form
    EXPECT_FALSE(ProntoDurations(QStringLiteral("0100 006C 0001 0000 0064 0064")).has_value());
    EXPECT_FALSE(ProntoDurations(QStringLiteral("0000 0000 0001 0000 0064 0064")).has_value());
    EXPECT_FALSE(ProntoDurations(QStringLiteral("0000 006C 0001 0000 00G4 0064")).has_value());
    EXPECT_FALSE(ProntoDurations(QStringLiteral("0000 006C 0001")).has_value());
}

TEST(Mode2Text, SilenceThenTheCodeThenItsLeadOutIntoSilence) {
    RawCode c;
    c.frequency = 38381;
    c.durations = {8911, 4429, 573, 547, 573, 4429};
    EXPECT_EQ(Mode2Text(c), "space 100000\npulse 8911\nspace 4429\npulse 573\nspace 547\n"
                            "pulse 573\nspace 104429\n");
    c.durations = {2605, 2605, 573};
    EXPECT_EQ(Mode2Text(c), "space 100000\npulse 2605\nspace 2605\npulse 573\nspace 100000\n");
}

TEST(LircButtonName, UpperCaseAndEveryOtherCharacterFolded) {
    EXPECT_EQ(LircButtonName(QStringLiteral("Power")), "POWER");
    EXPECT_EQ(LircButtonName(QStringLiteral("Input S-Video")), "INPUT_S_VIDEO");
    EXPECT_EQ(LircButtonName(QStringLiteral("Input SDI")), "INPUT_SDI");
    EXPECT_EQ(LircButtonName(QStringLiteral("Aspect Ratio"), QStringLiteral("4:3")),
              "ASPECT_RATIO_4_3");
    EXPECT_EQ(LircButtonName(QStringLiteral("Output Colorspace"), QStringLiteral("YCbCr 4:2:2")),
              "OUTPUT_COLORSPACE_YCBCR_4_2_2");
    EXPECT_EQ(LircButtonName(QStringLiteral("Black Level"), QStringLiteral("7.5 IRE")),
              "BLACK_LEVEL_7_5_IRE");
    // Each character is folded on its own: runs stay as long as they were.
    EXPECT_EQ(LircButtonName(QStringLiteral("Zoom - In")), "ZOOM___IN");
    EXPECT_EQ(LircButtonName(QStringLiteral("Entr\u00e9e")), "ENTR_E");
    EXPECT_EQ(LircButtonName(QStringLiteral("Gain"), QStringLiteral("-10")), "GAIN__10");
    EXPECT_EQ(LircButtonName(QString()), "");
}

TEST(LircRemote, ClashesAreNumbered) {
    LircRemote r;
    const RawCode c{38381, {573, 547}};
    EXPECT_EQ(r.add(QStringLiteral("Input Video 1"), c), "INPUT_VIDEO_1");
    EXPECT_EQ(r.add(QStringLiteral("Input Video 2"), c), "INPUT_VIDEO_2");
    EXPECT_EQ(r.add(LircButtonName(QStringLiteral("Input"), QStringLiteral("Video-1")), c),
              "INPUT_VIDEO_1_2");
    EXPECT_EQ(r.add(QStringLiteral("input video.1"), c), "INPUT_VIDEO_1_3");
    // A name that looks numbered already is numbered again when taken.
    EXPECT_EQ(r.add(QStringLiteral("Input Video 1 2"), c), "INPUT_VIDEO_1_2_2");
    QStringList names;
    for (const LircButton& b : r.buttons())
        names << b.name;
    EXPECT_EQ(names, (QStringList{"INPUT_VIDEO_1", "INPUT_VIDEO_2", "INPUT_VIDEO_1_2",
                                  "INPUT_VIDEO_1_3", "INPUT_VIDEO_1_2_2"}));
}

TEST(LircRemote, ConfText) {
    LircRemote r;
    r.add(QStringLiteral("Power"),
          RawCode{38381, {8911, 4429, 573, 547, 573, 1694, 573, 547, 573, 4429}});
    r.add(QStringLiteral("Input Video-1"), RawCode{38381, {2605, 2605, 573, 26}});
    EXPECT_EQ(r.conf({QStringLiteral("first line"), QStringLiteral("second line")}),
              "# first line\n"
              "# second line\n"
              "\n"
              "begin remote\n"
              "\n"
              "  name  vorix\n"
              "  flags RAW_CODES\n"
              "  eps            30\n"
              "  aeps          100\n"
              "\n"
              "  frequency    38381\n"
              "  gap          4429\n"
              "\n"
              "      begin raw_codes\n"
              "\n"
              "          name POWER\n"
              "            8911   4429    573    547    573   1694\n"
              "             573    547    573\n"
              "\n"
              "          name INPUT_VIDEO_1\n"
              "            2605   2605    573\n"
              "\n"
              "      end raw_codes\n"
              "\n"
              "end remote\n");
}

TEST(LircRemote, GapIsTheLongestLeadOutAndACodeEndingWithAPulseKeepsIt) {
    LircRemote r;
    r.add(QStringLiteral("A"), RawCode{38381, {600, 26}});
    r.add(QStringLiteral("B"), RawCode{38381, {600, 300, 600}});
    const QString conf = r.conf({});
    EXPECT_TRUE(conf.startsWith(QStringLiteral("begin remote\n")));
    EXPECT_TRUE(conf.contains(QStringLiteral("  gap          26\n")));
    EXPECT_TRUE(conf.contains(QStringLiteral("name B\n             600    300    600\n")));
}

} // namespace
