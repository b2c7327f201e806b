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
#include "settings/SCL.h"
#include "settings/SaveRestore.h"
#include "settings/ValueEntry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QMap>
#include <QTemporaryDir>
#include <optional>

namespace telvo::cli {

using ui::App;
using ui::AppGlobals;
using ui::Config;
using ui::G;
using ui::Link;

namespace {

Report& rep() {
    return Report::instance();
}

QJsonValue numberOrNull(const QString& text) {
    const std::optional<double> n = NumberOf(text);
    return n ? QJsonValue(*n) : QJsonValue();
}

int infoJob(const Options&) {
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
            code =
                qMax(code, rep().fail(kDeviceFailed, rec.Name + QStringLiteral(": ") + r.failure));
            continue;
        }
        rep().result(rec.Name + QStringLiteral("=") + r.text, SettingFields(rec, r.text));
    }
    return code;
}

// One NAME=VALUE through the chooser the label's click opens: the list or the enter box.
int setOne(const QString& word) {
    const std::optional<core::Assignment> a = core::ParseAssignment(word);
    if (!a)
        return rep().fail(kUsage, QStringLiteral("set takes NAME=VALUE, not ") + word);
    const int record = RecordOf(a->name);
    if (record <= 0)
        return rep().fail(kUsage, QStringLiteral("no setting named ") + a->name);
    const core::CommandRec& rec = Config().Commands.at(record);
    // Nothing goes on the wire that Telvo.ini's line for the setting excludes.
    const QString problem = core::ValueProblem(rec, a->value);
    if (!problem.isEmpty())
        return rep().fail(kUsage, problem);
    const Reading r = SendSetting(record, a->value);
    if (!r.failure.isEmpty())
        return rep().fail(kDeviceFailed, rec.Name + QStringLiteral(": ") + r.failure);
    rep().result(rec.Name + QStringLiteral("=") + r.text, SettingFields(rec, r.text));
    return kDone;
}

int setJob(const Options& o) {
    int code = kDone;
    for (const QString& word : o.words)
        code = qMax(code, setOne(word));
    return code;
}

QByteArray readAll(const QString& path, bool* ok) {
    QFile f(path);
    *ok = f.open(QIODevice::ReadOnly);
    return *ok ? f.readAll() : QByteArray();
}

// The job folder's Settings.txt, the file a save or restore without a FILE uses.
QString defaultSettingsFile() {
    return platform::JobFile(QStringLiteral("Settings.txt"));
}

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
        *code =
            rep().fail(kFileError, path + QStringLiteral(" is not a settings file: ") + problem);
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
    if (outcome != kDone)
        return outcome;
    bool ok = false;
    const QByteArray bytes = readAll(out, &ok);
    if (!ok)
        return rep().fail(kFileError, QStringLiteral("could not write ") + out);
    rep().result(
        QStringLiteral("Saved the settings to ") + out,
        {{QStringLiteral("file"), out}, {QStringLiteral("lines"), int(bytes.count('\n'))}});
    return kDone;
}

int restoreJob(const Options& o) {
    const QString in = o.words.value(0, defaultSettingsFile());
    int code = kDone;
    if (!settingsFileOf(in, &code))
        return code;
    if (const int connected = ConnectForJob(); connected != kDone)
        return connected;
    ui::RefreshPanels(7);
    // The selectors as found, put back after the file's states have been walked.
    ui::SaveViewState();
    ui::RestoreSettingsFrom(in);
    // Every setting the device refused is named, not only the first.
    QStringList refused;
    static const QLatin1String couldNot("Could not Restore the ");
    for (const Told& told : Stopped().told)
        if (told.kind != Told::Confirm && told.words.startsWith(couldNot))
            refused << told.words.mid(couldNot.size());
    if (!refused.isEmpty()) {
        rep().failedSettings(refused);
        return rep().fail(kDeviceFailed,
                          QStringLiteral("could not restore ") + QString::number(refused.size()) +
                              QStringLiteral(" setting(s): ") + refused.join(QStringLiteral("; ")));
    }
    const int outcome = JobOutcome();
    if (outcome != kDone)
        return outcome;
    rep().result(QStringLiteral("Restored the settings of ") + in, {{QStringLiteral("file"), in}});
    return kDone;
}

struct Saved {
    QString state; // empty for a plain setting
    QString parameter;
    QString item; // code and value as saved
};

