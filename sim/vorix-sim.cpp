// vorix-sim: the emulated Vorix device on a pseudo-terminal, so that the utility talks to it
// through its real serial port code. The kernel doesn't pace a pty, so the emulator paces both
// directions at the device's rate itself, and reads the rate the program set on the slave to
// turn bytes sent at the wrong rate into noise, as a real line would.

#include "Device.h"
#include "DeviceOptions.h"
#include "FaultControl.h"
#include "Firmware.h"

#include "core/link/LineModel.h"
#include "core/text/MinorSubs.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <deque>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

using vorix::sim::Device;

namespace {

int g_signalPipe[2] = {-1, -1};

void onSignal(int sig) {
    const char c = char(sig);
    [[maybe_unused]] const ssize_t n = ::write(g_signalPipe[1], &c, 1);
}

int rateOf(speed_t s) {
    switch (s) {
    case B300:
        return 300;
    case B1200:
        return 1200;
    case B2400:
        return 2400;
    case B4800:
        return 4800;
    case B9600:
        return 9600;
    case B19200:
        return 19200;
    case B38400:
        return 38400;
    case B57600:
        return 57600;
    case B115200:
        return 115200;
    case B230400:
        return 230400;
    default:
        return 0;
    }
}

speed_t speedOf(int rate) {
    switch (rate) {
    case 300:
        return B300;
    case 1200:
        return B1200;
    case 2400:
        return B2400;
    case 4800:
        return B4800;
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 57600:
        return B57600;
    case 115200:
        return B115200;
    case 230400:
        return B230400;
    default:
        return B19200;
    }
}

class PtyServer : public QObject {
public:
    PtyServer(Device& device, int master, int slave, QFile* trace, QFile* events,
              vorix::sim::FaultControl* faults)
        : m_device(device), m_master(master), m_slave(slave), m_trace(trace), m_events(events),
          m_faults(faults), m_reader(master, QSocketNotifier::Read) {
        m_clock.start();
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, [this] { service(); });
        connect(&m_reader, &QSocketNotifier::activated, this, [this] { readHost(); });
        if (m_trace || m_events)
            m_device.setTrace([this](Device::TraceKind kind, const QByteArray& text) {
                if (m_trace)
                    traceLine(kind, text);
                if (m_events && kind == Device::TraceKind::Note)
                    writeEvent(text);
            });
        if (m_faults)
            m_faults->setHandler([this](const vorix::sim::FaultControl::Command& c,
                                        const QByteArray& line) { fault(c, line); });
        service();
    }

    void powerCycle() {
        m_device.powerCycle(nowUs());
        service();
    }

    // The device as it stands now, on one event line: its mode, firmware, rate, the bytes of
    // the image it holds, and every setting whose value differs from its default.
    void reportState() {
        service();
        const char* mode = m_device.mode() == Device::Mode::Running     ? "running"
                           : m_device.mode() == Device::Mode::Rebooting ? "rebooting"
                                                                        : "loader";
        const QByteArray changed = m_device.settings().changedValues().join(',');
        writeEvent(QByteArray("state mode=") + mode +
                   " firmware=" + m_device.firmwareVersion().toLatin1() +
                   " valid=" + (m_device.firmwareValid() ? "1" : "0") +
                   " rate=" + QByteArray::number(m_device.baud()) + " image=" +
                   QByteArray::number(m_device.loader().stats().bytes) + " changed=" + changed);
    }

private:
    qint64 nowUs() const { return m_clock.nsecsElapsed() / 1000; }

    // The rate the program set on its end, read from the slave we keep open.
    int hostBaud() const {
        termios t{};
        if (::tcgetattr(m_slave, &t) != 0)
            return 0;
        return rateOf(::cfgetospeed(&t));
    }

    // A fault from the control channel, applied now.
    void fault(const vorix::sim::FaultControl::Command& c, const QByteArray& line) {
        using C = vorix::sim::FaultControl::Command;
        if (m_events)
            writeEvent((c.kind == C::Unknown ? "fault? " : "fault ") + line);
        if (c.kind == C::Reboot) {
            powerCycle();
            return;
        }
        if (c.kind == C::Garbage) {
            const int rate = hostBaud() > 0 ? hostBaud() : m_device.baud();
            if (m_out.isEmpty())
                m_outNextUs = -1;
            m_out.append(m_faults->garbage(c.amount));
            m_outRates.append(QList<int>(c.amount, rate));
        } else if (c.kind == C::Flood) {
            m_floodLeft += c.amount;
            m_floodEndUs = nowUs() + kFloodUs;
        }
        m_faults->apply(c, nowUs());
        service();
    }

