// The IR language: forms, defines, the built-in protocol, expansion to Pronto hex and the
// expression evaluator, over the widget-free core.

#include "core/ir/GenIR.h"
#include "core/text/Classic.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <ostream>

inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

using namespace telvo::core;
using namespace telvo::core::ir;

namespace {

// Pronto words of one bit, as the worked examples give them: 575/-1700 for a 1, 575/-550 for a 0.
QString bitsWords(const char* bits) {
    QStringList w;
    for (const char* p = bits; *p; ++p) {
        if (*p == ' ')
            continue;
        w << QStringLiteral("0016")
          << (*p == '1' ? QStringLiteral("0041") : QStringLiteral("0015"));
    }
    return w.join(u' ');
}

class IR : public ::testing::Test {
protected:
    void SetUp() override {
        s.Message = [this](const QString& m) { messages << m; };
        s.Yield = [this] { ++yields; };
        InitIR(s);
    }
    QString generate(const QString& form, const QString& fcdec, const QString& value,
                     ValueOption opt = ValueOption::Dec) {
        IRInputs in;
        in.FCdec = fcdec;
        in.FChex = QStringLiteral("x");
        in.Value = value;
        in.Option = opt;
        QString out;
        EXPECT_TRUE(GenerateIR(s, form, in, out));
        return out;
    }
    // The durations of the frame last expanded.
    QList<qint32> durations() const {
        QList<qint32> d;
        for (int i = 1; i <= s.Count; ++i)
            d << s.Slots[size_t(i)];
        return d;
    }
    // The bits sent from slot `from` (1-based) for `n` bits: "1" for -1700, "0" for -550.
    QString bitsAt(int from, int n) const {
        QString b;
        for (int i = 0; i < n; ++i) {
            const qint32 off = s.Slots[size_t(from + 2 * i + 1)];
            b += off == -1700 ? u'1' : (off == -550 ? u'0' : u'?');
        }
        return b;
    }
    qint32 eval(const QString& text) {
        AddDefine(s, QStringLiteral("Q=") + text, true);
        const qint16 row = FindDefine(s, QStringLiteral("Q"));
        return EvalExpr(s, row, QStringLiteral("Q"), true);
    }
    void setDevice(double v) { s.Defines[FindDefine(s, QStringLiteral("D"))].Value = v; }
    IRState s;
    QStringList messages;
    int yields = 0;
};

// ------------------------------------------------------------------ built-in protocol

TEST_F(IR, InitLeavesTheFourDefinesInOrder) {
    ASSERT_EQ(s.Defines.size(), 5);
    EXPECT_EQ(s.Defines[1].Label, "E");
    EXPECT_EQ(s.Defines[1].Kind, KindChecksum);
    EXPECT_EQ(s.Defines[2].Label, "V");
    EXPECT_EQ(s.Defines[2].Kind, KindValue);
    EXPECT_EQ(s.Defines[3].Label, "D");
    EXPECT_EQ(s.Defines[3].Text, "DEVICE");
    EXPECT_EQ(s.Defines[3].Kind, KindInputSummed);
    EXPECT_EQ(s.Defines[4].Label, "F");
    EXPECT_EQ(s.Defines[4].Text, "FUNCTION");
    EXPECT_EQ(s.Defines[4].Kind, KindInput);
    EXPECT_EQ(s.IRProtocol, "TELVODIR");
    EXPECT_EQ(s.IRFrequency, 38380);
    EXPECT_EQ(s.Unit, 1);
    EXPECT_EQ(s.ActiveForms[0], FormAbsolute);
    EXPECT_TRUE(s.ActiveForms[1].isEmpty());
    EXPECT_EQ(s.Encoding, "PWM");
    EXPECT_EQ(s.BitOrder, "LSB");
    EXPECT_TRUE(messages.isEmpty());
}

TEST_F(IR, ASecondLoadScalesOnlyWhatLiesBelowTheUnit) {
    InitIR(s); // Unit is 1 now: nothing changes
    EXPECT_EQ(s.BitOne[0].on, 575);
    EXPECT_EQ(s.BitOne[0].off, -1700);
    EXPECT_EQ(s.BitZero[0].off, -550);
    ASSERT_EQ(s.Defines.size(), 5);
}

TEST_F(IR, CarrierWordAndPeriod) {
    EXPECT_EQ(ProntoCarrierWord(38380), 108);
    EXPECT_DOUBLE_EQ(EffectiveFrequency(38380), 38461);
    EXPECT_EQ(ProntoCarrierWord(0), 0);
}

// ------------------------------------------------------------------ 6.1 edge cases

TEST_F(IR, LowerAndUpperCaseNamesAreOneRow) {
    IRState t;
    t.ActiveForms = {QStringLiteral("d:16,D:8"), QString()};
    PrepareDefines(t);
    ASSERT_EQ(t.Defines.size(), 3); // row 0, D, F
    EXPECT_EQ(FindDefine(t, QStringLiteral("d")), FindDefine(t, QStringLiteral("D")));
    EXPECT_EQ(t.Defines[1].Text, "DEVICE");
}

TEST_F(IR, AsSplitsBeforeTheEqualsSign) {
    AddDefine(s, QStringLiteral("A AS 1=2"), false);
    const qint16 r = FindDefine(s, QStringLiteral("a"));
    ASSERT_GT(r, 0);
    EXPECT_EQ(s.Defines[r].Text, "1=2");
    EXPECT_EQ(s.Defines[r].Kind, KindConstExpr);
}

TEST_F(IR, NumberAndHexLiteral) {
    AddDefine(s, QStringLiteral("A=5"), false);
    AddDefine(s, QStringLiteral("B=0x10"), false);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("A"))].Kind, KindNumber);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("A"))].Value, 5);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("B"))].Kind, KindConstExpr);
}

