#include "core/gamma/Gamma.h"

#include "core/text/Classic.h"

#include <cmath>

namespace telvo::core {

namespace {

[[noreturn]] void raiseDivision() {
    throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
}
[[noreturn]] void raiseInvalidCall() {
    throw RuntimeError(kInvalidCall, QStringLiteral("Invalid procedure call or argument"));
}
[[noreturn]] void raiseOverflow() {
    throw RuntimeError(kOverflow, QStringLiteral("Overflow"));
}

double divide(double a, double b) {
    if (b == 0)
        raiseDivision();
    const double q = a / b;
    if (!std::isfinite(q))
        raiseOverflow();
    return q;
}

double classicLog(double v) {
    if (!(v > 0))
        raiseInvalidCall();
    return std::log(v);
}

} // namespace

void GammaCells::clear() {
    m_cells.assign(size_t(kGammaRows) * kGammaColors, QString());
}

size_t GammaCells::index(int row, int color) {
    if (row < 0 || row >= kGammaRows || color < 0 || color >= kGammaColors)
        throw RuntimeError(kSubscript, QStringLiteral("Subscript out of range"));
    return size_t(row) * kGammaColors + size_t(color);
}

RefData EmptyRefData() {
    return RefData(kGammaRows, {0.0, 0.0, 0.0});
}

QString FormatCode(int code) {
    const QString digits = QString::number(std::abs(code)).rightJustified(4, u'0');
    return code < 0 ? QStringLiteral("-") + digits : digits;
}

QString FormatTenths(double value) {
    // As the classic format "0.0": the double is taken at 15 significant digits, then rounded to
    // tenths with halves away from zero. So 1 / 0.8 (1.2499999999999999 in binary) shows "1.3".
    const QString e = QString::number(std::fabs(value), 'e', 14); // d.dddddddddddddde+XX
    const QString digits = e.left(1) + e.mid(2, 14);
    const int keep = e.mid(e.indexOf(u'e') + 1).toInt() + 2; // digits up to the tenths
    if (keep > 15 || !std::isfinite(value))
        return QString::number(value, 'f', 1);
    qint64 tenths = 0;
    if (keep >= 0) {
        tenths = keep == 0 ? 0 : digits.left(keep).toLongLong();
        if (digits.at(keep) >= u'5')
            ++tenths;
    }
    // No "-0.0": a value that rounds to zero shows as zero.
    const QString s = QString::number(tenths / 10) + u'.' + QString::number(tenths % 10);
    return value < 0 && tenths != 0 ? QStringLiteral("-") + s : s;
}

double ClassicPow(double base, double exponent) {
    if (base == 0 && exponent < 0)
        raiseInvalidCall();
    if (base < 0 && exponent != std::floor(exponent))
        raiseInvalidCall();
    const double r = std::pow(base, exponent);
    if (!std::isfinite(r))
        raiseOverflow();
    return r;
}

Exponent SettleExponent(GammaInputs& in) {
    Exponent e;
    if (!in.useReference) {
        e.g = Val(in.txtGamma);
        return e;
    }
    if (in.txtDSPgamma.isEmpty()) {
        in.txtDSPgamma = FormatTenths(divide(1.0, in.sourceGamma));
    } else if (SameText(in.txtDSPgamma, QStringLiteral("Data"))) {
        e.referenceMode = true;
        return e;
    }
    e.g = divide(1.0, Val(in.txtDSPgamma) * in.sourceGamma);
    in.txtGamma = FormatTenths(e.g);
    return e;
}

qint16 GammaCode(int i, const Exponent& e, const RefData& ref, int colorOption,
                 double sourceGamma) {
    const double x = i / kGammaMax;
    double y = 0;
    if (!e.referenceMode) {
        y = ClassicPow(x, e.g);
    } else {
        const int c = colorOption == 0 ? 0 : colorOption - 1;
        if (c < 0 || c >= kGammaColors || i < 0 || i >= kGammaRows)
            throw RuntimeError(kSubscript, QStringLiteral("Subscript out of range"));
        const double r = ref[size_t(i)][size_t(c)] / kGammaMax;
        if (r == 0 || x == 0) {
            y = 0;
        } else if (x == 1) {
            y = 1;
        } else {
            const double d = divide(classicLog(r), classicLog(x));
            y = d == 0 ? 0 : ClassicPow(x, divide(1.0, d * sourceGamma));
        }
    }
    return CInt(y * kGammaMax);
}

void ComputeTable(const Exponent& e, const RefData& ref, int colorOption, double sourceGamma,
                  GammaCells& cells, const std::function<void(int)>& beforeRow) {
    for (int i = 0; i < kGammaRows; ++i) {
        if (beforeRow)
            beforeRow(i);
        const QString text = FormatCode(GammaCode(i, e, ref, colorOption, sourceGamma));
        if (colorOption == 0) {
            for (int c = 0; c < kGammaColors; ++c)
                cells.at(i, c) = text;
        } else {
            cells.at(i, colorOption - 1) = text;
        }
    }
}

} // namespace telvo::core
