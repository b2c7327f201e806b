#pragma once
// A scriptable far end for tests of the exchange: a rule says which bytes answer which frame,
// after which delay, or that the frame goes unanswered. Everything it heard is kept.

#include "platform/serial/SimulatedLine.h"

#include <QByteArray>
#include <QList>
#include <deque>
#include <vector>

namespace telvo::platform {

class ScriptedPeer : public LinePeer {
public:
    ~ScriptedPeer() override;
    struct Rule {
        QByteArray frame; // the frame to answer; empty matches any frame
        QByteArray reply; // empty: no answer
        int delayMs = 0;
        int times = -1;     // how many frames the rule answers; -1 for ever
        bool echo = false;  // send the frame back before the reply
        int switchBaud = 0; // after answering, the device runs at this rate
    };

    // Rules are tried in order; the first with times left answers.
    void on(const QByteArray& frame, const QByteArray& reply, int delayMs = 0, int times = -1);
    void silence(const QByteArray& frame, int times = -1) { on(frame, {}, 0, times); }
    void addRule(const Rule& rule) { m_rules.push_back(rule); }
    // Queues answers for the next frames, whatever they are (an empty entry stays silent).
    void then(const QByteArray& reply, int delayMs = 0) { on({}, reply, delayMs, 1); }
    void clearRules() { m_rules.clear(); }

    void setBaud(int baud) { m_baud = baud; }
    int baud() const override { return m_baud; }
    void bytesArrived(const QByteArray& bytes) override;

    // Sends bytes now, unasked (garbage, boot-loader text...).
    void send(const QByteArray& bytes);

    QList<QByteArray> frames() const { return m_frames; }       // whole frames received, STX..ETX
    QList<qint64> frameTimesUs() const { return m_frameTimes; } // when each frame was whole
    QByteArray heard() const { return m_heard; }
    void clearHeard() {
        m_frames.clear();
        m_frameTimes.clear();
        m_heard.clear();
    }

private:
    void answer(const QByteArray& frame);

    std::deque<Rule> m_rules;
    QByteArray m_partial;
    bool m_inFrame = false;
    QList<QByteArray> m_frames;
    QList<qint64> m_frameTimes;
    QByteArray m_heard;
    int m_baud = 0;
    std::vector<quint64> m_pending; // answers on their way, cancelled when the peer goes
};

// A frame as the device sends it: the host frame with the device's two checksum digits.
QByteArray DeviceFrame(const QByteArray& type, const QByteArray& data);

} // namespace telvo::platform
