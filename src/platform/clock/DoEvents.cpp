#include "platform/clock/DoEvents.h"

#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace telvo::platform {

namespace {

// A slow heartbeat bounds any wait on the dispatcher even if a wake-up were ever missed;
// 50 wake-ups a second cost nothing measurable.
QTimer& heartbeat() {
    static QTimer* t = [] {
        auto* timer = new QTimer;
        timer->setInterval(20);
        timer->start();
        return timer;
    }();
    return *t;
}

} // namespace

void DoEvents() {
    heartbeat();
    Clock& clock = Clock::instance();
    const Clock::At real(Clock::kRealTime);
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    int fired = clock.fireDue();
    if (!fired) {
        if (clock.isVirtual()) {
            if (!clock.advanceToNext())
                QCoreApplication::processEvents(QEventLoop::AllEvents |
                                                QEventLoop::WaitForMoreEvents);
        } else {
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
            clock.fireDue();
        }
    }
    ThrowIfEnded();
}

void DoEventsOnce() {
    const Clock::At real(Clock::kRealTime);
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    Clock::instance().fireDue();
    ThrowIfEnded();
}

} // namespace telvo::platform
