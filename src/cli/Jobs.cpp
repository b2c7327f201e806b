#include "cli/Jobs.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "cli/CliPlatform.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "core/config/CommandRec.h"
#include "core/settings/SettingsFile.h"
#include "core/settings/ValueCheck.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/AppPath.h"
#include "platform/PortMap.h"
#include "settings/Layout.h"
#include "settings/Panels.h"
#include "settings/SaveRestore.h"
#include "settings/SCL.h"
#include "settings/ValueEntry.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QMap>
#include <QSaveFile>
#include <QTemporaryFile>
#include <optional>

namespace telvo::cli {

using ui::App;
using ui::Config;
using ui::G;
using ui::Link;
using ui::AppGlobals;

namespace {

Report& rep() { return Report::instance(); }

// Where the log stands before an exchange, so that what went wrong in it can be read after.
qint64 logMark() { return QFileInfo(ui::LogFilePath()).size(); }

// The failure the exchanges since `mark` logged ("Err:" and the error's text, or a time-out),
// or nothing. A set is followed by its query, so the reply in hand no longer tells.
QString failureSince(qint64 mark) {
    QFile f(ui::LogFilePath());
    if (!f.open(QIODevice::ReadOnly) || !f.seek(mark)) return QString();
    const QStringList lines = QString::fromUtf8(f.readAll()).split(QStringLiteral("\r\n"));
    for (int i = 0; i < lines.size(); ++i) {
        if (lines.at(i).startsWith(QLatin1String("Err:  ")) && i + 1 < lines.size())
            return lines.at(i + 1).simplified();
        if (lines.at(i).startsWith(QLatin1String("Transmission Timed Out.")))
            return lines.at(i).simplified();
    }
    return QString();
}

int recordOf(const QString& name) { return core::FindCommandByName(Config().Commands, name); }

// "name=value" as the label shows it after the query of `record`.
QString labelText(int record) {
    return Config().Commands.at(record).Name + QStringLiteral("=") + ui::FormatAnswer(Link().Reply);
}

int infoJob() {
    ui::SCL& s = ui::scl();
    const int com = int(core::Val(core::Mid(s.txtPort->text(), 4)));
    const QString path = platform::PortMap::instance().resolve(com).path;
    QJsonObject f{{QStringLiteral("model"), s.DeviceModel->text()},
                  {QStringLiteral("firmware"), s.txtFirmware->text()},
                  {QStringLiteral("options"), Config().Options.simplified()},
                  {QStringLiteral("com"), s.txtPort->text()},
                  {QStringLiteral("device"), path},
                  {QStringLiteral("speed"), s.txtCrntSpeed->text()},
                  {QStringLiteral("originalSpeed"), s.txtOrigSpeed->text()},
                  {QStringLiteral("transferSpeed"), s.txtxfrspeed->text()},
                  {QStringLiteral("state"), s.txtState->text()}};
    rep().result(QStringLiteral("Model:          %1\nFirmware:       %2\nOptions:        %3\n"
                                "Port:           %4 (%5)\nSpeed:          %6\n"
                                "Original speed: %7\nTransfer speed: %8\nState:          %9")
                     .arg(s.DeviceModel->text(), s.txtFirmware->text(),
                          Config().Options.simplified(), s.txtPort->text(), path,
                          s.txtCrntSpeed->text(), s.txtOrigSpeed->text(), s.txtxfrspeed->text(),
                          s.txtState->text()),
                 f);
    return kDone;
}

int getJob(const Options& o) {
    int code = kDone;
    for (const QString& name : o.words) {
        const int record = recordOf(name);
        if (record <= 0) {
            code = qMax(code, rep().fail(kUsage, QStringLiteral("no setting named ") + name));
            continue;
        }
        const core::CommandRec& rec = Config().Commands.at(record);
        const qint64 mark = logMark();
        ui::QueryDevice(rec.Cmd);
        const QString why = failureSince(mark);
        if (!why.isEmpty()) {
            code = qMax(code, rep().fail(kDeviceFailed, rec.Name + QStringLiteral(": ") + why));
            continue;
        }
        const QString text = labelText(record);
        rep().result(text, {{QStringLiteral("name"), rec.Name},
                            {QStringLiteral("value"), text.mid(rec.Name.size() + 1)}});
    }
    return code;
}

// One NAME=VALUE through the chooser the label's click opens: the list or the enter box.
int setOne(const QString& word) {
    const int eq = word.indexOf(QLatin1Char('='));
    if (eq <= 0) return rep().fail(kUsage, QStringLiteral("set takes NAME=VALUE, not ") + word);
    const QString name = word.left(eq).trimmed();
    const QString value = word.mid(eq + 1).trimmed();
    const int record = recordOf(name);
    if (record <= 0) return rep().fail(kUsage, QStringLiteral("no setting named ") + name);
    const core::CommandRec& rec = Config().Commands.at(record);
    // Nothing goes on the wire that Telvo.ini's line for the setting excludes.
    const QString problem = core::ValueProblem(rec, value);
    if (!problem.isEmpty()) return rep().fail(kUsage, problem);
    ui::SCL& s = ui::scl();
    G().settings.SelectedCmd = qint16(record);
    const qint64 mark = logMark();
    if (rec.IsList) {
        const std::optional<int> row = core::ListRow(rec, value);
        if (!row) return kUsage; // refused above
        s.lstSelect->clear();
        for (int r = 1; r < rec.Values.size(); ++r) s.lstSelect->addItem(rec.Values.at(r).Text);
        s.lstSelect->setCurrentRow(*row);
        ui::lstSelect_Click();
    } else {
        s.txtValEnter->setText(value);
        ui::txtValEnter_KeyPress(13);
    }
    const QString why = failureSince(mark);
    if (!why.isEmpty()) return rep().fail(kDeviceFailed, rec.Name + QStringLiteral(": ") + why);
    const QString text = labelText(record);
    rep().result(text, {{QStringLiteral("name"), rec.Name},
                        {QStringLiteral("value"), text.mid(rec.Name.size() + 1)}});
    return kDone;
}

int setJob(const Options& o) {
    int code = kDone;
    for (const QString& word : o.words) code = qMax(code, setOne(word));
    return code;
}

QByteArray readAll(const QString& path, bool* ok) {
    QFile f(path);
    *ok = f.open(QIODevice::ReadOnly);
    return *ok ? f.readAll() : QByteArray();
}

bool writeAll(const QString& path, const QByteArray& bytes) {
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly)) return false;
    f.write(bytes);
    return f.commit();
}

