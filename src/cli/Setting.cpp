#include "cli/Setting.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/settings/ValueCheck.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "settings/Panels.h"
#include "settings/SCL.h"
#include "settings/ValueEntry.h"

#include <QFile>
#include <QFileInfo>

namespace telvo::cli {

using ui::Config;

namespace {

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

Reading after(qint64 mark) {
    const QString why = failureSince(mark);
    if (!why.isEmpty()) return {QString(), why};
    return {ui::FormatAnswer(ui::Link().Reply), QString()};
}

} // namespace

int RecordOf(const QString& name) { return core::FindCommandByName(Config().Commands, name); }

std::optional<double> NumberOf(const QString& text) {
    bool ok = false;
    const double v = text.toDouble(&ok);
    return ok ? std::optional<double>(v) : std::nullopt;
}

QJsonValue SettingValue(const core::CommandRec& rec, const QString& text) {
    const std::optional<double> n = (rec.IsInteger || rec.IsRange) ? NumberOf(text) : std::nullopt;
    return n ? QJsonValue(*n) : QJsonValue(text);
}

QJsonObject SettingFields(const core::CommandRec& rec, const QString& text) {
    return {{QStringLiteral("name"), rec.Name},
            {QStringLiteral("text"), text},
            {QStringLiteral("code"), rec.Cmd},
            {QStringLiteral("value"), SettingValue(rec, text)}};
}

Reading ReadSetting(int record) {
    const qint64 mark = logMark();
    ui::QueryDevice(Config().Commands.at(record).Cmd);
    return after(mark);
}

Reading SendSetting(int record, const QString& value) {
    const core::CommandRec& rec = Config().Commands.at(record);
    ui::SCL& s = ui::scl();
    ui::G().settings.SelectedCmd = qint16(record);
    const qint64 mark = logMark();
    if (rec.IsList) {
        const std::optional<int> row = core::ListRow(rec, value);
        if (!row) return {QString(), rec.Name + QStringLiteral(" has no value ") + value};
        s.lstSelect->clear();
        for (int r = 1; r < rec.Values.size(); ++r) s.lstSelect->addItem(rec.Values.at(r).Text);
        s.lstSelect->setCurrentRow(*row);
        ui::lstSelect_Click();
    } else {
        s.txtValEnter->setText(value);
        ui::txtValEnter_KeyPress(13);
    }
    return after(mark);
}

} // namespace telvo::cli
