#pragma once
// A Vorix scaler in software, seen from its serial port. It is fed the bytes that reach its port
// and the passing of time, and it produces the bytes it sends and the level of CTS; it reads no
// clock and owns no port, so the in-process line and the pseudo-terminal front end drive it
// alike.
//
// Frames are answered with "21" (id NUL value NUL), "01" ("1" NUL "30" NUL) or "02" (the error
// code in decimal), each with the device's two checksum digits. Power "A1", menu keys "A2",
// speed "A3", model "A8", firmware "A9", the update and restart requests "AC" "AD" "AE" are the
// device's own; every other setting comes from the [COMMANDS] of Telvo.ini.

#include "core/link/LineModel.h"

#include "BootLoader.h"
#include "DeviceOptions.h"
#include "Frames.h"
#include "Menu.h"
#include "SettingStore.h"
#include "Timers.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <utility>

namespace vorix::sim {

class Device : private BootLoader::Host {
public:
    enum class Mode { Running, Rebooting, Loader };
    enum class TraceKind { FrameIn, FrameOut, Note };
    using Trace = std::function<void(TraceKind, const QByteArray&)>;

    // Built from the lines of a Telvo.ini, powered on at `nowUs`.
    explicit Device(const QStringList& iniLines, DeviceOptions options = {}, qint64 nowUs = 0);
    ~Device() override;
    // The same from a file; nullptr with a message when it can't be read.
    static std::unique_ptr<Device> FromIniFile(const QString& path, DeviceOptions options,
                                               QString* error = nullptr, qint64 nowUs = 0);

    // Bytes that reached the device's port at `nowUs` (already noise if the rates differ).
    void receive(const QByteArray& bytes, qint64 nowUs);
    // Lets time pass up to `nowUs`: replies fall due, pages get written, reboots end.
    void advance(qint64 nowUs);
    // What the device has sent since the last call, in order.
    QByteArray takeOutput();
    // The same, with the rate each byte was sent at: a line that carries the bytes later than
    // the device sent them (a pseudo-terminal) must still send them at that rate.
    QByteArray takeOutput(QList<int>* rates);
    bool hasOutput() const { return !m_out.isEmpty(); }
    // When advance() next has something to do; -1 when nothing is pending.
    qint64 nextWakeUs() const { return m_timers.nextDueUs(); }
    qint64 nowUs() const { return m_now; }

    int baud() const { return m_baud; } // the rate its port receives at
    int txBaud() const;                 // the rate it sends at
    bool cts() const;
    bool lineCut() const { return m_cut; }
    // True once after the boot loader failed an image: the line's owner drops what the host
    // wrote ahead of the line (see vorix-sim's service()).
    bool takeLoaderFailed() { return std::exchange(m_loaderFailed, false); }

    // Off and on again: running firmware at the power-on rate, or the boot loader when the
    // firmware was lost in a load.
    void powerCycle(qint64 nowUs);
    void setTrace(Trace trace) { m_trace = std::move(trace); }

    // Live options: a test may change a fault mid-run.
    DeviceOptions& options() { return m_options; }
    const DeviceOptions& options() const { return m_options; }

    Mode mode() const { return m_mode; }
    bool powered() const { return m_powered; }
    QString firmwareVersion() const { return m_firmware; }
    bool firmwareValid() const { return m_firmwareValid; }
    QString modelName() const { return m_modelName; }
    QByteArray modelText() const { return m_modelText; }
    SettingStore& settings() { return *m_store; }
    const SettingStore& settings() const { return *m_store; }
    const Menu& menu() const { return m_menu; }
    const BootLoader& loader() const { return m_loader; }
    bool consoleActive() const { return m_console; }
    int framesReceived() const { return m_framesIn; }
    // The speed code of a rate in the device's table, empty when it has none.
    QByteArray speedCode(int baud) const;
    int rateOfCode(const QByteArray& code) const;

    static qint64 ByteTimeUs(int baud) { return telvo::core::ByteTimeUs(baud); }

private:
    // BootLoader::Host
    qint64 loaderNow() const override { return m_now; }
    Timers& loaderTimers() override { return m_timers; }
    void loaderSend(const QByteArray& text) override;
    void loaderErased() override;
    void loaderAccepted(const FirmwareHeader& image) override;
    void loaderCutLine() override;
    void loaderFailed() override { m_loaderFailed = true; }

    void buildTables();
    void setNow(qint64 us) { m_now = qMax(m_now, us); }
    void send(const QByteArray& bytes);
    void sendFrame(const QByteArray& frame);
    void note(const QByteArray& text);
    void later(qint64 delayUs, std::function<void()> fn);
    void resetLink();
    void enterLoader();
    void beginReboot(qint64 delayUs, int baudAfter);
    void boot(int baud);
    void setRate(int baud);

    // Frames (DeviceFrames.cpp).
    void receiveByte(char c);
    void finishFrame();
    void frameTimedOut();
    int checkFrame(const QByteArray& frame, QByteArray* type, QList<QByteArray>* fields) const;
    void answerQuery(const QByteArray& id);
    void answerSet(const QByteArray& id, const QByteArray& value);
    void reply(const QByteArray& frame);
    // The boot loader never complains about a frame; the firmware does.
    void replyError(int code) {
        if (m_mode != Mode::Loader)
            reply(ErrorReply(code));
    }
    void ackThen(std::function<void()> afterAck);
    void consoleByte(char c);
    void consoleLine(const QByteArray& line);

    DeviceOptions m_options;
    QStringList m_ini;
    QList<QPair<int, QByteArray>> m_rates; // rate, speed code
    std::unique_ptr<SettingStore> m_store;
    Menu m_menu;
    BootLoader m_loader;
    Timers m_timers;
    Trace m_trace;

    qint64 m_now = 0;
    Mode m_mode = Mode::Running;
    bool m_powered = true;
    int m_powerTries = 0;
    int m_baud = 19200;
    int m_powerOnBaud = 19200;
    int m_loaderBaud = 57600;
    QString m_modelName;
    QByteArray m_modelText;
    QString m_firmware;
    bool m_firmwareValid = true;
    bool m_cut = false;
    bool m_loaderFailed = false;

    QByteArray m_out;
    QList<int> m_outRates;      // the sending rate of each byte of m_out
    qint64 m_txBusyUntilUs = 0; // when what was sent so far has left the port
    quint32 m_noise = 0x1234567u;

    bool m_inFrame = false;
    QByteArray m_frame;
    Timers::Id m_frameAlarm = 0;
    int m_framesIn = 0;
    bool m_console = false;
    QByteArray m_line;
};

} // namespace vorix::sim
