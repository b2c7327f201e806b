// `ports`: the ports that open and, with --probe, which of them a device answers on.
#include "app/Globals.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "platform/PortMap.h"
#include "settings/SCL.h"

#include <QJsonObject>

namespace telvo::cli {

using ui::App;
using ui::Config;
using ui::G;
using ui::Link;
using ui::AppGlobals;

int PortsJob(const Options& o) {
    if (!o.words.isEmpty())
        return Report::instance().fail(kUsage, QStringLiteral("ports takes no words"));
    ui::SCL& s = ui::scl();
    QStringList found;
    if (G().driver.lstComPorts.isEmpty()) {
        // The scan of the start-up, over every COM number Telvo.ini allows.
        ui::EnumeratePorts();
        found = G().driver.lstComPorts;
    } else {
        for (const QString& com : G().driver.lstComPorts)
            if (ui::TryOpenPort(com)) found << com;
        s.P1->setPortOpen(false);
    }
    if (found.isEmpty())
        return Report::instance().fail(kNoDevice, QStringLiteral("no port opens"));
    for (const QString& com : found) {
        const int n = int(core::Val(core::Mid(com, 4)));
        const QString path = platform::PortMap::instance().resolve(n).path;
        QJsonObject f{{QStringLiteral("com"), com}, {QStringLiteral("device"), path}};
        QString text = com + QStringLiteral("  ") + path;
        if (o.probe) {
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
    return kDone;
}

} // namespace telvo::cli