TEST_F(IR, UnclosedBracketIsAnExpression) {
    AddDefine(s, QStringLiteral("A=[1 2"), false);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("A"))].Kind, KindConstExpr);
    AddDefine(s, QStringLiteral("R=[1 2]"), false);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("R"))].Kind, KindRaw);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("R"))].Text, "1 2");
}

TEST_F(IR, GapDefines) {
    AddDefine(s, QStringLiteral("G=^500"), false);
    AddDefine(s, QStringLiteral("H=^"), false);
    const DefineRec& g = s.Defines[FindDefine(s, QStringLiteral("G"))];
    const DefineRec& h = s.Defines[FindDefine(s, QStringLiteral("H"))];
    EXPECT_EQ(g.Kind, KindGapTo);
    EXPECT_EQ(g.Value, 500);
    EXPECT_EQ(h.Kind, KindGapTo);
    EXPECT_EQ(h.Value, 0);
}

TEST_F(IR, EmptyDefinitionIsAConstantExpression) {
    AddDefine(s, QStringLiteral("A="), false);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("A"))].Kind, KindConstExpr);
}

TEST_F(IR, MarkersEnterNothingAndExpandToNothing) {
    const qsizetype before = s.Defines.size();
    ScanFormNames(s, QStringLiteral("R*,_,*"));
    EXPECT_EQ(s.Defines.size(), before);
    // In any case, as every word.
    ScanFormNames(s, QStringLiteral("r*,r_"));
    EXPECT_EQ(s.Defines.size(), before);
    EXPECT_EQ(generate(QStringLiteral("r*,r_"), QStringLiteral("1"), QStringLiteral("1")),
              "0000 006C 0000 0000");
    EXPECT_EQ(generate(QStringLiteral("R*,_,*"), QStringLiteral("1"), QStringLiteral("1")),
              "0000 006C 0000 0000");
    EXPECT_TRUE(messages.isEmpty());
}

TEST_F(IR, RawZeroStaysZero) {
    EXPECT_EQ(NormalizeRaw(s, QStringLiteral("0  -1 x 12")), "0 -1 x 12");
    IRState t; // Unit 0: nothing can be scaled
    EXPECT_EQ(NormalizeRaw(t, QStringLiteral("0")), "0");
    t.Unit = 10;
    EXPECT_EQ(NormalizeRaw(t, QStringLiteral("0 5 -3 12")), "0 50 -30 12");
}

