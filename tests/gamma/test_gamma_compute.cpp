// Gamma tables: the power curve, the correction against a display's reference data, the colour
// choice and the formula evaluator, checked against the curves computed here in double precision.

#include "core/gamma/Evaluate.h"
#include "core/gamma/Gamma.h"
#include "core/gamma/GammaFiles.h"
#include "core/text/Classic.h"

#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>

using namespace telvo::core;

namespace {

// The rounding of the table: to nearest, ties to even, done here with the C library.
int roundEven(double v) {
    std::fesetround(FE_TONEAREST);
    return int(std::nearbyint(v));
}

int powerCode(int i, double g) {
    return roundEven(1023.0 * std::pow(i / 1023.0, g));
}

int referenceCode(int i, double refValue, double sourceGamma) {
    const double x = i / 1023.0;
    const double r = refValue / 1023.0;
    if (r == 0 || x == 0)
        return 0;
    if (x == 1)
        return 1023;
    const double d = std::log(r) / std::log(x);
    if (d == 0)
        return 0;
    return roundEven(1023.0 * std::pow(x, 1.0 / (d * sourceGamma)));
}

Exponent plain(double g) {
    return Exponent{false, g};
}
Exponent data() {
    return Exponent{true, 0};
}

// A display whose colours differ: red 2.2, green 2.4, blue 1.8, with a dip to 0 in red.
RefData sampleDisplay() {
    RefData ref = EmptyRefData();
    for (int i = 0; i < kGammaRows; ++i) {
        const double x = i / 1023.0;
        ref[size_t(i)] = {1023.0 * std::pow(x, 2.2), 1023.0 * std::pow(x, 2.4),
                          1023.0 * std::pow(x, 1.8)};
    }
    ref[100][0] = 0;
    return ref;
}

GammaCells filled(const QString& text) {
    GammaCells cells;
    for (int i = 0; i < kGammaRows; ++i)
        for (int c = 0; c < kGammaColors; ++c)
            cells.at(i, c) = text;
    return cells;
}

} // namespace

TEST(GammaTable, UnitExponentGivesEveryInputItsOwnCode) {
    GammaCells cells;
    ComputeTable(plain(1.0), EmptyRefData(), 0, 0.45, cells);
    for (int i = 0; i < kGammaRows; ++i)
        for (int c = 0; c < kGammaColors; ++c)
            ASSERT_EQ(cells.at(i, c), FormatCode(i));
    EXPECT_EQ(cells.at(0, 0), QStringLiteral("0000"));
    EXPECT_EQ(cells.at(1023, 2), QStringLiteral("1023"));
}

TEST(GammaTable, EndsAreZeroAndFullForAnyPositiveExponent) {
    for (double g : {0.01, 0.45, 1.0, 2.2, 7.5, 40.0}) {
        EXPECT_EQ(GammaCode(0, plain(g), EmptyRefData(), 0, 0.45), 0) << g;
        EXPECT_EQ(GammaCode(1023, plain(g), EmptyRefData(), 0, 0.45), 1023) << g;
    }
}

TEST(GammaTable, WorkedRowRoundsToNearest) {
    EXPECT_EQ(GammaCode(256, plain(0.5), EmptyRefData(), 0, 0.45), 512);
}

TEST(GammaTable, PowerCurveMatchesClosedFormForSeveralExponents) {
    for (double g : {0.45, 1.0 / 2.2, 1.0101, 1.8, 2.2, 2.4, 3.0}) {
        for (int option = 0; option <= 3; ++option) {
            GammaCells cells;
            ComputeTable(plain(g), EmptyRefData(), option, 0.45, cells);
            for (int i = 0; i < kGammaRows; ++i) {
                for (int c = 0; c < kGammaColors; ++c) {
                    const bool written = option == 0 || c == option - 1;
                    ASSERT_EQ(cells.at(i, c), written ? FormatCode(powerCode(i, g)) : QString())
                        << "g " << g << " option " << option << " row " << i << " col " << c;
                }
            }
        }
    }
}

