// Define expressions: one operator stack and one value stack over single-character tokens,
// 16-bit signed arithmetic between operators, left association.

#include "core/ir/GenIR.h"

#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

#include <QList>
#include <cmath>

namespace telvo::core::ir {

namespace {

// A recursion deeper than this is the run-time's "Out of stack space".
constexpr int kMaxDepth = 200;
constexpr int kOutOfStack = 28;
int g_depth = 0;

[[noreturn]] void subscriptError() {
    throw RuntimeError(kSubscript, QStringLiteral("Subscript out of range"));
}

// The stacks are 1-based in the design; reading an empty one is a subscript error.
template <typename T> T& top(QList<T>& stack) {
    if (stack.isEmpty())
        subscriptError();
    return stack.last();
}
template <typename T> void pop(QList<T>& stack) {
    if (stack.isEmpty())
        subscriptError();
    stack.removeLast();
}

qint16 checked16(qint64 v) {
    if (v < -32768 || v > 32767)
        throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
    return qint16(v);
}

void ApplyOp(QList<QChar>& ops, QList<double>& values) {
    const QChar op = top(ops);
    if (op == u'~') {
        double& v = top(values);
        v = -std::fabs(v);
        pop(ops);
        return;
    }
    const qint16 b = CInt(top(values));
    pop(values);
    const qint16 a = CInt(top(values));
    qint16 r = a;
    switch (op.unicode()) {
    case u'+':
        r = checked16(qint64(a) + b);
        break;
    case u'-':
        r = checked16(qint64(a) - b);
        break;
    case u'*':
        r = checked16(qint64(a) * b);
        break;
    case u'/':
        if (b == 0)
            throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
        r = checked16(qint64(a) / b);
        break;
    case u'@':
        r = CInt(std::pow(double(a), double(b)));
        break;
    case u'^':
        r = qint16(a ^ b);
        break;
    case u'&':
        r = qint16(a & b);
        break;
    case u'|':
        r = qint16(a | b);
        break;
    default:
        break;
    }
    top(values) = r;
    pop(ops);
}

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

qint32 evaluate(IRState& s, const QString& text, bool useStored) {
    QString str = text.toUpper();
    QList<QChar> ops;
    QList<double> values;
    qint16 acc = 0;
    bool hex = false;
    int i = 0;
    const int n = str.size();
    static const QString kOperators = QStringLiteral("+-*/@*^|~");
    while (i < n) {
        const QChar c = str.at(i++);
        if (kOperators.contains(c)) {
            if (ops.isEmpty() || ops.last() == u'(') {
                ops.append(c);
            } else {
                for (;;) {
                    if (ops.isEmpty() || OpPriority(QString(c)) > OpPriority(QString(ops.last()))) {
                        ops.append(c);
                        break;
                    }
                    ApplyOp(ops, values);
                }
            }
        } else if (c == u'(') {
            ops.append(c);
        } else if (c == u')') {
            while (top(ops) != u'(')
                ApplyOp(ops, values);
            pop(ops);
        } else if (isDigit(c)) {
            if (c == u'0' && acc == 0 && i < n && str.at(i) == u'X') {
                hex = true;
                ++i;
            } else {
                --i; // the digit is read again below
            }
            while (i < n && isDigit(str.at(i))) {
                const QChar d = str.at(i++);
                if (hex)
                    acc = checked16(qint64(acc) * 16 + HexDigitValue(d));
                else
                    acc = checked16(qint64(acc) * 10 + (d.unicode() - u'0'));
            }
            values.append(acc);
            acc = 0;
            hex = false;
        } else if (c >= u'A' && c <= u'Z') {
            const int row = FindDefine(s, QString(c));
            if (useStored)
                values.append(s.Defines.at(row).Value);
            else
                values.append(EvalExpr(s, row, QString(c), false));
        } else if (c == u'[') {
            const int p = str.indexOf(u']', i);
            if (p < 0) {
                if (s.Message)
                    s.Message(QStringLiteral(
                        "Error in evaluation of subspan in Defines, no ']' present"));
                continue;
            }
            const QString span = str.mid(i, p - i);
            i = p + 1;
            const int dots = span.indexOf(QStringLiteral(".."));
            const QString before = dots < 0 ? span : span.left(dots);
            const QString after = dots < 0 ? QString() : span.mid(dots + 2);
            const qint16 first = CInt(Val(before));
            const qint16 last = CInt(Val(after));
            double& v = top(values);
            v = ExtractSpan(v, first, last);
        }
        // Anything else, blanks and "&" among them, is skipped.
    }
    while (!ops.isEmpty())
        ApplyOp(ops, values);
    if (values.isEmpty())
        subscriptError();
    return CLng(values.first());
}

} // namespace

qint16 OpPriority(const QString& op) {
    if (op == u"&" || op == u"^" || op == u"|")
        return 2;
    if (op == u"+" || op == u"-")
        return 6;
    if (op == u"*" || op == u"/")
        return 8;
    if (op == u"@")
        return 10;
    if (op == u"~")
        return 12;
    return 0;
}

double ExtractSpan(double value, qint16 first, qint16 last) {
    qint16 mask = 0;
    for (int i = first - 1; i <= last - 1; ++i)
        mask = CInt(double(mask) + std::pow(2.0, i));
    const qint32 divisor = CLng(std::pow(2.0, first - 1));
    if (divisor == 0)
        throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
    const qint32 shifted = (CLng(value) & mask) / divisor; // truncating, as the design has it
    return CInt(shifted);
}

qint32 EvalExpr(IRState& s, int row, const QString& name, bool useStored) {
    if (FindDefine(s, name) == 0)
        return 0;
    if (row < 0 || row >= s.Defines.size())
        return 0;
    const QString text = s.Defines.at(row).Text;
    auto is = [&text](QStringView word) { return text.compare(word, Qt::CaseInsensitive) == 0; };
    if (is(u"DEVICE"))
        return s.IRDeviceCode;
    if (is(u"FUNCTION"))
        return s.IRFunctionCode;
    if (is(u"EXTENSION"))
        return s.IRExtension;
    qint32 result = 0;
    ++g_depth;
    try {
        if (g_depth > kMaxDepth)
            throw RuntimeError(kOutOfStack, QStringLiteral("Out of stack space"));
        if (IsNumeric(text))
            result = CLng(Val(text));
        else
            result = evaluate(s, text, useStored);
    } catch (const RuntimeError& e) {
        // Out of stack space unwinds the whole recursion, as the exhausted stack would; any
        // other error stops here. One catch-all: the number as a message, no partial result.
        if (e.number() == kOutOfStack && g_depth > 1) {
            --g_depth;
            throw;
        }
        if (s.Message)
            s.Message(QString::number(e.number()));
        result = 0;
    }
    --g_depth;
    return result;
}

} // namespace telvo::core::ir