TEST_F(IR, VariableExpressionFollowsTheInputs) {
    AddDefine(s, QStringLiteral("A=F+1"), false);
    AddDefine(s, QStringLiteral("B=A*2"), false);
    AddDefine(s, QStringLiteral("C=Z+1"), false); // Z unknown: reaches row 0
    AddDefine(s, QStringLiteral("Z=F"), false);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("A"))].Kind, KindVarExpr);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("B"))].Kind, KindVarExpr);
    EXPECT_EQ(s.Defines[FindDefine(s, QStringLiteral("C"))].Kind, KindConstExpr);
}

TEST_F(IR, DefineMessages) {
    AddDefine(s, QStringLiteral("nothing here"), false);
    AddDefine(s, QStringLiteral("E=5"), false);
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0], "Badly formed DEFINES directive, 'nothing here'");
    EXPECT_EQ(messages[1], "Duplicate Definition for label E");
    EXPECT_EQ(s.Defines[1].Kind, KindChecksum);
    AddDefine(s, QStringLiteral("E=5"), true);
    EXPECT_EQ(s.Defines[1].Kind, KindNumber);
    EXPECT_EQ(s.Defines.size(), 5);
}

TEST_F(IR, NoFormMessage) {
    IRState t;
    QStringList m;
    t.Message = [&](const QString& x) { m << x; };
    t.IRProtocol = QStringLiteral("TELVODIR");
    PrepareDefines(t);
    ASSERT_EQ(m.size(), 1);
    EXPECT_EQ(m[0], "No form has beeen specified for TELVODIR Protocol");
    EXPECT_GT(FindDefine(t, QStringLiteral("D")), 0);
    EXPECT_GT(FindDefine(t, QStringLiteral("F")), 0);
}

TEST_F(IR, UndefinedNamesBecomeConstantsAndKeepTheLastLabel) {
    ScanFormNames(s, QStringLiteral("X:4,~Y:2,Zed"));
    // X enters as a constant 0; "~Y" keeps its tilde; "Zed" takes the label of the last part.
    ASSERT_EQ(s.Defines.size(), 8);
    EXPECT_EQ(s.Defines[5].Label, "X");
    EXPECT_EQ(s.Defines[5].Kind, KindNumber);
    EXPECT_EQ(s.Defines[6].Label, "~Y");
    EXPECT_EQ(s.Defines[7].Label, "~Y");
    EXPECT_EQ(FindDefine(s, QStringLiteral("Zed")), 0);
}

// ------------------------------------------------------------------ worked examples

TEST_F(IR, WorkedExampleDeviceCommand) {
    const QString out = generate(FormAbsolute, QStringLiteral("69"), QStringLiteral("1"));
    const QString expected = QStringLiteral("0000 006C 001B 0000 0064 0064 ") +
                             bitsWords("10100010") + u' ' + bitsWords("10000000") + u' ' +
                             bitsWords("01100010") + QStringLiteral(" 0044 0044 0016 0001");
    EXPECT_EQ(out, expected);
    // The same line spelt out, word for word.
    EXPECT_EQ(out,
              "0000 006C 001B 0000 0064 0064 "
              "0016 0041 0016 0015 0016 0041 0016 0015 0016 0015 0016 0015 0016 0041 0016 0015 "
              "0016 0041 0016 0015 0016 0015 0016 0015 0016 0015 0016 0015 0016 0015 0016 0015 "
              "0016 0015 0016 0041 0016 0041 0016 0015 0016 0015 0016 0015 0016 0041 0016 0015 "
              "0044 0044 0016 0001");
    EXPECT_EQ(s.Count, 54);
    EXPECT_EQ(yields, 1);
}

TEST_F(IR, WorkedExampleRemoteKey) {
    const QString out = generate(FormRemote, QStringLiteral("8324"), QStringLiteral("16"));
    EXPECT_EQ(s.Count, 72);
    EXPECT_TRUE(out.startsWith(QStringLiteral("0000 006C 0024 0000 0156 00AA ")));
    EXPECT_TRUE(out.endsWith(QStringLiteral(" 0016 06C0 0156 0055 0016 00AA")));
    const QString expected = QStringLiteral("0000 006C 0024 0000 0156 00AA ") +
                             bitsWords("0010000100000100") + u' ' + bitsWords("00001000") + u' ' +
                             bitsWords("11110111") +
                             QStringLiteral(" 0016 06C0 0156 0055 0016 00AA");
    EXPECT_EQ(out, expected);
}

