// `apply`: settings brought to the values named, each read first and set only when it differs,
// then read back. Every value is checked before the first frame; --check sends no set at all.
#include "app/Globals.h"
#include "cli/CliPlatform.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "cli/Session.h"
#include "cli/Setting.h"
#include "config/IniLoader.h"
#include "core/settings/Assignments.h"
#include "core/settings/ValueCheck.h"

#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

namespace telvo::cli {

namespace {

Report& rep() {
    return Report::instance();
}

const core::CommandRec& recordAt(int record) {
    return ui::Config().Commands.at(record);
}

// " (line 3)" for a setting of a file, nothing for a word of the command line.
QString whereOf(const core::Assignment& a) {
    return a.line > 0 ? QStringLiteral(" (line %1)").arg(a.line) : QString();
}

// Why the setting cannot be applied, or nothing: the rules of set, and a setting apply cannot
// read to compare (write only) or that is an action rather than a value.
QString problemOf(const core::Assignment& a) {
    const int record = RecordOf(a.name);
    if (record <= 0)
        return QStringLiteral("no setting named ") + a.name;
    const core::CommandRec& rec = recordAt(record);
    if (!rec.ReadOnly && rec.WriteOnly)
        return rec.Name +
               QStringLiteral(" is write only: apply cannot read it to compare (use set)");
    if (!rec.Action.isEmpty())
        return rec.Name + QStringLiteral(" is an action, not a setting (use set)");
    return core::ValueProblem(rec, a.value);
}

// Every problem of every setting, told at once; kDone when there is none.
int refuseAny(const QList<core::Assignment>& wanted, const QString& sent) {
    QStringList problems, names;
    for (const core::Assignment& a : wanted)
        if (const QString p = problemOf(a); !p.isEmpty()) {
            problems << p + whereOf(a);
            const int record = RecordOf(a.name);
            names << (record > 0 ? recordAt(record).Name : a.name);
        }
    if (problems.isEmpty())
        return kDone;
    rep().failedSettings(names);
    return rep().fail(kUsage,
                      QStringLiteral("refused %1 setting(s), %2: ").arg(problems.size()).arg(sent) +
                          problems.join(QStringLiteral("; ")));
}

// The settings named, each once: a setting named again takes the last value, in the place it
// was first named.
QList<core::Assignment> lastOfEach(const QList<core::Assignment>& wanted) {
    QList<core::Assignment> out;
    QHash<int, qsizetype> at;
    for (const core::Assignment& a : wanted) {
        const int record = RecordOf(a.name);
        if (const auto it = at.constFind(record); it != at.constEnd()) {
            rep().note(QStringLiteral("apply: ") + recordAt(record).Name +
                       QStringLiteral(" is named more than once: the last value, ") + a.value +
                       whereOf(a) + QStringLiteral(", is applied"));
            out[*it].value = a.value;
            out[*it].line = a.line;
            continue;
        }
        at.insert(record, out.size());
        out << a;
    }
    return out;
}

// The settings of --file, or of the words; std::nullopt with the failure told.
std::optional<QList<core::Assignment>> wantedOf(const Options& o, int* code) {
    const QString path = NamedValue(o, QStringLiteral("--file"));
    QList<core::Assignment> out;
    if (path.isEmpty()) {
        for (const QString& w : o.words)
            out << core::ParseAssignment(w).value_or(core::Assignment{});
        return out;
    }
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        *code = rep().fail(kFileError, QStringLiteral("could not read ") + path);
        return std::nullopt;
    }
    const core::AssignmentFile file = core::ReadAssignments(f.readAll(), ui::Config().Commands);
    if (!file.problem.isEmpty()) {
        *code = rep().fail(kFileError,
                           path + QStringLiteral(" is not a file apply takes: ") + file.problem);
        return std::nullopt;
    }
    if (file.leftLines > 0) {
        // The lines of a state need the device switched into that state first: restore's walk.
        QStringList states = file.leftStates.mid(0, 3);
        if (file.leftStates.size() > 3)
            states << QStringLiteral("%1 more").arg(file.leftStates.size() - 3);
        const QString left = QStringLiteral("%1 line(s) of %2 state(s) (%3)")
                                 .arg(file.leftLines)
                                 .arg(file.leftStates.size())
                                 .arg(states.join(QStringLiteral(", ")));
        if (file.items.isEmpty()) {
            *code = rep().fail(kFileError, path + QStringLiteral(" holds no plain setting: its ") +
                                               left + QStringLiteral(" are for restore"));
            return std::nullopt;
        }
        rep().note(
            QStringLiteral("apply: ") + path + QStringLiteral(": the ") + left +
            QStringLiteral(" are left to restore, which switches the device into each state"));
    }
    return file.items;
}

struct Outcome {
    int record = 0;
    QString before;
    QString after;
    bool changed = false;
    QString failure;
};

} // namespace