TEST(GammaTable, ReferenceCorrectionMatchesClosedFormForEachColour) {
    const RefData ref = sampleDisplay();
    for (double sg : {0.45, 0.5, 1.0 / 2.2}) {
        for (int option = 0; option <= 3; ++option) {
            GammaCells cells;
            ComputeTable(data(), ref, option, sg, cells);
            // All uses red's reference for every column.
            const int source = option == 0 ? 0 : option - 1;
            for (int i = 0; i < kGammaRows; ++i) {
                const QString expected =
                    FormatCode(referenceCode(i, ref[size_t(i)][size_t(source)], sg));
                for (int c = 0; c < kGammaColors; ++c) {
                    const bool written = option == 0 || c == option - 1;
                    ASSERT_EQ(cells.at(i, c), written ? expected : QString())
                        << "sg " << sg << " option " << option << " row " << i;
                }
            }
        }
    }
}

TEST(GammaTable, ReferenceEqualToInputGivesTheSourceGammaInverse) {
    RefData ref = EmptyRefData();
    for (int i = 0; i < kGammaRows; ++i)
        ref[size_t(i)][0] = i;
    GammaCells cells;
    ComputeTable(data(), ref, 1, 0.45, cells);
    for (int i = 0; i < kGammaRows; ++i)
        ASSERT_EQ(cells.at(i, 0), FormatCode(roundEven(1023.0 * std::pow(i / 1023.0, 1 / 0.45))));
    EXPECT_NEAR(1 / (1.0 * 0.45), 2.2222, 1e-4);
    EXPECT_EQ(cells.at(512, 0),
              FormatCode(roundEven(1023.0 * std::pow(512 / 1023.0, 2.2222222222))));
}

TEST(GammaTable, ReferenceZeroOrInputZeroGivesCodeZero) {
    const RefData ref = sampleDisplay();
    EXPECT_EQ(GammaCode(100, data(), ref, 1, 0.45), 0); // reference 0
    EXPECT_EQ(GammaCode(0, data(), ref, 2, 0.45), 0);   // input 0
    EXPECT_EQ(GammaCode(1023, data(), ref, 3, 0.45), 1023);
    // A flat display at full output: local gamma 0, code 0.
    RefData flat = EmptyRefData();
    for (auto& row : flat)
        row = {1023, 1023, 1023};
    EXPECT_EQ(GammaCode(500, data(), flat, 0, 0.45), 0);
}

TEST(GammaTable, GreenOnlyLeavesRedAndBlueAsTheyWere) {
    GammaCells cells = filled(QStringLiteral("0777"));
    ComputeTable(plain(2.2), EmptyRefData(), 2, 0.45, cells);
    for (int i = 0; i < kGammaRows; ++i) {
        ASSERT_EQ(cells.at(i, 0), QStringLiteral("0777"));
        ASSERT_EQ(cells.at(i, 1), FormatCode(powerCode(i, 2.2)));
        ASSERT_EQ(cells.at(i, 2), QStringLiteral("0777"));
    }
}

TEST(GammaTable, ZeroExponentGivesFullCodeEverywhere) {
    for (int i : {0, 1, 512, 1023})
        EXPECT_EQ(GammaCode(i, plain(0), EmptyRefData(), 0, 0.45), 1023);
}

TEST(GammaTable, ErrorStopsTheTableWhereItStands) {
    // A negative exponent overflows the 16-bit code at the second row.
    GammaCells cells = filled(QStringLiteral("x"));
    try {
        ComputeTable(plain(-1), EmptyRefData(), 0, 0.45, cells);
        FAIL() << "no run-time error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kInvalidCall); // 0 to a negative power, at row 0
    }
    EXPECT_EQ(cells.at(0, 0), QStringLiteral("x"));
    cells = filled(QStringLiteral("x"));
    EXPECT_THROW(ComputeTable(plain(-0.5), EmptyRefData(), 1, 0.45, cells), RuntimeError);
    // A display gamma of 0 in reference mode: 1 / 0 at the first row with data.
    RefData ref = sampleDisplay();
    cells = filled(QStringLiteral("x"));
    try {
        ComputeTable(data(), ref, 2, 0.0, cells);
        FAIL() << "no run-time error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kDivisionByZero);
    }
    EXPECT_EQ(cells.at(0, 1), QStringLiteral("0000"));
    EXPECT_EQ(cells.at(1, 1), QStringLiteral("x"));
}

TEST(GammaTable, RowsAreYieldedBeforeEachIsWritten) {
    GammaCells cells;
    int calls = 0;
    ComputeTable(plain(1), EmptyRefData(), 0, 0.45, cells, [&](int i) {
        EXPECT_EQ(i, calls);
        if (i > 0) {
            EXPECT_EQ(cells.at(i - 1, 0), FormatCode(i - 1));
        }
        EXPECT_TRUE(cells.at(i, 0).isEmpty());
        ++calls;
    });
    EXPECT_EQ(calls, kGammaRows);
}

