// A line that floods the program mid-load (a misconfigured terminal server, a device in a boot
// loop): 64 MB of text while the image goes out. The program holds a fixed amount of it, never
// the flood, and the load still ends as a load ends: verified, or failed with its restart file.
// The peak resident memory is the process's own (VmHWM of /proc/self/status, reset at the start
// of the flood through /proc/self/clear_refs).

#include "common/DeviceFixture.h"

#include "Device.h"
#include "DevicePeer.h"
#include "Firmware.h"

#include "platform/serial/SimulatedLine.h"

#include <QFile>

using namespace telvo;
using namespace telvo::test;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// A field of /proc/self/status in kB ("VmHWM", "VmRSS"); -1 when it cannot be read.
qint64 statusKb(const char* field) {
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray key = QByteArray(field) + ':';
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').value(0).toLongLong();
    return -1;
}

// Starts the peak anew from what the process holds now (Linux 4.0 and later).
bool resetPeak() {
    QFile f(QStringLiteral("/proc/self/clear_refs"));
    return f.open(QIODevice::WriteOnly) && f.write("5") == 1;
}

// TELVO_FLOOD_MB sets another size (a quick look while working on the receive path).
const qint64 kFlood = qEnvironmentVariableIntValue("TELVO_FLOOD_MB") > 0
                          ? qEnvironmentVariableIntValue("TELVO_FLOOD_MB") * 1024LL * 1024
                          : 64LL * 1024 * 1024;
constexpr qint64 kGoalKb = 80 * 1024;
// What the device may have waiting to go out at once: the flood keeps this much queued, so
// that it comes as fast as the program reads and no faster than a real line lets a sender be.
constexpr qint64 kQueued = 256 * 1024;

class Flood : public DeviceFixture {
protected:
    // The boot loader's chatter gone wrong: lines of text, a spinner and its backspaces.
    static QByteArray piece() {
        QByteArray p;
        for (int i = 0; p.size() < 64 * 1024; ++i)
            p += "boot 0x" + QByteArray::number(i * 2654435761u, 16) + " retrying from sector " +
                 QByteArray::number(i % 977) + (i % 5 == 0 ? " |\b/\b-\b\\\b" : "") + "\r\n";
        return p;
    }
    // Keeps the device's side of the line full while the image is going out, until 64 MB went.
    void startFloodMidImage() {
        QObject::connect(line(1), &platform::SimulatedLine::received, line(1), [this] {
            if (m_sent >= kFlood || ui::App().FilePosition <= 0)
                return;
            if (m_sent == 0) {
                m_baseKb = statusKb("VmRSS");
                m_peakReset = resetPeak();
                m_startedAt = ui::App().FilePosition;
            }
            while (m_sent < kFlood && line(1)->peerPendingBytes() < kQueued) {
                line(1)->peerSend(m_piece);
                m_sent += m_piece.size();
            }
            if (m_halfKb < 0 && m_sent >= kFlood / 2)
                m_halfKb = statusKb("VmHWM");
        });
    }

    QByteArray m_piece = piece();
    qint64 m_sent = 0;
    qint64 m_baseKb = -1;
    qint64 m_halfKb = -1; // the peak when half the flood had been sent
    bool m_peakReset = false;
    qint32 m_startedAt = 0;
};

// Pins a departure (docs/ARCHITECTURE.md): the loader box keeps only its last part.
TEST_F(Flood, SixtyFourMegabytesMidImageHoldMemoryAndTheLoadEndsAsALoadEnds) {
    vorix::sim::Device& d = attachDevice({});
    line(1)->setPacing(false); // the flood comes at whatever rate the program takes it
    writeHomeFile(QStringLiteral("FileList.frl"),
                  (homeFile(QStringLiteral("new.frk")) + QStringLiteral("\r\n")).toUtf8());
    writeHomeFile(QStringLiteral("new.frk"),
                  vorix::sim::MakeFirmwareImage(QStringLiteral("2.70"), 30000));
    startFloodMidImage();
    answerPrompt(true); // a failure asks whether to restart: the user says Continue
    const qint16 code = ui::LoadTheFiles(false);

    EXPECT_GE(m_sent, kFlood) << "the whole flood went in during the load";
    EXPECT_GT(m_startedAt, 0);
    const qint64 peakKb = statusKb("VmHWM");
    ASSERT_GT(peakKb, 0);
    std::printf("flood of %lld MB from file position %d: peak resident %lld kB (%lld kB at its "
                "start, %s; %lld kB at half the flood)\n",
                static_cast<long long>(m_sent >> 20), m_startedAt, static_cast<long long>(peakKb),
                static_cast<long long>(m_baseKb),
                m_peakReset ? "peak reset then" : "peak of the run",
                static_cast<long long>(m_halfKb));
    if (kSanitized) {
        // The sanitizer's shadow and quarantine sit on top of the program's own memory: what
        // the flood may add is what the goal leaves above a plain run's start.
        EXPECT_LE(peakKb - m_baseKb, 40 * 1024);
    } else {
        EXPECT_LE(peakKb, kGoalKb);
    }
    // Memory follows no amount of flood: the second half adds next to nothing to the peak.
    EXPECT_LE(peakKb - m_halfKb, 8 * 1024) << "at half the flood " << m_halfKb << " kB";
    EXPECT_LE(ui::G().ldrText.text().size(), core::ConsoleText::kMaxChars);
    EXPECT_LE(ui::G().dbgText.text().size(), core::ConsoleText::kMaxChars);

    // The load ends as a load ends.
    if (code == 0) {
        EXPECT_EQ(d.firmwareVersion(), QStringLiteral("2.70"));
        EXPECT_TRUE(d.firmwareValid());
        EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))));
    } else {
        EXPECT_TRUE(QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))))
            << "code " << code;
    }
    EXPECT_EQ(scripted->messageTexts(), QStringList());
}

} // namespace
