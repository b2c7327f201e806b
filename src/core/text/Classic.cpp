#include "core/text/Classic.h"

#include <cmath>
#include <limits>

namespace telvo::core {

RuntimeError::RuntimeError(int number, const QString& description)
    : std::runtime_error(description.toStdString()), m_number(number) {}

namespace {

[[noreturn]] void raiseOverflow() {
    throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
}

// The classic Val strips these wherever they stand, so "1 2" reads as 12.
bool isValBlank(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\n';
}

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

// "&H" and "&O" literals: results that fit 16 bits are read as a signed 16-bit number, the rest
// as a signed 32-bit one, as the classic Val does.
double radixVal(const QString& text, int i, int radix) {
    const int n = text.size();
    quint64 acc = 0;
    for (; i < n; ++i) {
        const QChar c = text.at(i);
        if (isValBlank(c))
            continue;
        int d = -1;
        if (isDigit(c))
            d = c.unicode() - u'0';
        else if (radix == 16 && c.toLower() >= u'a' && c.toLower() <= u'f')
            d = c.toLower().unicode() - u'a' + 10;
        if (d < 0 || d >= radix)
            break;
        acc = acc * radix + d;
        if (acc > 0xFFFFFFFFull)
            raiseOverflow();
    }
    if (acc <= 0xFFFF)
        return static_cast<qint16>(static_cast<quint16>(acc));
    return static_cast<qint32>(static_cast<quint32>(acc));
}

} // namespace

bool IsNumericText(const QString& text, NumericRule rule) {
    const bool loose = rule == NumericRule::IrGenerator;
    const qsizetype n = text.size();
    qsizetype i = 0;
    auto digit = [&](qsizetype k) { return k < n && text.at(k) >= u'0' && text.at(k) <= u'9'; };
    auto blanks = [&] {
        while (i < n && text.at(i) == u' ')
            ++i;
    };
    blanks();
    if (i < n && (text.at(i) == u'+' || text.at(i) == u'-')) {
        ++i;
        if (loose)
            blanks();
    }
    bool digits = false;
    while (digit(i))
        ++i, digits = true;
    if (i < n && text.at(i) == u'.') {
        ++i;
        while (digit(i))
            ++i, digits = true;
    }
    if (!digits)
        return false;
    if (i < n && QStringView(loose ? u"eEdD" : u"eE").contains(text.at(i))) {
        ++i;
        if (i < n && (text.at(i) == u'+' || text.at(i) == u'-'))
            ++i;
        if (!digit(i))
            return false;
        while (digit(i))
            ++i;
    }
    blanks();
    return i == n;
}

double Val(const QString& text) {
    const int n = text.size();
    int i = 0;
    auto skipBlanks = [&] {
        while (i < n && isValBlank(text.at(i)))
            ++i;
    };
    skipBlanks();
    if (i < n && text.at(i) == u'&' && i + 1 < n) {
        const QChar r = text.at(i + 1).toUpper();
        if (r == u'H')
            return radixVal(text, i + 2, 16);
        if (r == u'O')
            return radixVal(text, i + 2, 8);
        return 0;
    }

    QString number;
    if (i < n && (text.at(i) == u'+' || text.at(i) == u'-')) {
        number += text.at(i);
        ++i;
    }
    bool sawDigit = false;
    bool sawPoint = false;
    for (; i < n; ++i) {
        const QChar c = text.at(i);
        if (isValBlank(c))
            continue;
        if (isDigit(c)) {
            number += c;
            sawDigit = true;
        } else if (c == u'.' && !sawPoint) {
            number += c;
            sawPoint = true;
        } else {
            break;
        }
    }
    if (!sawDigit)
        return 0;

    // An exponent counts only when at least one digit follows the letter (and its sign).
    if (i < n && (text.at(i).toUpper() == u'E' || text.at(i).toUpper() == u'D')) {
        int j = i + 1;
        QString exponent = QStringLiteral("e");
        while (j < n && isValBlank(text.at(j)))
            ++j;
        if (j < n && (text.at(j) == u'+' || text.at(j) == u'-'))
            exponent += text.at(j++);
        bool expDigit = false;
        for (; j < n; ++j) {
            const QChar c = text.at(j);
            if (isValBlank(c))
                continue;
            if (!isDigit(c))
                break;
            exponent += c;
            expDigit = true;
        }
        if (expDigit)
            number += exponent;
    }

    // Overflow gives an infinity; underflow fails and reads as 0.
    bool ok = false;
    const double v = number.toDouble(&ok);
    if (std::isinf(v))
        raiseOverflow();
    return ok ? v : 0.0;
}

double RoundEven(double v) {
    if (!std::isfinite(v))
        return v;
    const double f = std::floor(v);
    const double d = v - f;
    if (d > 0.5)
        return f + 1;
    if (d < 0.5)
        return f;
    return std::fmod(f, 2.0) == 0.0 ? f : f + 1;
}

qint16 CInt(double v) {
    const double r = RoundEven(v);
    if (std::isnan(r) || r < -32768.0 || r > 32767.0)
        raiseOverflow();
    return static_cast<qint16>(r);
}

qint32 CLng(double v) {
    const double r = RoundEven(v);
    if (std::isnan(r) || r < -2147483648.0 || r > 2147483647.0)
        raiseOverflow();
    return static_cast<qint32>(r);
}

qint16 AddInt(qint16 a, qint16 b) {
    const int sum = int(a) + int(b);
    if (sum < std::numeric_limits<qint16>::min() || sum > std::numeric_limits<qint16>::max())
        raiseOverflow();
    return static_cast<qint16>(sum);
}

QString TrimBlankLeft(const QString& text) {
    int i = 0;
    while (i < text.size() && text.at(i) == u' ')
        ++i;
    return text.mid(i);
}

QString TrimBlankRight(const QString& text) {
    int n = text.size();
    while (n > 0 && text.at(n - 1) == u' ')
        --n;
    return text.left(n);
}

QString TrimBlank(const QString& text) {
    return TrimBlankLeft(TrimBlankRight(text));
}

bool SameText(const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

bool ContainsText(const QString& haystack, const QString& needle) {
    return haystack.contains(needle, Qt::CaseInsensitive);
}

QString Mid(const QString& text, int start, int length) {
    if (start < 1)
        start = 1;
    if (start > text.size())
        return {};
    if (length < 0)
        return text.mid(start - 1);
    return text.mid(start - 1, length);
}

QString Left(const QString& text, int length) {
    return length <= 0 ? QString() : text.left(length);
}

QString Right(const QString& text, int length) {
    return length <= 0 ? QString() : text.right(length);
}

QString CStr(double v) {
    if (v == 0)
        return QStringLiteral("0");
    if (std::isfinite(v) && v == std::trunc(v) && std::fabs(v) < 1e15)
        return QString::number(static_cast<qint64>(v));
    QString s = QString::number(v, 'g', 15);
    // The classic form of an exponent: "1E+20", "1E-05".
    const int e = s.indexOf(u'e');
    if (e >= 0) {
        QString mantissa = s.left(e);
        QString exponent = s.mid(e + 1);
        QChar sign = u'+';
        if (exponent.startsWith(u'-') || exponent.startsWith(u'+')) {
            sign = exponent.at(0);
            exponent.remove(0, 1);
        }
        while (exponent.size() < 2)
            exponent.prepend(u'0');
        s = mantissa + u'E' + sign + exponent;
    }
    return s;
}

} // namespace telvo::core
