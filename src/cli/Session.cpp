#include "cli/Session.h"

#include "app/Globals.h"
#include "app/Main.h"
#include "app/MajorSubs.h"
#include "cli/CliPlatform.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "config/IniLoader.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/Driver.h"
#include "platform/AppPath.h"
#include "platform/PortMap.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace telvo::cli {

using ui::App;
using ui::Config;
using ui::G;
using ui::Link;
using ui::AppGlobals;

QString UsePort(const QString& port) {
    platform::PortMap& map = platform::PortMap::instance();
    map.loadFromEnvironment();
    if (port.isEmpty()) return QString();
    static const QRegularExpression com(QStringLiteral("^COM([0-9]+)$"),
                                        QRegularExpression::CaseInsensitiveOption);
    const auto m = com.match(port);
    if (m.hasMatch()) return QStringLiteral("COM") + QString::number(m.captured(1).toInt());
    map.setPorts({port});
    return QStringLiteral("COM1");
}

int PrepareRun(const Options& o, const QString& com) {
    App().DebuggerMode = false;
    Config().StateSettings = {core::StateSettingRow()};
    if (!QFile::exists(ui::IniFilePath()))
        return Report::instance().fail(kFileError, QStringLiteral("no Telvo.ini in ") +
                                                       platform::AppPath());
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
        for (int i = 1; i < c.BaudRates.size(); ++i) rates << c.BaudRates.at(i).Rate;
        const QString problem = BaudProblem(o.baud, rates);
        if (!problem.isEmpty()) return Report::instance().fail(kUsage, problem);
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

int Connect() {
    core::ConfigTables& c = Config();
    if (c.NoDeviceMode)
        return Report::instance().fail(
            kNoDevice, QStringLiteral("Telvo.ini says there is no device (IR generator only)"));
    PrepareDeviceTables();
    if (!ui::ConnectDevice() || App().NoDeviceFound)
        return Report::instance().fail(kNoDevice, QStringLiteral("no device found"));
    return kDone;
}

int RunJob(const Options& o, const QString& port) {
    const QString com = UsePort(port);
    Report::instance().setPort(port.isEmpty() ? QString() : port);
    // The gamma tool needs neither the device nor Telvo.ini.
    if (o.command == QLatin1String("gamma")) return RunCommand(o);
    const int prepared = PrepareRun(o, com);
    if (prepared != kDone) return prepared;
    return RunCommand(o);
}

} // namespace telvo::cli
