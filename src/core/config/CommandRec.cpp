#include "core/config/CommandRec.h"

#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

namespace telvo::core {

namespace {

// List items "(value)text" separated by commas. Each item loses its quotes as it is cut, so a
// quoted text may hold a comma or a bracket.
QList<ValueRec> parseValueItems(QString field) {
    QList<ValueRec> values{ValueRec{}};
    while (!field.isEmpty()) {
        QString item = ParseToken(field, QStringLiteral(","));
        const QString left = ParseToken(item, QStringLiteral(")"));
        ValueRec row;
        row.Value = CInt(Val(Mid(left, 2)));
        row.Text = item;
        values.append(row);
    }
    return values;
}

} // namespace

CommandTable EmptyCommandTable() {
    return CommandTable{CommandRec{}};
}

void ParseCommandLine(const QString& line, CommandTable& commands,
                      const std::function<void(const QString&)>& messageBox) {
    if (commands.isEmpty())
        commands = EmptyCommandTable();

    QString rest = line;
    QString key = ParseToken(rest, QStringLiteral("="));

    const int slash = key.indexOf(u'/');
    const int found = FindCommandByName(commands, TrimBlank(slash < 0 ? key : key.left(slash)));

    // Work on a copy so that a line that fails half-way (an overflow) leaves the table alone.
    CommandRec rec = found > 0 ? commands.at(found) : CommandRec{};

    rec.ReadOnly = false;
    rec.WriteOnly = false;
    rec.NotInIR = false;
    if (TakeFlag(key, QStringLiteral("R"))) {
        rec.ReadOnly = true;
        rec.NotInIR = true;
    }
    if (TakeFlag(key, QStringLiteral("W")))
        rec.WriteOnly = true;
    if (TakeFlag(key, QStringLiteral("N")))
        rec.NotInIR = true;
    rec.Name = key;

    QString panel = ParseToken(rest, QStringLiteral(" "));
    if (panel.startsWith(u'[') && panel.endsWith(u']')) {
        panel = panel.mid(1, 3);
    } else if (messageBox) {
        messageBox(QStringLiteral("Badly formed index number in command '") + rec.Name +
                   QStringLiteral("'"));
    }
    rec.Panel = CInt(Val(panel));
    rec.ControlIndex = 0;

    const QString code = ParseToken(rest, QStringLiteral(";"));
    const int bracket = code.indexOf(u'(');
    if (bracket >= 0) {
        rec.Cmd = code.left(2);
        rec.Action = code.mid(bracket + 1, 1);
    } else {
        rec.Cmd = code;
        rec.Action.clear();
    }

    // The values field keeps its quotes until its items are cut; the kind is decided on the
    // field as it reads without them.
    const QString values = ParseToken(rest, QStringLiteral(";"), true);
    const QString plain = DropQuotes(values);
    const int dots = plain.indexOf(QStringLiteral(".."));
    if (plain.startsWith(u'(')) {
        rec.IsList = true;
        rec.Kind = QStringLiteral("V");
        rec.Values = parseValueItems(values);
    } else if (dots >= 0) {
        rec.IsRange = true;
        rec.Kind = QStringLiteral("V");
        rec.MinText = TrimBlank(plain.left(dots));
        rec.MaxText = TrimBlank(plain.mid(dots + 2));
        const int point = rec.MaxText.indexOf(u'.');
        rec.Decimals = point < 0 ? 0 : CInt(rec.MaxText.size() - point - 1);
    } else if (SquashUpper(plain) == QStringLiteral("INTEGER")) {
        rec.IsInteger = true;
        rec.Kind = QStringLiteral("V");
        rec.RangeText = TrimBlank(rest);
    } else if (SquashUpper(plain.left(4)) == QStringLiteral("BYTE")) {
        rec.IsByte = true;
        rec.Kind = plain.right(1).toUpper();
        rec.Values = parseValueItems(ParseToken(rest, QStringLiteral(";"), true));
    }

    rec.Tail = rest;

    if (found > 0)
        commands[found] = rec;
    else
        commands.append(rec);
}

int FindCommandByCode(const CommandTable& commands, const QString& cmd) {
    for (int i = 1; i < commands.size(); ++i) {
        if (SameText(commands.at(i).Cmd, cmd))
            return i;
    }
    return 0;
}

int FindCommandByName(const CommandTable& commands, const QString& name) {
    for (int i = 1; i < commands.size(); ++i) {
        if (SameText(commands.at(i).Name, name))
            return i;
    }
    return 0;
}

} // namespace telvo::core
