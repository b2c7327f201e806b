#pragma once
// A classic control timer: Enabled and Interval, a tick every Interval ms while enabled.
// Interval 0 never ticks, as designed (the stall watch of a transfer relies on that).

#include "platform/clock/Clock.h"

#include <QObject>

namespace telvo::platform {

class Timer : public QObject {
    Q_OBJECT
public:
    explicit Timer(QObject* parent = nullptr, int intervalMs = 0);
    ~Timer() override;

    bool Enabled() const { return m_enabled; }
    void setEnabled(bool on);
    int Interval() const { return m_interval; }
    // Timers alive in the process (a long run checks that none pile up).
    static int LiveCount();
    void setInterval(int ms);

Q_SIGNALS:
    void Tick();

private:
    void arm();
    void disarm();

    bool m_enabled = false;
    int m_interval = 0;
    Clock::Id m_pending = 0;
};

} // namespace telvo::platform
