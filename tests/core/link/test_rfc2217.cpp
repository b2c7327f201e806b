// The Telnet / COM port option stream: escaping both ways, sub-negotiations in pieces, option
// negotiation without loops, and the addresses a port entry may hold.

#include "core/link/Rfc2217.h"

#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

QByteArray B(std::initializer_list<int> bytes) {
    QByteArray out;
    for (const int b : bytes)
        out += char(b);
    return out;
}

TEST(Rfc2217, EscapeDoublesEveryIacAndNothingElse) {
    EXPECT_EQ(TelnetEscape(B({0x02, 0xFF, 0x00, 0xFF, 0xFF, 0x03})),
              B({0x02, 0xFF, 0xFF, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0x03}));
    EXPECT_EQ(TelnetEscape(QByteArray("\x02"
                                      "2003A1\0\x03",
                                      9)),
              QByteArray("\x02"
                         "2003A1\0\x03",
                         9));
    EXPECT_EQ(TelnetEscape(QByteArray()), QByteArray());
}

TEST(Rfc2217, ParserUndoesTheEscapeEvenSplitBetweenTheTwoIacs) {
    TelnetParser p;
    std::vector<TelnetEvent> ev;
    QByteArray data = p.feed(B({0x41, 0xFF}), &ev);
    data += p.feed(B({0xFF, 0x42, 0xFF, 0xFF}), &ev);
    EXPECT_EQ(data, B({0x41, 0xFF, 0x42, 0xFF}));
    EXPECT_TRUE(ev.empty());
}

TEST(Rfc2217, CommandsAreBuiltWithTheirValuesEscaped) {
    EXPECT_EQ(SetBaudrateCommand(57600), B({255, 250, 44, 1, 0, 0, 0xE1, 0x00, 255, 240}));
    EXPECT_EQ(SetBaudrateCommand(0xFF00FF),
              B({255, 250, 44, 1, 0, 0xFF, 0xFF, 0, 0xFF, 0xFF, 255, 240}));
    EXPECT_EQ(ComPortByteCommand(comport::SetControl, comport::ControlHardware),
              B({255, 250, 44, 5, 3, 255, 240}));
    EXPECT_EQ(ComPortByteCommand(comport::PurgeData, comport::PurgeBoth),
              B({255, 250, 44, 12, 3, 255, 240}));
}

TEST(Rfc2217, SubNegotiationSplitAtEveryByteIsOneEventAndDataAroundItIsKept) {
    const QByteArray stream = QByteArray("ab") +
                              B({255, 250, 44, 101, 0, 0, 0xFF, 0xFF, 0x00, 255, 240}) +
                              QByteArray("cd");
    for (int cut = 0; cut <= stream.size(); ++cut) {
        TelnetParser p;
        std::vector<TelnetEvent> ev;
        QByteArray data = p.feed(stream.left(cut), &ev);
        data += p.feed(stream.mid(cut), &ev);
        EXPECT_EQ(data, QByteArray("abcd")) << cut;
        ASSERT_EQ(ev.size(), 1u) << cut;
        EXPECT_EQ(ev[0].kind, TelnetEvent::ComPort);
        EXPECT_EQ(ev[0].command, 101);
        EXPECT_EQ(ev[0].value, B({0, 0, 0xFF, 0x00})) << cut;
    }
}

TEST(Rfc2217, ByteByByteGivesWhatTheWholeGives) {
    const QByteArray stream =
        B({255, 251, 3, 'x', 255, 250, 44, 107, 0x10, 255, 240, 255, 253, 44, 'y', 255, 241, 'z'});
    TelnetParser whole;
    std::vector<TelnetEvent> a;
    const QByteArray dataA = whole.feed(stream, &a);
    TelnetParser split;
    std::vector<TelnetEvent> b;
    QByteArray dataB;
    for (const char c : stream)
        dataB += split.feed(QByteArray(1, c), &b);
    EXPECT_EQ(dataA, QByteArray("xyz"));
    EXPECT_EQ(dataA, dataB);
    ASSERT_EQ(a.size(), 3u);
    ASSERT_EQ(b.size(), 3u);
    EXPECT_EQ(a[0].verb, telnet::WILL);
    EXPECT_EQ(a[0].option, telnet::SGA);
    EXPECT_EQ(a[1].command, 107);
    EXPECT_EQ(a[1].value, B({0x10}));
    EXPECT_EQ(a[2].verb, telnet::DO);
    EXPECT_EQ(a[2].option, telnet::COM_PORT);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(a[i].value, b[i].value);
}

