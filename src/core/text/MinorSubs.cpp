#include "core/text/MinorSubs.h"

#include "core/text/Classic.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>

namespace telvo::core {

QString ParseToken(QString& text, const QString& delimiter, bool keepQuotes) {
    if (text.isEmpty())
        return {};
    QString token;
    bool quoted = false;
    const int size = text.size();
    const int width = delimiter.size();
    for (int i = 0; i < size; ++i) {
        const QChar c = text.at(i);
        if (c == u'"') {
            quoted = !quoted;
            if (keepQuotes)
                token += c;
            continue;
        }
        if (!quoted && width > 0 &&
            QStringView(text).mid(i, width).compare(delimiter, Qt::CaseInsensitive) == 0) {
            text = TrimBlank(text.mid(i + width));
            return TrimBlank(token);
        }
        token += c;
    }
    text.clear();
    return TrimBlank(token);
}

QString DropQuotes(const QString& text) {
    QString copy = text;
    return ParseToken(copy, QString());
}

QString SquashUpper(const QString& text) {
    QString out = text.toUpper();
    out.remove(u' ');
    return out;
}

bool TakeFlag(QString& text, const QString& letter) {
    const QString flag = u'/' + letter;
    const int at = text.indexOf(flag, 0, Qt::CaseInsensitive);
    if (at < 0)
        return false;
    text = TrimBlank(TrimBlank(text.left(at)) + u' ' + TrimBlank(text.mid(at + flag.size())));
    return true;
}

QString HexField(qint64 value, int width) {
    // A negative number is shown as its 32-bit two's complement, as the classic Hex does.
    quint64 u = static_cast<quint64>(value);
    if (value < 0 && value >= -2147483648LL)
        u &= 0xFFFFFFFFull;
    QString out;
    do {
        out.prepend(HexDigitChar(static_cast<int>(u % 16)));
        u /= 16;
    } while (u != 0);
    while (width > 0 && out.size() < width)
        out.prepend(u'0');
    return out;
}

QString HexField(const QString& value, int width) {
    return HexField(value.isEmpty() ? 0 : CLng(Val(value)), width);
}

QString ToHex4(qint64 value) {
    return HexField(value, 4);
}

std::optional<int> Hex2IntChecked(const QString& text) {
    QString digits = text;
    if (digits.size() == 1)
        digits.prepend(u'0');
    if (digits.size() != 2)
        return std::nullopt;
    return HexDigitValue(digits.at(0)) * 16 + HexDigitValue(digits.at(1));
}

QString Hex2IntMessage(const QString& text) {
    return QStringLiteral("Illegal call to Hex2Int with value ") + text;
}

int HexDigitValue(QChar c) {
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return 0;
}

qint64 HexToLong(const QString& text) {
    qint64 value = 0;
    for (const QChar c : text) {
        value = value * 16 + HexDigitValue(c);
        if (value > 2147483647LL)
            throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
    }
    return value;
}

QChar HexDigitChar(int n) {
    return QLatin1Char("0123456789abcdef"[n & 15]);
}

QString CutAtNul(const QString& text) {
    const int at = text.indexOf(QChar(0));
    return at < 0 ? QString() : text.left(at);
}

QString TextBefore(const QString& text, const QString& mark) {
    const int at = mark.isEmpty() ? -1 : text.indexOf(mark, 0, Qt::CaseInsensitive);
    return TrimBlank(at < 0 ? text : text.left(at));
}

QString ParentFolder(const QString& path) {
    const int at = std::max(path.lastIndexOf(u'\\'), path.lastIndexOf(u'/'));
    return at < 0 ? QString() : path.left(at);
}

namespace {

// Paths that come from the system's files use backslashes; the platform wants its own.
QString localPath(const QString& path) {
#ifdef Q_OS_WIN
    return path;
#else
    QString p = path;
    p.replace(u'\\', u'/');
    return p;
#endif
}

} // namespace

bool FolderExists(const QString& path) {
    QString p = localPath(path);
    if (p.size() > 1 && p.endsWith(u'/'))
        p.chop(1);
    if (p.isEmpty())
        return false;
    return QFileInfo(p).isDir();
}

bool FileExists(const QString& path) {
    const QString p = localPath(path);
    if (p.isEmpty() || !QFileInfo(p).isFile())
        return false;
    QFile file(p);
    return file.open(QIODevice::ReadOnly);
}

QString ControlName(int code) {
    static const char* const kNames[32] = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                                           "BS",  "TAB", "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                                           "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                                           "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    if (code < 0 || code > 31)
        return {};
    return u'(' + QLatin1String(kNames[code]) + u')';
}

QString Printable(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        if (c.unicode() < 32)
            out += ControlName(c.unicode());
        else
            out += c;
    }
    return out;
}

QString DialogFilter(const QString& filter) {
    if (!filter.contains(u'|'))
        return filter;
    const QStringList parts = filter.split(u'|');
    QStringList out;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString pattern = parts[i + 1];
        pattern.remove(u'(').remove(u')');
        const QString tail = QStringLiteral("(") + pattern + QStringLiteral(")");
        out << (parts[i].endsWith(tail) ? parts[i] : parts[i] + u' ' + tail);
    }
    return out.join(QStringLiteral(";;"));
}

} // namespace telvo::core
