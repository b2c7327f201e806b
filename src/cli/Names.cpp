// `names`: the settings Telvo.ini defines, or what one of them takes. Read from the file alone,
// so that a script (and the shell's completion) can ask without a device.
#include "app/Globals.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "config/IniLoader.h"
#include "core/config/CommandRec.h"
#include "core/settings/ValueCheck.h"

#include <QJsonArray>
#include <QJsonObject>

namespace telvo::cli {

namespace {

Report& rep() {
    return Report::instance();
}

// A range's end as a number for a script; the text as written when it is none.
QJsonValue numberOf(const QString& text) {
    bool ok = false;
    const double v = text.toDouble(&ok);
    return ok ? QJsonValue(v) : QJsonValue(text);
}

void tellOne(const core::CommandRec& rec) {
    QJsonObject f{{QStringLiteral("name"), rec.Name},
                  {QStringLiteral("code"), rec.Cmd},
                  {QStringLiteral("kind"), core::KindWord(rec)},
                  {QStringLiteral("readOnly"), rec.ReadOnly},
                  {QStringLiteral("writeOnly"), rec.WriteOnly}};
    QString text = rec.Name + QStringLiteral(" (") + rec.Cmd + QStringLiteral("): ");
    if (rec.ReadOnly)
        text += QStringLiteral("read only; ");
    if (rec.WriteOnly)
        text += QStringLiteral("write only; ");
    if (rec.Values.size() > 1) {
        // The rows one a line, as set takes them: a list's by number or text, a hex byte's by
        // its two digits.
        text += rec.IsList ? QStringLiteral("one of")
                           : core::AllowedText(rec).section(QLatin1Char(':'), 0, 0);
        QJsonArray values;
        for (int r = 1; r < rec.Values.size(); ++r) {
            const core::ValueRec& v = rec.Values.at(r);
            text += QStringLiteral("\n  %1  ").arg(core::ValueNumberText(rec, v), 4) + v.Text;
            values.append(
                QJsonObject{{QStringLiteral("value"), v.Value}, {QStringLiteral("text"), v.Text}});
        }
        f.insert(QStringLiteral("values"), values);
    } else {
        text += core::AllowedText(rec);
    }
    if (rec.IsRange) {
        f.insert(QStringLiteral("min"), numberOf(rec.MinText));
        f.insert(QStringLiteral("max"), numberOf(rec.MaxText));
        f.insert(QStringLiteral("decimals"), rec.Decimals);
    }
    if (rec.IsInteger) {
        f.insert(QStringLiteral("range"), rec.RangeText);
        if (const auto b = core::IntegerBounds(rec)) {
            f.insert(QStringLiteral("min"), double(b->first));
            f.insert(QStringLiteral("max"), double(b->second));
        }
    }
    rep().result(text, f);
}

} // namespace

int NamesJob(const Options& o) {
    // The tables of the model and firmware Telvo.ini names, as a run without a device has them.
    ui::ReadIniFile(2);
    const core::CommandTable& commands = ui::Config().Commands;
    if (o.words.isEmpty()) {
        for (int i = 1; i < commands.size(); ++i)
            if (!commands.at(i).Name.isEmpty())
                rep().result(commands.at(i).Name, {{QStringLiteral("name"), commands.at(i).Name}});
        return kDone;
    }
    const int record = core::FindCommandByName(commands, o.words.at(0));
    if (record <= 0)
        return rep().fail(kUsage, QStringLiteral("no setting named ") + o.words.at(0));
    tellOne(commands.at(record));
    return kDone;
}

} // namespace telvo::cli