TEST(Rfc2217, RunawaySubNegotiationIsLeftAtTheLimitAndWhatFollowsIsData) {
    TelnetParser p;
    std::vector<TelnetEvent> ev;
    QByteArray big = B({255, 250, 44, 101});
    big += QByteArray(TelnetParser::kMaxSub - 2, 'q'); // the limit, counting 44 and 101
    EXPECT_EQ(p.feed(big, &ev), QByteArray());
    EXPECT_TRUE(ev.empty());
    // One byte past it: left, and that byte and the rest are data again; the stray IAC SE is
    // a command of no meaning.
    EXPECT_EQ(p.feed(QByteArray("ab") + B({255, 240}) + "ok", &ev), QByteArray("abok"));
    ASSERT_EQ(ev.size(), 1u);
    EXPECT_EQ(ev[0].kind, TelnetEvent::Abandoned);
    EXPECT_EQ(ev[0].option, telnet::COM_PORT);
    EXPECT_EQ(ev[0].at, 0);
    // A sub-negotiation that never ends does not swallow the line.
    ev.clear();
    TelnetParser q;
    QByteArray endless = B({255, 250, 44, 7});
    endless += QByteArray(100000, 'z');
    EXPECT_EQ(q.feed(endless, &ev).size(), 100000 - (TelnetParser::kMaxSub - 2));
    EXPECT_EQ(ev.size(), 1u);
}

TEST(Rfc2217, BrokenOrForeignSubNegotiationIsDroppedAndTheStreamGoesOn) {
    TelnetParser p;
    std::vector<TelnetEvent> ev;
    // IAC followed by anything but SE or IAC inside breaks the sub-negotiation off.
    EXPECT_EQ(p.feed(B({255, 250, 44, 101, 1, 255, 'Q'}) + "after", &ev), QByteArray("after"));
    EXPECT_TRUE(ev.empty());
    // Another option's sub-negotiation is not ours.
    EXPECT_EQ(p.feed(B({255, 250, 24, 1, 255, 240}) + "t", &ev), QByteArray("t"));
    EXPECT_TRUE(ev.empty());
}

TEST(Rfc2217, EventsSayHowMuchDataCameBeforeThem) {
    TelnetParser p;
    std::vector<TelnetEvent> ev;
    const QByteArray data =
        p.feed(QByteArray("old") + ComPortCommand(112, B({1})) + "new" + B({255, 251, 0}), &ev);
    EXPECT_EQ(data, QByteArray("oldnew"));
    ASSERT_EQ(ev.size(), 2u);
    EXPECT_EQ(ev[0].command, 112);
    EXPECT_EQ(ev[0].at, 3);
    EXPECT_EQ(ev[1].verb, telnet::WILL);
    EXPECT_EQ(ev[1].at, 6);
}

TEST(Rfc2217, NegotiationIsSettledWhenComPortAndBinaryBothWaysHaveTheirAnswers) {
    TelnetNegotiator n;
    EXPECT_FALSE(n.settled());
    n.start();
    EXPECT_FALSE(n.settled());
    n.answer(telnet::DO, telnet::COM_PORT);
    n.answer(telnet::DO, telnet::BINARY);
    EXPECT_FALSE(n.settled());
    EXPECT_FALSE(n.binaryAgreed());
    n.answer(telnet::WILL, telnet::BINARY);
    EXPECT_TRUE(n.settled());
    EXPECT_TRUE(n.binaryAgreed());
    EXPECT_TRUE(n.comPortAgreed());

    // A server that keeps to text mode: settled, but binary is refused.
    TelnetNegotiator text;
    text.start();
    text.answer(telnet::DO, telnet::COM_PORT);
    text.answer(telnet::DO, telnet::BINARY);
    text.answer(telnet::WONT, telnet::BINARY);
    EXPECT_TRUE(text.settled());
    EXPECT_FALSE(text.binaryAgreed());
}

TEST(Rfc2217, RoundTripIsSmoothedAndBiasedToTheRecentMaximum) {
    RoundTripEstimate r;
    EXPECT_EQ(r.estimateMs(), 0);
    r.add(100); // mean 100, deviation 50
    EXPECT_EQ(r.estimateMs(), 150);
    r.add(100); // deviation 37.5
    EXPECT_EQ(r.estimateMs(), 138);
    r.add(300); // the largest recent sample holds
    EXPECT_EQ(r.estimateMs(), 300);
    for (int i = 0; i < RoundTripEstimate::kRecent; ++i)
        r.add(100);
    // Once it is no longer recent, the smoothed value is what is left, above the mean.
    EXPECT_LT(r.estimateMs(), 300);
    EXPECT_GT(r.estimateMs(), 100);
    r.add(-5);
    EXPECT_GE(r.estimateMs(), 100);
}