    void readHost() {
        if (m_faults && m_faults->inputDropped(nowUs())) { // a cut line: what was sent is lost
            char lost[256];
            while (::read(m_master, lost, sizeof lost) > 0) {
            }
            return;
        }
        char buf[256];
        const qsizetype room = kInLimit - qsizetype(m_in.size());
        if (room > 0) {
            const ssize_t n = ::read(m_master, buf, size_t(qMin<qsizetype>(room, sizeof buf)));
            if (n > 0) {
                if (m_in.empty())
                    m_inNextUs = -1;
                m_in.insert(m_in.end(), buf, buf + n);
            }
        }
        // A full queue leaves the rest in the kernel: the program's writes back up as on a line.
        m_reader.setEnabled(qsizetype(m_in.size()) < kInLimit);
        service();
    }

    // A pseudo-terminal takes what the program writes (kilobytes of it) though the device holds
    // CTS low while it writes a page: a program that cannot read CTS there paces by the rate
    // alone and runs ahead of the line by every page's write. On a serial line those bytes
    // would still wait in the program's own buffer. When the loader fails an image, what was
    // written ahead is dropped, as the line would never have carried it: otherwise each retry
    // starts behind the last one's tail, and the next failure is seen a block later each time.
    void dropHostAhead() {
        m_in.clear();
        ::tcflush(m_master, TCIFLUSH);
        m_inNextUs = -1;
    }

    void service() {
        const qint64 now = nowUs();
        const int host = hostBaud();

        // Host to device, a byte a byte-time, and only while the device holds CTS high. The
        // device lives up to each byte's own time, never past it: a server that got the CPU late
        // must not let the frame's time limit run out before bytes that were already due.
        while (!m_in.empty()) {
            const qint64 byteUs = telvo::core::ByteTimeUs(m_device.baud());
            if (m_inNextUs < 0)
                m_inNextUs = now + byteUs;
            if (m_inNextUs > now)
                break;
            m_device.advance(m_inNextUs);
            if (!m_device.cts())
                break;
            char c = m_in.front();
            m_in.pop_front();
            if (host != m_device.baud())
                c = m_noise.next();
            m_device.receive(QByteArray(1, c), m_inNextUs);
            m_inNextUs += byteUs;
            if (m_device.takeLoaderFailed())
                dropHostAhead();
            if (m_events)
                imageMilestone();
        }
        m_device.advance(now);
        if (!m_device.cts())
            m_inNextUs = -1;
        if (!m_reader.isEnabled() && qsizetype(m_in.size()) < kInLimit)
            m_reader.setEnabled(true);

        // Device to host, at the rate the device sends at.
        m_device.advance(now);
        QList<int> rates;
        QByteArray said = m_device.takeOutput(&rates);
        if (qsizetype at = -1; m_faults) {
            said = m_faults->splice(said, &at);
            if (at >= 0)
                rates.insert(at, said.size() - rates.size(), rates.value(at, hostBaud()));
        }
        const bool dropped = m_faults && m_faults->outputDropped(now);
        if (dropped) {
            m_out.clear();
            m_outRates.clear();
        } else if (!said.isEmpty()) {
            if (m_out.isEmpty())
                m_outNextUs = -1;
            m_out.append(said);
            m_outRates.append(rates);
            if (const qint64 hold = m_faults ? m_faults->takeHoldUs() : 0; hold > 0)
                m_outNextUs = qMax(m_outNextUs, now + hold);
        }
        writeFlood();
        // Each byte goes at the rate the device sent it at, even when the device has moved on
        // (an acknowledgement at the old rate, then the new rate).
        QByteArray due;
        while (due.size() < m_out.size()) {
            const int rate = m_outRates.at(due.size());
            const qint64 outByteUs = telvo::core::ByteTimeUs(rate);
            if (m_outNextUs < 0)
                m_outNextUs = now + outByteUs;
            if (m_outNextUs > now)
                break;
            const char c = m_out.at(due.size());
            due.append(host == rate ? c : m_noise.next());
            m_outNextUs += outByteUs;
        }
        if (!due.isEmpty()) {
            const ssize_t n = ::write(m_master, due.constData(), size_t(due.size()));
            // What the pty would not take now is tried again shortly.
            const qsizetype taken = n > 0 ? qsizetype(n) : 0;
            m_out.remove(0, taken);
            m_outRates.remove(0, taken);
            if (taken < due.size())
                m_outNextUs = now + 1000;
        }
        schedule(now);
    }

