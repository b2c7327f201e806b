// Several ports at once: `telvo-cli save` on three vorix-sim devices against one device's save,
// and a firmware load on eight against one, start to exit. The devices answer at the line's pace
// on pseudo-terminals. Also the CPU of the whole run (every port's process) and the peak memory
// of a port's process. Printed, not asserted.

#include "ProcessRun.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <memory>
#include <vector>

namespace {

constexpr int kBaud = 19200;
constexpr int kLoadDevices = 8;
constexpr int kSaveDevices = 3;
constexpr qint64 kImageBytes = 16000;

using Run = telvo::bench::ProcessRun;

Run runOnce(const QStringList& args) {
    return telvo::bench::RunProgram(QByteArrayLiteral(TELVO_BINARY_DIR "/bin/telvo-cli"), args,
                                    true);
}

struct Sim {
    QProcess process;
    QString port;
};

QString number(double v, int decimals = 2) {
    return QString::number(v, 'f', decimals);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir home;
    const QString ini = telvo::bench::SampleIniIn(home);
    std::vector<std::unique_ptr<Sim>> sims;
    for (int i = 0; i < kLoadDevices; ++i) {
        auto s = std::make_unique<Sim>();
        s->process.start(
            QStringLiteral(TELVO_BINARY_DIR "/bin/vorix-sim"),
            {QStringLiteral("--ini"), ini, QStringLiteral("--baud"), QString::number(kBaud)});
        if (!s->process.waitForStarted(5000) || !s->process.waitForReadyRead(5000)) {
            out << "vorix-sim did not start" << Qt::endl;
            return 1;
        }
        s->port = QString::fromLocal8Bit(s->process.readLine()).trimmed();
        sims.push_back(std::move(s));
    }
    const QString image = home.filePath(QStringLiteral("new.frk"));
    QProcess make;
    make.start(QStringLiteral(TELVO_BINARY_DIR "/bin/vorix-sim"),
               {QStringLiteral("--make-firmware"), image, QStringLiteral("--version"),
                QStringLiteral("2.80"), QStringLiteral("--size"), QString::number(kImageBytes)});
    make.waitForFinished(10000);

    const auto on = [&](int devices, const QStringList& job) {
        QStringList args{QStringLiteral("--home"), home.path(), QStringLiteral("--baud"),
                         QString::number(kBaud), QStringLiteral("--yes")};
        for (int i = 0; i < devices; ++i)
            args << QStringLiteral("--port") << sims[size_t(i)]->port;
        return runOnce(args + job);
    };
    const auto report = [&](const QString& what, int devices, const Run& one, const Run& all) {
        out << "  " << what << ": one device " << number(one.ms / 1000.0) << " s, " << devices
            << " at once " << number(all.ms / 1000.0) << " s: ratio " << number(all.ms / one.ms)
            << Qt::endl;
        out << "    CPU of the run of " << devices << ": " << number(all.cpuMs / all.ms * 100.0, 1)
            << " % of one core; peak memory of a process "
            << number(double(all.maxRssKb) / 1024.0, 1) << " MB" << Qt::endl;
    };
    out << "telvo-cli on several vorix-sim devices at " << kBaud
        << " (pseudo-terminals), one process a port" << Qt::endl;

    const QStringList save{QStringLiteral("save"), home.filePath(QStringLiteral("s-{n}.txt"))};
    const Run saveOne = on(1, save);
    const Run saveAll = on(kSaveDevices, save);
    if (saveOne.exit != 0 || saveAll.exit != 0) {
        out << "save ended with " << saveOne.exit << " / " << saveAll.exit << Qt::endl;
        return 1;
    }
    report(QStringLiteral("save"), kSaveDevices, saveOne, saveAll);
    const Run saveInTurn =
        on(kSaveDevices, QStringList{QStringLiteral("--jobs"), QStringLiteral("1")} + save);
    out << "    in turn (--jobs 1): " << number(saveInTurn.ms / 1000.0) << " s: ratio "
        << number(saveInTurn.ms / saveOne.ms) << " (goal at once: close to 1.0)" << Qt::endl;

    const QStringList load{QStringLiteral("load"), image};
    const Run loadOne = on(1, load);
    const Run loadAll = on(kLoadDevices, load);
    if (loadOne.exit != 0 || loadAll.exit != 0) {
        out << "load ended with " << loadOne.exit << " / " << loadAll.exit << Qt::endl;
        return 1;
    }
    report(QStringLiteral("load of ") + QString::number(kImageBytes) + QStringLiteral(" bytes"),
           kLoadDevices, loadOne, loadAll);
    out << "    (goal: ratio <= 1.15, CPU <= 50 % of one core)" << Qt::endl;
    for (auto& s : sims) {
        s->process.terminate();
        s->process.waitForFinished(3000);
    }
    return 0;
}