int ApplyJob(const Options& o) {
    // The tables of Telvo.ini's Model and Firmware: every value is checked before the device
    // is touched, not even a query sent for a run that is refused.
    ui::ReadIniFile(2);
    int code = kDone;
    const std::optional<QList<core::Assignment>> given = wantedOf(o, &code);
    if (!given)
        return code;
    if (const int refused = refuseAny(*given, QStringLiteral("nothing was sent")); refused != kDone)
        return refused;
    const int connected = ConnectForJob();
    if (connected != kDone)
        return connected;
    // The device's model and firmware may choose other lines of Telvo.ini: checked again.
    if (const int refused = refuseAny(*given, QStringLiteral("no setting was read or set"));
        refused != kDone)
        return refused;
    const QList<core::Assignment> wanted = lastOfEach(*given);

    QList<Outcome> done;
    QStringList unread, unreadNames;
    for (const core::Assignment& a : wanted) {
        const int record = RecordOf(a.name);
        const Reading r = ReadSetting(record);
        if (!r.failure.isEmpty()) {
            unread << recordAt(record).Name + QStringLiteral(": ") + r.failure;
            unreadNames << recordAt(record).Name;
        }
        done << Outcome{record, r.text, r.text, false, QString()};
    }
    if (!unread.isEmpty()) {
        rep().failedSettings(unreadNames);
        return rep().fail(
            kDeviceFailed,
            QStringLiteral("could not read %1 setting(s), nothing was set: ").arg(unread.size()) +
                unread.join(QStringLiteral("; ")));
    }

    for (int i = 0; i < wanted.size(); ++i) {
        Outcome& out = done[i];
        const core::CommandRec& rec = recordAt(out.record);
        const QString& value = wanted.at(i).value;
        if (core::SameDeviceValue(rec, out.before, value))
            continue;
        out.changed = true;
        if (o.check) {
            out.after = core::ValueAsShown(rec, value);
            continue;
        }
        const Reading r = SendSetting(out.record, value);
        if (!r.failure.isEmpty()) {
            out.failure = r.failure;
            out.changed = false;
            continue;
        }
        out.after = r.text;
        if (!core::SameDeviceValue(rec, r.text, value))
            out.failure = QStringLiteral("the device shows ") + r.text +
                          QStringLiteral(" after the set, not ") + core::ValueAsShown(rec, value);
    }

    QStringList lines, failures, failedNames;
    QJsonArray settings;
    bool changed = false;
    for (const Outcome& out : done) {
        const core::CommandRec& rec = recordAt(out.record);
        QJsonObject s{{QStringLiteral("name"), rec.Name},
                      {QStringLiteral("before"), SettingValue(rec, out.before)},
                      {QStringLiteral("after"), SettingValue(rec, out.after)},
                      {QStringLiteral("beforeText"), out.before},
                      {QStringLiteral("afterText"), out.after},
                      {QStringLiteral("changed"), out.changed}};
        changed = changed || out.changed;
        if (!out.failure.isEmpty()) {
            s.insert(QStringLiteral("error"), out.failure);
            failures << rec.Name + QStringLiteral(": ") + out.failure;
            failedNames << rec.Name;
        } else if (!out.changed) {
            lines << rec.Name + QStringLiteral(": unchanged (") + out.before + QLatin1Char(')');
        } else {
            lines << rec.Name +
                         (o.check ? QStringLiteral(": would change from ")
                                  : QStringLiteral(": changed from ")) +
                         out.before + QStringLiteral(" to ") + out.after;
        }
        settings.append(s);
    }
    const QJsonObject fields{{QStringLiteral("check"), o.check},
                             {QStringLiteral("changed"), changed},
                             {QStringLiteral("settings"), settings}};
    if (!failures.isEmpty()) {
        // What was done is told too: on standard output for a person, in the failure's object
        // for a script (one object a run).
        if (!o.json && !lines.isEmpty())
            rep().result(lines.join(QLatin1Char('\n')), {});
        rep().failedSettings(failedNames);
        rep().failFields(fields);
        return rep().fail(kDeviceFailed,
                          QStringLiteral("could not apply %1 setting(s): ").arg(failures.size()) +
                              failures.join(QStringLiteral("; ")));
    }
    rep().result(lines.join(QLatin1Char('\n')), fields);
    return o.check && changed ? kDiffers : kDone;
}

} // namespace telvo::cli