TEST(GammaTable, CodesAreFourDigits) {
    EXPECT_EQ(FormatCode(0), QStringLiteral("0000"));
    EXPECT_EQ(FormatCode(7), QStringLiteral("0007"));
    EXPECT_EQ(FormatCode(1023), QStringLiteral("1023"));
    EXPECT_EQ(FormatCode(4767), QStringLiteral("4767"));
    EXPECT_EQ(FormatCode(-5), QStringLiteral("-0005"));
}

// The first step: the exponent and the texts of the boxes.

TEST(GammaExponent, PlainReadsTheScalarGamma) {
    GammaInputs in{false, QStringLiteral("1.8"), QStringLiteral("2.2"), 0.45};
    const Exponent e = SettleExponent(in);
    EXPECT_FALSE(e.referenceMode);
    EXPECT_DOUBLE_EQ(e.g, 1.8);
    EXPECT_EQ(in.txtGamma, QStringLiteral("1.8"));
    GammaInputs junk{false, QStringLiteral("abc"), QString(), 0.45};
    EXPECT_DOUBLE_EQ(SettleExponent(junk).g, 0);
}

TEST(GammaExponent, EmptyDisplayGammaIsFilledFromTheSource) {
    GammaInputs in{true, QStringLiteral("3.3"), QString(), 0.45};
    const Exponent e = SettleExponent(in);
    EXPECT_EQ(in.txtDSPgamma, QStringLiteral("2.2"));
    EXPECT_EQ(in.txtGamma, QStringLiteral("1.0"));
    EXPECT_NEAR(e.g, 1 / (2.2 * 0.45), 1e-12);
    EXPECT_NEAR(e.g, 1.0101, 1e-4);
}

TEST(GammaExponent, DisplayGammaSetsTheScalarGammaRoundedInTextOnly) {
    GammaInputs in{true, QString(), QStringLiteral("1.6"), 0.45};
    const Exponent e = SettleExponent(in);
    EXPECT_EQ(in.txtGamma, QStringLiteral("1.4"));
    EXPECT_NEAR(e.g, 1 / (1.6 * 0.45), 1e-12);
}

TEST(GammaExponent, DataInAnyCaseMeansReferenceMode) {
    for (const char* word : {"Data", "DATA", "data"}) {
        GammaInputs in{true, QStringLiteral("1.0"), QString::fromLatin1(word), 0.45};
        EXPECT_TRUE(SettleExponent(in).referenceMode);
        EXPECT_EQ(in.txtGamma, QStringLiteral("1.0"));
    }
}

TEST(GammaExponent, ZeroSourceOrDisplayGammaIsDivisionByZero) {
    GammaInputs noSource{true, QString(), QString(), 0.0};
    try {
        SettleExponent(noSource);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kDivisionByZero);
    }
    GammaInputs noDisplay{true, QString(), QStringLiteral("0"), 0.45};
    EXPECT_THROW(SettleExponent(noDisplay), RuntimeError);
}

// The evaluator.

struct EvalCase {
    const char* text;
    double x;
    double result;
};

class Evaluator : public ::testing::TestWithParam<EvalCase> {};

TEST_P(Evaluator, GivesTheExpectedValue) {
    const EvalCase& c = GetParam();
    EXPECT_DOUBLE_EQ(Evaluate(QString::fromLatin1(c.text), c.x), c.result) << c.text;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Evaluator,
    ::testing::Values(
        // Power ranks below addition: X^2+1 is X to the power of 3.
        EvalCase{"X^2+1", 0.5, 0.125}, EvalCase{"X*2", 0.25, 0.5}, EvalCase{"(X+1)*2", 0, 2},
        EvalCase{"3/2", 0, 1}, EvalCase{"x * 2", 0.25, 0.5}, EvalCase{"X^0.5", 0.25, 0.5},
        // Integer division: operands rounded ties to even, quotient toward zero.
        EvalCase{"X/2", 0.4, 0}, EvalCase{"7/2", 0, 3}, EvalCase{"2.5/1", 0, 2},
        EvalCase{"3.5/1", 0, 4}, EvalCase{"0-7/2", 0, -3}, EvalCase{"1/X", 0.4, 0},
        EvalCase{"1/X", 0.6, 1},
        // Equal ranks left to right; * above + and -.
        EvalCase{"10-2-3", 0, 5}, EvalCase{"2+3*4", 0, 14}, EvalCase{"2*3+4", 0, 10},
        EvalCase{"2^3^2", 0, 64}, EvalCase{"(2+3)*(1+1)", 0, 10},
        // Unknown characters are dropped; a second point ends the number.
        EvalCase{"1.5.5+1", 0, 2.5}, EvalCase{"2&3", 0, 2}, EvalCase{"a b c", 0, 0},
        EvalCase{"X", 0.3, 0.3}, EvalCase{"  42  ", 0, 42}, EvalCase{".", 0, 0},
        // Run-time errors give 0.
        EvalCase{"", 0.5, 0}, EvalCase{"1/0", 0, 0}, EvalCase{"-X", 0.5, 0}, EvalCase{"X+", 0.5, 0},
        EvalCase{")", 0, 0}, EvalCase{"(X+1", 0.5, 0}, EvalCase{"0^0-1", 0, 0},
        EvalCase{"0^(0-1)", 0, 0}, EvalCase{"(0-8)^0.5", 0, 0}, EvalCase{"10^400", 0, 0},
        EvalCase{"99999999999/1", 0, 0}));