TEST_F(IR, RelativeLeader) {
    const QString out = generate(FormRelative, QStringLiteral("69"), QStringLiteral("1"));
    EXPECT_TRUE(out.startsWith(QStringLiteral("0000 006C 001B 0000 0085 0085 0016 0041")));
}

// ------------------------------------------------------------------ 6.2 edge cases

TEST_F(IR, EmptyForm) {
    EXPECT_EQ(generate(QString(), QStringLiteral("1"), QStringLiteral("1")), "0000 006C 0000 0000");
}

TEST_F(IR, OddSlotCountsRoundToEven) {
    EXPECT_TRUE(generate(QStringLiteral("[100 -100 100]"), QStringLiteral("1"), QStringLiteral("1"))
                    .startsWith(QStringLiteral("0000 006C 0002 0000 ")));
    EXPECT_TRUE(generate(QStringLiteral("[100 -100 100 -100 100]"), QStringLiteral("1"),
                         QStringLiteral("1"))
                    .startsWith(QStringLiteral("0000 006C 0002 0000 ")));
    const QString seven = generate(QStringLiteral("[100 -100 100 -100 100 -100 100]"),
                                   QStringLiteral("1"), QStringLiteral("1"));
    EXPECT_TRUE(seven.startsWith(QStringLiteral("0000 006C 0004 0000 ")));
    EXPECT_EQ(seven.split(u' ').size(), 4 + 7); // every slot written all the same
}

TEST_F(IR, DeviceSixteenBits) {
    generate(QStringLiteral("d:16"), QStringLiteral("8324"), QStringLiteral("0"));
    EXPECT_EQ(bitsAt(1, 16), "0010000100000100");
}

TEST_F(IR, ShortDurationRoundsToZero) {
    EXPECT_EQ(generate(QStringLiteral("[12 -13 14]"), QStringLiteral("1"), QStringLiteral("1")),
              "0000 006C 0002 0000 0000 0001 0001"); // 13/26 is a half: away from zero
}

TEST_F(IR, AsciiOption) {
    generate(QStringLiteral("F:8"), QStringLiteral("1"), QStringLiteral("A"), ValueOption::Ascii);
    EXPECT_EQ(s.IRFunctionCode, 65);
    EXPECT_EQ(bitsAt(1, 8), "10000010");
}

// Characters count by their codes in the system's 8-bit set (Windows-1252), not by UTF-16.
TEST_F(IR, CharactersGoOutByTheirCodesInTheEightBitSet) {
    generate(QStringLiteral("F:8"), QStringLiteral("1"), QStringLiteral("\u20AC"),
             ValueOption::Ascii);
    EXPECT_EQ(s.IRFunctionCode, 128);
    EXPECT_EQ(bitsAt(1, 8), "00000001");
    generate(QStringLiteral("F:8"), QStringLiteral("1"), QStringLiteral("\u00E9"),
             ValueOption::Ascii);
    EXPECT_EQ(s.IRFunctionCode, 233);
    generate(FormValue, QStringLiteral("69"), QStringLiteral("\u20AC"), ValueOption::VAL);
    EXPECT_EQ(bitsAt(3 + 16, 8), "00000001"); // 128
    EXPECT_EQ(bitsAt(3 + 32, 8), "10100011"); // (69 + 128) and 255 = 197
    // A character the set lacks counts as "?" (63).
    generate(QStringLiteral("F:8"), QStringLiteral("1"), QStringLiteral("\u0100"),
             ValueOption::Ascii);
    EXPECT_EQ(s.IRFunctionCode, 63);
}

TEST_F(IR, HexOption) {
    generate(QStringLiteral("F:8"), QStringLiteral("1"), QStringLiteral("1f"), ValueOption::Hex);
    EXPECT_EQ(s.IRFunctionCode, 31);
}

