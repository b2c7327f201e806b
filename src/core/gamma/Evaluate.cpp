#include "core/gamma/Evaluate.h"

#include "core/gamma/Gamma.h"
#include "core/text/Classic.h"

#include <cmath>
#include <limits>

namespace telvo::core {

namespace {

[[noreturn]] void raiseSubscript() {
    throw RuntimeError(kSubscript, QStringLiteral("Subscript out of range"));
}

// The bottom entry is a mark, never a value: taking it means the formula ran out of operands.
double popValue(EvalStacks& s) {
    if (s.values.size() <= 1)
        raiseSubscript();
    return s.values.takeLast();
}

QString popOp(EvalStacks& s) {
    if (s.ops.size() <= 1)
        raiseSubscript();
    return s.ops.takeLast();
}

bool isOperator(QChar c) {
    return c == u'+' || c == u'-' || c == u'*' || c == u'/' || c == u'^';
}

bool isNumberChar(QChar c) {
    return (c >= u'0' && c <= u'9') || c == u'.';
}

} // namespace

qint16 Priority(const QString& op) {
    if (op == QLatin1String("&") || op == QLatin1String("^") || op == QLatin1String("|"))
        return 2;
    if (op == QLatin1String("+") || op == QLatin1String("-"))
        return 6;
    if (op == QLatin1String("*") || op == QLatin1String("/"))
        return 8;
    if (op == QLatin1String("@"))
        return 10;
    if (op == QLatin1String("~"))
        return 12;
    return 0;
}

void EvalOp(EvalStacks& s) {
    const double right = popValue(s);
    const double left = popValue(s);
    const QString op = popOp(s);
    double result = 0;
    if (op == QLatin1String("+")) {
        result = left + right;
    } else if (op == QLatin1String("-")) {
        result = left - right;
    } else if (op == QLatin1String("*")) {
        result = left * right;
    } else if (op == QLatin1String("/")) {
        // Whole-number division, as the formulas were written for.
        const qint32 a = CLng(left);
        const qint32 b = CLng(right);
        if (b == 0)
            throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
        if (a == std::numeric_limits<qint32>::min() && b == -1)
            throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
        result = a / b; // NOLINT(bugprone-integer-division): whole numbers, as written
    } else if (op == QLatin1String("^")) {
        result = ClassicPow(left, right);
    }
    if (!std::isfinite(result))
        throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
    s.values.append(result);
}

double EvaluateOrRaise(const QString& functionText, double x) {
    EvalStacks s;
    const int n = int(functionText.size());
    for (int i = 0; i < n; ++i) {
        const QChar c = functionText.at(i);
        if (isOperator(c)) {
            const QString op(c);
            if (s.ops.size() > 1 && s.ops.last() != QLatin1String("(")) {
                // Equal ranks leave the loop only by evaluation: left to right.
                while (s.ops.size() > 1 && Priority(op) <= Priority(s.ops.last()))
                    EvalOp(s);
            }
            s.ops.append(op);
        } else if (c == u'(') {
            s.ops.append(QStringLiteral("("));
        } else if (c == u')') {
            while (s.ops.last() != QLatin1String("("))
                EvalOp(s);
            popOp(s);
        } else if (isNumberChar(c)) {
            int j = i;
            while (j < n && isNumberChar(functionText.at(j)))
                ++j;
            // A second point ends the number there, as the classic conversion reads it.
            s.values.append(Val(functionText.mid(i, j - i)));
            i = j - 1;
        } else if (c == u'X' || c == u'x') {
            s.values.append(x);
        }
    }
    while (s.ops.size() > 1)
        EvalOp(s);
    if (s.values.size() < 2)
        raiseSubscript();
    return s.values.at(1);
}

double Evaluate(const QString& functionText, double x) {
    try {
        return EvaluateOrRaise(functionText, x);
    } catch (const RuntimeError&) {
        return 0;
    }
}

} // namespace telvo::core
