// `ports`: every port the machine (or TELVO_PORTS, or --port) has, with the device behind it,
// whether it opens and, when it does not, why; with --probe, which of them a device answers on.
#include "app/Globals.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "platform/CommControl.h"
#include "platform/PortMap.h"
#include "platform/SystemPorts.h"
#include "settings/SCL.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <unistd.h>

namespace telvo::cli {

namespace {

// The COM names to look at: the one --port named, else every port the map knows.
QStringList candidates() {
    if (!ui::G().driver.lstComPorts.isEmpty()) return ui::G().driver.lstComPorts;
    platform::PortMap& map = platform::PortMap::instance();
    map.rescan();
    const qsizetype known =
        map.usesDefault() ? platform::ListSystemPorts().size() : map.ports().size();
    QStringList out;
    for (int n = 1; n <= qMin<qsizetype>(known, ui::Config().MaxPorts); ++n)
        out << QStringLiteral("COM") + QString::number(n);
    return out;
}

// The machine's own record of a device file (maker, product, serial, by-id link), if any.
platform::SystemPort systemPortOf(const QString& path) {
    const QString canonical = QFileInfo(path).canonicalFilePath();
    for (const platform::SystemPort& p : platform::ListSystemPorts())
        if (p.path == path || p.byId == path ||
            (!canonical.isEmpty() && QFileInfo(p.path).canonicalFilePath() == canonical))
            return p;
    platform::SystemPort none;
    none.path = path;
    return none;
}

// Why the port did not open, in a user's words. A refused open is "permission" only when the
// file itself is closed to us; an open file that still refuses is held by another program
// (the serial port's lock, or the device's exclusive mode).
QString refusal(const platform::CommControl& p1, const platform::PortTarget& target) {
    const int number = p1.ErrNumber();
    if (target.kind == platform::PortTarget::Missing)
        return target.path.isEmpty() ? QStringLiteral("no such port")
                                     : QStringLiteral("missing: no device file ") + target.path;
    if (target.kind == platform::PortTarget::Device) {
        const QByteArray file = QFile::encodeName(target.path);
        if (number == 8002 || !QFileInfo::exists(target.path))
            return QStringLiteral("missing: no device file ") + target.path;
        if (::access(file.constData(), R_OK | W_OK) != 0)
            return platform::OpenFailureReason(8010, target.path);
        if (number == 8010 || p1.ErrDescription().contains(QLatin1String("lock"), Qt::CaseInsensitive))
            return QStringLiteral("busy: another program has it open");
    }
    return p1.ErrDescription();
}

} // namespace

int PortsJob(const Options& o) {
    if (!o.words.isEmpty())
        return Report::instance().fail(kUsage, QStringLiteral("ports takes no words"));
    ui::SCL& s = ui::scl();
    int opened = 0;
    for (const QString& com : candidates()) {
        const int n = int(core::Val(core::Mid(com, 4)));
        platform::PortMap& map = platform::PortMap::instance();
        platform::PortTarget target = map.resolve(n);
        // A device file that is not there still has the name it was given.
        if (target.kind == platform::PortTarget::Missing)
            target.path = map.usesDefault() ? map.defaultPath(n) : map.ports().value(n - 1);
        const QString path = target.kind == platform::PortTarget::Simulated ? QStringLiteral("sim")
                                                                           : target.path;
        QJsonObject f{{QStringLiteral("com"), com}, {QStringLiteral("device"), path}};
        QString text = com + QStringLiteral("  ") + path;
        if (target.kind == platform::PortTarget::Device) {
            const platform::SystemPort sp = systemPortOf(target.path);
            f.insert(QStringLiteral("manufacturer"), sp.manufacturer);
            f.insert(QStringLiteral("product"), sp.description);
            f.insert(QStringLiteral("serialNumber"), sp.serialNumber);
            f.insert(QStringLiteral("byId"), sp.byId);
            // The machine's own words for it, as the port list's tooltip has them.
            const QString label = sp.label();
            if (label.size() > sp.path.size()) text += label.mid(sp.path.size());
        }
        const bool opens = ui::TryOpenPort(com);
        f.insert(QStringLiteral("opens"), opens);
        if (!opens) {
            const QString why = refusal(*s.P1, target);
            f.insert(QStringLiteral("refused"), why);
            text += QStringLiteral("  refused: ") + why;
        } else {
            ++opened;
        }
        s.P1->setPortOpen(false);
        if (opens && o.probe) {
            QString rate;
            if (ui::TryOpenPort(com)) rate = ui::ProbeRates(com, 1, s.lstRate->count() - 1);
            s.P1->setPortOpen(false);
            f.insert(QStringLiteral("answers"), !rate.isEmpty());
            if (!rate.isEmpty()) f.insert(QStringLiteral("rate"), rate.toInt());
            text += rate.isEmpty() ? QStringLiteral("  no device")
                                   : QStringLiteral("  device @ ") + rate;
        }
        Report::instance().result(text, f);
    }
    if (opened == 0) return Report::instance().fail(kNoDevice, QStringLiteral("no port opens"));
    return kDone;
}

} // namespace telvo::cli
