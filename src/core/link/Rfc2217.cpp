#include "core/link/Rfc2217.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace telvo::core {

using namespace telnet;

NetworkAddress ParseNetworkAddress(const QString& text) {
    static const QRegularExpression re(
        QStringLiteral("^(rfc2217|socket)://(\\[[^\\]]+\\]|[^:/\\[\\]]+):([0-9]{1,5})/?$"),
        QRegularExpression::CaseInsensitiveOption);
    NetworkAddress a;
    const auto m = re.match(text.trimmed());
    if (!m.hasMatch())
        return a;
    const uint port = m.captured(3).toUInt();
    if (port == 0 || port > 65535)
        return a;
    a.kind = m.captured(1).compare(QLatin1String("socket"), Qt::CaseInsensitive) == 0
                 ? NetworkAddress::Socket
                 : NetworkAddress::Rfc2217;
    a.host = m.captured(2);
    if (a.host.startsWith(QLatin1Char('[')))
        a.host = a.host.mid(1, a.host.size() - 2);
    a.port = quint16(port);
    return a;
}

QByteArray TelnetEscape(const QByteArray& data) {
    if (!data.contains(char(IAC)))
        return data;
    QByteArray out;
    out.reserve(data.size() + 8);
    for (const char c : data) {
        out += c;
        if (static_cast<unsigned char>(c) == IAC)
            out += c;
    }
    return out;
}

QByteArray ComPortCommand(unsigned char command, const QByteArray& value) {
    QByteArray out;
    out += char(IAC);
    out += char(SB);
    out += char(COM_PORT);
    out += char(command);
    out += TelnetEscape(value);
    out += char(IAC);
    out += char(SE);
    return out;
}

QByteArray SetBaudrateCommand(quint32 baud) {
    QByteArray v(4, '\0');
    for (int i = 0; i < 4; ++i)
        v[i] = char((baud >> (8 * (3 - i))) & 0xFF);
    return ComPortCommand(comport::SetBaudrate, v);
}

QByteArray ComPortByteCommand(unsigned char command, unsigned char value) {
    return ComPortCommand(command, QByteArray(1, char(value)));
}

QByteArray TelnetParser::feed(const QByteArray& bytes, std::vector<TelnetEvent>* events) {
    QByteArray data;
    data.reserve(bytes.size());
    for (const char ch : bytes) {
        const auto c = static_cast<unsigned char>(ch);
        switch (m_state) {
        case Data:
            if (c == IAC)
                m_state = Iac;
            else
                data += ch;
            break;
        case Iac:
            if (c == IAC) {
                data += ch;
                m_state = Data;
            } else if (c >= WILL && c <= DONT) {
                m_verb = c;
                m_state = Verb;
            } else if (c == SB) {
                m_sub.clear();
                m_state = Sub;
            } else {
                // NOP, GA, BRK and the like carry nothing a serial line needs.
                m_state = Data;
            }
            break;
        case Verb: {
            TelnetEvent e;
            e.kind = TelnetEvent::Option;
            e.verb = m_verb;
            e.option = c;
            e.at = data.size();
            if (events)
                events->push_back(std::move(e));
            m_state = Data;
            break;
        }
        case Sub:
            if (c == IAC)
                m_state = SubIac;
            else
                subByte(ch, data, events);
            break;
        case SubIac:
            if (c == IAC) {
                m_state = Sub;
                subByte(ch, data, events);
            } else if (c == SE) {
                if (m_sub.size() >= 2 && static_cast<unsigned char>(m_sub[0]) == COM_PORT &&
                    events) {
                    TelnetEvent e;
                    e.kind = TelnetEvent::ComPort;
                    e.option = COM_PORT;
                    e.command = static_cast<unsigned char>(m_sub[1]);
                    e.value = m_sub.mid(2);
                    e.at = data.size();
                    events->push_back(std::move(e));
                }
                m_sub.clear();
                m_state = Data;
            } else {
                // IAC and anything but SE inside a sub-negotiation: the sender broke it off.
                m_sub.clear();
                m_state = Data;
            }
            break;
        }
    }
    return data;
}

void TelnetParser::subByte(char ch, QByteArray& data, std::vector<TelnetEvent>* events) {
    if (m_sub.size() < kMaxSub) {
        m_sub += ch;
        return;
    }
    // Past the limit: left, and this byte is data again.
    TelnetEvent e;
    e.kind = TelnetEvent::Abandoned;
    e.option = m_sub.isEmpty() ? 0 : static_cast<unsigned char>(m_sub[0]);
    e.at = data.size();
    if (events)
        events->push_back(std::move(e));
    m_sub.clear();
    m_state = Data;
    data += ch;
}

bool TelnetNegotiator::weWant(unsigned char option) {
    return option == BINARY || option == SGA || option == COM_PORT;
}