TEST_F(IR, ValueTextGoesOutByCharacters) {
    generate(FormValue, QStringLiteral("69"), QStringLiteral("AB"), ValueOption::VAL);
    EXPECT_EQ(s.Count, 2 + 16 * 4 + 4);
    EXPECT_EQ(bitsAt(3, 8), "10100010");      // D = 69
    EXPECT_EQ(bitsAt(3 + 16, 8), "10000010"); // 65
    EXPECT_EQ(bitsAt(3 + 32, 8), "01000010"); // 66
    EXPECT_EQ(bitsAt(3 + 48, 8), "00010011"); // (69 + 131) and 255 = 200
    EXPECT_EQ((69 + 131) & 255, 200);
}

TEST_F(IR, ComplementSendsInvertedButSumsTrue) {
    generate(QStringLiteral("-f:8,E:8"), QStringLiteral("0"), QStringLiteral("3"));
    EXPECT_EQ(bitsAt(1, 8), "00111111");
    EXPECT_EQ(bitsAt(17, 8), "11000000"); // the true 3
}

TEST_F(IR, LiteralFieldIsNotSummed) {
    generate(QStringLiteral("5:4,E:8"), QStringLiteral("0"), QStringLiteral("0"));
    EXPECT_EQ(bitsAt(1, 4), "1010");
    EXPECT_EQ(bitsAt(9, 8), "00000000");
}

TEST_F(IR, SecondChecksumSendsTheSameSum) {
    generate(QStringLiteral("D:8,E:8,E:8"), QStringLiteral("7"), QStringLiteral("0"));
    EXPECT_EQ(bitsAt(17, 8), "11100000");
    EXPECT_EQ(bitsAt(33, 8), "11100000");
}

TEST_F(IR, CaretFoldsTheGapInButAGapNameDoesNot) {
    generate(QStringLiteral("[1000 -500 ^5000]"), QStringLiteral("0"), QStringLiteral("0"));
    EXPECT_EQ(durations(), (QList<qint32>{1000, -4000}));
    AddDefine(s, QStringLiteral("G=^5000"), false);
    generate(QStringLiteral("[1000 -500],G"), QStringLiteral("0"), QStringLiteral("0"));
    EXPECT_EQ(durations(), (QList<qint32>{1000, -3500}));
    // After a pulse the gap takes a slot of its own.
    generate(QStringLiteral("[1000],G"), QStringLiteral("0"), QStringLiteral("0"));
    EXPECT_EQ(durations(), (QList<qint32>{1000, -4000}));
    generate(QStringLiteral("[1000 -500 #300 200]"), QStringLiteral("0"), QStringLiteral("0"));
    EXPECT_EQ(durations(), (QList<qint32>{1000, 300, 200}));
}

TEST_F(IR, RawNamesByKind) {
    AddDefine(s, QStringLiteral("N=700"), false);
    AddDefine(s, QStringLiteral("R=[1 2]"), false);
    AddDefine(s, QStringLiteral("G=^3000"), false);
    generate(QStringLiteral("[1000 N nope R G V F]"), QStringLiteral("0"), QStringLiteral("9"));
    EXPECT_EQ(durations(), (QList<qint32>{1000, 700, -1300, 0, 9}));
    ASSERT_EQ(messages.size(), 3);
    EXPECT_EQ(messages[0], "Name nope Is not defined in the Defines Tables");
    EXPECT_EQ(messages[1], "Raw data may not be embedded in raw data");
    EXPECT_EQ(messages[2], "Name V type=7 has no defined meaning");
}

TEST_F(IR, RawNameOfKindNone) {
    DefineRec r;
    r.Label = QStringLiteral("K");
    s.Defines.append(r);
    generate(QStringLiteral("[K]"), QStringLiteral("0"), QStringLiteral("0"));
    EXPECT_EQ(durations(), (QList<qint32>{0}));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0], "Name K has no defined value");
}

