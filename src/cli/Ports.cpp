// `ports`: every port the machine (or TELVO_PORTS, or --port) has, with the device behind it,
// whether it opens and, when it does not, why; with --probe, which of them a device answers on.
#include "cli/Ports.h"

#include "app/Globals.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SystemPorts.h"
#include "settings/SCL.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <unistd.h>

namespace telvo::cli {

namespace {

// The COM names to look at: the one --port named, else every port the map knows.
QStringList candidates() {
    if (!ui::G().driver.lstComPorts.isEmpty())
        return ui::G().driver.lstComPorts;
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

} // namespace

QString OpenRefusal(int errNumber, const QString& errText, const platform::PortTarget& target,
                    const QString& logged) {
    if (target.kind == platform::PortTarget::Network) {
        const QString text = (errText + QLatin1Char(' ') + logged).toLower();
        if (text.contains(QLatin1String("not found")))
            return QStringLiteral("host not found");
        if (text.contains(QLatin1String("refused")))
            return QStringLiteral("connection refused (nothing listens there)");
        if (text.contains(QLatin1String("timed out")) || text.contains(QLatin1String("timeout")) ||
            text.contains(QLatin1String("no connection within")))
            return QStringLiteral("connection timed out");
        return errText;
    }
    if (target.kind == platform::PortTarget::Missing || !QFileInfo::exists(target.path))
        return QStringLiteral("the device file does not exist");
    // Refused: "permission" only when the file itself is closed to us; an open file that still
    // refuses is held by another program (the serial port's lock, or its exclusive mode).
    if (errNumber == 8010) {
        if (::access(QFile::encodeName(target.path).constData(), R_OK | W_OK) != 0)
            return QStringLiteral("permission denied; add your user to the dialout group (sudo "
                                  "usermod -aG dialout $USER, then log in again)");
        return QStringLiteral("busy (another program has it open)");
    }
    return errText;
}

int PortsJob(const Options& o) {
    ui::SCL& s = ui::scl();
    int opened = 0;
    for (const QString& com : candidates()) {
        const int n = int(core::Val(core::Mid(com, 4)));
        platform::PortMap& map = platform::PortMap::instance();
        platform::PortTarget target = map.resolve(n);
        // A device file that is not there still has the name it was given.
        if (target.kind == platform::PortTarget::Missing)
            target.path = map.usesDefault() ? map.defaultPath(n) : map.ports().value(n - 1);
        const QString path =
            target.kind == platform::PortTarget::Simulated ? QStringLiteral("sim") : target.path;
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
            if (label.size() > sp.path.size())
                text += label.mid(sp.path.size());
        }
        const bool opens = ui::TryOpenPort(com);
        f.insert(QStringLiteral("opens"), opens);
        if (!opens) {
            const QString why = OpenRefusal(s.P1->ErrNumber(), s.P1->ErrDescription(), target);
            f.insert(QStringLiteral("refused"), why);
            text += QStringLiteral("  refused: ") + why;
        } else {
            ++opened;
        }
        s.P1->setPortOpen(false);
        if (opens && o.probe) {
            QString rate;
            if (ui::TryOpenPort(com))
                rate = ui::ProbeRates(com, 1, s.lstRate->count() - 1);
            s.P1->setPortOpen(false);
            f.insert(QStringLiteral("answers"), !rate.isEmpty());
            if (!rate.isEmpty())
                f.insert(QStringLiteral("rate"), rate.toInt());
            text += rate.isEmpty() ? QStringLiteral("  no device")
                                   : QStringLiteral("  device @ ") + rate;
        }
        Report::instance().result(text, f);
    }
    if (opened == 0)
        return Report::instance().fail(kNoDevice, QStringLiteral("no port opens"));
    return kDone;
}

} // namespace telvo::cli
