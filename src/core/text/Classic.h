#pragma once
// Numbers and text as the system counts them: Val, rounding ties to even, checked 16/32-bit
// integers, blank-only trimming, case-blind comparison. Written once, used by every layer.

#include <QString>
#include <stdexcept>

namespace telvo::core {

// The classic run-time errors the system leaves to "the general handling".
enum ErrorNumber { kOverflow = 6, kSubscript = 9, kDivisionByZero = 11 };

class RuntimeError : public std::runtime_error {
public:
    RuntimeError(int number, const QString& description);
    int number() const { return m_number; }
    QString description() const { return QString::fromStdString(what()); }

private:
    int m_number;
};

// Leading decimal number of a text (sign, digits, point, exponent); blanks and tabs are skipped
// as the classic Val does; 0 when the text starts with no number.
double Val(const QString& text);

// The classic numeric test: blanks (code 32) around, a sign, digits with at most one point (one
// digit at least), an exponent of E and digits. The IR generator's own test is looser: blanks
// may follow the sign and D marks an exponent too.
enum class NumericRule { Plain, IrGenerator };
bool IsNumericText(const QString& text, NumericRule rule = NumericRule::Plain);

// Float to integer: nearest, ties to even.
double RoundEven(double v);
// Checked conversions: overflow raises RuntimeError(kOverflow).
qint16 CInt(double v);
qint32 CLng(double v);
qint16 AddInt(qint16 a, qint16 b);

// Removes the blank (code 32) at both ends, never tabs.
QString TrimBlank(const QString& text);
QString TrimBlankLeft(const QString& text);
QString TrimBlankRight(const QString& text);

bool SameText(const QString& a, const QString& b);
bool ContainsText(const QString& haystack, const QString& needle);

// Classic Mid/Left/Right, 1-based, forgiving of lengths past the end.
QString Mid(const QString& text, int start, int length = -1);
QString Left(const QString& text, int length);
QString Right(const QString& text, int length);

// Classic CStr of a number: integers without a point, others in shortest form.
QString CStr(double v);

} // namespace telvo::core
