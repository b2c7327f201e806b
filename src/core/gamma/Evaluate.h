#pragma once
// The small evaluator of reference formulas in X: + - * / ^ and brackets, one pass with an
// operator stack and a value stack. "^" ranks below "+" and "-", and "/" divides whole numbers;
// formulas are written for exactly this evaluator, so both stay as they are.

#include <QString>
#include <QStringList>
#include <QVector>

namespace telvo::core {

// Rank of an operator text; 0 for any text without one.
qint16 Priority(const QString& op);

// The two stacks, each with an unused bottom entry 0.
struct EvalStacks {
    QStringList ops{QString()};
    QVector<double> values{0.0};
};

// Applies the top operator to the two top values. Raises RuntimeError when a stack runs dry
// (subscript), on division by zero and on overflow.
void EvalOp(EvalStacks& s);

// Raises the run-time errors of EvalOp; Evaluate catches them.
double EvaluateOrRaise(const QString& functionText, double x);
// `functionText` at x; any run-time error inside makes the result 0.
double Evaluate(const QString& functionText, double x);

} // namespace telvo::core
