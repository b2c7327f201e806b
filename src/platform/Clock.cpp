#include "platform/Clock.h"

namespace telvo::platform {

Clock& Clock::instance() {
    static Clock* clock = new Clock; // lives for the run, like the program's timers
    return *clock;
}

Clock::Clock() {
    m_wall.start();
    m_wake.setSingleShot(true);
    m_wake.setTimerType(Qt::PreciseTimer);
    connect(&m_wake, &QTimer::timeout, this, [this] {
        fireDue();
        rearm();
    });
}

void Clock::setVirtual(bool on) {
    if (on == m_virtual) return;
    const qint64 now = nowUs();
    m_virtual = on;
    if (on) {
        m_virtualNowUs = now;
        m_wake.stop();
    } else {
        m_wallOffsetUs = now - m_wall.nsecsElapsed() / 1000;
        rearm();
    }
}

qint64 Clock::nowUs() const {
    if (m_virtual) return m_virtualNowUs;
    return m_wall.nsecsElapsed() / 1000 + m_wallOffsetUs;
}

Clock::Id Clock::schedule(qint64 dueUs, Callback cb) {
    const Id id = m_nextId++;
    const auto key = std::make_pair(dueUs, id);
    m_events.emplace(key, std::move(cb));
    m_index.emplace(id, key);
    rearm();
    return id;
}

void Clock::cancel(Id id) {
    const auto it = m_index.find(id);
    if (it == m_index.end()) return;
    m_events.erase(it->second);
    m_index.erase(it);
    rearm();
}

void Clock::clear() {
    m_events.clear();
    m_index.clear();
    rearm();
}

qint64 Clock::nextDueUs() const {
    return m_events.empty() ? -1 : m_events.begin()->first.first;
}

int Clock::fireDue() {
    int ran = 0;
    const qint64 now = nowUs();
    while (!m_events.empty() && m_events.begin()->first.first <= now) {
        auto it = m_events.begin();
        Callback cb = std::move(it->second);
        m_index.erase(it->first.second);
        m_events.erase(it);
        cb();
        ++ran;
    }
    return ran;
}

bool Clock::advanceToNext() {
    if (!m_virtual || m_events.empty()) return false;
    m_virtualNowUs = std::max(m_virtualNowUs, m_events.begin()->first.first);
    fireDue();
    return true;
}

bool Clock::runUntil(const std::function<bool()>& cond, qint64 limitUs) {
    const qint64 end = nowUs() + limitUs;
    while (!cond()) {
        if (!m_virtual || m_events.empty() || nextDueUs() > end) return false;
        advanceToNext();
    }
    return true;
}

void Clock::advanceBy(qint64 us) {
    const qint64 target = nowUs() + us;
    if (!m_virtual) return;
    while (!m_events.empty() && m_events.begin()->first.first <= target) {
        m_virtualNowUs = std::max(m_virtualNowUs, m_events.begin()->first.first);
        fireDue();
    }
    m_virtualNowUs = target;
}

void Clock::rearm() {
    if (m_virtual) return;
    if (m_events.empty()) {
        m_wake.stop();
        return;
    }
    const qint64 delayUs = m_events.begin()->first.first - nowUs();
    // QTimer counts in milliseconds; round up so that the event is due when the timer fires.
    const int ms = delayUs <= 0 ? 0 : int((delayUs + 999) / 1000);
    m_wake.start(ms);
}

} // namespace telvo::platform