TEST(Rfc2217, NegotiationAsksOnceAndAnswersWithoutLoops) {
    TelnetNegotiator n;
    EXPECT_EQ(n.start(), B({255, 251, 0, 255, 251, 3, 255, 251, 44, 255, 253, 0, 255, 253, 3}));
    EXPECT_FALSE(n.comPortAgreed());
    // The server's answers to our requests need no reply.
    EXPECT_TRUE(n.answer(telnet::DO, telnet::COM_PORT).isEmpty());
    EXPECT_TRUE(n.comPortAgreed());
    EXPECT_TRUE(n.answer(telnet::WILL, telnet::BINARY).isEmpty());
    // Said again, still nothing: no loop.
    EXPECT_TRUE(n.answer(telnet::WILL, telnet::BINARY).isEmpty());
    // Echo from the server is refused, once.
    EXPECT_EQ(n.answer(telnet::WILL, 1), B({255, 254, 1}));
    EXPECT_TRUE(n.answer(telnet::WONT, 1).isEmpty());
    // Asked to do something we do not: refused.
    EXPECT_EQ(n.answer(telnet::DO, 24), B({255, 252, 24}));
    // An option we hold, withdrawn by the server: acknowledged once.
    EXPECT_EQ(n.answer(telnet::DONT, telnet::COM_PORT), B({255, 252, 44}));
    EXPECT_FALSE(n.comPortAgreed());
    EXPECT_TRUE(n.comPortRefused());
    EXPECT_TRUE(n.answer(telnet::DONT, telnet::COM_PORT).isEmpty());
}

TEST(Rfc2217, ServerRefusingTheComPortOptionIsSeen) {
    TelnetNegotiator n;
    n.start();
    EXPECT_TRUE(n.answer(telnet::DONT, telnet::COM_PORT).isEmpty());
    EXPECT_TRUE(n.comPortRefused());
}

TEST(Rfc2217, AddressesOfBothKindsAndNothingElse) {
    NetworkAddress a = ParseNetworkAddress(QStringLiteral("rfc2217://192.168.1.20:4001"));
    EXPECT_EQ(a.kind, NetworkAddress::Rfc2217);
    EXPECT_EQ(a.host, QStringLiteral("192.168.1.20"));
    EXPECT_EQ(a.port, 4001);
    a = ParseNetworkAddress(QStringLiteral("SOCKET://scaler-rack.local:7000"));
    EXPECT_EQ(a.kind, NetworkAddress::Socket);
    EXPECT_EQ(a.host, QStringLiteral("scaler-rack.local"));
    a = ParseNetworkAddress(QStringLiteral("rfc2217://[::1]:4001"));
    EXPECT_EQ(a.kind, NetworkAddress::Rfc2217);
    EXPECT_EQ(a.host, QStringLiteral("::1"));
    for (const char* bad : {"/dev/ttyS0", "sim", "rfc2217://host", "rfc2217://host:0",
                            "rfc2217://host:70000", "tcp://host:4001", "socket://:4001"})
        EXPECT_EQ(ParseNetworkAddress(QString::fromLatin1(bad)).kind, NetworkAddress::None) << bad;
}

TEST(Rfc2217Names, TheLogNamesOptionsVerbsAndCommandsOrGivesTheirNumber) {
    EXPECT_EQ(TelnetOptionName(telnet::BINARY), QStringLiteral("BINARY"));
    EXPECT_EQ(TelnetOptionName(telnet::SGA), QStringLiteral("SUPPRESS-GO-AHEAD"));
    EXPECT_EQ(TelnetOptionName(telnet::COM_PORT), QStringLiteral("COM-PORT-OPTION"));
    EXPECT_EQ(TelnetOptionName(24), QStringLiteral("24"));
    EXPECT_EQ(TelnetVerbName(telnet::WILL), QStringLiteral("WILL"));
    EXPECT_EQ(TelnetVerbName(telnet::WONT), QStringLiteral("WONT"));
    EXPECT_EQ(TelnetVerbName(telnet::DO), QStringLiteral("DO"));
    EXPECT_EQ(TelnetVerbName(telnet::DONT), QStringLiteral("DONT"));
    EXPECT_EQ(ComPortCommandName(comport::SetBaudrate), QStringLiteral("SET-BAUDRATE"));
    EXPECT_EQ(ComPortCommandName(comport::SetControl), QStringLiteral("SET-CONTROL"));
    EXPECT_EQ(ComPortCommandName(comport::PurgeData), QStringLiteral("PURGE-DATA"));
    EXPECT_EQ(ComPortCommandName(comport::NotifyModemstate), QStringLiteral("7"));
}

TEST(Rfc2217Names, ARateIsFourBytesInNetworkOrderAnyOtherValueItsByte) {
    const QByteArray rate("\x00\x00\xe1\x00", 4); // 57600
    EXPECT_EQ(ComPortBaud(rate), 57600u);
    EXPECT_EQ(ComPortValueText(comport::SetBaudrate, rate), QStringLiteral("57600"));
    EXPECT_EQ(ComPortValueText(comport::SetControl, QByteArray(1, char(3))), QStringLiteral("3"));
    EXPECT_EQ(ComPortValueText(comport::PurgeData, QByteArray()), QString());
}

} // namespace
