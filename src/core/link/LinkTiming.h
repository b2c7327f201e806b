#pragma once
// Waits on a device behind a network link. A network port's waits grow by the link's round trip;
// a local port's stay what they are. Pure arithmetic: the routines feed it times and samples.

#include <QtGlobal>

#include <array>

namespace telvo::core {

// The longest round trip the waits grow by. A device further away than this is not worked with:
// its answers arrive after their time-outs, are logged as late, and the search says how far.
constexpr int kWorkableRoundTripMs = 1000;

// Time on the line of `bytes` bytes at `rate` baud, ten bits a byte, rounded up; 0 for no rate.
int LineTimeMs(qsizetype bytes, int rate);

// The link's round trip from the exchange's own answers: the time from a frame's send to its
// reply, less the time both spent on the serial line. The value is the largest of the recent
// samples, so a jittery link is judged by its slow answers and a spike is forgotten after a while.
class SlowestRecentAnswer {
public:
    static constexpr int kKept = 8;
    void clear();
    bool measured() const { return m_count > 0; }
    void add(int ms);
    int value() const;
    int samples() const { return m_count; }

private:
    std::array<int, kKept> m_recent{};
    int m_count = 0;
    int m_next = 0;
};

// What a wait on the device grows by. Nothing on a local port. On a network port: while the round
// trip is unknown, the workable limit; once known, the round trip and half as much again for the
// jitter not yet seen; never more than the limit.
int WaitGrowthMs(bool network, bool measured, int roundTripMs);

// How long after its time-out a frame's reply is still awaited as a late one, for a time-out that
// grew by `growthMs`: no new frame goes out before then, so a late reply can't pass for the
// answer to the next one.
int LateWindowMs(int growthMs);

} // namespace telvo::core
