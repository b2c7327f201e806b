#pragma once
// Frames of a scripted device for the tests of finding and driving it, spelled as the log
// prints them, and readers of the "Sent: " lines of the log.

#include "common/Fixture.h"

#include "platform/clock/Clock.h"
#include "platform/doubles/ScriptedPeer.h"

#include <QRegularExpression>
#include <functional>
#include <vector>

namespace telvo::test {

// Clock events of one test, cancelled when it ends, so that none outlives what it captured.
class TestEvents {
public:
    ~TestEvents() { cancelAll(); }
    void in(int ms, std::function<void()> fn) {
        m_ids.push_back(platform::Clock::instance().scheduleIn(qint64(ms) * 1000, std::move(fn)));
    }
    void cancelAll() {
        for (platform::Clock::Id id : m_ids)
            platform::Clock::instance().cancel(id);
        m_ids.clear();
    }

private:
    std::vector<platform::Clock::Id> m_ids;
};

inline QByteArray Query(const char* id) {
    return Bytes(QStringLiteral("(STX)2003%1(NUL)(ETX)").arg(QLatin1String(id)));
}
inline QByteArray Set(const char* id, const char* value) {
    const QByteArray data = QByteArray(id) + '\0' + value + '\0';
    return QByteArray("\x02"
                      "30") +
           QByteArray::number(data.size(), 16).rightJustified(2, '0') + data + '\x03';
}
inline QByteArray DataReply(const QByteArray& id, const QByteArray& value) {
    return platform::DeviceFrame("21", id + '\0' + value + '\0');
}
inline QByteArray AckReply() {
    return platform::DeviceFrame("01", QByteArray("1\0"
                                                  "30\0",
                                                  5));
}
inline QByteArray ErrorReply(int code) {
    return platform::DeviceFrame("02", QByteArray::number(code));
}

// A device that answers what a connection asks: power, model, firmware.
inline void AnswersIdentity(platform::ScriptedPeer& peer, const QByteArray& power = "1",
                            const QByteArray& model = "Vorix Gorda",
                            const QByteArray& firmware = "1.24") {
    peer.on(Query("A1"), DataReply("A1", power), 5);
    peer.on(Query("A8"), DataReply("A8", model), 5);
    peer.on(Query("A9"), DataReply("A9", firmware), 5);
}

// (port, rate) of every frame the log says was sent, in order.
inline QList<QPair<QString, QString>> SentOn(const QStringList& log) {
    static const QRegularExpression re(QStringLiteral("^Sent: .* on (\\S*) @ (\\S*)$"));
    QList<QPair<QString, QString>> out;
    for (const QString& line : log) {
        const auto m = re.match(line);
        if (m.hasMatch())
            out.append({m.captured(1), m.captured(2)});
    }
    return out;
}

// The frames of the "Sent: " lines, as printed.
inline QStringList SentFrames(const QStringList& log) {
    static const QRegularExpression re(QStringLiteral("^Sent: (.*) on \\S* @ \\S*$"));
    QStringList out;
    for (const QString& line : log) {
        const auto m = re.match(line);
        if (m.hasMatch())
            out << m.captured(1);
    }
    return out;
}

} // namespace telvo::test
