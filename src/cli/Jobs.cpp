#include "cli/Jobs.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "cli/CliPlatform.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "cli/Setting.h"
#include "core/config/CommandRec.h"
#include "core/settings/Assignments.h"
#include "core/settings/Panels.h"
#include "core/settings/SettingsFile.h"
#include "core/settings/ValueCheck.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/os/AppPath.h"
#include "platform/serial/PortMap.h"
#include "settings/Layout.h"
#include "settings/Panels.h"
#include "settings/SaveRestore.h"
#include "settings/SCL.h"
#include "settings/ValueEntry.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QMap>
#include <QDir>
#include <QTemporaryDir>
#include <optional>

namespace telvo::cli {

using ui::App;
using ui::Config;
using ui::G;
using ui::Link;
using ui::AppGlobals;

namespace {

Report& rep() { return Report::instance(); }

// A prompt's text without the "Breakpoint: " a breakpoint puts before what went wrong.
QString withoutBreakpoint(const QString& told) {
    static const QLatin1String mark("Breakpoint: ");
    return told.startsWith(mark) ? told.mid(mark.size()) : told;
}

QJsonValue numberOrNull(const QString& text) {
    const std::optional<double> n = NumberOf(text);
    return n ? QJsonValue(*n) : QJsonValue();
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
                  {QStringLiteral("speed"), numberOrNull(s.txtCrntSpeed->text())},
                  {QStringLiteral("originalSpeed"), numberOrNull(s.txtOrigSpeed->text())},
                  {QStringLiteral("transferSpeed"), numberOrNull(s.txtxfrspeed->text())},
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
        const int record = RecordOf(name);
        if (record <= 0) {
            code = qMax(code, rep().fail(kUsage, QStringLiteral("no setting named ") + name));
            continue;
        }
        const core::CommandRec& rec = Config().Commands.at(record);
        const Reading r = ReadSetting(record);
        if (!r.failure.isEmpty()) {
            code = qMax(code, rep().fail(kDeviceFailed, rec.Name + QStringLiteral(": ") + r.failure));
            continue;
        }
        rep().result(rec.Name + QStringLiteral("=") + r.text, SettingFields(rec, r.text));
    }
    return code;
}

// One NAME=VALUE through the chooser the label's click opens: the list or the enter box.
int setOne(const QString& word) {
    const std::optional<core::Assignment> a = core::ParseAssignment(word);
    if (!a) return rep().fail(kUsage, QStringLiteral("set takes NAME=VALUE, not ") + word);
    const int record = RecordOf(a->name);
    if (record <= 0) return rep().fail(kUsage, QStringLiteral("no setting named ") + a->name);
    const core::CommandRec& rec = Config().Commands.at(record);
    // Nothing goes on the wire that Telvo.ini's line for the setting excludes.
    const QString problem = core::ValueProblem(rec, a->value);
    if (!problem.isEmpty()) return rep().fail(kUsage, problem);
    const Reading r = SendSetting(record, a->value);
    if (!r.failure.isEmpty()) return rep().fail(kDeviceFailed, rec.Name + QStringLiteral(": ") + r.failure);
    rep().result(rec.Name + QStringLiteral("=") + r.text, SettingFields(rec, r.text));
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

// The job folder's Settings.txt, the file a save or restore without a FILE uses.
QString defaultSettingsFile() { return platform::JobFile(QStringLiteral("Settings.txt")); }

// A settings file read and checked before anything is sent; empty with the failure told.
std::optional<QByteArray> settingsFileOf(const QString& path, int* code) {
    bool ok = false;
    const QByteArray bytes = readAll(path, &ok);
    if (!ok) {
        *code = rep().fail(kFileError, QStringLiteral("could not read ") + path);
        return std::nullopt;
    }
    const QString problem = core::SettingsFileProblem(bytes);
    if (!problem.isEmpty()) {
        *code = rep().fail(kFileError, path + QStringLiteral(" is not a settings file: ") + problem);
        return std::nullopt;
    }
    return bytes;
}

int saveJob(const Options& o) {
    const QString out = o.words.value(0, defaultSettingsFile());
    ui::RefreshPanels(7);
    // Written beside the file and renamed into place when whole: a reader of the file never
    // sees half a save, and a failed save leaves the old file.
    ui::SaveSettingsTo(out);
    const int outcome = JobOutcome();
    if (outcome != kDone) return outcome;
    bool ok = false;
    const QByteArray bytes = readAll(out, &ok);
    if (!ok) return rep().fail(kFileError, QStringLiteral("could not write ") + out);
    rep().result(QStringLiteral("Saved the settings to ") + out,
                 {{QStringLiteral("file"), out}, {QStringLiteral("lines"), int(bytes.count('\n'))}});
    return kDone;
}

int restoreJob(const QString& in) {
    ui::RefreshPanels(7);
    // The selectors as found, put back after the file's states have been walked.
    ui::SaveViewState();
    ui::RestoreSettingsFrom(in);
    // Every setting the device refused is named, not only the first.
    QStringList refused;
    static const QLatin1String couldNot("Could not Restore the ");
    for (const QString& told : Stopped().told)
        if (const QString t = withoutBreakpoint(told); t.startsWith(couldNot))
            refused << t.mid(couldNot.size());
    if (!refused.isEmpty()) {
        rep().failedSettings(refused);
        return rep().fail(kDeviceFailed, QStringLiteral("could not restore ") +
                                             QString::number(refused.size()) +
                                             QStringLiteral(" setting(s): ") +
                                             refused.join(QStringLiteral("; ")));
    }
    const int outcome = JobOutcome();
    if (outcome != kDone) return outcome;
    rep().result(QStringLiteral("Restored the settings of ") + in, {{QStringLiteral("file"), in}});
    return kDone;
}

struct Saved {
    QString state;     // empty for a plain setting
    QString parameter;
    QString item;      // code and value as saved
};

// A settings file's lines by state and parameter, in the file's order.
QList<std::pair<QString, Saved>> settingsOf(const QByteArray& bytes) {
    QList<std::pair<QString, Saved>> out;
    for (QByteArray raw : bytes.split('\n')) {
        while (raw.endsWith('\r')) raw.chop(1);
        if (raw.isEmpty()) continue;
        const core::SettingsLine l = core::ParseSettingsLine(QString::fromLatin1(raw));
        const Saved s{l.isState ? l.state : QString(), l.parameter.trimmed(), l.item.trimmed()};
        out.append({l.isState ? l.state + QStringLiteral(" / ") + s.parameter : s.parameter, s});
    }
    return out;
}

// A saved item as the main window shows its value ("Medium", "0"); the item itself when its
// code is in no record.
QString shownValue(const QString& item) {
    const int record = core::FindCommandByCode(Config().Commands, item.left(2));
    if (record <= 0) return item;
    const QString text = core::ValueText(Config().Commands.at(record), item.mid(2));
    return text.isEmpty() ? item.mid(2) : text;
}

QJsonValue jsonValue(const QString& item) {
    const int record = core::FindCommandByCode(Config().Commands, item.left(2));
    const QString text = shownValue(item);
    return record > 0 ? SettingValue(Config().Commands.at(record), text) : QJsonValue(text);
}

int diffJob(const QByteArray& fileBytes) {
    const QList<std::pair<QString, Saved>> file = settingsOf(fileBytes);
    // The device's side is read as Save reads it, into a file of the job's own.
    QTemporaryDir scratch(QDir(platform::JobFolder()).filePath(QStringLiteral("diff-XXXXXX")));
    if (!scratch.isValid())
        return rep().fail(kFileError, QStringLiteral("could not make a folder in ") + platform::JobFolder());
    const QString devicePath = scratch.filePath(QStringLiteral("Settings.txt"));
    ui::RefreshPanels(7);
    ui::SaveSettingsTo(devicePath);
    const int outcome = JobOutcome();
    if (outcome != kDone) return outcome;
    bool ok = false;
    const QList<std::pair<QString, Saved>> device = settingsOf(readAll(devicePath, &ok));
    if (!ok) return rep().fail(kFileError, QStringLiteral("could not read ") + devicePath);
    QMap<QString, Saved> onDevice, inFile;
    QList<std::pair<QString, Saved>> all = file;
    for (const auto& [k, v] : file) inFile.insert(k, v);
    for (const auto& [k, v] : device) {
        if (!inFile.contains(k)) all.append({k, v});
        onDevice.insert(k, v);
    }
    int differing = 0;
    for (const auto& [key, saved] : all) {
        const bool f = inFile.contains(key), d = onDevice.contains(key);
        const QString fi = f ? inFile.value(key).item : QString();
        const QString di = d ? onDevice.value(key).item : QString();
        if (f && d && fi == di) continue;
        ++differing;
        QJsonObject fields{{QStringLiteral("setting"), saved.parameter},
                           {QStringLiteral("state"), saved.state.isEmpty() ? QJsonValue() : QJsonValue(saved.state)},
                           {QStringLiteral("file"), f ? jsonValue(fi) : QJsonValue()},
                           {QStringLiteral("device"), d ? jsonValue(di) : QJsonValue()},
                           {QStringLiteral("fileCode"), f ? QJsonValue(fi) : QJsonValue()},
                           {QStringLiteral("deviceCode"), d ? QJsonValue(di) : QJsonValue()}};
        rep().result(key + QStringLiteral(": file ") + (f ? shownValue(fi) : QStringLiteral("-")) +
                         QStringLiteral(", device ") + (d ? shownValue(di) : QStringLiteral("-")),
                     fields);
    }
    if (differing == 0) {
        // "Nothing differs" is a result too, on standard output.
        rep().result(QStringLiteral("no setting differs"),
                     {{QStringLiteral("differing"), 0}, {QStringLiteral("compared"), int(all.size())}});
        return kDone;
    }
    return kDiffers;
}

} // namespace

int JobOutcome() {
    const QString alert = App().AlertText.simplified();
    if (!alert.isEmpty()) return rep().fail(kDeviceFailed, alert);
    for (const QString& each : Stopped().told)
        if (const QString told = withoutBreakpoint(each); told.startsWith(QLatin1String("Could not")) || told.startsWith(QLatin1String("Unable")) ||
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
    if (c == QLatin1String("apply")) return ApplyJob(o);
    // A file the job reads is checked before the device is touched.
    std::optional<QByteArray> file;
    QString in;
    if (c == QLatin1String("restore") || c == QLatin1String("diff")) {
        in = o.words.value(0, defaultSettingsFile());
        int code = kDone;
        file = settingsFileOf(in, &code);
        if (!file) return code;
    }
    const int connected = Connect();
    if (connected != kDone) return connected;
    App().AlertText.clear();
    Stopped().told.clear();
    if (c == QLatin1String("info")) return infoJob();
    if (c == QLatin1String("get")) return getJob(o);
    if (c == QLatin1String("set")) return setJob(o);
    if (c == QLatin1String("save")) return saveJob(o);
    if (c == QLatin1String("restore")) return restoreJob(in);
    if (c == QLatin1String("diff")) return diffJob(*file);
    if (c == QLatin1String("console")) return ConsoleJob(o);
    return rep().fail(kUsage, QStringLiteral("unknown command ") + c);
}

} // namespace telvo::cli
