#include "platform/clock/Clock.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>
#include <algorithm>
#include <utility>

#ifdef Q_OS_LINUX
#include <sys/timerfd.h>
#include <unistd.h>
#endif

namespace telvo::platform {

Clock& Clock::instance() {
    static Clock* clock = new Clock; // lives for the run, like the program's timers
    return *clock;
}

Clock::At::At(qint64 us) : m_saved(std::exchange(instance().m_atUs, us)) {}

Clock::At::~At() {
    instance().m_atUs = m_saved;
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
    if (on == m_virtual)
        return;
    const qint64 now = readUs();
    m_virtual = on;
    if (on) {
        m_virtualNowUs = now;
        m_wake.stop();
        m_armedUs = kRealTime;
#ifdef Q_OS_LINUX
        if (m_timerFd >= 0) {
            const itimerspec off{};
            ::timerfd_settime(m_timerFd, 0, &off, nullptr);
        }
#endif
    } else {
        m_wallOffsetUs = now - m_wall.nsecsElapsed() / 1000;
        rearm();
    }
}

qint64 Clock::nowUs() const {
    return m_atUs != kRealTime ? m_atUs : readUs();
}

qint64 Clock::readUs() const {
    if (m_virtual)
        return m_virtualNowUs;
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
    if (it == m_index.end())
        return;
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
    const At real(kRealTime);
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
    if (!m_virtual || m_events.empty())
        return false;
    m_virtualNowUs = std::max(m_virtualNowUs, m_events.begin()->first.first);
    fireDue();
    return true;
}

bool Clock::runUntil(const std::function<bool()>& cond, qint64 limitUs) {
    const qint64 end = nowUs() + limitUs;
    while (!cond()) {
        if (!m_virtual || m_events.empty() || nextDueUs() > end)
            return false;
        advanceToNext();
    }
    return true;
}

void Clock::advanceBy(qint64 us) {
    const qint64 target = nowUs() + us;
    if (!m_virtual)
        return;
    while (!m_events.empty() && m_events.begin()->first.first <= target) {
        m_virtualNowUs = std::max(m_virtualNowUs, m_events.begin()->first.first);
        fireDue();
    }
    m_virtualNowUs = target;
}

void Clock::woken() {
    m_armedUs = kRealTime;
    fireDue();
    rearm();
}

// The timer file needs the thread's event dispatcher, which exists once the application does.
bool Clock::preciseWake() {
#ifdef Q_OS_LINUX
    if (m_notifier)
        return true;
    if (m_timerFd == -2 || !QAbstractEventDispatcher::instance())
        return false;
    m_timerFd = ::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    if (m_timerFd < 0) {
        m_timerFd = -2;
        return false;
    }
    m_notifier = new QSocketNotifier(qintptr(m_timerFd), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        quint64 expirations = 0;
        (void)!::read(m_timerFd, &expirations, sizeof expirations);
        woken();
    });
    return true;
#else
    return false;
#endif
}

void Clock::rearm() {
    if (m_virtual)
        return;
    const qint64 due = m_events.empty() ? kRealTime : m_events.begin()->first.first;
    const qint64 delayUs = due == kRealTime ? 0 : std::max<qint64>(due - readUs(), 0);
#ifdef Q_OS_LINUX
    if (preciseWake()) {
        // One system call per change of the earliest event, not per event scheduled.
        if (due == m_armedUs)
            return;
        m_armedUs = due;
        itimerspec when{};
        if (due != kRealTime) {
            // A zero time would disarm the timer: "now" is one nanosecond from now.
            when.it_value.tv_sec = time_t(delayUs / 1'000'000);
            when.it_value.tv_nsec = long(delayUs % 1'000'000) * 1000 + 1;
        }
        ::timerfd_settime(m_timerFd, 0, &when, nullptr);
        return;
    }
#endif
    if (due == kRealTime) {
        m_wake.stop();
        return;
    }
    // QTimer counts in milliseconds; round up so that the event is due when the timer fires.
    m_wake.start(int((delayUs + 999) / 1000));
}

} // namespace telvo::platform
