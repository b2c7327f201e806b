#include "cli/Setting.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "cli/CliPlatform.h"
#include "core/settings/ValueCheck.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "settings/Panels.h"
#include "settings/SCL.h"
#include "settings/ValueEntry.h"

namespace telvo::cli {

using ui::Config;

namespace {

// How many failed exchanges were reported before an exchange, so that what went wrong in it can
// be told after.
qsizetype failureMark() {
    return HeardSoFar().exchangeFailures.size();
}

// The first failure the exchanges since `mark` reported (the device's error text, or a
// time-out), or nothing. A set is followed by its query, so the reply in hand no longer tells.
QString failureSince(qsizetype mark) {
    const QStringList& failures = HeardSoFar().exchangeFailures;
    return mark < failures.size() ? failures.at(mark).simplified() : QString();
}

Reading after(qsizetype mark) {
    const QString why = failureSince(mark);
    if (!why.isEmpty())
        return {QString(), why};
    return {ui::FormatAnswer(ui::Link().Reply), QString()};
}

} // namespace

int RecordOf(const QString& name) {
    return core::FindCommandByName(Config().Commands, name);
}

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
    const qsizetype mark = failureMark();
    ui::QueryDevice(Config().Commands.at(record).Cmd);
    return after(mark);
}

Reading SendSetting(int record, const QString& value) {
    const core::CommandRec& rec = Config().Commands.at(record);
    ui::SCL& s = ui::scl();
    ui::G().settings.SelectedCmd = qint16(record);
    const qsizetype mark = failureMark();
    if (rec.IsList) {
        const std::optional<int> row = core::ListRow(rec, value);
        if (!row)
            return {QString(), rec.Name + QStringLiteral(" has no value ") + value};
        s.lstSelect->clear();
        for (int r = 1; r < rec.Values.size(); ++r)
            s.lstSelect->addItem(rec.Values.at(r).Text);
        s.lstSelect->setCurrentRow(*row);
        ui::lstSelect_Click();
    } else {
        s.txtValEnter->setText(value);
        ui::txtValEnter_KeyPress(13);
    }
    return after(mark);
}

} // namespace telvo::cli
