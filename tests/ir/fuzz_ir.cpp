// Fuzz entry for the IR language: the first line of the input is a form, the other lines are
// defines (and each define's text is also evaluated as an expression). Whatever the input, the
// result is a Pronto line or one of the run-time's errors, never a crash or a hang. Built without
// libFuzzer, main() runs the entry over tests/fuzz/corpus/ir and a few built-in inputs.

#include "core/ir/GenIR.h"
#include "core/text/Classic.h"

#include <QStringList>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace telvo::core;
using namespace telvo::core::ir;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz_ir: broken invariant: %s\n", what);
        std::abort();
    }
}

bool knownError(int n) {
    return n == kOverflow || n == kSubscript || n == kDivisionByZero || n == 28;
}

void checkLine(const QString& line) {
    const QStringList w = line.split(u' ');
    require(w.size() >= 4, "a Pronto line has its head");
    require(w[0] == u"0000" && w[1] == u"006C", "head words");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 4096)
        return 0;
    const QString text = QString::fromLatin1(reinterpret_cast<const char*>(data), qsizetype(size));
    QStringList lines = text.split(u'\n');
    const QString form = lines.takeFirst();

    IRState s;
    s.Message = [](const QString&) {};
    s.Yield = [] {};
    InitIR(s);
    int n = 0;
    for (const QString& def : lines) {
        if (++n > 40)
            break;
        AddDefine(s, def, (n & 1) != 0);
    }
    require(!s.Defines.isEmpty() && s.Defines[0].Label.isEmpty(), "row 0 stays empty");
    // The forms scanned as the window's load would.
    s.ActiveForms = {form, QString()};
    PrepareDefines(s);
    require(FindDefine(s, QStringLiteral("F")) > 0, "F exists after PrepareDefines");

    const IRInputs inputs[] = {
        {QStringLiteral("45"), QStringLiteral("69"), QStringLiteral("1"), ValueOption::Dec},
        {QStringLiteral("2084"), QStringLiteral("8324"), QStringLiteral("AB"), ValueOption::VAL},
        {QStringLiteral("x"), QStringLiteral("-70000"), QStringLiteral("z"), ValueOption::Ascii},
    };
    for (const IRInputs& in : inputs) {
        for (const QString& f : {form, FormAbsolute, FormRemote, FormValue}) {
            QString out;
            try {
                require(GenerateIR(s, f, in, out), "every box is filled");
                checkLine(out);
            } catch (const RuntimeError& e) {
                require(knownError(e.number()), "only the run-time's errors escape");
            }
        }
    }
    // Every row as an expression, with stored values.
    for (int row = 0; row < s.Defines.size(); ++row) {
        try {
            (void)EvalExpr(s, row, s.Defines[row].Label, true);
        } catch (const RuntimeError&) {
            require(false, "EvalExpr catches its own errors");
        }
    }
    return 0;
}

#include "common/FuzzCorpus.h"

#ifndef TELVO_LIBFUZZER
int main() {
    static const char* const kBuiltIn[] = {
        "",
        ",,,,",
        "[",
        "]",
        "[]",
        "[ ^ # ^^ ## ]",
        "D:99999",
        "D:-5,F:1e9,E:0",
        "~D:8,-F:8,+E:8,5:4,-5:4,~0:1",
        "R*,_,*,{},a}",
        "[1 2 3 4 5],G,G,G\nG=^100000",
        "[#5 ^3 #-7 ^-9]",
        "X,Y:3,Z\nX AS [1 2]\nY=Y+1\nZ=~-5",
        "A:8\nA=(((((((((1\nB=)))))\nC=1/0\nD2=0X\nE=12[1..16]",
        "A:8\nA=300*300\nB=2@99\nC=[\nD=12[3..\nE=7 7 7 7\nF=~~~~~",
        "\"a,b\":8,\"[\",V:8\nV=Value",
        "A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31,A:31\nA=-"
        "1",
        "Q:8\nQ=40000+1\nR=0x7FFF*0x7FFF\nS=-32768/-1",
    };
    int runs = 0;
    for (const char* input : kBuiltIn) {
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input), std::strlen(input));
        ++runs;
    }
    const int seeds = telvo::test::FeedCorpus("ir", LLVMFuzzerTestOneInput);
    if (seeds == 0)
        return 1;
    std::printf("fuzz_ir: %d inputs, no crash\n", runs + seeds);
    return 0;
}
#endif
