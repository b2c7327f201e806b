#pragma once
// What a line at its rate cannot yet have carried of the bytes written to it (ten bit times a
// byte). A driver or a network server takes bytes faster than the far line passes them; counting
// them as not sent until their time keeps a block transfer paced to the real line.

#include <QtGlobal>

namespace telvo::platform {

class LinePacer {
public:
    LinePacer() = default;
    LinePacer(const LinePacer&) = delete;
    LinePacer& operator=(const LinePacer&) = delete;
    ~LinePacer() { forget(); }

    // `n` bytes went out at `baud`; a clock event is kept at the moment the line is free, so a
    // drain wait wakes on time.
    void sent(qint64 n, int baud);
    int bytesOnTheLine(int baud) const;
    void forget();

private:
    qint64 m_lineFreeUs = 0;
    quint64 m_drainWake = 0;
};

} // namespace telvo::platform
