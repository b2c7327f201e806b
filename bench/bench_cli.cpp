// `telvo-cli info` from start to exit against vorix-sim on a pseudo-terminal at a configured port
// and rate, against the floor of its exchanges on the line (every byte of every frame, both
// ways, at ten bit times); and the program's peak memory. Printed, not asserted.

#include "ProcessRun.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

constexpr int kRuns = 5;
constexpr int kBaud = 19200;

using Run = telvo::bench::ProcessRun;

// One run of the program, waited on with its resource use.
Run runOnce(const QStringList& args) {
    return telvo::bench::RunProgram(QByteArrayLiteral(TELVO_BINARY_DIR "/bin/telvo-cli"), args,
                                    false);
}

// The bytes of the frames in the emulator's trace, both ways.
qint64 frameBytes(const QString& trace) {
    QFile f(trace);
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    static const QRegularExpression line(QStringLiteral("^\\s*[0-9.]+\\s+(host|device)\\s+(.*)$"));
    static const QRegularExpression control(QStringLiteral("\\([A-Z]{3}\\)"));
    qint64 bytes = 0;
    for (const QByteArray& raw : f.readAll().split('\n')) {
        const auto m = line.match(QString::fromUtf8(raw).trimmed());
        if (m.hasMatch())
            bytes += QString(m.captured(2)).replace(control, QStringLiteral("x")).size();
    }
    return bytes;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir home;
    const QString ini = telvo::bench::SampleIniIn(home);
    const QString trace = home.filePath(QStringLiteral("trace.txt"));
    QProcess sim;
    sim.start(QStringLiteral(TELVO_BINARY_DIR "/bin/vorix-sim"),
              {QStringLiteral("--ini"), ini, QStringLiteral("--trace"), trace,
               QStringLiteral("--baud"), QString::number(kBaud)});
    if (!sim.waitForStarted(5000) || !sim.waitForReadyRead(5000)) {
        out << "vorix-sim did not start" << Qt::endl;
        return 1;
    }
    const QString port = QString::fromLocal8Bit(sim.readLine()).trimmed();
    const QStringList args{QStringLiteral("--home"), home.path(),
                           QStringLiteral("--port"), port,
                           QStringLiteral("--baud"), QString::number(kBaud),
                           QStringLiteral("info")};
    out << "telvo-cli info against vorix-sim at " << kBaud << " on a configured port, " << kRuns
        << " runs" << Qt::endl;
    double best = 1e18, sum = 0;
    long rss = 0;
    qint64 bytes = 0;
    for (int i = 0; i < kRuns; ++i) {
        // The emulator keeps its trace open: this run's frames are what it adds.
        const qint64 before = frameBytes(trace);
        const Run r = runOnce(args);
        if (r.exit != 0) {
            out << "run " << i + 1 << " ended with " << r.exit << Qt::endl;
            return 1;
        }
        bytes = frameBytes(trace) - before;
        best = qMin(best, r.ms);
        sum += r.ms;
        rss = qMax(rss, r.maxRssKb);
    }
    const double floorMs = double(bytes) * 10.0 * 1000.0 / kBaud;
    out << "  start to exit: best " << QString::number(best, 'f', 1) << " ms, mean "
        << QString::number(sum / kRuns, 'f', 1) << " ms" << Qt::endl;
    out << "  line floor of its exchanges: " << bytes
        << " bytes = " << QString::number(floorMs, 'f', 1) << " ms" << Qt::endl;
    out << "  beyond the floor: " << QString::number(best - floorMs, 'f', 1)
        << " ms (goal <= 500 ms)" << Qt::endl;
    out << "  peak memory: " << QString::number(double(rss) / 1024.0, 'f', 1)
        << " MB (goal <= 40 MB)" << Qt::endl;
    sim.terminate();
    sim.waitForFinished(3000);
    return 0;
}
