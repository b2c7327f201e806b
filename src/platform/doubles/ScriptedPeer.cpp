#include "platform/doubles/ScriptedPeer.h"

#include "platform/clock/Clock.h"

namespace telvo::platform {

ScriptedPeer::~ScriptedPeer() {
    for (quint64 id : m_pending)
        Clock::instance().cancel(id);
}

void ScriptedPeer::on(const QByteArray& frame, const QByteArray& reply, int delayMs, int times) {
    Rule r;
    r.frame = frame;
    r.reply = reply;
    r.delayMs = delayMs;
    r.times = times;
    m_rules.push_back(r);
}

void ScriptedPeer::bytesArrived(const QByteArray& bytes) {
    m_heard.append(bytes);
    for (char c : bytes) {
        if (c == '\x02') {
            m_inFrame = true;
            m_partial = QByteArray(1, c);
        } else if (m_inFrame) {
            m_partial.append(c);
            if (c == '\x03') {
                m_inFrame = false;
                m_frames.append(m_partial);
                m_frameTimes.append(Clock::instance().nowUs());
                answer(m_partial);
            }
        }
    }
}

void ScriptedPeer::answer(const QByteArray& frame) {
    for (Rule& r : m_rules) {
        if (r.times == 0)
            continue;
        if (!r.frame.isEmpty() && r.frame != frame)
            continue;
        if (r.times > 0)
            --r.times;
        QByteArray out;
        if (r.echo)
            out.append(frame);
        out.append(r.reply);
        const int switchBaud = r.switchBaud;
        if (!out.isEmpty() || switchBaud) {
            m_pending.push_back(0);
            const size_t slot = m_pending.size() - 1;
            m_pending[slot] = Clock::instance().scheduleIn(qint64(r.delayMs) * 1000,
                                                           [this, out, switchBaud, slot] {
                                                               m_pending[slot] = 0;
                                                               if (switchBaud)
                                                                   m_baud = switchBaud;
                                                               if (!out.isEmpty() && m_host)
                                                                   m_host->peerSend(out);
                                                           });
        }
        return;
    }
}

void ScriptedPeer::send(const QByteArray& bytes) {
    if (m_host)
        m_host->peerSend(bytes);
}

QByteArray DeviceFrame(const QByteArray& type, const QByteArray& data) {
    QByteArray f;
    f.append('\x02');
    f.append(type);
    f.append(QByteArray::number(data.size(), 16).rightJustified(2, '0'));
    f.append(data);
    unsigned sum = 0;
    for (char c : f)
        sum += static_cast<unsigned char>(c);
    f.append(QByteArray::number(sum & 0xff, 16).rightJustified(2, '0').toUpper());
    f.append('\x03');
    return f;
}

} // namespace telvo::platform