TEST_F(IR, RunTimeErrorsOfExpansion) {
    IRInputs in{QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("1"), ValueOption::Dec};
    QString out;
    try {
        GenerateIR(s, QStringLiteral("[^500]"), in, out);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kSubscript);
    }
    try {
        GenerateIR(s, QStringLiteral("[") + QStringLiteral("100 ").repeated(1001) + u']', in, out);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kSubscript);
    }
    try {
        GenerateIR(s, QStringLiteral("D:32"), in, out);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kOverflow);
    }
    AddDefine(s, QStringLiteral("G=^10"), false);
    try {
        GenerateIR(s, QStringLiteral("G"), in, out);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kSubscript);
    }
    EXPECT_NO_THROW(GenerateIR(s, QStringLiteral("D:31"), in, out));
    EXPECT_NO_THROW(
        GenerateIR(s, QStringLiteral("[") + QStringLiteral("100 ").repeated(1000) + u']', in, out));
}

TEST_F(IR, EmptyBoxGeneratesNothing) {
    IRInputs in{QStringLiteral("1"), QString(), QStringLiteral("1"), ValueOption::Dec};
    QString out = QStringLiteral("kept");
    EXPECT_FALSE(GenerateIR(s, FormAbsolute, in, out));
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(kMissingValue,
              " There is a required value missing (Function code or function Value).");
}

TEST_F(IR, ExtensionReadsZero) {
    AddDefine(s, QStringLiteral("X=Extension"), false);
    generate(QStringLiteral("X:4"), QStringLiteral("5"), QStringLiteral("5"));
    EXPECT_EQ(bitsAt(1, 4), "0000");
}

// ------------------------------------------------------------------ 6.3 edge cases

TEST_F(IR, Arithmetic) {
    setDevice(5);
    EXPECT_EQ(eval(QStringLiteral("D+1")), 6);
    EXPECT_EQ(eval(QStringLiteral("2+3*4")), 14);
    EXPECT_EQ(eval(QStringLiteral("2*3+4")), 10);
    EXPECT_EQ(eval(QStringLiteral("10-3-2")), 5);
    EXPECT_EQ(eval(QStringLiteral("2@3@2")), 64);
    EXPECT_EQ(eval(QStringLiteral("(2+3)*4")), 20);
    EXPECT_EQ(eval(QStringLiteral("6^3")), 5);
    EXPECT_EQ(eval(QStringLiteral("6|3")), 7);
    EXPECT_TRUE(messages.isEmpty());
}

TEST_F(IR, TildeNegates) {
    EXPECT_EQ(eval(QStringLiteral("~5")), -5);
    EXPECT_TRUE(messages.isEmpty());
    EXPECT_EQ(eval(QStringLiteral("~-5")), 0);
    EXPECT_EQ(messages.size(), 1);
}

TEST_F(IR, DivisionAndUnaryMinus) {
    EXPECT_EQ(eval(QStringLiteral("7/2")), 3);
    EXPECT_EQ(eval(QStringLiteral("0-7")), -7);
    EXPECT_EQ(eval(QStringLiteral("-7/2")), 0); // "-" without a left operand
    EXPECT_EQ(eval(QStringLiteral("(-7)")), 0);
    EXPECT_EQ(messages.size(), 2);
    messages.clear();
    EXPECT_EQ(eval(QStringLiteral("1/0")), 0);
    EXPECT_EQ(messages, QStringList{QStringLiteral("11")});
}

TEST_F(IR, AmpersandIsDropped) {
    EXPECT_EQ(eval(QStringLiteral("5&3")), 5);
    EXPECT_EQ(OpPriority(QStringLiteral("&")), 2);
    EXPECT_EQ(OpPriority(QStringLiteral("(")), 0);
    EXPECT_EQ(OpPriority(QString()), 0);
    EXPECT_EQ(OpPriority(QStringLiteral("@")), 10);
    EXPECT_EQ(OpPriority(QStringLiteral("~")), 12);
}