TEST(Evaluator, RanksOfTheOperators) {
    EXPECT_EQ(Priority(QStringLiteral("&")), 2);
    EXPECT_EQ(Priority(QStringLiteral("^")), 2);
    EXPECT_EQ(Priority(QStringLiteral("|")), 2);
    EXPECT_EQ(Priority(QStringLiteral("+")), 6);
    EXPECT_EQ(Priority(QStringLiteral("-")), 6);
    EXPECT_EQ(Priority(QStringLiteral("*")), 8);
    EXPECT_EQ(Priority(QStringLiteral("/")), 8);
    EXPECT_EQ(Priority(QStringLiteral("@")), 10);
    EXPECT_EQ(Priority(QStringLiteral("~")), 12);
    EXPECT_EQ(Priority(QString()), 0);
    EXPECT_EQ(Priority(QStringLiteral("(")), 0);
}

TEST(Evaluator, EvalOpAppliesTheTopOperatorToTheTwoTopValues) {
    EvalStacks s;
    s.values << 8 << 3;
    s.ops << QStringLiteral("-");
    EvalOp(s);
    EXPECT_EQ(s.values, (QVector<double>{0, 5}));
    EXPECT_EQ(s.ops, QStringList{QString()});
    try {
        EvalOp(s);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kSubscript);
    }
}

TEST(Evaluator, DivisionByZeroIsRaisedInsideAndZeroOutside) {
    try {
        EvaluateOrRaise(QStringLiteral("X/0"), 1);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kDivisionByZero);
    }
    EXPECT_EQ(Evaluate(QStringLiteral("X/0"), 1), 0);
}

TEST(Evaluator, EmptyFunctionTextIsSkippedByTheReference) {
    Reference ref;
    ref.DSPrefData[5][1] = 123.5;
    ref.FunctionText = {QStringLiteral("X"), QString(), QStringLiteral("X*2")};
    ApplyReference(ref);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[5][1], 123.5);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[5][0], 5);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[5][2], 10);
}

// The classic "0.0": 15 significant digits, then halves away from zero.
TEST(GammaFormat, TenthsRoundAsTheClassicFormat) {
    EXPECT_EQ(telvo::core::FormatTenths(1 / 0.8),
              QStringLiteral("1.3")); // 1.2499999999999999 in binary
    EXPECT_EQ(telvo::core::FormatTenths(1.25), QStringLiteral("1.3"));
    EXPECT_EQ(telvo::core::FormatTenths(1.35), QStringLiteral("1.4"));
    EXPECT_EQ(telvo::core::FormatTenths(1 / 0.45), QStringLiteral("2.2"));
    EXPECT_EQ(telvo::core::FormatTenths(-1.25), QStringLiteral("-1.3"));
    EXPECT_EQ(telvo::core::FormatTenths(-0.04), QStringLiteral("0.0"));
    EXPECT_EQ(telvo::core::FormatTenths(0.05), QStringLiteral("0.1"));
    EXPECT_EQ(telvo::core::FormatTenths(0.04), QStringLiteral("0.0"));
    EXPECT_EQ(telvo::core::FormatTenths(0.0), QStringLiteral("0.0"));
    EXPECT_EQ(telvo::core::FormatTenths(9.96), QStringLiteral("10.0"));
    EXPECT_EQ(telvo::core::FormatTenths(123.45), QStringLiteral("123.5"));
}
