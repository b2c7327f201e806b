#include "core/settings/ValueEntry.h"

namespace telvo::core {

int SelectListHeight(int items) {
    return items < 10 ? items * 240 : 2400;
}

QString PadToDecimals(const QString& text, int decimals) {
    QString out = text;
    if (!out.contains(u'.'))
        out += u'.';
    const qsizetype point = out.indexOf(u'.');
    while (out.size() - point - 1 < decimals)
        out += u'0';
    return out;
}

ChooserPlan PlanChooser(const CommandRec& rec) {
    ChooserPlan p;
    if (rec.IsList) {
        p.mode = QStringLiteral("Select");
    } else if (rec.IsByte) {
        if (rec.Kind == QLatin1String("A"))
            p.prompt = QStringLiteral("Enter a ascii Character, Press enter to execute");
        else if (rec.Kind == QLatin1String("H"))
            p.prompt =
                QStringLiteral("Enter a single byte as 2 hex digits, Press enter to execute");
        p.mode = QStringLiteral("Enter");
    } else if (rec.IsRange) {
        p.prompt = QStringLiteral("Enter a value in the range ") + rec.MinText +
                   QStringLiteral(" to ") + rec.MaxText +
                   QStringLiteral(", Press enter to execute");
        p.mode = QStringLiteral("Enter");
    } else if (rec.IsInteger) {
        p.prompt = QStringLiteral("Enter a value in the range ") + rec.RangeText +
                   QStringLiteral(", press ENTER to execute");
        p.integerContext = true;
        p.mode = QStringLiteral("Enter");
    }
    return p;
}

} // namespace telvo::core
