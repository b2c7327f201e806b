#include "core/ir/GenIR.h"

#include "core/text/Ansi.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

#include <cmath>
#include <cstdlib>

namespace telvo::core::ir {

const QString FormAbsolute = QStringLiteral("[2600 -2600],D:8,F:8,E:8,[1760 -1760 560 -25]");
const QString FormRelative = QStringLiteral("[3450 -3450],D:8,F:8,E:8,[1760 -1760 560 -25]");
const QString FormRemote =
    QStringLiteral("[8900 -4425],d:16,f:8,-f:8,[575 -44925 8900 -2200 575 -4425]");
const QString FormValue = QStringLiteral("[2600 -2600],D:8,V:8,E:8,[1760 -1760 560 -25]");
const QString kMissingValue =
    QStringLiteral(" There is a required value missing (Function code or function Value).");

namespace {

[[noreturn]] void subscriptError() {
    throw RuntimeError(kSubscript, QStringLiteral("Subscript out of range"));
}

void message(IRState& s, const QString& text) {
    if (s.Message)
        s.Message(text);
}

// The slot at `i` of the fixed table 1..1000; anything else is the run-time's subscript error.
qint32& slotAt(IRState& s, qint32 i) {
    if (i < 1 || i > kMaxSlots)
        subscriptError();
    return s.Slots[static_cast<size_t>(i)];
}

qint32& lastSlot(IRState& s) {
    return slotAt(s, s.Count);
}

void append(IRState& s, qint32 v) {
    slotAt(s, s.Count + 1) = v;
    ++s.Count;
}

void addRunning(IRState& s, double v) {
    s.RunningTime = CLng(double(s.RunningTime) + std::fabs(v));
}

double numberOf(const QString& text) {
    return Val(text);
}

QString upper(const QString& t) {
    return t.toUpper();
}

bool is(const QString& text, QStringView word) {
    return text.compare(word, Qt::CaseInsensitive) == 0;
}

bool isMarker(const QString& item) {
    return is(item, u"R_") || is(item, u"R*") || item == u"_" || item == u"*";
}

} // namespace

qint16 FindDefine(const IRState& s, const QString& label) {
    for (int i = 1; i < s.Defines.size(); ++i)
        if (s.Defines.at(i).Label.compare(label, Qt::CaseInsensitive) == 0)
            return qint16(i);
    return 0;
}

void AddDefine(IRState& s, QString text, bool replace) {
    QString sep;
    if (upper(text).contains(QStringLiteral(" AS ")))
        sep = QStringLiteral(" AS ");
    else if (text.contains(u'='))
        sep = QStringLiteral("=");
    else {
        message(s, QStringLiteral("Badly formed DEFINES directive, '") + text + u'\'');
        return;
    }
    const QString label = upper(ParseToken(text, sep));
    const bool exists = FindDefine(s, label) > 0;
    if (!replace && exists) {
        message(s, QStringLiteral("Duplicate Definition for label ") + label);
        return;
    }
    if (!exists) {
        DefineRec r;
        r.Label = label;
        s.Defines.append(r);
    }
    const int row = FindDefine(s, label);
    s.Defines[row].Text = text;
    s.Defines[row].Kind = ClassifyDefine(s, row);
}

qint16 ClassifyDefine(IRState& s, int row) {
    DefineRec& d = s.Defines[row];
    const QString t = d.Text;
    const QString u = upper(t);
    if (u == u"DEVICE" || u == u"FUNCTION" || u == u"EXTENSION")
        return KindInput;
    if (u == u"VALUE")
        return KindValue;
    if (u == u"CHECKSUM")
        return KindChecksum;
    if (IsNumeric(t)) {
        d.Value = numberOf(t);
        return KindNumber;
    }
    if (t.startsWith(u'[') && t.endsWith(u']') && t.size() >= 2) {
        d.Text = NormalizeRaw(s, t.mid(1, t.size() - 2));
        return KindRaw;
    }
    if (t.startsWith(u'^')) {
        d.Value = numberOf(t.mid(1));
        return KindGapTo;
    }
    // An expression: it is variable as soon as it names an input or a variable expression.
    int i = 0;
    const int n = u.size();
    while (i < n) {
        const QChar c = u.at(i);
        if (c >= u'0' && c <= u'9') {
            ++i;
            if (c == u'0' && i < n && u.at(i) == u'X')
                ++i;
            while (i < n && u.at(i) >= u'0' && u.at(i) <= u'9')
                ++i;
            continue;
        }
        if (c >= u'A' && c <= u'Z') {
            const qint16 k = s.Defines.at(FindDefine(s, QString(c))).Kind;
            if (k == KindVarExpr || k == KindInput)
                return KindVarExpr;
        }
        ++i;
    }
    return KindConstExpr;
}

QString NormalizeRaw(const IRState& s, const QString& text) {
    QString rest = text;
    QStringList out;
    while (!rest.isEmpty()) {
        const QString entry = ParseToken(rest, QStringLiteral(" "));
        if (IsNumeric(entry) && std::fabs(numberOf(entry)) < s.Unit)
            out << CStr(numberOf(entry) * s.Unit);
        else
            out << entry;
    }
    return out.join(u' ');
}

void ScanFormNames(IRState& s, QString form) {
    QString kept; // the part of the last item with ":"
    while (!form.isEmpty()) {
        const QString item = ParseToken(form, QStringLiteral(","));
        if (item.contains(u':')) {
            QString part = upper(item.left(item.indexOf(u':')));
            if (part.startsWith(u'-') || part.startsWith(u'+'))
                part = part.mid(1);
            kept = part;
            if (IsNumeric(part) || FindDefine(s, part) > 0)
                continue;
            DefineRec r;
            r.Label = part;
            r.Text = part;
            r.Kind = KindNumber;
            s.Defines.append(r);
            continue;
        }
        if (isMarker(item) || item.startsWith(u'[') || item.endsWith(u'}'))
            continue;
        if (FindDefine(s, item) > 0)
            continue;
        // The name itself stays undefined: the row takes the last part with ":".
        DefineRec r;
        r.Label = kept;
        r.Text = kept;
        r.Kind = KindNumber;
        s.Defines.append(r);
    }
}

void PrepareDefines(IRState& s) {
    const QString& f1 = s.ActiveForms[0];
    const QString& f2 = s.ActiveForms[1];
    if (!f1.isEmpty() || !f2.isEmpty()) {
        if (!f1.isEmpty())
            ScanFormNames(s, f1);
        if (!f2.isEmpty() && f2 != f1)
            ScanFormNames(s, f2);
    } else {
        message(s, QStringLiteral("No form has beeen specified for ") + s.IRProtocol +
                       QStringLiteral(" Protocol"));
    }
    int device = 0, function = 0, checksum = 0;
    for (int i = 1; i < s.Defines.size(); ++i) {
        const QString u = upper(s.Defines.at(i).Text);
        if (u == u"DEVICE")
            device = i;
        if (u == u"FUNCTION")
            function = i;
        if (u == u"CHECKSUM")
            checksum = i;
    }
    const qint16 deviceKind = checksum > 0 ? KindInputSummed : KindInput;
    if (device == 0) {
        const int row = FindDefine(s, QStringLiteral("D"));
        if (row > 0) {
            DefineRec& d = s.Defines[row];
            if (upper(d.Text) == u"DEVICE" || upper(d.Text) == u"D") {
                d.Text = QStringLiteral("DEVICE");
                d.Kind = deviceKind;
            }
        } else {
            DefineRec r;
            r.Label = QStringLiteral("D");
            r.Text = QStringLiteral("DEVICE");
            r.Kind = deviceKind;
            s.Defines.append(r);
        }
    }
    if (function == 0) {
        int row = FindDefine(s, QStringLiteral("F"));
        if (row == 0) {
            DefineRec r;
            r.Label = QStringLiteral("F");
            s.Defines.append(r);
            row = int(s.Defines.size()) - 1;
        }
        s.Defines[row].Text = QStringLiteral("FUNCTION");
        s.Defines[row].Kind = KindInput;
    }
}

void InitIR(IRState& s) {
    s.Defines = QList<DefineRec>{DefineRec{}};
    s.IRProtocol = QStringLiteral("TELVODIR");
    s.CurrentProtocol = s.IRProtocol.toUpper();
    s.IRFrequency = 38380;
    AddDefine(s, QStringLiteral("E=Checksum"), false);
    AddDefine(s, QStringLiteral("V=Value"), false);
    s.ActiveForms = {FormAbsolute, QString()};
    s.BitOne = {Pair{575, -1700}};
    s.BitZero = {Pair{575, -550}};
    if (s.Unit == 0) {
        s.Unit = 1;
    } else {
        // A second load scales what lies below the unit, as a protocol with a unit would.
        for (QList<Pair>* list : {&s.BitOne, &s.BitZero})
            for (Pair& p : *list) {
                if (p.on < s.Unit)
                    p.on = CLng(double(p.on) * s.Unit);
                if (p.off < s.Unit)
                    p.off = CLng(double(p.off) * s.Unit);
            }
    }
    PrepareDefines(s);
}

// ---------------------------------------------------------------- expansion

void ClearIRData(IRState& s) {
    s.OnceCount = 0;
    s.RepeatCount = 0;
    s.Count = 0;
    s.Slots.fill(0);
    s.Pronto.clear();
}

void AppendPair(IRState& s, const QList<Pair>& pairs) {
    for (const Pair& p : pairs) {
        append(s, p.on);
        append(s, p.off);
        addRunning(s, p.on);
        addRunning(s, p.off);
    }
}

void EmitBits(IRState& s, qint32 value, const QString& width, bool invert) {
    const qint16 n = CInt(numberOf(width));
    for (int bit = 1; bit <= n; ++bit) {
        const qint32 mask = CLng(std::pow(2.0, bit - 1));
        bool one = (value & mask) != 0;
        if (invert)
            one = !one;
        AppendPair(s, one ? s.BitOne : s.BitZero);
    }
}

void AddToChecksum(IRState& s, qint32 value) {
    for (DefineRec& d : s.Defines)
        if (is(d.Text, u"CHECKSUM")) {
            d.Value += value;
            return;
        }
}

qint32 ChecksumByte(const IRState& s) {
    for (const DefineRec& d : s.Defines)
        if (is(d.Text, u"CHECKSUM"))
            return CLng(d.Value) & 255;
    return 0;
}

void EmitDefine(IRState& s, const QString& name, const QString& width, bool invert) {
    const int row = FindDefine(s, name);
    const DefineRec& d = s.Defines.at(row);
    switch (d.Kind) {
    case KindNumber:
    case KindConstExpr:
    case KindVarExpr:
    case KindInput:
    case KindInputSummed: {
        const qint32 value = EvalExpr(s, row, name, true);
        AddToChecksum(s, value);
        EmitBits(s, value, width, invert);
        break;
    }
    case KindRaw:
        EmitRaw(s, d.Text);
        break;
    case KindGapTo: {
        const qint32 t = CLng(d.Value);
        if (lastSlot(s) > 0) {
            if (s.Count + 1 > kMaxSlots)
                subscriptError();
            ++s.Count;
        }
        lastSlot(s) = CLng(double(s.RunningTime) - t);
        s.RunningTime = 0;
        break;
    }
    case KindValue: {
        const QString chars = d.Chars;
        for (const QChar ch : chars) {
            const qint32 c = AnsiCode(ch);
            AddToChecksum(s, c);
            EmitBits(s, c, width, invert);
        }
        break;
    }
    case KindChecksum:
        EmitBits(s, ChecksumByte(s), width, invert);
        break;
    default:
        break; // markers and unknown names
    }
}

void EmitRaw(IRState& s, const QString& text) {
    QString rest = text;
    while (!rest.isEmpty()) {
        const QString entry = ParseToken(rest, QStringLiteral(" "));
        if (entry.startsWith(u'^')) {
            if (lastSlot(s) > 0) {
                if (s.Count + 1 > kMaxSlots)
                    subscriptError();
                ++s.Count;
            }
            const double n = numberOf(entry.mid(1));
            qint32& last = lastSlot(s);
            last = CLng(-std::fabs(n - s.RunningTime - last));
            s.RunningTime = 0;
        } else if (entry.startsWith(u'#')) {
            if (lastSlot(s) > 0) {
                if (s.Count + 1 > kMaxSlots)
                    subscriptError();
                ++s.Count;
            }
            lastSlot(s) = CLng(std::fabs(numberOf(entry.mid(1))));
            s.RunningTime = 0;
        } else if (IsNumeric(entry)) {
            qint32 v = CLng(numberOf(entry));
            if (std::abs(qint64(v)) < s.Unit)
                v = CLng(double(v) * s.Unit);
            append(s, v);
            addRunning(s, v);
        } else {
            const int row = FindDefine(s, entry);
            if (row == 0) {
                message(s, QStringLiteral("Name ") + entry +
                               QStringLiteral(" Is not defined in the Defines Tables"));
                continue;
            }
            const DefineRec& d = s.Defines.at(row);
            switch (d.Kind) {
            case KindNone:
                message(s,
                        QStringLiteral("Name ") + entry + QStringLiteral(" has no defined value"));
                append(s, 0);
                break;
            case KindNumber:
            case KindInput: {
                const qint32 v = CLng(d.Value);
                append(s, v);
                addRunning(s, v);
                break;
            }
            case KindRaw:
                message(s, QStringLiteral("Raw data may not be embedded in raw data"));
                append(s, 0);
                break;
            case KindGapTo: {
                const double gap = -(d.Value - s.RunningTime);
                if (lastSlot(s) < 1) {
                    qint32& last = lastSlot(s);
                    last = CLng(gap - last);
                } else {
                    append(s, CLng(gap));
                }
                s.RunningTime = 0;
                break;
            }
            default:
                message(s, QStringLiteral("Name ") + entry + QStringLiteral(" type=") +
                               QString::number(d.Kind) + QStringLiteral(" has no defined meaning"));
                append(s, 0);
                break;
            }
        }
    }
}

qint16 ExpandForm(IRState& s, const QString& form, qint16 passes) {
    for (DefineRec& d : s.Defines) {
        if (is(d.Text, u"DEVICE"))
            d.Value = s.IRDeviceCode;
        else if (is(d.Text, u"FUNCTION"))
            d.Value = s.IRFunctionCode;
        else if (is(d.Text, u"VALUE")) {
            d.Value = s.IRFunctionCode;
            d.Chars = s.IRValueText;
        } else if (is(d.Text, u"EXTENSION"))
            d.Value = s.IRExtension;
        else if (is(d.Text, u"CHECKSUM"))
            d.Value = 0;
    }
    s.Slots.fill(0);
    s.Count = 0;
    for (int pass = 0; pass < passes; ++pass) {
        s.RunningTime = 0;
        QString copy = form;
        while (!copy.isEmpty()) {
            QString item = ParseToken(copy, QStringLiteral(","));
            if (item.startsWith(u'[')) {
                EmitRaw(s, TrimBlank(item.size() >= 2 ? item.mid(1, item.size() - 2) : QString()));
                continue;
            }
            const bool invert = item.startsWith(u'-') || item.startsWith(u'~');
            if (invert)
                item = item.mid(1);
            const QString name = ParseToken(item, QStringLiteral(":"));
            if (IsNumeric(name))
                EmitBits(s, CLng(numberOf(name)), item, invert);
            else
                EmitDefine(s, name, item, invert);
        }
    }
    return qint16(s.Count);
}

void CollectIRData(IRState& s, const IRInputs& in) {
    s.OnceCount = 0;
    s.RepeatCount = 0;
    s.IRDeviceCode = CLng(numberOf(in.FCdec));
    switch (in.Option) {
    case ValueOption::Ascii:
        s.IRFunctionCode = in.Value.isEmpty() ? 0 : AnsiCode(in.Value.at(0));
        break;
    case ValueOption::Dec:
        s.IRFunctionCode = CLng(numberOf(in.Value));
        break;
    case ValueOption::Hex:
        s.IRFunctionCode = qint32(HexToLong(in.Value));
        break;
    case ValueOption::VAL:
        s.IRValueText = in.Value;
        break;
    case ValueOption::None:
        break;
    }
    const qint16 n = ExpandForm(s, s.ActiveForms[0], 1);
    for (int i = 1; i <= n; ++i)
        s.Pronto.append(s.Slots[static_cast<size_t>(i)]);
    s.OnceCount = n;
}

double EffectiveFrequency(qint32 frequency) {
    const qint32 k = CLng(double(frequency) * 0.241246);
    if (k == 0)
        throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
    const qint32 word = 1000000 / k; // integer division, truncating
    const qint16 w = CInt(word);
    const qint32 m = CLng(double(w) * 0.241246);
    if (m == 0)
        throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
    const qint32 effective = 1000000 / m;
    return effective;
}

qint16 ProntoCarrierWord(qint32 frequency) {
    if (frequency < 1)
        return 0;
    const qint32 k = CLng(double(frequency) * 0.241246);
    if (k == 0)
        throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
    const qint32 word = 1000000 / k; // integer division, truncating
    return CInt(word);
}

QString WriteProntoHex(IRState& s) {
    if (s.Yield)
        s.Yield();
    const qint32 eff = CLng(EffectiveFrequency(s.IRFrequency));
    if (eff == 0)
        throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
    const qint32 period = 1000000 / eff;
    if (period == 0)
        throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
    const qint16 carrier = ProntoCarrierWord(s.IRFrequency);
    const qint16 once = CInt(RoundEven(s.OnceCount / 2.0));
    const qint16 repeat = CInt(RoundEven(s.RepeatCount / 2.0));
    // Each duration in carrier periods, rounded half away from zero, as the picture "0" does.
    // The line is built in bytes: the digits and blanks are ASCII.
    QByteArray head = "0000 ";
    head.reserve(24 + 5 * s.Pronto.size());
    QByteArray decimal;
    decimal.reserve(6 * s.Pronto.size());
    auto hex4 = [&head](qint64 v) {
        char digits[20];
        int k = 0;
        do {
            digits[k++] = "0123456789ABCDEF"[v % 16];
            v /= 16;
        } while (v != 0);
        for (int pad = k; pad < 4; ++pad)
            head += '0';
        while (k > 0)
            head += digits[--k];
        head += ' ';
    };
    hex4(carrier);
    hex4(once);
    hex4(repeat);
    for (const qint32 d : std::as_const(s.Pronto)) {
        const qint64 words = qint64(std::floor(std::fabs(double(d)) / period + 0.5));
        decimal += QByteArray::number(words) + ' ';
        hex4(words);
    }
    s.ProntoText = QString::fromLatin1(decimal);
    return TrimBlank(QString::fromLatin1(head));
}

bool GenerateIR(IRState& s, const QString& form, const IRInputs& in, QString& output) {
    if (in.FChex.isEmpty() || in.FCdec.isEmpty() || in.Value.isEmpty())
        return false;
    s.ActiveForms[0] = form;
    ClearIRData(s);
    CollectIRData(s, in);
    output = WriteProntoHex(s);
    return true;
}

} // namespace telvo::core::ir
