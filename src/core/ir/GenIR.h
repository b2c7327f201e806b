#pragma once
// The IR language: forms and defines, the one built-in protocol, expansion of a form into signed
// durations and the Pronto hex line, and the evaluator of define expressions. Widget-free: the
// window hands in its inputs and receives messages and yields through two callbacks.

#include "core/text/Classic.h"

#include <QList>
#include <QString>
#include <array>
#include <functional>

namespace telvo::core::ir {

enum DefineKind : qint16 {
    KindNone = 0,
    KindNumber = 1,
    KindConstExpr = 2,
    KindVarExpr = 3,
    KindInput = 4,
    KindRaw = 5,
    KindGapTo = 6,
    KindValue = 7,
    KindChecksum = 8,
    KindInputSummed = 9,
};

struct DefineRec {
    QString Label;
    QString Text;
    double Value = 0;
    QString Chars;
    qint16 Kind = KindNone;
};

struct Pair {
    qint32 on = 0;
    qint32 off = 0;
};

// How txtValue is read; the first option set wins.
enum class ValueOption { None, Ascii, Dec, Hex, VAL };

// The three boxes of the window and its value option: what one generation reads.
struct IRInputs {
    QString FChex;
    QString FCdec;
    QString Value;
    ValueOption Option = ValueOption::None;
};

// The built-in forms.
extern const QString FormAbsolute;
extern const QString FormRelative;
extern const QString FormRemote;
extern const QString FormValue;
// The function code of the device's own remote: the one code above a byte a user may enter, and
// the code the remote form sends.
constexpr int kRemoteCode = 8324;
// A function code the window accepts: a byte, or the remote's.
constexpr bool IsFunctionCode(double code) {
    return !(code > 255 && code != kRemoteCode);
}
// Shown (as an alert) when a box is empty at generation.
extern const QString kMissingValue;

constexpr int kMaxSlots = 1000;

struct IRState {
    QList<DefineRec> Defines{DefineRec{}}; // row 0 exists, stays empty
    QString IRProtocol;
    QString CurrentProtocol;
    qint32 IRFrequency = 0;
    QList<Pair> BitOne;
    QList<Pair> BitZero;
    qint16 Unit = 0;
    std::array<QString, 2> ActiveForms;
    // Kept as protocol data; bits always go out least significant first.
    QString Encoding = QStringLiteral("PWM");
    QString BitOrder = QStringLiteral("LSB");

    qint32 IRDeviceCode = 0;
    qint32 IRFunctionCode = 0;
    QString IRValueText;
    qint32 IRExtension = 0; // nothing assigns it
    qint32 RunningTime = 0;
    // Slots 1..kMaxSlots; index 0 is never read or written (a subscript error instead).
    std::array<qint32, kMaxSlots + 1> Slots{};
    qint32 Count = 0;
    QList<qint32> Pronto; // the Pronto list, 0-based
    qint16 OnceCount = 0;
    qint16 RepeatCount = 0;
    QString ProntoText;

    // Informational message boxes; the yield of WriteProntoHex.
    std::function<void(const QString&)> Message;
    std::function<void()> Yield;
};

// The generator's numeric test (blanks after the sign, D exponents too).
inline bool IsNumeric(const QString& text) {
    return IsNumericText(text, NumericRule::IrGenerator);
}

// Forms and defines.
void InitIR(IRState& s);
void AddDefine(IRState& s, QString text, bool replace);
qint16 FindDefine(const IRState& s, const QString& label);
qint16 ClassifyDefine(IRState& s, int row);
QString NormalizeRaw(const IRState& s, const QString& text);
void PrepareDefines(IRState& s);
void ScanFormNames(IRState& s, QString form);

// Expansion.
qint16 ExpandForm(IRState& s, const QString& form, qint16 passes = 1);
void EmitBits(IRState& s, qint32 value, const QString& width, bool invert);
void EmitDefine(IRState& s, const QString& name, const QString& width, bool invert);
void EmitRaw(IRState& s, const QString& text);
void AppendPair(IRState& s, const QList<Pair>& pairs);
void AddToChecksum(IRState& s, qint32 value);
qint32 ChecksumByte(const IRState& s);
void ClearIRData(IRState& s);
void CollectIRData(IRState& s, const IRInputs& in);
QString WriteProntoHex(IRState& s);
double EffectiveFrequency(qint32 frequency);
qint16 ProntoCarrierWord(qint32 frequency);
// The whole path for one form: false (nothing generated) when one of the boxes is empty.
bool GenerateIR(IRState& s, const QString& form, const IRInputs& in, QString& output);

// Expressions.
qint32 EvalExpr(IRState& s, int row, const QString& name, bool useStored);
qint16 OpPriority(const QString& op);
double ExtractSpan(double value, qint16 first, qint16 last);

} // namespace telvo::core::ir