// A settings file's lines by state and parameter, in the file's order.
QList<std::pair<QString, Saved>> settingsOf(const QByteArray& bytes) {
    QList<std::pair<QString, Saved>> out;
    for (QByteArray raw : bytes.split('\n')) {
        while (raw.endsWith('\r'))
            raw.chop(1);
        if (raw.isEmpty())
            continue;
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
    if (record <= 0)
        return item;
    const QString text = core::ValueText(Config().Commands.at(record), item.mid(2));
    return text.isEmpty() ? item.mid(2) : text;
}

QJsonValue jsonValue(const QString& item) {
    const int record = core::FindCommandByCode(Config().Commands, item.left(2));
    const QString text = shownValue(item);
    return record > 0 ? SettingValue(Config().Commands.at(record), text) : QJsonValue(text);
}

int diffJob(const Options& o) {
    int code = kDone;
    const std::optional<QByteArray> fileBytes = settingsFileOf(o.words.value(0), &code);
    if (!fileBytes)
        return code;
    if (const int connected = ConnectForJob(); connected != kDone)
        return connected;
    const QList<std::pair<QString, Saved>> file = settingsOf(*fileBytes);
    // The device's side is read as Save reads it, into a file of the job's own.
    QTemporaryDir scratch(QDir(platform::JobFolder()).filePath(QStringLiteral("diff-XXXXXX")));
    if (!scratch.isValid())
        return rep().fail(kFileError,
                          QStringLiteral("could not make a folder in ") + platform::JobFolder());
    const QString devicePath = scratch.filePath(QStringLiteral("Settings.txt"));
    ui::RefreshPanels(7);
    ui::SaveSettingsTo(devicePath);
    const int outcome = JobOutcome();
    if (outcome != kDone)
        return outcome;
    bool ok = false;
    const QList<std::pair<QString, Saved>> device = settingsOf(readAll(devicePath, &ok));
    if (!ok)
        return rep().fail(kFileError, QStringLiteral("could not read ") + devicePath);
    QMap<QString, Saved> onDevice, inFile;
    QList<std::pair<QString, Saved>> all = file;
    for (const auto& [k, v] : file)
        inFile.insert(k, v);
    for (const auto& [k, v] : device) {
        if (!inFile.contains(k))
            all.append({k, v});
        onDevice.insert(k, v);
    }
    int differing = 0;
    for (const auto& [key, saved] : all) {
        const bool f = inFile.contains(key), d = onDevice.contains(key);
        const QString fi = f ? inFile.value(key).item : QString();
        const QString di = d ? onDevice.value(key).item : QString();
        if (f && d && fi == di)
            continue;
        ++differing;
        QJsonObject fields{{QStringLiteral("setting"), saved.parameter},
                           {QStringLiteral("state"),
                            saved.state.isEmpty() ? QJsonValue() : QJsonValue(saved.state)},
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
        rep().result(
            QStringLiteral("no setting differs"),
            {{QStringLiteral("differing"), 0}, {QStringLiteral("compared"), int(all.size())}});
        return kDone;
    }
    return kDiffers;
}

} // namespace

int JobOutcome() {
    const QString alert = HeardSoFar().alert.simplified();
    if (!alert.isEmpty())
        return rep().fail(kDeviceFailed, alert);
    for (const Told& told : Stopped().told)
        if (told.failure())
            return rep().fail(kDeviceFailed, told.words);
    return kDone;
}

void ForgetTold() {
    HeardSoFar().alert.clear();
    Stopped().told.clear();
}

int ConnectForJob() {
    const int connected = Connect();
    if (connected == kDone)
        ForgetTold();
    return connected;
}

namespace {

// In the order --help lists them.
const Command kCommands[] = {
    {"ports", nullptr, 0, 0, "ports takes no words", Command::None, false, PortsJob},
    {"info", nullptr, 0, 0, "info takes no words", Command::Connect, false, infoJob},
    {"get", nullptr, 1, -1, "get needs at least one setting", Command::Connect, false, getJob},
    {"set", nullptr, 1, -1, "set needs at least one setting", Command::Connect, false, setJob},
    {"save", nullptr, 0, 1, "save takes at most one FILE", Command::Connect, false, saveJob},
    {"restore", nullptr, 0, 1, "restore takes at most one FILE", Command::Own, false, restoreJob},
    {"diff", nullptr, 1, 1, "diff takes one FILE", Command::Own, false, diffJob},
    {"load", &Options::resume, 0, 0, "load --resume takes nothing else", Command::Own, false,
     ResumeJob},
    {"load", nullptr, 1, 1, "load takes one FILE.frk or LIST.frl", Command::Own, false, LoadJob},
    // apply's words are NAME=VALUE or --file, checked with the line (ApplyUsageProblem).
    {"apply", nullptr, 0, -1, nullptr, Command::Own, false, ApplyJob},
    {"console", nullptr, 0, 0, "console takes no words", Command::Connect, true, ConsoleJob},
    {"ir", nullptr, 1, -1, "ir takes code or gen-all", Command::Own, false, IrJob},
    {"gamma", nullptr, 1, -1, "gamma takes make or export", Command::None, false, GammaJob},
    {"names", nullptr, 0, 1, "names takes at most one NAME", Command::None, false, NamesJob},
};

bool wordsFit(const Command& c, const Options& o) {
    return o.words.size() >= c.fewest && (c.most < 0 || o.words.size() <= c.most);
}

} // namespace

QStringList CommandNames() {
    QStringList names;
    for (const Command& c : kCommands)
        if (const QString name = QString::fromLatin1(c.name); !names.contains(name))
            names << name;
    return names;
}

const Command* CommandOf(const Options& o) {
    for (const Command& c : kCommands)
        if (o.command == QLatin1String(c.name) && (!c.mode || o.*c.mode))
            return &c;
    return nullptr;
}

int WrongWords(const Options& o) {
    const Command* c = CommandOf(o);
    return rep().fail(kUsage, c && c->wrongWords ? QString::fromLatin1(c->wrongWords)
                                                 : QStringLiteral("unknown command ") + o.command);
}

int RunCommand(const Options& o) {
    const Command* c = CommandOf(o);
    if (!c)
        return WrongWords(o);
    if (!c->wordsOnceConnected && !wordsFit(*c, o))
        return WrongWords(o);
    if (c->device == Command::Connect) {
        if (const int connected = ConnectForJob(); connected != kDone)
            return connected;
        if (c->wordsOnceConnected && !wordsFit(*c, o))
            return WrongWords(o);
    }
    return c->handler(o);
}

} // namespace telvo::cli
