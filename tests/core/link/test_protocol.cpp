// Frames, error texts and the receive handler, alone.

#include "core/link/Protocol.h"
#include "core/link/ReceiveRouter.h"
#include "core/text/MinorSubs.h"

#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

QString S(const char* s, int n = -1) {
    return QString::fromLatin1(s, n);
}
QByteArray B(const QString& s) {
    return s.toLatin1();
}

TEST(Frames, QueryOfA1MatchesTheWorkedBytes) {
    const QString f = BuildFrame(S("20"), S("A1") + NUL());
    EXPECT_EQ(B(f), QByteArray::fromHex("023230303341310003"));
    EXPECT_EQ(Printable(f), S("(STX)2003A1(NUL)(ETX)"));
}

TEST(Frames, SetOfA1ToOneMatchesTheWorkedBytes) {
    const QString f = BuildFrame(S("30"), S("A1") + NUL() + S("1") + NUL());
    EXPECT_EQ(B(f), QByteArray::fromHex("0233303035413100310003"));
    EXPECT_EQ(Printable(f), S("(STX)3005A1(NUL)1(NUL)(ETX)"));
}

TEST(Frames, SimulatedAcknowledgementMatchesTheWorkedBytes) {
    EXPECT_EQ(B(SimulatedAckFrame()), QByteArray::fromHex("02303130353100333000354303"));
    EXPECT_EQ(Printable(SimulatedAckFrame()), S("(STX)01051(NUL)30(NUL)5C(ETX)"));
    // The simulated frame follows the device's rule: low byte of the sum, upper case.
    EXPECT_EQ(DeviceChecksum(S("\x02"
                               "01051",
                               6) +
                             NUL() + S("30") + NUL()),
              S("5C"));
}

TEST(Frames, TenDataBytesGiveLowerCaseLengthWhileChecksumIsUpperCase) {
    const QString f = BuildFrame(S("30"), S("0123456789"));
    EXPECT_EQ(f.mid(3, 2), S("0a"));
    EXPECT_EQ(DeviceChecksum(S("\x02"
                               "2105A1",
                               7)),
              DeviceChecksum(S("\x02"
                               "2105A1",
                               7))
                  .toUpper());
    EXPECT_EQ(DeviceChecksum(S("\x02"
                               "2105A1",
                               7)),
              S("3C"));
}

TEST(Frames, HexFieldIsLowerCasePaddedAndEmptyCountsAsZero) {
    EXPECT_EQ(HexField(qint64(0), 0), S("0"));
    EXPECT_EQ(HexField(qint64(10), 2), S("0a"));
    EXPECT_EQ(HexField(qint64(255), 2), S("ff"));
    EXPECT_EQ(HexField(qint64(256), 2), S("100"));
    EXPECT_EQ(HexField(QString(), 2), S("00"));
}

struct ErrorRow {
    int code;
    const char* text;
};
const ErrorRow kErrors[] = {
    {1, "Invalid Checksum"},
    {2, "Invalid Packet ID (Query Command etc.)"},
    {3, "Invalid Setting ID (Brightness, Contrast etc.)"},
    {4, "Range Error. Attempt to modify a device setting with vlaue out of range"},
    {5, "Bad Packet Character. Not STX, ETX, or legal Alphanumeric or punctiation"},
    {6, "Timing Error Message Exceed 100 ms in transmit time (No ETX?)"},
    {7, "Unterminated Value Data. Last data byte was not a NUL"},
    {8, "Bad Data. Data values passed were not correctly formated for the setting"},
    {9, "Too many or Too few data values were passed"},
    {10, "The setting indicated in a command packet is not a writeable setting."},
    {11, "The packet is larger than the maximum packet size"},
    {12, ""},
    {13, "Transmission Timed out"},
    {14, "Error code 14, "},
    {99, "Error code 99, "},
    {0, ""},
    {-5, ""},
};

TEST(Frames, DeviceErrorTextGivesTheTableWordForWord) {
    for (const ErrorRow& r : kErrors)
        EXPECT_EQ(DeviceErrorText(r.code), S(r.text)) << r.code;
}

