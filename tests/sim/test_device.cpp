// The emulated device as its serial port sees it: every reply form, every error code, values
// per state, the menu, speed changes, power and the faults of the running firmware.

#include "DeviceHarness.h"

#include <gtest/gtest.h>

using namespace vorix::sim;
using namespace vorix::sim::test;

namespace {

const QByteArray kAck = QByteArray("\x02"
                                   "01051\0"
                                   "30\0"
                                   "5C\x03",
                                   13);

QByteArray err(int code) {
    return ErrorReply(code);
}

// ---- reply forms

TEST(DeviceReplies, AcknowledgementIsTheFrameTheUtilitySimulates) {
    EXPECT_EQ(AckReply(), kAck);
}

TEST(DeviceReplies, PowerQueryGivesDataReplyWithIdValueAndUpperCaseChecksum) {
    Harness h;
    const QByteArray reply = h.exchange(Query("A1"));
    // 02 "21" "05" "A1" 00 "1" 00, then the low byte of the sum as two digits, then 03.
    QByteArray body("\x02"
                    "2105A1\0"
                    "1\0",
                    10);
    EXPECT_EQ(reply, body + QByteArray::number(FrameSum(body), 16).toUpper() + "\x03");
    EXPECT_EQ(reply.mid(1, 6), "2105A1");
}

TEST(DeviceReplies, SetIsAcknowledged) {
    Harness h;
    EXPECT_EQ(h.exchange(Set("B1", "10")), kAck);
}

TEST(DeviceReplies, ErrorReplyCountsCodeDigitsInLengthAndGivesCodeInDecimal) {
    Harness h;
    const QByteArray three = h.exchange(Query("ZZ"));
    EXPECT_EQ(three.mid(1, 5), "02013");
    EXPECT_EQ(three, err(3));
    const QByteArray ten = h.exchange(Set("A8", "x"));
    EXPECT_EQ(ten.mid(1, 6), "020210");
}

TEST(DeviceReplies, LengthFieldIsLowerCaseHex) {
    Harness h;
    // A8 answer: "A8" NUL "Vorix Gorda" NUL is 15 bytes.
    const QByteArray reply = h.exchange(Query("A8"));
    EXPECT_EQ(reply.mid(3, 2), "0f");
    EXPECT_EQ(reply.mid(5, 2 + 1 + 11), QByteArray("A8\0Vorix Gorda", 14));
}

TEST(DeviceReplies, ModelAndFirmwareTextsComeFromTheIni) {
    Harness h;
    EXPECT_EQ(h.exchange(Query("A8")), DataReply("A8", "Vorix Gorda"));
    EXPECT_EQ(h.exchange(Query("A9")), DataReply("A9", "1.24"));
    DeviceOptions o;
    o.firmware = QStringLiteral("1.87B");
    o.modelText = QStringLiteral("Vorix Hesta FRK102");
    Harness other(o);
    EXPECT_EQ(other.exchange(Query("A9")), DataReply("A9", "1.87B"));
    EXPECT_EQ(other.exchange(Query("A8")), DataReply("A8", "Vorix Hesta FRK102"));
}

TEST(DeviceReplies, EchoSendsTheFrameBackBeforeTheAnswer) {
    DeviceOptions o;
    o.echo = true;
    Harness h(o);
    EXPECT_EQ(h.exchange(Query("A1")), Query("A1") + DataReply("A1", "1"));
}

// ---- error codes, one row per way of giving one

struct ErrorCase {
    const char* name;
    QByteArray frame;
    int code;
};

QByteArray withChecksum(const QByteArray& hostFrame, int delta) {
    QByteArray f = hostFrame.chopped(1);
    f.append(QByteArray::number((FrameSum(f) + delta) & 0xff, 16).rightJustified(2, '0').toUpper());
    return f + kEtx;
}

class DeviceErrors : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(DeviceErrors, AnswersWithTheCode) {
    Harness h;
    EXPECT_EQ(h.exchange(GetParam().frame), err(GetParam().code)) << GetParam().name;
}

INSTANTIATE_TEST_SUITE_P(
    Codes, DeviceErrors,
    ::testing::Values(ErrorCase{"wrong checksum digits", withChecksum(Query("A1"), 1), 1},
                      ErrorCase{"unknown packet type", HostFrame("40", QByteArray("A1\0", 3)), 2},
                      ErrorCase{"query of a write-only setting", Query("53"), 2},
                      ErrorCase{"query of a menu key", Query("A2"), 2},
                      ErrorCase{"unknown setting", Query("ZZ"), 3},
                      ErrorCase{"range above the top", Set("B1", "51"), 4},
                      ErrorCase{"range below the bottom", Set("B3", "-1"), 4},
                      ErrorCase{"value not in the list", Set("C1", "9"), 4},
                      ErrorCase{"integer past its range", Set("D1", "121"), 4},
                      ErrorCase{"unknown speed code", Set("A3", "9"), 4},
                      ErrorCase{"menu key out of range", Set("A2", "8"), 4},
                      ErrorCase{"control character in a value", Set("B1", "1\x01"), 5},
                      ErrorCase{"high byte in a value", Set("D5", "\xe9"), 5},
                      ErrorCase{"last data byte not NUL",
                                HostFrame("30", QByteArray("B1\0"
                                                           "5",
                                                           4)),
                                7},
                      ErrorCase{"letters for a number", Set("B1", "abc"), 8},
                      ErrorCase{"too many decimals", Set("C5", "1.234"), 8},
                      ErrorCase{"decimals for a whole range", Set("B3", "5.5"), 8},
                      ErrorCase{"two characters for one", Set("D5", "QQ"), 8},
                      ErrorCase{"not two hex digits", Set("D4", "XY"), 8},
                      ErrorCase{"length field not hex",
                                QByteArray("\x02"
                                           "20zzA1\0\x03",
                                           9),
                                8},
                      ErrorCase{"length not the data's",
                                QByteArray("\x02"
                                           "2009A1\0\x03",
                                           9),
                                8},
                      ErrorCase{"set without a value", HostFrame("30", QByteArray("B1\0", 3)), 9},
                      ErrorCase{"set with an empty value", Set("B1", ""), 9},
                      ErrorCase{"two values",
                                HostFrame("30", QByteArray("B1\0"
                                                           "1\0"
                                                           "2\0",
                                                           7)),
                                9},
                      ErrorCase{"query with a value",
                                HostFrame("20", QByteArray("B1\0"
                                                           "1\0",
                                                           5)),
                                9},
                      ErrorCase{"model is read-only", Set("A8", "x"), 10},
                      ErrorCase{"read-only setting of the ini", Set("DA", "1"), 10},
                      ErrorCase{"setting without a kind", Set("A9", "2.00"), 10},
                      ErrorCase{"declared length above the maximum",
                                QByteArray("\x02"
                                           "2040A1\0\x03",
                                           9),
                                11},
                      ErrorCase{"frame longer than the maximum",
                                HostFrame("30", QByteArray("B1\0", 3) + QByteArray(40, '1') + '\0'),
                                11}));

TEST(DeviceErrorsTiming, FrameLongerThanAHundredMillisecondsIsRefused) {
    Harness h;
    const QByteArray f = Query("A1");
    h.feed(f.left(4));
    h.run(99'000);
    EXPECT_FALSE(h.dev.hasOutput());
    h.run(50'000);
    h.feed(f.mid(4));
    h.run(50'000);
    EXPECT_EQ(h.dev.takeOutput(), err(6));
}

TEST(DeviceErrorsTiming, EndlessFrameIsCutAtMaximumPacketSize) {
    Harness h;
    h.feed(QByteArray("\x02"
                      "3020B1") +
           QByteArray(60, '1'));
    h.run(10'000);
    EXPECT_EQ(h.dev.takeOutput(), err(11));
}

TEST(DeviceErrorsTiming, LineEndsAndGarbageBetweenFramesAreIgnored) {
    Harness h;
    h.feed("\r\n\xff\x80 junk");
    EXPECT_EQ(h.exchange(Query("A1")), DataReply("A1", "1"));
}

TEST(DeviceErrorsTiming, NewStxDropsTheHalfFrame) {
    Harness h;
    h.feed(QByteArray("\x02"
                      "3005B1"));
    EXPECT_EQ(h.exchange(Query("A1")), DataReply("A1", "1"));
}

// ---- values per state and per kind

TEST(DeviceSettings, EveryKindOfTheIniComesBackAsHeld) {
    Harness h;
    struct Row {
        const char* id;
        QByteArray sent, held;
    };
    const Row rows[] = {
        {"B1", "-50", "-50"}, {"B5", "15", "15"},   {"B6", "3", "3"},      {"C5", "2.50", "2.50"},
        {"C5", "3", "3.00"},  {"65", "2.2", "2.2"}, {"67", "1.5", "1.50"}, {"6E", "250", "250"},
        {"D1", "60", "60"},   {"D4", "1f", "1F"},   {"D5", "Q", "Q"},      {"D9", "2", ""},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(h.exchange(Set(r.id, r.sent)), kAck) << r.id;
        if (QByteArray(r.id) == "D9")
            EXPECT_EQ(h.exchange(Query(r.id)), err(2)) << "write-only";
        else
            EXPECT_EQ(h.exchange(Query(r.id)), DataReply(r.id, r.held)) << r.id;
    }
}

TEST(DeviceSettings, DefaultsFollowTheKind) {
    Harness h;
    EXPECT_EQ(h.exchange(Query("B1")), DataReply("B1", "0"));
    EXPECT_EQ(h.exchange(Query("C5")), DataReply("C5", "1.00"));
    EXPECT_EQ(h.exchange(Query("C1")), DataReply("C1", "1"));
    EXPECT_EQ(h.exchange(Query("D1")), DataReply("D1", "5"));
    EXPECT_EQ(h.exchange(Query("4C")), DataReply("4C", "1"));
}

TEST(DeviceSettings, PictureSettingsAreKeptPerInput) {
    Harness h;
    h.exchange(Set("4C", "2"));
    h.exchange(Set("B1", "10"));
    h.exchange(Set("4C", "1"));
    EXPECT_EQ(h.exchange(Query("B1")), DataReply("B1", "0"));
    h.exchange(Set("B1", "-7"));
    h.exchange(Set("4C", "2"));
    EXPECT_EQ(h.exchange(Query("B1")), DataReply("B1", "10"));
    EXPECT_EQ(h.exchange(Query("4C")), DataReply("4C", "2"));
    EXPECT_EQ(h.dev.settings().inputValue(1, "B1"), "-7");
}

TEST(DeviceSettings, OutputSettingsAreKeptPerOutputTypeAndConfigurationOnce) {
    Harness h;
    h.exchange(Set("60", "1"));
    h.exchange(Set("61", "3"));
    h.exchange(Set("D1", "30"));
    h.exchange(Set("60", "2"));
    EXPECT_EQ(h.exchange(Query("61")), DataReply("61", "1"));
    EXPECT_EQ(h.exchange(Query("D1")), DataReply("D1", "30"));
    h.exchange(Set("60", "1"));
    EXPECT_EQ(h.exchange(Query("61")), DataReply("61", "3"));
}

TEST(DeviceSettings, PresetStoredFromTheInputIsRecalledBySelectingIt) {
    Harness h;
    h.exchange(Set("C1", "3"));
    EXPECT_EQ(h.exchange(Set("53", "0")), kAck); // into preset 4, "User 1"
    EXPECT_EQ(h.dev.settings().presetValue(4, "C1"), "3");
    h.exchange(Set("C1", "5"));
    h.exchange(Set("E1", "4"));
    EXPECT_EQ(h.exchange(Query("C1")), DataReply("C1", "3"));
    EXPECT_EQ(h.exchange(Query("E1")), DataReply("E1", "4"));
}

TEST(DeviceSettings, ProfileStoredFromTheOutputIsRecalledBySelectingIt) {
    Harness h;
    h.exchange(Set("66", "4"));
    EXPECT_EQ(h.exchange(Set("52", "2")), kAck); // into profile index 1
    h.exchange(Set("66", "1"));
    h.exchange(Set("E0", "1"));
    EXPECT_EQ(h.exchange(Query("66")), DataReply("66", "4"));
    EXPECT_EQ(h.exchange(Set("52", "9")), err(4));
}

TEST(DeviceSettings, SdiInputIsRefusedWithoutTheModule) {
    DeviceOptions o;
    o.sdiModule = false;
    Harness h(o);
    EXPECT_EQ(h.exchange(Set("4C", "12")), err(4));
    Harness with;
    EXPECT_EQ(with.exchange(Set("4C", "12")), kAck);
}

TEST(DeviceSettings, FirmwareConditionsOfTheIniDecideTheRange) {
    Harness h; // 1.24: "Sharpness (F:1.2)" gives 0..15, "Legacy Sync (F:2.0)" is absent
    EXPECT_EQ(h.exchange(Set("B5", "15")), kAck);
    EXPECT_EQ(h.exchange(Query("DF")), err(3));
    DeviceOptions o;
    o.firmware = QStringLiteral("1.10");
    Harness old(o);
    EXPECT_EQ(old.exchange(Set("B5", "15")), err(4));
}

// ---- power

TEST(DevicePower, StandbyDevicePowersUpOnTheNthCommand) {
    DeviceOptions o;
    o.startStandby = true;
    o.powerUpTries = 3;
    Harness h(o);
    EXPECT_EQ(h.exchange(Query("A1")), DataReply("A1", "0"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(h.exchange(Set("A1", "1")), kAck);
        EXPECT_EQ(h.exchange(Query("A1")), DataReply("A1", "0"));
    }
    h.exchange(Set("A1", "1"));
    EXPECT_EQ(h.exchange(Query("A1")), DataReply("A1", "1"));
    h.exchange(Set("A1", "0"));
    EXPECT_EQ(h.exchange(Query("A1")), DataReply("A1", "0"));
}

// ---- speed

TEST(DeviceSpeed, ChangeIsAcknowledgedAtTheNewRate) {
    Harness h;
    h.feed(Set("A3", "6"));
    ASSERT_TRUE(h.runUntilOutput());
    EXPECT_EQ(h.dev.baud(), 57600);
    EXPECT_EQ(h.dev.takeOutput(), kAck);
    EXPECT_EQ(h.exchange(Query("A3")), DataReply("A3", "6"));
}

TEST(DeviceSpeed, OptionAcknowledgesAtTheOldRateThenChanges) {
    DeviceOptions o;
    o.ackAtOldRate = true;
    Harness h(o);
    h.feed(Set("A3", "6"));
    ASSERT_TRUE(h.runUntilOutput());
    EXPECT_EQ(h.dev.baud(), 19200);
    EXPECT_EQ(h.dev.takeOutput(), kAck);
    // The change comes when the 13 bytes of the acknowledgement have left at 19200.
    h.run(13 * Device::ByteTimeUs(19200) - 1);
    EXPECT_EQ(h.dev.baud(), 19200);
    h.run(1);
    EXPECT_EQ(h.dev.baud(), 57600);
}

TEST(DeviceSpeed, CodesFollowTheIniTable) {
    Harness h;
    for (auto [code, rate] : {std::pair{"1", 4800}, {"2", 9600}, {"3", 14400}, {"5", 38400}}) {
        h.exchange(Set("A3", code));
        EXPECT_EQ(h.dev.baud(), rate) << code;
    }
}

// ---- menu

void press(Harness& h, const QList<int>& keys) {
    for (int k : keys)
        ASSERT_EQ(h.exchange(Set("A2", QByteArray::number(k))), kAck) << k;
}

TEST(DeviceMenu, PathFourSixOneThenEnterStartsTheBootLoader) {
    Harness h;
    press(h, {5, 4, 4, 4, 4, 6, 4, 4, 4, 4, 4, 4, 6, 4});
    EXPECT_EQ(h.dev.menu().where(), QStringLiteral("System > Firmware > Update Firmware"));
    h.feed(Set("A2", "6"));
    h.run(200'000);
    EXPECT_EQ(h.dev.mode(), Device::Mode::Loader);
    const QByteArray said = h.dev.takeOutput();
    EXPECT_TRUE(said.startsWith(kAck));
    EXPECT_TRUE(said.endsWith("Load frk File now.")) << said.toStdString();
}

TEST(DeviceMenu, PathFourFiveThenEnterRestoresDefaults) {
    Harness h;
    h.exchange(Set("B1", "10"));
    h.exchange(Set("D1", "60"));
    press(h, {5, 4, 4, 4, 4, 6, 4, 4, 4, 4, 4});
    EXPECT_EQ(h.dev.menu().where(), QStringLiteral("System > Restore Defaults"));
    press(h, {6});
    EXPECT_FALSE(h.dev.menu().isOpen());
    EXPECT_EQ(h.exchange(Query("B1")), DataReply("B1", "0"));
    EXPECT_EQ(h.exchange(Query("D1")), DataReply("D1", "5"));
    EXPECT_EQ(h.dev.mode(), Device::Mode::Running);
}

TEST(DeviceMenu, MenuKeyStartsOverAndExitGoesBackUp) {
    Harness h;
    press(h, {5, 4, 4, 4, 4, 6, 4});
    EXPECT_EQ(h.dev.menu().where(), QStringLiteral("System > Language"));
    press(h, {7});
    EXPECT_EQ(h.dev.menu().where(), QStringLiteral("System"));
    press(h, {5});
    EXPECT_EQ(h.dev.menu().where(), QStringLiteral("Input"));
    press(h, {7});
    EXPECT_FALSE(h.dev.menu().isOpen());
}

// ---- restarts

TEST(DeviceRestart, RestartRequestWithDefaultsGoesQuietThenAnswersAtPowerOnRate) {
    Harness h;
    h.exchange(Set("A3", "6"));
    h.exchange(Set("B1", "10"));
    EXPECT_EQ(h.exchange(Set("AC", "1")), kAck);
    EXPECT_EQ(h.dev.mode(), Device::Mode::Rebooting);
    EXPECT_TRUE(h.exchange(Query("A1"), 1'000'000).isEmpty());
    h.run(2'000'000);
    EXPECT_EQ(h.dev.mode(), Device::Mode::Running);
    EXPECT_EQ(h.dev.baud(), 19200);
    EXPECT_EQ(h.exchange(Query("B1")), DataReply("B1", "0"));
}

TEST(DeviceRestart, ActionsOfTheIniRestartResetOrEnterTheLoader) {
    Harness h;
    h.exchange(Set("B1", "10"));
    EXPECT_EQ(h.exchange(Set("DC", "1")), kAck); // Restart, action 1
    EXPECT_EQ(h.dev.mode(), Device::Mode::Rebooting);
    h.run(3'000'000);
    EXPECT_EQ(h.exchange(Query("B1")), DataReply("B1", "10"));
    h.exchange(Set("DD", "1")); // Factory Reset, action 2
    h.run(3'000'000);
    EXPECT_EQ(h.exchange(Query("B1")), DataReply("B1", "0"));
    h.exchange(Set("DE", "1"), 200'000); // Enter Loader, action 3
    EXPECT_EQ(h.dev.mode(), Device::Mode::Loader);
}

TEST(DeviceConsole, DebugWordOpensThePromptAndExitLeaves) {
    Harness h;
    QByteArray said = h.exchange("\r\n\r\ndebug\r\n");
    EXPECT_TRUE(h.dev.consoleActive());
    EXPECT_TRUE(said.endsWith('>')) << said.toStdString();
    said = h.exchange("ver\r\n");
    EXPECT_TRUE(said.contains("1.24\r\n>"));
    h.exchange("exit\r\n");
    EXPECT_FALSE(h.dev.consoleActive());
    EXPECT_EQ(h.exchange(Query("A1")), DataReply("A1", "1"));
}

// ---- faults of the running firmware

TEST(DeviceFaults, SilentDeviceSaysNothing) {
    DeviceOptions o;
    o.faults.silent = true;
    Harness h(o);
    EXPECT_TRUE(h.exchange(Query("A1")).isEmpty());
}

TEST(DeviceFaults, GarbageStandsBeforeEveryReplyAndHoldsNoFrameMarker) {
    DeviceOptions o;
    o.faults.garbageBytes = 7;
    Harness h(o);
    const QByteArray said = h.exchange(Query("A1"));
    ASSERT_EQ(said.size(), 7 + DataReply("A1", "1").size());
    EXPECT_TRUE(said.endsWith(DataReply("A1", "1")));
    for (char c : said.left(7))
        EXPECT_GE(quint8(c), 0x80);
}

TEST(DeviceFaults, ChosenCommandGetsTheChosenError) {
    DeviceOptions o;
    o.faults.errorFor.insert("B1", 4);
    o.faults.errorFor.insert("AD", 2);
    Harness h(o);
    EXPECT_EQ(h.exchange(Query("B1")), err(4));
    EXPECT_EQ(h.exchange(Set("AD", "1")), err(2));
    EXPECT_EQ(h.exchange(Query("B2")), DataReply("B2", "0"));
}

TEST(DeviceFaults, WrongRateAnswersAtAnotherRate) {
    DeviceOptions o;
    o.faults.replyBaud = 9600;
    Harness h(o);
    EXPECT_EQ(h.dev.baud(), 19200);
    EXPECT_EQ(h.dev.txBaud(), 9600);
}

TEST(DeviceFaults, CtsHeldLow) {
    DeviceOptions o;
    o.faults.ctsHeldLow = true;
    Harness h(o);
    EXPECT_FALSE(h.dev.cts());
}

} // namespace

namespace {

TEST(DeviceOptionWords, FaultsAndTimesReadFromWords) {
    DeviceOptions o;
    QString error;
    ASSERT_TRUE(ParseDeviceOptions(
        {QStringLiteral("--error-for"), QStringLiteral("b1=4,AD=2"), QStringLiteral("--standby"),
         QStringLiteral("--reply-delay"), QStringLiteral("5"), QStringLiteral("--cut-at-byte"),
         QStringLiteral("300"), QStringLiteral("--baud"), QStringLiteral("38400")},
        o, &error))
        << error.toStdString();
    EXPECT_EQ(o.faults.errorFor.value("B1"), 4);
    EXPECT_EQ(o.faults.errorFor.value("AD"), 2);
    EXPECT_TRUE(o.startStandby);
    EXPECT_EQ(o.replyDelayUs, 5000);
    EXPECT_EQ(o.faults.cutAtImageByte, 300);
    EXPECT_EQ(o.baud, 38400);
    EXPECT_FALSE(
        ParseDeviceOptions({QStringLiteral("--garbage"), QStringLiteral("lots")}, o, &error));
    EXPECT_FALSE(
        ParseDeviceOptions({QStringLiteral("--error-for"), QStringLiteral("B1")}, o, &error));
    EXPECT_FALSE(ParseDeviceOptions({QStringLiteral("--no-such-thing")}, o, &error));
}

} // namespace