// The routines read and write Settings.txt of the program's folder; another file given on the
// command line stands in its place for the job and the folder's own is put back after.
class SettingsStandIn {
public:
    SettingsStandIn() : m_path(platform::AppFile(QStringLiteral("Settings.txt"))) {
        m_had = QFile::exists(m_path);
        bool ok = false;
        if (m_had) m_kept = readAll(m_path, &ok);
    }
    ~SettingsStandIn() {
        if (!m_swapped) return;
        if (m_had) writeAll(m_path, m_kept);
        else QFile::remove(m_path);
    }
    QString path() const { return m_path; }
    bool putInPlace(const QByteArray& bytes) {
        m_swapped = true;
        return writeAll(m_path, bytes);
    }
    void swapped() { m_swapped = true; }

private:
    QString m_path;
    QByteArray m_kept;
    bool m_had = false;
    bool m_swapped = false;
};

bool samePath(const QString& a, const QString& b) {
    return QFileInfo(a).absoluteFilePath() == QFileInfo(b).absoluteFilePath();
}

int saveJob(const Options& o) {
    SettingsStandIn standIn;
    const QString out = o.words.value(0, standIn.path());
    const bool elsewhere = !samePath(out, standIn.path());
    if (elsewhere) standIn.swapped();
    ui::RefreshPanels(7);
    ui::cmdSave_Click();
    const int outcome = JobOutcome();
    if (outcome != kDone) return outcome;
    bool ok = false;
    const QByteArray bytes = readAll(standIn.path(), &ok);
    if (!ok) return rep().fail(kFileError, QStringLiteral("could not read ") + standIn.path());
    if (elsewhere && !writeAll(out, bytes))
        return rep().fail(kFileError, QStringLiteral("could not write ") + out);
    rep().result(QStringLiteral("Saved the settings to ") + out,
                 {{QStringLiteral("file"), out}, {QStringLiteral("lines"), int(bytes.count('\n'))}});
    return kDone;
}

int restoreJob(const Options& o) {
    SettingsStandIn standIn;
    const QString in = o.words.value(0, standIn.path());
    bool ok = false;
    const QByteArray bytes = readAll(in, &ok);
    if (!ok) return rep().fail(kFileError, QStringLiteral("could not read ") + in);
    if (!samePath(in, standIn.path()) && !standIn.putInPlace(bytes))
        return rep().fail(kFileError, QStringLiteral("could not write ") + standIn.path());
    ui::RefreshPanels(7);
    ui::cmdRestore_Click();
    const int outcome = JobOutcome();
    if (outcome != kDone) return outcome;
    rep().result(QStringLiteral("Restored the settings of ") + in,
                 {{QStringLiteral("file"), in}});
    return kDone;
}

