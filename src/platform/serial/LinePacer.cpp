#include "platform/serial/LinePacer.h"

#include "platform/clock/Clock.h"
#include "platform/serial/SimulatedLine.h"

namespace telvo::platform {

void LinePacer::sent(qint64 n, int baud) {
    if (n <= 0)
        return;
    Clock& clock = Clock::instance();
    m_lineFreeUs = qMax(clock.nowUs(), m_lineFreeUs) + n * SimulatedLine::byteTimeUs(baud);
    if (m_drainWake)
        clock.cancel(m_drainWake);
    m_drainWake = clock.schedule(m_lineFreeUs, [this] { m_drainWake = 0; });
}

int LinePacer::bytesOnTheLine(int baud) const {
    const qint64 byteUs = SimulatedLine::byteTimeUs(baud);
    const qint64 left = m_lineFreeUs - Clock::instance().nowUs();
    if (byteUs <= 0 || left <= 0)
        return 0;
    return int((left + byteUs - 1) / byteUs);
}

void LinePacer::forget() {
    m_lineFreeUs = 0;
    if (m_drainWake)
        Clock::instance().cancel(m_drainWake);
    m_drainWake = 0;
}

} // namespace telvo::platform