    void schedule(qint64 now) {
        qint64 next = m_device.nextWakeUs();
        const auto earliest = [&next](qint64 t) {
            if (t >= 0 && (next < 0 || t < next))
                next = t;
        };
        if (!m_out.isEmpty())
            earliest(m_outNextUs < 0 ? now : m_outNextUs);
        if (!m_in.empty() && m_device.cts())
            earliest(m_inNextUs < 0 ? now : m_inNextUs);
        // CTS may rise without an alarm of the device's (it never does today, but a poll is
        // cheap insurance while bytes wait).
        if (!m_in.empty() && !m_device.cts())
            earliest(now + 5000);
        if (m_floodLeft > 0)
            earliest(now + 1000);
        if (m_faults && m_faults->quietUntilUs() > now)
            earliest(m_faults->quietUntilUs());
        if (next < 0) {
            m_timer.stop();
            return;
        }
        const qint64 delayUs = qMax<qint64>(0, next - now);
        m_timer.start(int((delayUs + 999) / 1000));
    }

    // A flood goes as fast as the terminal takes it, past the line's pace.
    // What the terminal has not taken when the flood's time is up is lost, as on a line nobody
    // reads.
    void writeFlood() {
        if (nowUs() > m_floodEndUs)
            m_floodLeft = 0;
        while (m_floodLeft > 0) {
            const QByteArray chunk = m_faults->garbage(qMin<qint64>(m_floodLeft, 4096));
            const ssize_t n = ::write(m_master, chunk.constData(), size_t(chunk.size()));
            if (n <= 0)
                return;
            m_floodLeft -= n;
        }
    }

    // "image N" once the loader holds N bytes of an image, N a multiple of 1024; "image 0" when
    // its first byte arrives.
    void imageMilestone() {
        const bool receiving =
            m_device.mode() == Device::Mode::Loader &&
            m_device.loader().state() == vorix::sim::BootLoader::State::Receiving;
        const qint64 bytes = receiving ? m_device.loader().stats().bytes : -1;
        if (bytes == m_lastImageBytes)
            return;
        if (bytes == 1 || (bytes > 0 && bytes % 1024 == 0))
            writeEvent("image " + QByteArray::number(bytes == 1 ? 0 : bytes));
        m_lastImageBytes = bytes;
    }

    // One flushed line: the time in seconds, then the text.
    void writeEvent(const QByteArray& text) {
        QByteArray line = text;
        line.replace("\r\n", " ").replace('\r', ' ').replace('\n', ' '); // the banner is one event
        m_events->write(QByteArray::number(double(nowUs()) / 1e6, 'f', 6) + " " + line + "\n");
        m_events->flush();
    }

    void traceLine(Device::TraceKind kind, const QByteArray& text) {
        const char* who = kind == Device::TraceKind::FrameIn    ? "host  "
                          : kind == Device::TraceKind::FrameOut ? "device"
                                                                : "note  ";
        const QString printable = telvo::core::Printable(QString::fromLatin1(text));
        const QString line = QStringLiteral("%1  %2  %3\n")
                                 .arg(double(nowUs()) / 1e6, 10, 'f', 3)
                                 .arg(QLatin1String(who), printable);
        m_trace->write(line.toUtf8());
        m_trace->flush();
    }

    static constexpr qsizetype kInLimit = 64;

    Device& m_device;
    int m_master;
    int m_slave;
    QFile* m_trace;
    QFile* m_events;
    vorix::sim::FaultControl* m_faults;
    static constexpr qint64 kFloodUs = 5'000'000;
    qint64 m_floodLeft = 0;
    qint64 m_floodEndUs = 0;
    qint64 m_lastImageBytes = -1;
    QSocketNotifier m_reader;
    QTimer m_timer;
    QElapsedTimer m_clock;
    std::deque<char> m_in;
    qint64 m_inNextUs = -1; // when the next byte towards the device is whole; -1 line idle
    QByteArray m_out;
    QList<int> m_outRates;
    qint64 m_outNextUs = -1;
    telvo::core::LineNoise m_noise;
};

