#include "core/settings/ValueCheck.h"

#include "core/text/Classic.h"

#include <QRegularExpression>
#include <QStringList>

namespace telvo::core {

namespace {

bool isNumber(const QString& text) {
    static const QRegularExpression number(QStringLiteral("^[+-]?([0-9]+(\\.[0-9]*)?|\\.[0-9]+)$"));
    return number.match(text).hasMatch();
}

bool isWhole(const QString& text) {
    static const QRegularExpression whole(QStringLiteral("^[+-]?[0-9]+$"));
    return whole.match(text).hasMatch();
}

// "Off (0), On (1)"; a row without a text shows its number alone.
QString valuesText(const CommandRec& rec) {
    QStringList out;
    for (int r = 1; r < rec.Values.size(); ++r) {
        const ValueRec& v = rec.Values.at(r);
        const QString number = ValueNumberText(rec, v);
        out << (v.Text.isEmpty() ? number
                                 : v.Text + QStringLiteral(" (") + number + QLatin1Char(')'));
    }
    return out.join(QStringLiteral(", "));
}

} // namespace

QString ValueNumberText(const CommandRec& rec, const ValueRec& row) {
    if (KindWord(rec) == QLatin1String("hex byte"))
        return QStringLiteral("%1").arg(quint8(row.Value), 2, 16, QLatin1Char('0')).toUpper();
    return QString::number(row.Value);
}

std::optional<int> ListRow(const CommandRec& rec, const QString& value) {
    for (int r = 1; r < rec.Values.size(); ++r)
        if (SameText(rec.Values.at(r).Text, value))
            return r - 1;
    bool number = false;
    const int v = value.toInt(&number);
    if (number)
        for (int r = 1; r < rec.Values.size(); ++r)
            if (rec.Values.at(r).Value == v)
                return r - 1;
    return std::nullopt;
}

QString KindWord(const CommandRec& rec) {
    // The order the chooser tests them in.
    if (rec.IsList)
        return QStringLiteral("list");
    if (rec.IsByte) {
        if (rec.Kind == QLatin1String("A"))
            return QStringLiteral("character");
        if (rec.Kind == QLatin1String("H"))
            return QStringLiteral("hex byte");
        return QStringLiteral("byte");
    }
    if (rec.IsRange)
        return QStringLiteral("range");
    if (rec.IsInteger)
        return QStringLiteral("integer");
    return QStringLiteral("none");
}

std::optional<std::pair<qint64, qint64>> IntegerBounds(const CommandRec& rec) {
    static const QRegularExpression bounds(
        QStringLiteral("^([+-]?[0-9]+)\\s*(?:to|\\.\\.|-)\\s*([+-]?[0-9]+)"),
        QRegularExpression::CaseInsensitiveOption);
    const auto m = bounds.match(rec.RangeText.trimmed());
    if (!m.hasMatch())
        return std::nullopt;
    return std::make_pair(m.captured(1).toLongLong(), m.captured(2).toLongLong());
}

QString AllowedText(const CommandRec& rec) {
    const QString kind = KindWord(rec);
    if (kind == QLatin1String("list"))
        return QStringLiteral("one of ") + valuesText(rec);
    if (kind == QLatin1String("range"))
        return QStringLiteral("a number from ") + rec.MinText + QStringLiteral(" to ") +
               rec.MaxText;
    if (kind == QLatin1String("integer"))
        return rec.RangeText.isEmpty() ? QStringLiteral("a whole number")
                                       : QStringLiteral("a whole number, ") + rec.RangeText;
    if (kind == QLatin1String("character"))
        return QStringLiteral("one character");
    if (kind == QLatin1String("hex byte")) {
        const QString values = valuesText(rec);
        return QStringLiteral("two hexadecimal digits") +
               (values.isEmpty() ? QString() : QStringLiteral(": ") + values);
    }
    if (kind == QLatin1String("byte"))
        return QStringLiteral("a value as the device takes it");
    return QStringLiteral("no value");
}

QString ValueProblem(const CommandRec& rec, const QString& value) {
    const QString kind = KindWord(rec);
    QString refused =
        rec.Name + QStringLiteral(" takes ") + AllowedText(rec) + QStringLiteral(", not ") + value;
    if (rec.ReadOnly)
        return rec.Name + QStringLiteral(" cannot be set");
    if (kind == QLatin1String("none"))
        return rec.Name + QStringLiteral(" cannot be set: it has no value");
    if (value.isEmpty())
        return rec.Name + QStringLiteral(" needs a value: ") + AllowedText(rec);
    if (kind == QLatin1String("list")) {
        if (ListRow(rec, value))
            return QString();
        return rec.Name + QStringLiteral(" has no value ") + value + QStringLiteral(": it takes ") +
               AllowedText(rec);
    }
    if (kind == QLatin1String("range")) {
        if (!isNumber(value) || !isNumber(rec.MinText) || !isNumber(rec.MaxText))
            return isNumber(value) ? QString() : refused;
        const double v = value.toDouble();
        return v < rec.MinText.toDouble() || v > rec.MaxText.toDouble() ? refused : QString();
    }
    if (kind == QLatin1String("integer")) {
        if (!isWhole(value))
            return refused;
        const auto b = IntegerBounds(rec);
        const qint64 v = value.toLongLong();
        return b && (v < b->first || v > b->second) ? refused : QString();
    }
    if (kind == QLatin1String("character"))
        return value.size() == 1 && value.at(0).unicode() >= 0x20 && value.at(0).unicode() < 0x7f
                   ? QString()
                   : refused;
    if (kind == QLatin1String("hex byte")) {
        static const QRegularExpression hex(QStringLiteral("^[0-9A-Fa-f]{2}$"));
        return hex.match(value).hasMatch() ? QString() : refused;
    }
    return QString();
}

std::optional<QString> DeviceTerms(const CommandRec& rec, const QString& value) {
    const QString kind = KindWord(rec);
    const QString v = value.trimmed();
    if (kind == QLatin1String("list")) {
        const std::optional<int> row = ListRow(rec, v);
        return row ? std::optional<QString>(QString::number(*row)) : std::nullopt;
    }
    if (kind == QLatin1String("range")) {
        if (!isNumber(v))
            return std::nullopt;
        // Adding 0.0 turns a -0 into 0: "-0.00" and "0.00" are one value.
        QString n = QString::number(v.toDouble() + 0.0, 'f', qMax(0, int(rec.Decimals)));
        if (n.startsWith(QLatin1Char('-')) && n.mid(1).toDouble() == 0.0)
            n.remove(0, 1);
        return n;
    }
    if (kind == QLatin1String("integer"))
        return isWhole(v) ? std::optional<QString>(QString::number(v.toLongLong())) : std::nullopt;
    if (kind == QLatin1String("hex byte")) {
        bool ok = false;
        const int n = v.toInt(&ok, 16);
        return ok && v.size() <= 2 ? std::optional<QString>(QString::number(n)) : std::nullopt;
    }
    return value;
}

bool SameDeviceValue(const CommandRec& rec, const QString& a, const QString& b) {
    const std::optional<QString> ta = DeviceTerms(rec, a), tb = DeviceTerms(rec, b);
    return ta && tb ? *ta == *tb : a == b;
}

QString ValueAsShown(const CommandRec& rec, const QString& value) {
    const QString kind = KindWord(rec);
    if (kind == QLatin1String("list")) {
        const std::optional<int> row = ListRow(rec, value);
        if (!row)
            return value;
        return rec.Values.at(*row + 1).Text;
    }
    // A number as the device answers it: at the setting's decimals, "+" and leading zeros gone.
    if (kind == QLatin1String("range") || kind == QLatin1String("integer"))
        return DeviceTerms(rec, value).value_or(value);
    if (kind == QLatin1String("hex byte"))
        return value.toUpper();
    return value;
}

} // namespace telvo::core