bool TelnetNegotiator::theyMay(unsigned char option) {
    return option == BINARY || option == SGA;
}

static QByteArray verbBytes(unsigned char verb, unsigned char option) {
    QByteArray out;
    out += char(IAC);
    out += char(verb);
    out += char(option);
    return out;
}

bool TelnetNegotiator::settled() const {
    const auto known = [](Q q) { return q == Yes || q == No; };
    return m_started && known(m_us[COM_PORT]) && known(m_us[BINARY]) && known(m_him[BINARY]);
}

QByteArray TelnetNegotiator::start() {
    m_started = true;
    QByteArray out;
    for (const unsigned char o : {BINARY, SGA, COM_PORT}) {
        m_us[o] = WantYes;
        out += verbBytes(WILL, o);
    }
    for (const unsigned char o : {BINARY, SGA}) {
        m_him[o] = WantYes;
        out += verbBytes(DO, o);
    }
    return out;
}

QByteArray TelnetNegotiator::answer(unsigned char verb, unsigned char option) {
    // WILL and WONT speak of the server's side of the option, DO and DONT of ours.
    switch (verb) {
    case WILL:
        return settle(m_him[option], true, theyMay(option), DO, DONT, option);
    case WONT:
        return settle(m_him[option], false, false, DO, DONT, option);
    case DO:
        return settle(m_us[option], true, weWant(option), WILL, WONT, option);
    case DONT:
        return settle(m_us[option], false, false, WILL, WONT, option);
    default:
        return {};
    }
}

QByteArray TelnetNegotiator::settle(Q& side, bool on, bool agree, unsigned char yes,
                                    unsigned char no, unsigned char option) {
    if (!on) {
        // A side that was on is told it is off; any other state simply ends there.
        const bool wasOn = side == Yes;
        side = No;
        return wasOn ? verbBytes(no, option) : QByteArray();
    }
    if (side == No) {
        if (!agree)
            return verbBytes(no, option);
        side = Yes;
        return verbBytes(yes, option);
    }
    // An answer to our own request, or an echo of what already holds: nothing more is said.
    if (side == WantYes)
        side = Yes;
    else if (side == WantNo)
        side = No;
    return {};
}

void RoundTripEstimate::add(int ms) {
    ms = qMax(0, ms);
    if (m_count == 0) {
        m_srtt = ms;
        m_var = ms / 2.0;
    } else {
        m_var = 0.75 * m_var + 0.25 * std::abs(m_srtt - ms);
        m_srtt = 0.875 * m_srtt + 0.125 * ms;
    }
    m_recent[size_t(m_count % kRecent)] = ms;
    ++m_count;
}

int RoundTripEstimate::estimateMs() const {
    if (m_count == 0)
        return 0;
    const int recentMax = *std::max_element(m_recent.begin(), m_recent.end());
    return qMax(int(std::lround(m_srtt + m_var)), recentMax);
}

QString TelnetOptionName(unsigned char option) {
    switch (option) {
    case telnet::BINARY:
        return QStringLiteral("BINARY");
    case telnet::SGA:
        return QStringLiteral("SUPPRESS-GO-AHEAD");
    case telnet::COM_PORT:
        return QStringLiteral("COM-PORT-OPTION");
    default:
        return QString::number(option);
    }
}

QString TelnetVerbName(unsigned char verb) {
    switch (verb) {
    case telnet::WILL:
        return QStringLiteral("WILL");
    case telnet::WONT:
        return QStringLiteral("WONT");
    case telnet::DO:
        return QStringLiteral("DO");
    default:
        return QStringLiteral("DONT");
    }
}

QString ComPortCommandName(unsigned char command) {
    switch (command) {
    case comport::SetBaudrate:
        return QStringLiteral("SET-BAUDRATE");
    case comport::SetDatasize:
        return QStringLiteral("SET-DATASIZE");
    case comport::SetParity:
        return QStringLiteral("SET-PARITY");
    case comport::SetStopsize:
        return QStringLiteral("SET-STOPSIZE");
    case comport::SetControl:
        return QStringLiteral("SET-CONTROL");
    case comport::PurgeData:
        return QStringLiteral("PURGE-DATA");
    default:
        return QString::number(command);
    }
}

quint32 ComPortBaud(const QByteArray& value) {
    quint32 baud = 0;
    for (const char c : value)
        baud = (baud << 8) | static_cast<unsigned char>(c);
    return baud;
}

QString ComPortValueText(unsigned char command, const QByteArray& value) {
    if (command == comport::SetBaudrate)
        return QString::number(ComPortBaud(value));
    return value.isEmpty() ? QString() : QString::number(static_cast<unsigned char>(value[0]));
}

} // namespace telvo::core
