#include "cli/Session.h"

#include "app/Globals.h"
#include "app/Main.h"
#include "app/MajorSubs.h"
#include "cli/CliPlatform.h"
#include "cli/Jobs.h"
#include "cli/Ports.h"
#include "cli/Report.h"
#include "config/IniLoader.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/os/AppPath.h"
#include "platform/serial/PortMap.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace telvo::cli {

using ui::App;
using ui::AppGlobals;
using ui::Config;
using ui::G;
using ui::Link;

QString UsePort(const QString& port) {
    platform::PortMap& map = platform::PortMap::instance();
    map.loadFromEnvironment();
    if (port.isEmpty())
        return QString();
    static const QRegularExpression com(QStringLiteral("^COM([0-9]+)$"),
                                        QRegularExpression::CaseInsensitiveOption);
    const auto m = com.match(port);
    if (m.hasMatch())
        return QStringLiteral("COM") + QString::number(m.captured(1).toInt());
    map.setPorts({port});
    return QStringLiteral("COM1");
}

QString PortFolderName(const QString& port) {
    QString name = port;
    // A device's other names (/dev/serial/by-id/...) share its folder and its lock.
    const QFileInfo file(port);
    if (port.startsWith(QLatin1Char('/')) && file.exists())
        name = file.canonicalFilePath();
    static const QRegularExpression other(QStringLiteral("[^A-Za-z0-9.-]+"));
    name.replace(other, QStringLiteral("_"));
    while (name.startsWith(QLatin1Char('_')))
        name.remove(0, 1);
    return name.isEmpty() ? QStringLiteral("port") : name;
}

int PrepareRun(const Options& o, const QString& com) {
    App().DebuggerMode = false;
    Config().StateSettings = {core::StateSettingRow()};
    // A read leaves the device as found: no power-up unless asked, the selectors put back as read.
    // A job that changes the device anyway powers it up as the windows do.
    static const QStringList reads{QStringLiteral("info"), QStringLiteral("get"),
                                   QStringLiteral("save"), QStringLiteral("diff"),
                                   QStringLiteral("ports")};
    const bool read = reads.contains(o.command) || (o.command == QLatin1String("apply") && o.check);
    G().driver.PowerUpAllowed = o.powerOn || !read;
    G().settings.ExactPutBack = true;
    if (!QFile::exists(ui::IniFilePath()))
        return Report::instance().fail(kFileError,
                                       QStringLiteral("no Telvo.ini in ") + platform::AppPath());
    if (!ui::CheckIniFile())
        return Report::instance().fail(kFileError, QStringLiteral("Telvo.ini is not usable: ") +
                                                       ui::IniFilePath());
    ui::ApplyStartupPreferences();
    core::ConfigTables& c = Config();
    if (!com.isEmpty()) {
        // The port named on the command line needs no scan of the others.
        c.PortName = com;
        G().driver.lstComPorts = {com};
    }
    if (!o.baud.isEmpty()) {
        QStringList rates;
        for (int i = 1; i < c.BaudRates.size(); ++i)
            rates << c.BaudRates.at(i).Rate;
        const QString problem = BaudProblem(o.baud, rates);
        if (!problem.isEmpty())
            return Report::instance().fail(kUsage, problem);
        c.BaudName = QString::number(o.baud.toInt());
    }
    return kDone;
}

void PrepareDeviceTables() {
    ui::DisableControls(QStringLiteral("ALL"));
    ui::BuildPortList();
    ui::SelectConfiguredPort();
    ui::EnsureModelAndFirmware();
    ui::ReadIniFile(2);
    ui::BuildPanels();
}

namespace {

// The last remark the port's backend made about `address` ("COM1: ADDRESS: Host not found").
QString portNote(const QString& address) {
    const QString mark = address + QStringLiteral(": ");
    QString found;
    for (const QString& note : HeardSoFar().portNotes)
        if (const qsizetype at = note.indexOf(mark); at >= 0)
            found = note.mid(at + mark.size());
    return found;
}

// Why one port tried gave no device, in the words a user can act on.
QString whyNot(const ui::DriverGlobals::PortTry& t, const QString& rateGiven) {
    const int com = int(core::Val(core::Mid(t.port, 4)));
    const platform::PortTarget target = platform::PortMap::instance().resolve(com);
    // A device file that is not there resolves to nothing: the name given for it is in the map.
    const QStringList entries = platform::PortMap::instance().ports();
    const QString name = !target.path.isEmpty()              ? target.path
                         : com >= 1 && com <= entries.size() ? entries.at(com - 1)
                                                             : t.port;
    if (t.openError != 0)
        return name + QStringLiteral(": ") +
               OpenRefusal(t.openError, t.openText, target,
                           target.kind == platform::PortTarget::Network ? portNote(name)
                                                                        : QString());
    if (t.silentAt.isEmpty())
        return name + QStringLiteral(": opened, but not asked");
    QString text = name + QStringLiteral(": opened, but silent at ") +
                   t.silentAt.join(QStringLiteral(", ")) + QStringLiteral(" baud");
    if (!rateGiven.isEmpty() && t.silentAt == QStringList{rateGiven}) {
        // A rate was given: the others are asked (queries only) to tell a wrong rate from a
        // silent device.
        ui::SCL& s = ui::scl();
        if (ui::TryOpenPort(t.port)) {
            const QString other = ui::ProbeRates(t.port, 1, s.lstRate->count() - 1);
            if (!other.isEmpty())
                return name + QStringLiteral(": answered at ") + other +
                       QStringLiteral(" baud, not at the ") + rateGiven + QStringLiteral(" given");
        }
    }
    return text;
}

} // namespace

int Connect() {
    core::ConfigTables& c = Config();
    if (c.NoDeviceMode)
        return Report::instance().fail(
            kNoDevice, QStringLiteral("Telvo.ini says there is no device (IR generator only)"));
    PrepareDeviceTables();
    if (ui::ConnectDevice() && !App().NoDeviceFound)
        return kDone;
    if (Link().PowerState == QLatin1String("STANDBY") && !G().driver.PowerUpAllowed)
        return Report::instance().fail(
            kNoDevice, QStringLiteral("the device is in standby: give --power-on to power it up"));
    if (QFile::exists(platform::JobFile(QStringLiteral("RestartLoader.txt"))))
        return Report::instance().fail(
            kDeviceFailed,
            QStringLiteral(
                "no answer: the device is in its boot loader: run `telvo-cli load --resume`"));
    // A device too far away says how far, rather than nothing.
    const QString tooFar = ui::LatencyBeyondReach();
    if (!tooFar.isEmpty())
        return Report::instance().fail(kNoDevice, QStringLiteral("no device found: ") + tooFar);
    const QList<ui::DriverGlobals::PortTry> tried = G().driver.Tried;
    QStringList why;
    for (const ui::DriverGlobals::PortTry& t : tried)
        why << whyNot(t, c.BaudName);
    if (why.isEmpty())
        why << QStringLiteral("no port to try");
    return Report::instance().fail(kNoDevice, QStringLiteral("no device found: ") +
                                                  why.join(QStringLiteral("; ")));
}

int RunJob(const Options& o, const QString& port) {
    const QString com = UsePort(port);
    Report::instance().setPort(port.isEmpty() ? QString() : port);
    // The gamma tool needs neither the device nor Telvo.ini.
    if (o.command == QLatin1String("gamma"))
        return RunCommand(o);
    const int prepared = PrepareRun(o, com);
    if (prepared != kDone)
        return prepared;
    return RunCommand(o);
}

} // namespace telvo::cli
