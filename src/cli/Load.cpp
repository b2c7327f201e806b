// `load`: firmware through the loader window's Start, and `load --resume` through the restart
// window's "Use Existing Restart File", both hidden.
#include "app/Globals.h"
#include "cli/CliPlatform.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "config/IniLoader.h"
#include "core/firmware/FirmwareFiles.h"
#include "core/settings/Panels.h"
#include "firmware/Firmware.h"
#include "firmware/LDR.h"
#include "firmware/RS.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/os/AppPath.h"
#include "settings/Layout.h"
#include "settings/Panels.h"
#include "settings/SCL.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QSaveFile>
#include <exception>

namespace telvo::cli {

namespace {

Report& rep() {
    return Report::instance();
}

CliPlatform* cliPlatform() {
    return dynamic_cast<CliPlatform*>(&platform::CurrentPlatform());
}

// The version the device runs, asked again after a resume: the windows' box may still show the
// version before the cut. A device that gave its verdict before the cut may still be rebooting
// (8 s): it is asked again each second for a while before its silence is told.
QString versionReadBack() {
    for (int attempt = 0; attempt < 15; ++attempt) {
        ui::QueryDevice(QStringLiteral("A9"));
        QString v = core::AnswerValue(ui::Link().Reply).trimmed();
        if (!v.isEmpty())
            return v;
        ui::Pause(1000);
    }
    return QString();
}

int loaded(const QString& what, bool readBack) {
    const int outcome = JobOutcome();
    if (outcome != kDone)
        return outcome;
    const QString firmware = readBack ? versionReadBack() : ui::scl().txtFirmware->text();
    if (firmware.isEmpty())
        return rep().fail(kDeviceFailed,
                          QStringLiteral("the load went on, but the device does not "
                                         "answer: its firmware version could not be read back"));
    rep().result(QStringLiteral("Loaded ") + what + QStringLiteral("; the firmware is now ") +
                     firmware,
                 {{QStringLiteral("file"), what}, {QStringLiteral("firmware"), firmware}});
    return kDone;
}

// Every image the load would send, checked as the device would take it, before it is touched.
int checkImages(const QString& path, bool list) {
    QStringList images{path};
    if (list) {
        QFile f(path);
        if (!f.open(QIODevice::ReadOnly))
            return rep().fail(kFileError, QStringLiteral("could not read ") + path);
        images.clear();
        for (const QString& entry : core::ParseFileList(f.readAll()))
            if (!entry.trimmed().isEmpty())
                images << entry.trimmed();
        if (images.isEmpty())
            return rep().fail(kFileError, path + QStringLiteral(" lists no firmware image"));
    }
    for (const QString& image : images) {
        QFile f(image);
        if (!f.open(QIODevice::ReadOnly))
            return rep().fail(kFileError, QStringLiteral("could not read ") + image);
        const QString problem = core::FirmwareImageProblem(f.read(4096));
        if (!problem.isEmpty())
            return rep().fail(kFileError,
                              image + QStringLiteral(" is not a firmware image: ") + problem);
    }
    return kDone;
}

// A resume that stops before its end (a prompt, a signal) leaves the restart file as it found
// it: without it the device, stuck in its boot loader, could only be brought back by hand.
class KeptRestartFile {
public:
    explicit KeptRestartFile(QString path) : m_path(std::move(path)) {
        QFile f(m_path);
        if (f.open(QIODevice::ReadOnly))
            m_bytes = f.readAll();
    }
    KeptRestartFile(const KeptRestartFile&) = delete;
    KeptRestartFile& operator=(const KeptRestartFile&) = delete;
    ~KeptRestartFile() {
        if (std::uncaught_exceptions() == 0 || m_bytes.isEmpty() || QFile::exists(m_path))
            return;
        QSaveFile f(m_path);
        if (f.open(QIODevice::WriteOnly) && f.write(m_bytes) == m_bytes.size())
            f.commit();
    }

private:
    QString m_path;
    QByteArray m_bytes;
};

// The load's working files go once nothing is left to resume; a cut-off load keeps its list,
// which RestartLoader.txt counts into.
struct WorkingFiles {
    WorkingFiles() = default;
    WorkingFiles(const WorkingFiles&) = delete;
    WorkingFiles& operator=(const WorkingFiles&) = delete;
    ~WorkingFiles() {
        if (QFile::exists(platform::JobFile(QStringLiteral("RestartLoader.txt"))))
            return;
        QFile::remove(platform::JobFile(QStringLiteral("filelist.frl")));
        QFile::remove(platform::JobFile(QStringLiteral("Temp$$.hex")));
    }
};

} // namespace

int ResumeJob(const Options& o) {
    // What the window's boxes would choose has no place in a load that is taken up again.
    if (o.saveSettings || o.restoreDefaults)
        return WrongWords(o);
    const WorkingFiles working;
    const QString restart = platform::JobFile(QStringLiteral("RestartLoader.txt"));
    const KeptRestartFile kept(restart);
    // The start-up's steps before it takes up a cut-off load.
    PrepareDeviceTables();
    if (!QFile::exists(restart))
        return rep().fail(kFileError,
                          QStringLiteral("there is no cut-off load to resume: no ") + restart);
    ForgetTold();
    ui::RS& w = ui::rs();
    w.Check1->setChecked(true);
    ui::RS_Check1_Click();
    ui::RS_cmdReStart_Click();
    return loaded(QStringLiteral("the cut-off load"), true);
}

int LoadJob(const Options& o) {
    const WorkingFiles working;
    if (o.saveSettings && o.restoreDefaults)
        return rep().fail(kUsage, QStringLiteral("--save-settings and --restore-defaults exclude "
                                                 "each other, as the window's boxes do"));
    const QFileInfo file(o.words.at(0));
    if (!file.isFile() || !file.isReadable())
        return rep().fail(kFileError, QStringLiteral("could not read ") + o.words.at(0));
    const bool list = file.suffix().compare(QLatin1String("frl"), Qt::CaseInsensitive) == 0;
    if (const int refused = checkImages(file.absoluteFilePath(), list); refused != kDone)
        return refused;
    const int connected = Connect();
    if (connected != kDone)
        return connected;
    ui::SCL& s = ui::scl();
    if (o.saveSettings && !s.chkSaveRestore->isEnabled())
        return rep().fail(kUsage, QStringLiteral("Telvo.ini names no settings to save"));
    s.chkSaveRestore->setChecked(o.saveSettings);
    ui::chkSaveRestore_Click();
    s.chkDefaults->setChecked(o.restoreDefaults);
    ui::chkDefaults_Click();
    // A list is chosen as the developer's run chooses files: one by one until Cancel.
    ui::App().DebuggerMode = list;
    CliPlatform* p = cliPlatform();
    if (p) {
        p->paths = {file.absoluteFilePath()};
        if (list)
            p->paths.emplace_back();
    }
    ForgetTold();
    ui::ldr();
    ui::cmdStartLDR_Click();
    return loaded(file.absoluteFilePath(), false);
}

} // namespace telvo::cli
