#include "core/settings/Assignments.h"

#include "core/settings/Panels.h"
#include "core/settings/SettingsFile.h"

namespace telvo::core {

std::optional<Assignment> ParseAssignment(const QString& text) {
    const qsizetype eq = text.indexOf(QLatin1Char('='));
    if (eq < 0)
        return std::nullopt;
    Assignment a{0, text.left(eq).trimmed(), text.mid(eq + 1).trimmed()};
    if (a.name.isEmpty())
        return std::nullopt;
    return a;
}

namespace {

QList<QString> linesOf(const QByteArray& bytes) {
    QList<QString> out;
    for (QByteArray raw : bytes.split('\n')) {
        while (raw.endsWith('\r'))
            raw.chop(1);
        out << QString::fromUtf8(raw);
    }
    return out;
}

bool skipped(const QString& line) {
    const QString t = line.trimmed();
    return t.isEmpty() || t.startsWith(QLatin1Char('#'));
}

bool looksSaved(const QString& line) {
    const QString t = line.trimmed();
    return t.startsWith(QLatin1String("SetState"), Qt::CaseInsensitive) ||
           t.startsWith(QLatin1String("SetParameter="), Qt::CaseInsensitive);
}

void readSaved(const QList<QString>& lines, const CommandTable& commands, AssignmentFile& out) {
    for (int n = 0; n < lines.size(); ++n) {
        if (lines.at(n).trimmed().isEmpty())
            continue;
        const SettingsLine l = ParseSettingsLine(lines.at(n));
        if (l.isState) {
            ++out.leftLines;
            if (!out.leftStates.contains(l.state))
                out.leftStates << l.state;
            continue;
        }
        const QString item = l.item.trimmed();
        const int record = FindCommandByCode(commands, item.left(2));
        Assignment a{n + 1, l.parameter.trimmed(), item.mid(2)};
        if (record > 0) {
            a.name = commands.at(record).Name;
            const QString shown = ValueText(commands.at(record), a.value);
            if (!shown.isEmpty())
                a.value = shown;
        }
        out.items << a;
    }
}

} // namespace

AssignmentFile ReadAssignments(const QByteArray& bytes, const CommandTable& commands) {
    AssignmentFile out;
    if (bytes.contains('\0')) {
        out.problem = QStringLiteral("it is not text");
        return out;
    }
    const QList<QString> lines = linesOf(bytes);
    for (const QString& line : lines) {
        if (skipped(line))
            continue;
        out.saved = looksSaved(line);
        break;
    }
    if (out.saved) {
        // As save wrote it: every line one of its two forms, no comments.
        out.problem = SettingsFileProblem(bytes);
        if (out.problem.isEmpty())
            readSaved(lines, commands, out);
        return out;
    }
    for (int n = 0; n < lines.size(); ++n) {
        if (skipped(lines.at(n)))
            continue;
        std::optional<Assignment> a = ParseAssignment(lines.at(n));
        if (!a) {
            out.problem =
                QStringLiteral("line %1 is neither NAME=VALUE nor a saved setting: ").arg(n + 1) +
                lines.at(n).trimmed().left(60);
            out.items.clear();
            return out;
        }
        a->line = n + 1;
        out.items << *a;
    }
    if (out.items.isEmpty())
        out.problem = QStringLiteral("it names no setting");
    return out;
}

} // namespace telvo::core
