#include "platform/clock/Timer.h"

namespace telvo::platform {

namespace {
int g_live = 0; // the one thread creates and deletes them all
} // namespace

Timer::Timer(QObject* parent, int intervalMs) : QObject(parent), m_interval(intervalMs) {
    ++g_live;
}

Timer::~Timer() {
    disarm();
    --g_live;
}

int Timer::LiveCount() {
    return g_live;
}

void Timer::setEnabled(bool on) {
    if (on == m_enabled)
        return;
    m_enabled = on;
    if (on)
        arm();
    else
        disarm();
}

void Timer::setInterval(int ms) {
    m_interval = ms < 0 ? 0 : ms;
    if (m_enabled) {
        disarm();
        arm();
    }
}

void Timer::arm() {
    if (m_interval <= 0)
        return;
    m_pending = Clock::instance().scheduleIn(qint64(m_interval) * 1000, [this] {
        m_pending = 0;
        // The next tick is set before the handler runs; a handler that disables the timer
        // cancels it.
        arm();
        Q_EMIT Tick();
    });
}

void Timer::disarm() {
    if (m_pending)
        Clock::instance().cancel(m_pending);
    m_pending = 0;
}

} // namespace telvo::platform