int makeFirmware(const QCommandLineParser& p) {
    QTextStream err(stderr);
    const QString path = p.value(QStringLiteral("make-firmware"));
    const QString version = p.value(QStringLiteral("version"));
    bool ok = true;
    const qint64 size =
        p.isSet(QStringLiteral("size")) ? p.value(QStringLiteral("size")).toLongLong(&ok) : 65536;
    if (version.isEmpty() || !ok || size < vorix::sim::FirmwareHeader::kSize ||
        size - vorix::sim::FirmwareHeader::kSize > vorix::sim::FirmwareHeader::kMaxBody) {
        err << "vorix-sim: --make-firmware needs --version V and a --size of at least "
            << vorix::sim::FirmwareHeader::kSize << " bytes\n";
        return 2;
    }
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly)) {
        err << "vorix-sim: cannot write " << path << ": " << f.errorString() << "\n";
        return 1;
    }
    f.write(vorix::sim::MakeFirmwareImage(version, size, p.value(QStringLiteral("for-model"))));
    if (!f.commit()) {
        err << "vorix-sim: cannot write " << path << ": " << f.errorString() << "\n";
        return 1;
    }
    QTextStream(stdout) << path << "\n";
    return 0;
}

QString defaultIni() {
    const QString home = qEnvironmentVariable("TELVO_HOME");
    for (const QString& dir : {home, QStringLiteral(".")}) {
        if (dir.isEmpty())
            continue;
        QString path = dir + QStringLiteral("/Telvo.ini");
        if (QFileInfo::exists(path))
            return path;
    }
    return {};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vorix-sim"));
    QTextStream err(stderr);

    QCommandLineParser p;
    p.setApplicationDescription(QStringLiteral(
        "An emulated Vorix scaler on a pseudo-terminal. Prints the terminal's path on the first "
        "line of output and serves the device until interrupted; SIGUSR1 power-cycles it, SIGUSR2 "
        "writes its state to the events."));
    p.addHelpOption();
    p.addOption({QStringLiteral("ini"),
                 QStringLiteral("Telvo.ini describing the device "
                                "(default: $TELVO_HOME or ./Telvo.ini)."),
                 QStringLiteral("file")});
    p.addOption({QStringLiteral("link"), QStringLiteral("Make a symbolic link to the terminal."),
                 QStringLiteral("path")});
    p.addOption({QStringLiteral("trace"), QStringLiteral("Log every frame to this file."),
                 QStringLiteral("file")});
    p.addOption({QStringLiteral("events"),
                 QStringLiteral("Write a flushed line at each change of mode or rate, at each 1 KB "
                                "of an image the loader holds, and on SIGUSR2 the device's state "
                                "('-': standard output, after the terminal's path)."),
                 QStringLiteral("file")});
    p.addOption({QStringLiteral("make-firmware"),
                 QStringLiteral("Write a sample firmware image and exit."),
                 QStringLiteral("file")});
    p.addOption({QStringLiteral("version"), QStringLiteral("Version of the image to make."),
                 QStringLiteral("text")});
    p.addOption({QStringLiteral("size"),
                 QStringLiteral("Size of the image in bytes "
                                "(default 65536)."),
                 QStringLiteral("bytes")});
    p.addOption({QStringLiteral("for-model"),
                 QStringLiteral("Model the image is for (default: any)."), QStringLiteral("name")});
    p.addOption(
        {QStringLiteral("control"),
         QStringLiteral("Read faults from this FIFO (made when absent), one a line: "
                        "garbage N, flood N, silence MS, cut MS, late MS, reboot, splice N."),
         QStringLiteral("fifo")});
    vorix::sim::AddDeviceOptions(p);
    p.process(app);

    if (p.isSet(QStringLiteral("make-firmware")))
        return makeFirmware(p);

    // Signals are caught from the start, so that one sent as soon as the link exists is seen.
    ::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe);
    struct sigaction sa {};
    sa.sa_handler = onSignal;
    sa.sa_flags = SA_RESTART;
    sigemptyset(&sa.sa_mask);
    for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2})
        ::sigaction(sig, &sa, nullptr);

    vorix::sim::DeviceOptions options;
    QString error;
    if (!vorix::sim::ReadDeviceOptions(p, options, &error)) {
        err << "vorix-sim: " << error << "\n";
        return 2;
    }
    const QString ini =
        p.isSet(QStringLiteral("ini")) ? p.value(QStringLiteral("ini")) : defaultIni();
    std::unique_ptr<Device> device;
    if (ini.isEmpty()) {
        err << "vorix-sim: no Telvo.ini; the device knows only its own identifiers\n";
        device = std::make_unique<Device>(QStringList{}, options);
    } else {
        device = Device::FromIniFile(ini, options, &error);
        if (!device) {
            err << "vorix-sim: " << error << "\n";
            return 1;
        }
    }

    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) {
        err << "vorix-sim: no pseudo-terminal: " << ::strerror(errno) << "\n";
        return 1;
    }
    const QString slavePath = QString::fromLocal8Bit(::ptsname(master));
    // Holding the slave open keeps the terminal alive between the program's opens, and lets us
    // read the rate the program sets on it.
    const int slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (slave < 0) {
        err << "vorix-sim: cannot open " << slavePath << ": " << ::strerror(errno) << "\n";
        return 1;
    }
    termios t{};
    ::tcgetattr(slave, &t);
    ::cfmakeraw(&t);
    ::cfsetispeed(&t, speedOf(device->baud()));
    ::cfsetospeed(&t, speedOf(device->baud()));
    ::tcsetattr(slave, TCSANOW, &t);

    const QString link = p.value(QStringLiteral("link"));
    if (!link.isEmpty()) {
        const QFileInfo existing(link);
        if (existing.isSymLink())
            QFile::remove(link);
        if (!QFile::link(slavePath, link)) {
            err << "vorix-sim: cannot make the link " << link << "\n";
            return 1;
        }
    }

    std::unique_ptr<QFile> trace;
    if (p.isSet(QStringLiteral("trace"))) {
        trace = std::make_unique<QFile>(p.value(QStringLiteral("trace")));
        if (!trace->open(QIODevice::WriteOnly | QIODevice::Append)) {
            err << "vorix-sim: cannot write " << trace->fileName() << "\n";
            return 1;
        }
    }

    std::unique_ptr<QFile> events;
    if (p.isSet(QStringLiteral("events"))) {
        events = std::make_unique<QFile>();
        const QString name = p.value(QStringLiteral("events"));
        const bool opened = name == QLatin1String("-")
                                ? events->open(stdout, QIODevice::WriteOnly)
                                : (events->setFileName(name),
                                   events->open(QIODevice::WriteOnly | QIODevice::Append));
        if (!opened) {
            err << "vorix-sim: cannot write " << name << "\n";
            return 1;
        }
    }

    // The terminal's path is the first line of output, before any event.
    QTextStream out(stdout);
    out << slavePath << Qt::endl;
    std::unique_ptr<vorix::sim::FaultControl> faults;
    if (p.isSet(QStringLiteral("control"))) {
        faults = std::make_unique<vorix::sim::FaultControl>();
        if (!faults->open(p.value(QStringLiteral("control")), &error)) {
            err << "vorix-sim: " << error << "\n";
            return 1;
        }
    }
    PtyServer server(*device, master, slave, trace.get(), events.get(), faults.get());
    QSocketNotifier signals(g_signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&signals, &QSocketNotifier::activated, &app, [&] {
        char sig = 0;
        if (::read(g_signalPipe[0], &sig, 1) != 1)
            return;
        if (sig == SIGUSR1)
            server.powerCycle();
        else if (sig == SIGUSR2 && events)
            server.reportState();
        else if (sig != SIGUSR2)
            QCoreApplication::quit();
    });

    err << "vorix-sim: " << device->modelName() << " firmware " << device->firmwareVersion()
        << " at " << device->baud() << " baud on " << slavePath
        << (link.isEmpty() ? QString() : QStringLiteral(" (") + link + QStringLiteral(")")) << "\n";
    err.flush();

    const int rc = app.exec();
    if (!link.isEmpty() && QFileInfo(link).symLinkTarget() == slavePath)
        QFile::remove(link);
    ::close(slave);
    ::close(master);
    return rc;
}
