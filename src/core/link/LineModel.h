#pragma once
// The serial line's model, one for the in-process line and the emulator's pseudo-terminal alike:
// ten bit times a byte (8N1), and bytes framed at a rate the other end does not run at arriving
// as noise.

#include <QByteArray>
#include <QtGlobal>

namespace telvo::core {

// One byte's time on the line, rounded up to the microsecond; 0 for no rate.
constexpr qint64 ByteTimeUs(int baud) {
    return baud > 0 ? (10'000'000LL + baud - 1) / baud : 0;
}

// Framing at the wrong rate: what arrives is noise, and never the frame markers (the top bit is
// always set). The sequence is fixed, so a run repeats itself.
class LineNoise {
public:
    char next() {
        m_seed = m_seed * 1664525u + 1013904223u;
        return char(0x80 | ((m_seed >> 24) & 0x7f));
    }
    // `bytes` as the far end receives them: themselves when both ends run at one rate.
    QByteArray carry(const QByteArray& bytes, bool sameRate) {
        if (sameRate)
            return bytes;
        QByteArray out(bytes.size(), '\0');
        for (char& c : out)
            c = next();
        return out;
    }

private:
    quint32 m_seed = 0x2545F491u;
};

} // namespace telvo::core
