#pragma once
// The byte stream of a serial port served over the network: Telnet with the COM-PORT-OPTION
// (RFC 2217), or plain bytes. Parsing and building only, no socket: the stream arrives in any
// pieces, and every piece is taken as it comes (a sub-negotiation split across two reads is one).

#include <QByteArray>
#include <QString>
#include <array>
#include <vector>

namespace telvo::core {

namespace telnet {
constexpr unsigned char IAC = 255, DONT = 254, DO = 253, WONT = 252, WILL = 251, SB = 250, SE = 240;
constexpr unsigned char BINARY = 0, SGA = 3, COM_PORT = 44;
} // namespace telnet

namespace comport {
// Client commands; the server answers each with the same number plus 100.
enum Command : unsigned char {
    Signature = 0,
    SetBaudrate = 1,
    SetDatasize = 2,
    SetParity = 3,
    SetStopsize = 4,
    SetControl = 5,
    NotifyLinestate = 6,
    NotifyModemstate = 7,
    FlowcontrolSuspend = 8,
    FlowcontrolResume = 9,
    SetLinestateMask = 10,
    SetModemstateMask = 11,
    PurgeData = 12,
};
constexpr unsigned char kServerOffset = 100;
constexpr unsigned char ParityNone = 1, StopOne = 1;
constexpr unsigned char ControlNone = 1, ControlXonXoff = 2, ControlHardware = 3;
constexpr unsigned char PurgeReceive = 1, PurgeBoth = 3;
constexpr unsigned char ModemCts = 0x10, ModemDeltaCts = 0x01;
} // namespace comport

// "rfc2217://HOST:PORT" or "socket://HOST:PORT"; kind None for anything else.
struct NetworkAddress {
    enum Kind { None, Rfc2217, Socket } kind = None;
    QString host;
    quint16 port = 0;
};
NetworkAddress ParseNetworkAddress(const QString& text);

// Doubles every IAC so that data bytes of 255 reach the far side as data.
QByteArray TelnetEscape(const QByteArray& data);

// IAC SB COM-PORT-OPTION command value IAC SE, the value escaped.
QByteArray ComPortCommand(unsigned char command, const QByteArray& value);
QByteArray SetBaudrateCommand(quint32 baud); // four bytes, network order
QByteArray ComPortByteCommand(unsigned char command, unsigned char value);

// What the stream held besides data: an option verb, a COM-PORT-OPTION sub-negotiation
// (`command` as the server sent it, 100 and up for its answers), or a sub-negotiation that ran
// past the limit and was left. `at`: how many data bytes of the same feed came before it, so that
// data and answers keep their order (what came before a purge's answer is not ours).
struct TelnetEvent {
    enum Kind { Option, ComPort, Abandoned } kind = Option;
    unsigned char verb = 0; // WILL, WONT, DO, DONT
    unsigned char option = 0;
    unsigned char command = 0;
    QByteArray value;
    qsizetype at = 0;
};

class TelnetParser {
public:
    // The longest sub-negotiation kept (no COM-PORT answer is longer than a few bytes, and a
    // hostile server must not grow our memory). One that runs past it is left: what follows
    // is data again, so a sub-negotiation that never ends cannot swallow the line.
    static constexpr int kMaxSub = 256;

    // Returns the data bytes of `bytes` and appends the other things it held to `events`.
    QByteArray feed(const QByteArray& bytes, std::vector<TelnetEvent>* events);

private:
    void subByte(char ch, QByteArray& data, std::vector<TelnetEvent>* events);

    enum State { Data, Iac, Verb, Sub, SubIac } m_state = Data;
    unsigned char m_verb = 0;
    QByteArray m_sub;
};

// The client's side of option negotiation, without loops (each side's state as RFC 1143 keeps
// it): we offer binary, go-ahead suppression and the COM-PORT-OPTION, and accept the server's
// binary and go-ahead suppression; everything else is refused.
class TelnetNegotiator {
public:
    QByteArray start();
    // The answer to a server's verb (empty when none is due).
    QByteArray answer(unsigned char verb, unsigned char option);
    // The server agreed to take COM-PORT-OPTION commands.
    bool comPortAgreed() const { return m_us[telnet::COM_PORT] == Yes; }
    // The server refused it: this is no RFC 2217 server.
    bool comPortRefused() const { return m_us[telnet::COM_PORT] == No && m_started; }
    // Binary both ways: without it a server in text mode changes CR and NUL inside frames.
    bool binaryAgreed() const {
        return m_us[telnet::BINARY] == Yes && m_him[telnet::BINARY] == Yes;
    }
    // Every option a COM port needs has its answer, yes or no.
    bool settled() const;

private:
    enum Q { No, Yes, WantYes, WantNo };
    // One side's state of an option meets the other's WILL/DO (`on`) or WONT/DONT; `yes` and `no`
    // are the verbs that answer for that side.
    QByteArray settle(Q& side, bool on, bool agree, unsigned char yes, unsigned char no,
                      unsigned char option);
    static bool weWant(unsigned char option);
    static bool theyMay(unsigned char option);
    std::array<Q, 256> m_us{};
    std::array<Q, 256> m_him{};
    bool m_started = false;
};

// The round trip of a link from its samples: a smoothed mean and deviation (as TCP keeps
// them), biased to the largest of the recent samples, so that a wait grown by it holds through
// the link's jitter and follows a link that became slower at once.
class RoundTripEstimate {
public:
    static constexpr int kRecent = 8;
    void add(int ms);
    // 0 before any sample.
    int estimateMs() const;
    int samples() const { return m_count; }
    void reset() { *this = RoundTripEstimate(); }

private:
    double m_srtt = 0;
    double m_var = 0;
    std::array<int, kRecent> m_recent{};
    int m_count = 0;
};

// What the log calls an option, a verb, a COM-PORT-OPTION command ("SET-BAUDRATE"), and the value
// of one: a rate as its number (four bytes, network order: ComPortBaud), any other as its byte.
// Unknown options and commands go by their number.
QString TelnetOptionName(unsigned char option);
QString TelnetVerbName(unsigned char verb);
QString ComPortCommandName(unsigned char command);
quint32 ComPortBaud(const QByteArray& value);
QString ComPortValueText(unsigned char command, const QByteArray& value);

} // namespace telvo::core
