// `load`: firmware through the loader window's Start, and `load --resume` through the restart
// window's "Use Existing Restart File", both hidden.
#include "app/Globals.h"
#include "cli/CliPlatform.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "config/IniLoader.h"
#include "firmware/Firmware.h"
#include "firmware/LDR.h"
#include "firmware/RS.h"
#include "link/Driver.h"
#include "platform/AppPath.h"
#include "settings/Layout.h"
#include "settings/Panels.h"
#include "settings/SCL.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>

namespace telvo::cli {

namespace {

Report& rep() { return Report::instance(); }

CliPlatform* cliPlatform() { return dynamic_cast<CliPlatform*>(&platform::CurrentPlatform()); }

int loaded(const QString& what) {
    const int outcome = JobOutcome();
    if (outcome != kDone) return outcome;
    const QString firmware = ui::scl().txtFirmware->text();
    rep().result(QStringLiteral("Loaded ") + what + QStringLiteral("; the firmware is now ") +
                     firmware,
                 {{QStringLiteral("file"), what}, {QStringLiteral("firmware"), firmware}});
    return kDone;
}

int resumeJob() {
    // The start-up's steps before it takes up a cut-off load.
    PrepareDeviceTables();
    const QString restart = platform::AppFile(QStringLiteral("RestartLoader.txt"));
    if (!QFile::exists(restart))
        return rep().fail(kFileError, QStringLiteral("there is no cut-off load to resume: no ") +
                                          restart);
    ui::App().AlertText.clear();
    Stopped().told.clear();
    ui::RS& w = ui::rs();
    w.Check1->setChecked(true);
    ui::RS_Check1_Click();
    ui::RS_cmdReStart_Click();
    return loaded(QStringLiteral("the cut-off load"));
}

} // namespace

int LoadJob(const Options& o) {
    if (o.resume) {
        if (!o.words.isEmpty() || o.saveSettings || o.restoreDefaults)
            return rep().fail(kUsage, QStringLiteral("load --resume takes nothing else"));
        return resumeJob();
    }
    if (o.words.size() != 1)
        return rep().fail(kUsage, QStringLiteral("load takes one FILE.frk or LIST.frl"));
    if (o.saveSettings && o.restoreDefaults)
        return rep().fail(kUsage, QStringLiteral("--save-settings and --restore-defaults exclude "
                                                 "each other, as the window's boxes do"));
    const QFileInfo file(o.words.at(0));
    if (!file.isFile() || !file.isReadable())
        return rep().fail(kFileError, QStringLiteral("could not read ") + o.words.at(0));
    const int connected = Connect();
    if (connected != kDone) return connected;
    ui::SCL& s = ui::scl();
    if (o.saveSettings && !s.chkSaveRestore->isEnabled())
        return rep().fail(kUsage, QStringLiteral("Telvo.ini names no settings to save"));
    s.chkSaveRestore->setChecked(o.saveSettings);
    ui::chkSaveRestore_Click();
    s.chkDefaults->setChecked(o.restoreDefaults);
    ui::chkDefaults_Click();
    // A list is chosen as the developer's run chooses files: one by one until Cancel.
    const bool list = file.suffix().compare(QLatin1String("frl"), Qt::CaseInsensitive) == 0;
    ui::App().DebuggerMode = list;
    CliPlatform* p = cliPlatform();
    if (p) {
        p->paths = {file.absoluteFilePath()};
        if (list) p->paths.emplace_back();
    }
    ui::App().AlertText.clear();
    Stopped().told.clear();
    ui::ldr();
    ui::cmdStartLDR_Click();
    return loaded(file.absoluteFilePath());
}

} // namespace telvo::cli
