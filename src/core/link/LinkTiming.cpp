#include "core/link/LinkTiming.h"

#include <algorithm>

namespace telvo::core {

int LineTimeMs(qsizetype bytes, int rate) {
    if (rate <= 0 || bytes <= 0)
        return 0;
    return int((qint64(bytes) * 10 * 1000 + rate - 1) / rate);
}

void SlowestRecentAnswer::clear() {
    m_recent.fill(0);
    m_count = 0;
    m_next = 0;
}

void SlowestRecentAnswer::add(int ms) {
    m_recent[std::size_t(m_next)] = std::max(ms, 0);
    m_next = (m_next + 1) % kKept;
    m_count = std::min(m_count + 1, kKept);
}

int SlowestRecentAnswer::value() const {
    int most = 0;
    for (int i = 0; i < m_count; ++i)
        most = std::max(most, m_recent[std::size_t(i)]);
    return most;
}

int WaitGrowthMs(bool network, bool measured, int roundTripMs) {
    if (!network)
        return 0;
    if (!measured)
        return kWorkableRoundTripMs;
    const qint64 grown = qint64(std::max(roundTripMs, 0)) * 3 / 2;
    return int(std::min<qint64>(grown, kWorkableRoundTripMs));
}

int LateWindowMs(int growthMs) {
    return std::min(std::max(growthMs, 0) + 100, kWorkableRoundTripMs);
}

} // namespace telvo::core
