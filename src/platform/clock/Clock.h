#pragma once
// The one clock of the program. Real mode follows the wall clock; virtual mode (tests,
// benchmarks) jumps straight to the next scheduled event whenever the program would otherwise
// wait, so an 8 s reboot or a 30 s search costs no real time and always happens in the same order.

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>
#include <map>

class QSocketNotifier;

namespace telvo::platform {

class Clock : public QObject {
    Q_OBJECT
public:
    using Callback = std::function<void()>;
    using Id = quint64;

    static Clock& instance();

    // While an `At` lives, nowUs() reads the moment it names: what the in-process line hands on
    // late (a wake-up is never exactly on time) happens at the time it was due, so the device's
    // answers and CTS keep their exact times. `kRealTime` reads the clock itself again (every
    // yield does, so that no wait nested inside sees a frozen time).
    static constexpr qint64 kRealTime = -1;
    class At {
    public:
        explicit At(qint64 us);
        ~At();
        At(const At&) = delete;
        At& operator=(const At&) = delete;

    private:
        qint64 m_saved;
    };

    // Switches between the wall clock and a virtual clock starting at 0. Pending events are kept.
    void setVirtual(bool on);
    bool isVirtual() const { return m_virtual; }

    qint64 nowUs() const;
    qint64 nowMs() const { return nowUs() / 1000; }

    Id schedule(qint64 dueUs, Callback cb);
    Id scheduleIn(qint64 delayUs, Callback cb) {
        return schedule(nowUs() + delayUs, std::move(cb));
    }
    void cancel(Id id);
    bool hasPending() const { return !m_events.empty(); }
    std::size_t pendingCount() const { return m_events.size(); }
    // Drops every pending event (a test's end: nothing of it may run in the next test).
    void clear();
    qint64 nextDueUs() const;

    // Runs the callbacks that are due now. Returns how many ran.
    int fireDue();
    // Virtual mode: moves time to the next event and runs what is then due. False when none.
    bool advanceToNext();
    // Virtual mode: moves time from event to event until `cond` holds; false when it does not
    // by `limitUs` from now (or nothing is left to happen).
    bool runUntil(const std::function<bool()>& cond, qint64 limitUs);
    // Virtual mode: moves time forward by `us`, running every event on the way.
    void advanceBy(qint64 us);

private:
    Clock();
    void rearm();
    qint64 readUs() const;
    bool preciseWake();
    void woken();

    bool m_virtual = false;
    qint64 m_virtualNowUs = 0;
    QElapsedTimer m_wall;
    qint64 m_wallOffsetUs = 0;
    Id m_nextId = 1;
    // Ordered by due time, then by scheduling order, so equal times run first come first served.
    std::multimap<std::pair<qint64, Id>, Callback> m_events;
    std::map<Id, std::pair<qint64, Id>> m_index;
    qint64 m_atUs = kRealTime;
    // The wake-up on the wall clock: a timer file to the microsecond where the system has one
    // (QTimer counts whole milliseconds, a third of a block at 115200), else a precise QTimer.
    QTimer m_wake;
    int m_timerFd = -1;
    QSocketNotifier* m_notifier = nullptr;
    qint64 m_armedUs = kRealTime;
};

} // namespace telvo::platform