TEST(Frames, ErrorCodeIsReadByTheDigitCountOfTheLength) {
    EXPECT_EQ(ReplyErrorCode(S("\x02"
                               "02014C3\x03")),
              4);
    EXPECT_EQ(ReplyErrorCode(S("\x02"
                               "020212AB\x03")),
              12);
    EXPECT_EQ(ReplyType(S("\x02"
                          "020212AB\x03")),
              S("02"));
}

TEST(Frames, PrintableNamesEveryControlCharacter) {
    QString all;
    for (int c = 0; c < 32; ++c)
        all += QChar(c);
    all += S("A~");
    EXPECT_EQ(Printable(all),
              S("(NUL)(SOH)(STX)(ETX)(EOT)(ENQ)(ACK)(BEL)(BS)(TAB)(LF)(VT)(FF)(CR)(SO)(SI)(DLE)"
                "(DC1)(DC2)(DC3)(DC4)(NAK)(SYN)(ETB)(CAN)(EM)(SUB)(ESC)(FS)(GS)(RS)(US)A~"));
}

class Router : public ::testing::Test, public ReceiveSink {
protected:
    void EchoReceived(const QString& r) override { events << S("echo:") + Printable(r); }
    void ReplyReceived() override { events << S("reply"); }
    void PromptSeen() override { events << S("prompt"); }
    void feed(const QString& s, bool special = false) {
        RouteReceived(s, special, link, ldr, dbg, *this);
    }
    LinkState link;
    ConsoleText ldr, dbg;
    QStringList events;
};

TEST_F(Router, LineEndsAndBackspaceVanishFromAPacket) {
    link.WaitingReply = true;
    feed(S("\x02"
           "21\r05\nA1\x08") +
         NUL() + S("1") + NUL() + S("CC\x03"));
    EXPECT_EQ(link.Reply, S("\x02"
                            "2105A1") +
                              NUL() + S("1") + NUL() + S("CC\x03"));
    EXPECT_FALSE(link.WaitingReply);
    EXPECT_EQ(events, QStringList{S("reply")});
}

TEST_F(Router, StxRestartsAPacketAndEtxEndsIt) {
    feed(S("\x02"
           "21xx\x02"
           "01\x03"));
    EXPECT_EQ(link.Reply, S("\x02"
                            "01\x03"));
}

TEST_F(Router, StrayEtxMakesAReplyOfItselfAndEndsTheWait) {
    link.WaitingReply = true;
    feed(S("noise\x03"));
    EXPECT_EQ(link.Reply, S("\x03"));
    EXPECT_FALSE(link.WaitingReply);
    EXPECT_EQ(events, QStringList{S("reply")});
}

TEST_F(Router, PacketWithoutEtxStaysPartialUntilTheNextStx) {
    feed(S("\x02"
           "2105"));
    EXPECT_TRUE(link.InPacket);
    EXPECT_EQ(link.PartialPacket, S("\x02"
                                    "2105"));
    EXPECT_TRUE(link.Reply.isEmpty());
}

TEST_F(Router, EchoOfTheSentFrameKeepsTheWait) {
    link.SentFrame = BuildFrame(S("20"), S("A1") + NUL());
    link.WaitingReply = true;
    feed(link.SentFrame);
    EXPECT_TRUE(link.WaitingReply);
    EXPECT_TRUE(link.Reply.isEmpty());
    EXPECT_EQ(events, QStringList{S("echo:(STX)2003A1(NUL)(ETX)")});
}

TEST_F(Router, GarbageOutsideAPacketIsDroppedUnlessSpecial) {
    feed(S("hello"));
    EXPECT_TRUE(ldr.isEmpty());
    feed(S("hello"), true);
    EXPECT_EQ(ldr.text(), S("hello"));
    EXPECT_EQ(dbg.text(), S("hello"));
}

TEST_F(Router, LineEndAtTheStartOfAnEmptyBoxIsDropped) {
    feed(S("\r\nab\r\n"), true);
    EXPECT_EQ(ldr.text(), S("ab\r\n"));
}

TEST_F(Router, SpinnerAndBackspaceCountAndSilenceTheDevice) {
    link.DeviceTalking = true;
    feed(S("x\\\x08/\x08|\x08-\x08"), true);
    EXPECT_EQ(link.SpinnerCount, 8);
    EXPECT_FALSE(link.DeviceTalking);
    EXPECT_EQ(ldr.text(), S("x"));
}