TEST_F(IR, Spans) {
    EXPECT_EQ(eval(QStringLiteral("12[1..2]")), 0);
    EXPECT_EQ(eval(QStringLiteral("12[3..4]")), 3);
    EXPECT_EQ(eval(QStringLiteral("12[3]")), 0);
    EXPECT_TRUE(messages.isEmpty());
    EXPECT_EQ(eval(QStringLiteral("1[1..16]")), 0); // the mask overflows
    EXPECT_EQ(messages, QStringList{QStringLiteral("6")});
    messages.clear();
    EXPECT_EQ(eval(QStringLiteral("12[3..4")), 12);
    EXPECT_EQ(messages, QStringList{QStringLiteral(
                            "Error in evaluation of subspan in Defines, no ']' present")});
}

TEST_F(IR, SixteenBitsBetweenOperators) {
    EXPECT_EQ(eval(QStringLiteral("300*300")), 0);
    EXPECT_EQ(messages, QStringList{QStringLiteral("6")});
    messages.clear();
    EXPECT_EQ(eval(QStringLiteral("40000+1")), 0);
    EXPECT_EQ(messages, QStringList{QStringLiteral("6")});
    messages.clear();
    AddDefine(s, QStringLiteral("A=40000"), false);
    EXPECT_EQ(EvalExpr(s, FindDefine(s, QStringLiteral("A")), QStringLiteral("A"), true), 40000);
    EXPECT_TRUE(messages.isEmpty());
}

TEST_F(IR, BareNameAndHexLiteral) {
    setDevice(42);
    EXPECT_EQ(eval(QStringLiteral("D")), 42);
    EXPECT_EQ(eval(QStringLiteral("0x10+1")), 17);
    EXPECT_EQ(eval(QStringLiteral("0X1F")), 1); // "F" is read as a name
    EXPECT_EQ(eval(QStringLiteral("Y")), 0);    // unknown name
    EXPECT_EQ(EvalExpr(s, 0, QStringLiteral("nope"), true), 0);
}

TEST_F(IR, InputsAreReadNotStored) {
    s.IRDeviceCode = 77;
    setDevice(1);
    EXPECT_EQ(EvalExpr(s, FindDefine(s, QStringLiteral("D")), QStringLiteral("D"), true), 77);
}

TEST_F(IR, ExpressionsInAForm) {
    AddDefine(s, QStringLiteral("A=F+1"), false);
    AddDefine(s, QStringLiteral("B AS F[1..4]"), false);
    generate(QStringLiteral("A:8,B:4,E:8"), QStringLiteral("0"), QStringLiteral("18"));
    EXPECT_EQ(bitsAt(1, 8), "11001000");  // 19
    EXPECT_EQ(bitsAt(17, 4), "0100");     // 18 and 15 = 2
    EXPECT_EQ(bitsAt(25, 8), "10101000"); // 19 + 2
}

TEST_F(IR, NumericTest) {
    EXPECT_TRUE(IsNumeric(QStringLiteral("5")));
    EXPECT_TRUE(IsNumeric(QStringLiteral(" -5.5 ")));
    EXPECT_TRUE(IsNumeric(QStringLiteral("1e3")));
    EXPECT_TRUE(IsNumeric(QStringLiteral(".5")));
    EXPECT_FALSE(IsNumeric(QStringLiteral("0x10")));
    EXPECT_FALSE(IsNumeric(QString()));
    EXPECT_FALSE(IsNumeric(QStringLiteral("-")));
    EXPECT_FALSE(IsNumeric(QStringLiteral("1 2")));
}

} // namespace

namespace {

TEST_F(IR, SelfReferenceRunsOutOfStackSpace) {
    // Only a recursion without stored values can reach this; the run-time's error 28 stands for
    // the exhausted stack, once, for the whole recursion.
    AddDefine(s, QStringLiteral("A=A+A"), false);
    EXPECT_EQ(EvalExpr(s, FindDefine(s, QStringLiteral("A")), QStringLiteral("A"), false), 0);
    EXPECT_EQ(messages, QStringList{QStringLiteral("28")});
    messages.clear();
    AddDefine(s, QStringLiteral("B=3"), false);
    AddDefine(s, QStringLiteral("C=B*2+1"), false);
    EXPECT_EQ(EvalExpr(s, FindDefine(s, QStringLiteral("C")), QStringLiteral("C"), false), 7);
    EXPECT_TRUE(messages.isEmpty());
}

} // namespace
