// Fuzz entry for the gamma tool's readers: the bytes are read as a gamma file, as a reference
// file (then evaluated and copied), and every line goes through the evaluator. Run-time errors
// of the classic kind are the readers' way to refuse; anything else is a finding. Built without
// libFuzzer, main() runs the entry over the corpus folder and a few built-in inputs.

#include "core/config/IniFile.h"
#include "core/gamma/Evaluate.h"
#include "core/gamma/GammaFiles.h"
#include "core/text/Classic.h"

#include <QDir>
#include <QFile>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace telvo::core;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz_gamma: broken invariant: %s\n", what);
        std::abort();
    }
}

bool classicNumber(int n) {
    return n == kOverflow || n == kSubscript || n == kDivisionByZero || n == kInvalidCall ||
           n == kInvalidPropertyValue || n == kNoControlArrayElement;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QStringList lines = SplitTextLines(bytes);

    GammaCells cells;
    GammaFileRead read;
    try {
        ReadGammaLines(lines, read, cells);
    } catch (const RuntimeError& e) {
        require(classicNumber(e.number()), "gamma file: unexpected error number");
    }
    if (read.colorOption)
        require(*read.colorOption >= 0 && *read.colorOption <= 3, "option");

    Reference ref;
    try {
        ReadReferenceLines(lines, ref);
    } catch (const RuntimeError& e) {
        require(classicNumber(e.number()), "reference file: unexpected error number");
    }
    // A formula that fails gives 0; only a curve past the range of a double raises.
    try {
        ApplyReference(ref);
    } catch (const RuntimeError& e) {
        require(e.number() == kOverflow, "reference curves: only overflow");
    }
    require(ref.DSPrefData.size() == size_t(kGammaRows), "reference rows");

    // Every line as a formula, at the ends and the middle.
    for (const QString& line : lines) {
        for (double x : {0.0, 0.5, 1.0}) {
            const double v = Evaluate(line, x);
            require(std::isfinite(v), "evaluation gives a finite value");
        }
    }

    // A table from what was read: errors are classic ones, never a crash.
    try {
        Exponent e{true, 0};
        GammaCells out;
        ComputeTable(e, ref.DSPrefData, 0, 0.45, out);
    } catch (const RuntimeError& e) {
        require(classicNumber(e.number()), "table: unexpected error number");
    }
    (void)GammaFileText(GammaFileHeader{}, cells);
    return 0;
}

#ifndef TELVO_LIBFUZZER
int main() {
    static const char* const kBuiltIn[] = {
        "",
        "=",
        "==\n=\n",
        "RED=\nGREEN= \nBLUE=  ",
        "ColorOption=99999999999\nUseRefData=-1e400\n",
        "ColorOption=-0.4\nUseRefData=2.5\n",
        "FunctionRed=Table",
        "FunctionRed=Table\n1e400 -1e400 nan inf",
        "FunctionRed=((((((((((\nFunctionGreen=))))))))))\nFunctionBlue=^^^^^^",
        "FunctionRed=X^X^X^X^X^X^X^X^99999\nFunctionGreen=999999999999999999999*X\n",
        "FunctionRed=0^(0-1)\nFunctionGreen=(0-1)^0.5\nFunctionBlue=1/X",
        "FunctionRed=CopyGreen\nFunctionGreen=CopyBlue\nFunctionBlue=CopyRed",
        "FunctionRed=X-1\nFunctionGreen=X*1000\nFunctionBlue=2-X",
        "'\n' ' '\n ' \nFunctionRed ' = X\nFunctionRed=' X\n",
        "\xEF\xBB\xBF"
        "Scalar Gamma=\xC3\x28\nRed=\xFF\xFE 1 2\n",
        "1.2.3.4.5+....\n.+.\n+-*/^()xX\n",
    };
    int runs = 0;
    auto run = [&runs](const QByteArray& b) {
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(b.constData()),
                               static_cast<size_t>(b.size()));
        ++runs;
    };
    for (const char* input : kBuiltIn)
        run(QByteArray(input));
    // Long lines: more codes and numbers than the table holds, and a deep formula.
    run("Red=" + QByteArray(6000, '1').replace("11", "1 "));
    run("FunctionBlue=Table\n" + QByteArray(4000, '7').replace("77", "7 "));
    run("FunctionRed=" + QByteArray(2000, '(') + "X" + QByteArray(2000, ')'));
    run("FunctionRed=" + QByteArray(30000, '+'));
    // The corpus kept with the sources.
    const QDir corpus(qEnvironmentVariable("TELVO_SOURCE_DIR") +
                      QStringLiteral("/tests/gamma/corpus"));
    for (const QString& name : corpus.entryList(QDir::Files)) {
        QFile f(corpus.filePath(name));
        if (!f.open(QIODevice::ReadOnly))
            continue;
        const QByteArray b = f.readAll();
        run(b);
        // About forty cuts a file, mid-line and mid-number.
        const qsizetype step = qMax<qsizetype>(7, b.size() / 40);
        for (qsizetype cut = 0; cut < b.size(); cut += step)
            run(b.left(cut));
    }
    std::printf("fuzz_gamma: %d inputs, no crash\n", runs);
    return 0;
}
#endif
