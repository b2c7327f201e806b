#pragma once
// Faults a test switches on while the emulator runs, one line each on a control channel (a FIFO
// given by --control): "garbage N" (N stray bytes at the line's pace), "flood N" (N bytes as fast
// as the terminal takes them, for at most 5 s), "silence MS" (the device hears but says nothing),
// "cut MS" (the line is dead both ways), "late MS" (the next reply waits), "reboot" (a power
// cycle), "splice N" (N stray bytes land inside the next data reply, as noise on a line would). The
// pseudo-terminal server asks it what to do with each byte; the device never knows.

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace vorix::sim {

class FaultControl : public QObject {
public:
    // What a control line asks for; `Unknown` for a line that is not one.
    struct Command {
        enum Kind { Unknown, Garbage, Flood, Silence, Cut, Late, Reboot, Splice } kind = Unknown;
        qint64 amount = 0;
    };
    static Command Parse(const QByteArray& line);

    // Opens the FIFO (made when absent) for reading and writing, so that it never reads an end.
    // False with `error` set when it cannot.
    bool open(const QString& path, QString* error);

    // Called for every command read; the server applies it at its own time.
    void setHandler(std::function<void(const Command&, const QByteArray& line)> handler) {
        m_handler = std::move(handler);
    }

    // The line's state at `nowUs`, as the commands so far left it.
    bool outputDropped(qint64 nowUs) const { return nowUs < m_muteUntilUs || nowUs < m_cutUntilUs; }
    bool inputDropped(qint64 nowUs) const { return nowUs < m_cutUntilUs; }
    qint64 quietUntilUs() const { return qMax(m_muteUntilUs, m_cutUntilUs); }

    // The times the server keeps: a silence or cut from now, and the late reply's hold.
    void apply(const Command& c, qint64 nowUs);
    // The next output is held this long after it appears (0: none pending); taking it clears it.
    qint64 takeHoldUs() {
        const qint64 h = m_holdUs;
        m_holdUs = 0;
        return h;
    }
    // The device's output with a pending splice's stray bytes put between the identifier's NUL
    // and the value of its first data reply ("21"), and `at` set to where they went; unchanged (and
    // `at` -1) when no splice is pending or the output holds no whole data reply head yet.
    QByteArray splice(const QByteArray& output, qsizetype* at);
    // Stray bytes: N of them, never a frame's start or end.
    QByteArray garbage(qint64 n);

private:
    void readLines();

    std::function<void(const Command&, const QByteArray&)> m_handler;
    int m_fd = -1;
    std::unique_ptr<QSocketNotifier> m_reader;
    QByteArray m_partial;
    qint64 m_muteUntilUs = 0;
    qint64 m_cutUntilUs = 0;
    qint64 m_holdUs = 0;
    qint64 m_spliceBytes = 0;
    quint32 m_seed = 0x9E3779B9u;
};

} // namespace vorix::sim