TEST_F(Router, BackspaceCountsEvenWhenNotSpecial) {
    feed(S("\x08\x08"));
    EXPECT_EQ(link.SpinnerCount, 2);
}

// Pins a departure (docs/ARCHITECTURE.md): no run-time error 6 from a spinner.
TEST_F(Router, SpinnerCountStopsAtItsLargestValue) {
    // Outside a transfer nothing resets the count: a long spinner must not overflow it.
    feed(QString(40000, QChar(8)));
    EXPECT_EQ(link.SpinnerCount, 32767);
    feed(QString(60000, QLatin1Char('|')) + S("\x02"
                                              "01\x03"),
         true);
    EXPECT_EQ(link.SpinnerCount, 32767);
    EXPECT_EQ(link.Reply, S("\x02"
                            "01\x03"))
        << "what follows the spinner is still routed";
    link.SpinnerCount = 0; // the watchdog's tick
    feed(S("/"), true);
    EXPECT_EQ(link.SpinnerCount, 1);
}

TEST_F(Router, PacketWithoutEtxKeepsOnlyItsHead) {
    link.WaitingReply = true;
    feed(S("\x02"
           "21") +
         QString(100000, QLatin1Char('z')));
    EXPECT_EQ(link.PartialPacket.size(), kMaxPacketChars);
    feed(S("\x03"));
    EXPECT_EQ(link.Reply, S("\x02"
                            "21") +
                              QString(kMaxPacketChars - 3, QLatin1Char('z')) + S("\x03"));
    EXPECT_FALSE(link.WaitingReply);
}

TEST_F(Router, BoxPastItsLimitKeepsItsLastLinesWhole) {
    QString all;
    for (int i = 0; all.size() <= ConsoleText::kMaxChars; ++i)
        all += S("line %1 of the boot loader's chatter\r\n").arg(i, 6, 10, QLatin1Char('0'));
    feed(all + S("partial"), true);
    const QString kept = ldr.text();
    EXPECT_LE(kept.size(), ConsoleText::kMaxChars);
    EXPECT_GE(kept.size(), ConsoleText::kKeepChars - 64);
    EXPECT_TRUE(kept.startsWith(S("line "))) << "the first line kept is whole";
    EXPECT_TRUE((all + S("partial")).endsWith(kept));
    EXPECT_EQ(ldr.headDropped() + quint64(kept.size()), quint64(all.size() + 7));
    EXPECT_EQ(dbg.text(), kept);
}

TEST_F(Router, OneLineLongerThanTheBoxKeepsItsEnd) {
    QString line;
    for (int i = 0; line.size() <= ConsoleText::kMaxChars; ++i)
        line += QString::number(i % 10);
    feed(line, true);
    EXPECT_EQ(ldr.text(), line.right(ConsoleText::kKeepChars));
}

TEST_F(Router, MarksInDroppedLinesStillStandUntilTheBoxIsEmptied) {
    feed(S("Failure, restart.\r\n"), true);
    EXPECT_TRUE(link.LoaderFailed);
    feed(QString(ConsoleText::kMaxChars, QLatin1Char('n')) + S("\r\n"), true);
    EXPECT_FALSE(ldr.text().contains(S("Failure")));
    link.LoaderFailed = false;
    feed(S("x\x08"), true); // a backspace looks again at the box
    EXPECT_TRUE(link.LoaderFailed);
    ldr.clear();
    link.LoaderFailed = false;
    feed(S("x"), true);
    EXPECT_FALSE(link.LoaderFailed);
}

TEST_F(Router, ReadyWordsAreFoundIgnoringCaseAndStayUntilTheBoxEmpties) {
    feed(S("Boot loader v2\r\nLoad FRK File now."), true);
    EXPECT_TRUE(link.LoaderReady);
    link.LoaderReady = false;
    feed(S("x"), true);
    EXPECT_TRUE(link.LoaderReady) << "the box still holds the words";
    ldr.clear();
    link.LoaderReady = false;
    feed(S("y"), true);
    EXPECT_FALSE(link.LoaderReady);
}