// Settings.txt's lines by state and parameter.
QMap<QString, QString> settingsOf(const QByteArray& bytes) {
    QMap<QString, QString> out;
    for (QByteArray raw : bytes.split('\n')) {
        while (raw.endsWith('\r')) raw.chop(1);
        if (raw.isEmpty()) continue;
        const core::SettingsLine l = core::ParseSettingsLine(QString::fromLatin1(raw));
        out.insert(l.isState ? l.state + QStringLiteral(" / ") + l.parameter : l.parameter, l.item);
    }
    return out;
}

int diffJob(const Options& o) {
    if (o.words.size() != 1) return rep().fail(kUsage, QStringLiteral("diff takes one FILE"));
    bool ok = false;
    const QMap<QString, QString> file = settingsOf(readAll(o.words.at(0), &ok));
    if (!ok) return rep().fail(kFileError, QStringLiteral("could not read ") + o.words.at(0));
    // The device's side is read as Save reads it, into a file of its own.
    SettingsStandIn standIn;
    standIn.swapped();
    ui::RefreshPanels(7);
    ui::cmdSave_Click();
    const int outcome = JobOutcome();
    if (outcome != kDone) return outcome;
    const QMap<QString, QString> device = settingsOf(readAll(standIn.path(), &ok));
    if (!ok) return rep().fail(kFileError, QStringLiteral("could not read ") + standIn.path());
    QStringList keys = file.keys();
    for (const QString& k : device.keys())
        if (!file.contains(k)) keys << k;
    int differing = 0;
    for (const QString& k : keys) {
        const QString f = file.value(k), d = device.value(k);
        if (f == d) continue;
        ++differing;
        rep().result(k + QStringLiteral(": file ") + (file.contains(k) ? f : QStringLiteral("-")) +
                         QStringLiteral(", device ") +
                         (device.contains(k) ? d : QStringLiteral("-")),
                     {{QStringLiteral("setting"), k},
                      {QStringLiteral("file"), file.contains(k) ? QJsonValue(f) : QJsonValue()},
                      {QStringLiteral("device"), device.contains(k) ? QJsonValue(d) : QJsonValue()}});
    }
    if (differing == 0 && !o.json && !o.quiet)
        rep().note(QStringLiteral("no setting differs"));
    return kDone;
}

} // namespace

int JobOutcome() {
    const QString alert = App().AlertText.simplified();
    if (!alert.isEmpty()) return rep().fail(kDeviceFailed, alert);
    for (const QString& told : Stopped().told)
        if (told.startsWith(QLatin1String("Could not")) || told.startsWith(QLatin1String("Unable")) ||
            told.startsWith(QLatin1String("Critical Situation")))
            return rep().fail(kDeviceFailed, told);
    return kDone;
}

int RunCommand(const Options& o) {
    const QString& c = o.command;
    if (c == QLatin1String("ports")) return PortsJob(o);
    if (c == QLatin1String("ir")) return IrJob(o);
    if (c == QLatin1String("gamma")) return GammaJob(o);
    if (c == QLatin1String("names")) return NamesJob(o);
    if ((c == QLatin1String("get") || c == QLatin1String("set")) && o.words.isEmpty())
        return rep().fail(kUsage, c + QStringLiteral(" needs at least one setting"));
    if ((c == QLatin1String("save") || c == QLatin1String("restore")) && o.words.size() > 1)
        return rep().fail(kUsage, c + QStringLiteral(" takes at most one FILE"));
    if (c == QLatin1String("diff") && o.words.size() != 1)
        return rep().fail(kUsage, QStringLiteral("diff takes one FILE"));
    if (c == QLatin1String("info") && !o.words.isEmpty())
        return rep().fail(kUsage, QStringLiteral("info takes no words"));
    if (c == QLatin1String("load")) return LoadJob(o);
    const int connected = Connect();
    if (connected != kDone) return connected;
    App().AlertText.clear();
    Stopped().told.clear();
    if (c == QLatin1String("info")) return infoJob();
    if (c == QLatin1String("get")) return getJob(o);
    if (c == QLatin1String("set")) return setJob(o);
    if (c == QLatin1String("save")) return saveJob(o);
    if (c == QLatin1String("restore")) return restoreJob(o);
    if (c == QLatin1String("diff")) return diffJob(o);
    if (c == QLatin1String("console")) return ConsoleJob(o);
    return rep().fail(kUsage, QStringLiteral("unknown command ") + c);
}

} // namespace telvo::cli
