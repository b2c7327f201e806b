#include "core/settings/Panels.h"

#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

namespace telvo::core {

int PanelColumns(int panel) {
    return panel == 3 ? 4 : 3;
}

QList<LabelPlace> PlaceLabels(const CommandTable& commands, const PanelMetrics& m) {
    // Column widths are rounded to whole twips, as the positions are.
    const int topColumn = int(RoundEven((m.topWidth - m.line1X - 200) / 3.0));
    const int midColumn = int(RoundEven((m.midWidth - m.line2X - 200) / 3.0));
    const int btmColumn = int(RoundEven((m.btmWidth - 300) / 4.0));
    const int rowPitch = m.labelHeight + m.interRowSpace;
    int counts[4] = {0, 0, 0, 0};
    QList<LabelPlace> places;
    for (int i = 1; i < commands.size(); ++i) {
        const int panel = commands.at(i).Panel;
        if (panel < 1 || panel > 3)
            continue;
        LabelPlace p;
        p.record = i;
        p.panel = panel;
        p.number = ++counts[panel];
        const int columns = PanelColumns(panel);
        p.row = (p.number - 1) / columns;
        p.column = (p.number - 1) % columns;
        p.top = p.row * rowPitch + 240;
        switch (panel) {
        case 3:
            p.left = p.column * btmColumn + 120;
            p.mapIndex = p.number + 200;
            break;
        case 2:
            p.left = p.column * midColumn + m.line2X + 120;
            p.mapIndex = p.number + 100;
            break;
        default:
            p.left = p.column * topColumn + m.line1X + 120;
            p.mapIndex = p.number;
            break;
        }
        places.append(p);
    }
    return places;
}

QString AnswerType(const QString& reply) {
    return Mid(reply, 2, 2);
}
QString AnswerCommand(const QString& reply) {
    return Mid(reply, 6, 2);
}

QString AnswerValue(const QString& reply) {
    return CutAtNul(Mid(reply, 9));
}

QString FormatAnswerText(const CommandTable& commands, const QString& reply,
                         const QString& modelText, const QString& firmwareText,
                         bool* unknownCommand) {
    if (unknownCommand)
        *unknownCommand = false;
    const QString type = AnswerType(reply);
    if (type == QLatin1String("02"))
        return QStringLiteral("N/A");
    if (type != QLatin1String("21"))
        return QString();
    const QString code = AnswerCommand(reply);
    const int index = FindCommandByCode(commands, code);
    if (index == 0) {
        if (unknownCommand)
            *unknownCommand = true;
        return QString();
    }
    if (SameText(code, QStringLiteral("A8")))
        return modelText;
    if (SameText(code, QStringLiteral("A9")))
        return firmwareText;
    return ValueText(commands.at(index), AnswerValue(reply));
}

QString ValueText(const CommandRec& rec, const QString& value) {
    if (rec.IsByte || rec.IsInteger || rec.IsRange)
        return value;
    if (rec.IsList) {
        const double v = Val(value);
        for (int r = 1; r < rec.Values.size(); ++r)
            if (rec.Values.at(r).Value == v)
                return rec.Values.at(r).Text;
        return QString();
    }
    return QString();
}

} // namespace telvo::core