TEST_F(Router, FailureNeedsBothWords) {
    feed(S("Failure at block 3"), true);
    EXPECT_FALSE(link.LoaderFailed);
    feed(S(", please restart."), true);
    EXPECT_TRUE(link.LoaderFailed);
}

TEST_F(Router, ConsolePromptMarksTheDeviceTalkingAndSkipsLoaderMarks) {
    link.ConsoleActive = true;
    feed(S("frk file now>"), true);
    EXPECT_FALSE(link.LoaderReady);
    EXPECT_TRUE(link.DeviceTalking);
    EXPECT_EQ(events, QStringList{S("prompt")});
}

TEST_F(Router, BackspaceRemovesTheLastCharacterInBothBoxes) {
    link.ConsoleActive = true;
    feed(S("abc\x08"), true);
    EXPECT_EQ(ldr.text(), S("ab"));
    EXPECT_EQ(dbg.text(), S("ab"));
}

TEST(SpecialState, LoaderStatesAndConsoleAreSpecialIgnoringCase) {
    EXPECT_TRUE(IsSpecialState(S("Resetting"), false));
    EXPECT_TRUE(IsSpecialState(S("waiting"), false));
    EXPECT_TRUE(IsSpecialState(S("OC LOADING"), false));
    EXPECT_TRUE(IsSpecialState(S("POWERED"), true));
    EXPECT_FALSE(IsSpecialState(S("POWERED"), false));
}

} // namespace

namespace {

QString frameOf(const QByteArray& bytes) {
    return QString::fromLatin1(bytes);
}

// Pins a departure (docs/ARCHITECTURE.md): what makes an answer whole, by its length field; the
// checksum characters are counted, never read.
TEST(ReplyWhole, AWholeDataReplyIsWhole) {
    // (STX)2105A1(NUL)1(NUL)6D(ETX): the length counts the five data bytes.
    EXPECT_TRUE(ReplyWhole(frameOf(QByteArray("\x02"
                                              "2105A1\0"
                                              "1\0"
                                              "6D\x03",
                                              13))));
}

TEST(ReplyWhole, TheLengthIsReadAsHexadecimalOfEitherCase) {
    const QByteArray data("B1\0"
                          "12345678\0",
                          12); // twelve bytes: "0c"
    EXPECT_TRUE(ReplyWhole(frameOf("\x02"
                                   "210c" +
                                   data + "00\x03")));
    EXPECT_TRUE(ReplyWhole(frameOf("\x02"
                                   "210C" +
                                   data + "00\x03")));
    EXPECT_FALSE(ReplyWhole(frameOf("\x02"
                                    "2112" +
                                    data + "00\x03")));
}

TEST(ReplyWhole, BytesPutIntoTheFrameOnTheWayMakeItDamaged) {
    // Noise that is neither STX nor ETX lands inside the frame: the length no longer fits.
    EXPECT_FALSE(ReplyWhole(frameOf(QByteArray("\x02"
                                               "2105A1\0"
                                               "\xd7"
                                               "q1\0"
                                               "6D\x03",
                                               15))));
}

TEST(ReplyWhole, AFrameWithoutItsTwoChecksumCharactersIsDamaged) {
    EXPECT_FALSE(ReplyWhole(frameOf(QByteArray("\x02"
                                               "2105A1\0"
                                               "1\0"
                                               "\x03",
                                               11))));
    EXPECT_FALSE(ReplyWhole(frameOf(QByteArray("\x02"
                                               "2105A1\0"
                                               "1\0"
                                               "6\x03",
                                               12))));
}

TEST(ReplyWhole, ALengthThatIsNotHexadecimalOrAFrameWithoutEndsIsDamaged) {
    EXPECT_FALSE(ReplyWhole(frameOf(QByteArray("\x02"
                                               "21zzA1\0"
                                               "1\0"
                                               "6D\x03",
                                               13))));
    EXPECT_FALSE(ReplyWhole(frameOf(QByteArray("\x02"
                                               "2105A1\0"
                                               "1\0"
                                               "6D",
                                               12))));
    EXPECT_FALSE(ReplyWhole(frameOf(QByteArray("2105A1\0"
                                               "1\0"
                                               "6D\x03",
                                               12))));
    EXPECT_FALSE(ReplyWhole(QString()));
}

} // namespace
