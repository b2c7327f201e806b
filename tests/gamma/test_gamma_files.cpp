// Gamma files and display reference files: what is written, what is read back, the reader's
// tolerance of case, blanks, comments and long lines, a save that can't leave a broken file,
// and the two exports.

#include "core/gamma/Evaluate.h"
#include "core/gamma/GammaFiles.h"
#include "core/text/Classic.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace telvo::core;

namespace {

QStringList linesOf(const QByteArray& bytes) {
    QStringList lines = QString::fromUtf8(bytes).split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

QStringList textLines(const char* text) {
    return QString::fromLatin1(text).split(u'\n');
}

// Three different columns: red 0.45, green 1.8, blue 2.2.
GammaCells threeCurves() {
    GammaCells cells;
    ComputeTable(Exponent{false, 0.45}, EmptyRefData(), 1, 0.45, cells);
    ComputeTable(Exponent{false, 1.8}, EmptyRefData(), 2, 0.45, cells);
    ComputeTable(Exponent{false, 2.2}, EmptyRefData(), 3, 0.45, cells);
    return cells;
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

TEST(GammaFile, WrittenInItsFixedOrderWithCrLf) {
    GammaFileHeader h{QStringLiteral("1.0"), QStringLiteral("Data"), 2, 1,
                      QStringLiteral("/home/gamma/lcd.txt")};
    GammaCells cells;
    ComputeTable(Exponent{false, 1.0}, EmptyRefData(), 0, 0.45, cells);
    const QByteArray bytes = GammaFileText(h, cells);
    EXPECT_TRUE(bytes.endsWith("\r\n"));
    const QStringList lines = linesOf(bytes);
    ASSERT_EQ(lines.size(), 8);
    EXPECT_EQ(lines[0], QStringLiteral("Scalar Gamma=1.0"));
    EXPECT_EQ(lines[1], QStringLiteral("Display Gamma=Data"));
    EXPECT_EQ(lines[2], QStringLiteral("ColorOption=2"));
    EXPECT_EQ(lines[3], QStringLiteral("UseRefData=1"));
    EXPECT_EQ(lines[4], QStringLiteral("DSPrefData=/home/gamma/lcd.txt"));
    EXPECT_TRUE(lines[5].startsWith(QStringLiteral("RED=0000 0001 0002 ")));
    EXPECT_TRUE(lines[5].endsWith(QStringLiteral(" 1022 1023")));
    EXPECT_EQ(lines[5].size(), 4 + 1024 * 5 - 1);
    EXPECT_TRUE(lines[6].startsWith(QStringLiteral("GREEN=0000 ")));
    EXPECT_TRUE(lines[7].startsWith(QStringLiteral("BLUE=0000 ")));
}

TEST(GammaFile, NoReferenceLineWithoutReferenceData) {
    GammaFileHeader h{QStringLiteral("2.2"), QStringLiteral("2.2"), 0, 0, QStringLiteral("x")};
    const QStringList lines = linesOf(GammaFileText(h, GammaCells{}));
    ASSERT_EQ(lines.size(), 7);
    EXPECT_EQ(lines[3], QStringLiteral("UseRefData=0"));
    EXPECT_EQ(lines[4], QStringLiteral("RED="));
}

TEST(GammaFile, SaveThenOpenReproducesEveryCellAndTheFourLeadingValues) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("three.gma"));
    const GammaCells cells = threeCurves();
    GammaFileHeader h{QStringLiteral("1.4"), QStringLiteral("1.6"), 3, 1,
                      QStringLiteral("/data/ref one.txt")};
    WriteFileWhole(path, GammaFileText(h, cells));

    GammaCells back;
    GammaFileRead read;
    ReadGammaLines(ReadTextFileLines(path), read, back);
    EXPECT_EQ(read.txtGamma, h.txtGamma);
    EXPECT_EQ(read.txtDSPgamma, h.txtDSPgamma);
    EXPECT_EQ(read.colorOption, 3);
    EXPECT_EQ(read.useRefData, 1);
    EXPECT_EQ(read.DSPrefFile, h.DSPrefFile);
    int compared = 0;
    for (int i = 0; i < kGammaRows; ++i)
        for (int c = 0; c < kGammaColors; ++c, ++compared)
            ASSERT_EQ(back.at(i, c), cells.at(i, c)) << i << "," << c;
    EXPECT_EQ(compared, 3072);
    EXPECT_TRUE(back == cells);
}

TEST(GammaFile, KeysInAnyCaseWithBlanksAndGammaForScalarGamma) {
    GammaCells cells;
    GammaFileRead read;
    ReadGammaLines(textLines("gamma = 1.5\n  display gamma=  2.4 \ncoloroption = 1\n"
                             "usErefdata=0\nRed = 1 2   3\ngreen=0010\nBLUE=7"),
                   read, cells);
    EXPECT_EQ(read.txtGamma, QStringLiteral("1.5"));
    EXPECT_EQ(read.txtDSPgamma, QStringLiteral("2.4"));
    EXPECT_EQ(read.colorOption, 1);
    EXPECT_EQ(read.useRefData, 0);
    // Tokens go in as they stand, from the first row on.
    EXPECT_EQ(cells.at(0, 0), QStringLiteral("1"));
    EXPECT_EQ(cells.at(1, 0), QStringLiteral("2"));
    EXPECT_EQ(cells.at(2, 0), QStringLiteral("3"));
    EXPECT_EQ(cells.at(3, 0), QString());
    EXPECT_EQ(cells.at(0, 1), QStringLiteral("0010"));
    EXPECT_EQ(cells.at(0, 2), QStringLiteral("7"));
}

TEST(GammaFile, UnknownKeysAndLinesWithoutEqualsAreSkipped) {
    GammaCells cells;
    GammaFileRead read;
    ReadGammaLines(textLines("Comment=hello\nno equals here\n\nScalar Gamma=2.0\nRED"), read,
                   cells);
    EXPECT_EQ(read.txtGamma, QStringLiteral("2.0"));
    EXPECT_FALSE(read.colorOption.has_value());
    EXPECT_EQ(cells.at(0, 0), QString());
}

TEST(GammaFile, TooManyCodesRunPastTheTable) {
    QString line = QStringLiteral("Blue=");
    for (int i = 0; i < 1025; ++i)
        line += QStringLiteral("5 ");
    GammaCells cells;
    GammaFileRead read;
    try {
        ReadGammaLines({QStringLiteral("Gamma=3"), line, QStringLiteral("Red=9")}, read, cells);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kSubscript);
    }
    EXPECT_EQ(read.txtGamma, QStringLiteral("3"));
    EXPECT_EQ(cells.at(1023, 2), QStringLiteral("5"));
    EXPECT_EQ(cells.at(0, 0), QString()); // the reader stopped before red
}

TEST(GammaFile, OptionOutOfRangeIsAnError) {
    GammaCells cells;
    GammaFileRead read;
    EXPECT_THROW(ReadGammaLines({QStringLiteral("ColorOption=4")}, read, cells), RuntimeError);
    EXPECT_THROW(ReadGammaLines({QStringLiteral("UseRefData=3")}, read, cells), RuntimeError);
}

TEST(GammaFile, LineOfTenThousandCharactersIsRead) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("wide.gma"));
    QByteArray red = "RED=";
    for (int i = 0; i < kGammaRows; ++i)
        red += QByteArray::number(i).rightJustified(4, '0') + "     ";
    while (red.size() < 10000)
        red += ' ';
    ASSERT_GE(red.size(), 10000);
    writeFile(path, "Scalar Gamma=1.0\r\n" + red + "\r\nGreen=0001\r\n");
    GammaCells cells;
    GammaFileRead read;
    ReadGammaLines(ReadTextFileLines(path), read, cells);
    EXPECT_EQ(cells.at(0, 0), QStringLiteral("0000"));
    EXPECT_EQ(cells.at(1023, 0), QStringLiteral("1023"));
    EXPECT_EQ(cells.at(0, 1), QStringLiteral("0001"));
}

TEST(GammaFile, MissingFileIsFileNotFound) {
    try {
        ReadTextFileLines(QStringLiteral("/nonexistent/x.gma"));
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), kFileNotFound);
    }
}

// A save that fails part way, by error or by the death of the process, leaves the old file.

TEST(GammaFileSave, FailedWriteLeavesTheOldFileWhole) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("keep.gma"));
    writeFile(path, "Scalar Gamma=1.0\r\n");
    const QByteArray big = GammaFileText(GammaFileHeader{}, threeCurves());
    // The file size limit makes the write fail with EFBIG part way.
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 4096;
    setrlimit(RLIMIT_FSIZE, &small);
    int number = 0;
    try {
        WriteFileWhole(path, big);
    } catch (const RuntimeError& e) {
        number = e.number();
    }
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(number, kPathFileAccess);
    EXPECT_EQ(readFile(path), QByteArray("Scalar Gamma=1.0\r\n"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("keep.gma")});
}

TEST(GammaFileSave, KilledWriteLeavesTheOldFileWhole) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("keep.gma"));
    writeFile(path, "Scalar Gamma=1.0\r\n");
    const QByteArray big = GammaFileText(GammaFileHeader{}, threeCurves());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The kernel kills the writer when it passes the limit: a death mid-write.
        rlimit small{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &small);
        std::signal(SIGXFSZ, SIG_DFL);
        try {
            WriteFileWhole(path, big);
        } catch (...) {
        }
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGXFSZ);
    EXPECT_EQ(readFile(path), QByteArray("Scalar Gamma=1.0\r\n"));
}

TEST(GammaFileSave, SuccessfulWriteReplacesTheFile) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("new.gma"));
    writeFile(path, "old");
    WriteFileWhole(path, "new\r\n");
    EXPECT_EQ(readFile(path), QByteArray("new\r\n"));
}

// Reference files.

TEST(ReferenceFile, CommentAfterBlankApostropheBlankIsDropped) {
    Reference ref;
    ReadReferenceLines(textLines("FunctionRED=X^2 ' note"), ref);
    EXPECT_EQ(ref.FunctionText[0], QStringLiteral("X^2"));
    ApplyReference(ref);
    for (int i : {0, 100, 512, 1023})
        EXPECT_DOUBLE_EQ(ref.DSPrefData[size_t(i)][0], std::pow(i / 1023.0, 2) * 1023.0);
}

TEST(ReferenceFile, ExpressionsForEachColourGiveTheirCurves) {
    Reference ref;
    ReadReferenceLines(textLines("' a display\n\nfunctionred = X^2.2\nFUNCTIONGREEN=X^2.4 ' green\n"
                                 "FunctionBlue=X*X\nFunctionAlpha=X\nno equals\n"),
                       ref);
    ApplyReference(ref);
    for (int i = 0; i < kGammaRows; ++i) {
        const double x = i / 1023.0;
        ASSERT_DOUBLE_EQ(ref.DSPrefData[size_t(i)][0], std::pow(x, 2.2) * 1023.0);
        ASSERT_DOUBLE_EQ(ref.DSPrefData[size_t(i)][1], std::pow(x, 2.4) * 1023.0);
        ASSERT_DOUBLE_EQ(ref.DSPrefData[size_t(i)][2], x * x * 1023.0);
    }
}

TEST(ReferenceFile, TableTakesTheNextLineFromRowZero) {
    Reference ref;
    ReadReferenceLines(
        textLines("FunctionGreen=Table\n0 1.5  3 ' not a comment here\nFunctionRed=X"), ref);
    EXPECT_TRUE(ref.FunctionText[1].isEmpty());
    EXPECT_DOUBLE_EQ(ref.DSPrefData[0][1], 0);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1][1], 1.5);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[2][1], 3);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[3][1], 0); // "'" reads as 0
    EXPECT_DOUBLE_EQ(ref.DSPrefData[5][1], 0);
    EXPECT_EQ(ref.FunctionText[0], QStringLiteral("X"));
}

TEST(ReferenceFile, CopyOfARedTableGivesGreenTheSameValues) {
    QString numbers;
    for (int i = 0; i < kGammaRows; ++i)
        numbers += QString::number(i * 0.75) + u' ';
    Reference ref;
    ReadReferenceLines(
        {QStringLiteral("FunctionRED=Table"), numbers, QStringLiteral("FunctionGreen=CopyRed")},
        ref);
    ApplyReference(ref);
    for (int i = 0; i < kGammaRows; ++i) {
        ASSERT_DOUBLE_EQ(ref.DSPrefData[size_t(i)][0], i * 0.75);
        ASSERT_DOUBLE_EQ(ref.DSPrefData[size_t(i)][1], i * 0.75);
        ASSERT_DOUBLE_EQ(ref.DSPrefData[size_t(i)][2], 0);
    }
}

TEST(ReferenceFile, TableFollowedByAnEmptyLineLeavesBlueAtZero) {
    Reference ref;
    ReadReferenceLines(textLines("FunctionRed=X\nFunctionBlue=Table\n\nFunctionGreen=X"), ref);
    ApplyReference(ref);
    for (int i = 0; i < kGammaRows; ++i)
        ASSERT_EQ(ref.DSPrefData[size_t(i)][2], 0);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][0], 1023);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][1], 1023);
}

TEST(ReferenceFile, CopiesRunInOrderAfterEvaluation) {
    // Red copies green (evaluated), blue copies red: what red holds once its copy has run.
    Reference ref;
    ReadReferenceLines(
        textLines("FunctionRed= CopyGreen \nFunctionGreen=X*2\nFunctionBlue=CopyRed"), ref);
    ApplyReference(ref);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][0], 2046);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][2], 2046);
    // Green copies blue before blue copies red: green gets blue's old values.
    Reference ref2;
    ReadReferenceLines(textLines("FunctionRed=X\nFunctionGreen=CopyBlue\nFunctionBlue=CopyRed"),
                       ref2);
    ApplyReference(ref2);
    EXPECT_DOUBLE_EQ(ref2.DSPrefData[1023][1], 0);
    EXPECT_DOUBLE_EQ(ref2.DSPrefData[1023][2], 1023);
}

TEST(ReferenceFile, OnlyExactCopyWordsTakeEffectAndNoneIsEvaluated) {
    Reference ref;
    ReadReferenceLines(textLines("FunctionRed=X\nFunctionGreen=Copy Red\nFunctionBlue=CopyBlue"),
                       ref);
    ref.DSPrefData[1023][1] = 7;
    ref.DSPrefData[1023][2] = 9;
    ApplyReference(ref);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][1], 7); // kept out of evaluation, no copy
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][2], 9); // a colour can't copy itself
}

TEST(ReferenceFile, MoreThan1024NumbersRunPastTheTable) {
    QString numbers;
    for (int i = 0; i < 1025; ++i)
        numbers += QStringLiteral("1 ");
    Reference ref;
    EXPECT_THROW(ReadReferenceLines({QStringLiteral("FunctionBlue=Table"), numbers}, ref),
                 RuntimeError);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][2], 1);
}

TEST(ReferenceFile, LineOfTenThousandCharactersIsRead) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("wide.txt"));
    QByteArray line;
    for (int i = 0; i < kGammaRows; ++i)
        line += QByteArray::number(i) + "        ";
    ASSERT_GE(line.size(), 10000);
    writeFile(path, "FunctionBlue=Table\n" + line + "\nFunctionRed=X^2 ' squared\n");
    Reference ref;
    ReadReferenceLines(ReadTextFileLines(path), ref);
    ApplyReference(ref);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][2], 1023);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[512][2], 512);
    EXPECT_DOUBLE_EQ(ref.DSPrefData[1023][0], 1023);
}

// Exports.

TEST(GammaExport, ArgyllCalHoldsEveryRowAsFractions) {
    GammaCells cells;
    ComputeTable(Exponent{false, 1.0}, EmptyRefData(), 0, 0.45, cells);
    cells.at(1, 2) = QStringLiteral("5000"); // clamped
    const QStringList lines =
        QString::fromUtf8(ArgyllCalText(cells, QStringLiteral("Sun Nov 22 10:00:00 2026")))
            .split(u'\n');
    EXPECT_EQ(lines[0], QStringLiteral("CAL"));
    EXPECT_TRUE(lines.contains(QStringLiteral("DESCRIPTOR \"Argyll Device Calibration State\"")));
    EXPECT_TRUE(lines.contains(QStringLiteral("CREATED \"Sun Nov 22 10:00:00 2026\"")));
    EXPECT_TRUE(lines.contains(QStringLiteral("DEVICE_CLASS \"DISPLAY\"")));
    EXPECT_TRUE(lines.contains(QStringLiteral("COLOR_REP \"RGB\"")));
    EXPECT_TRUE(lines.contains(QStringLiteral("NUMBER_OF_FIELDS 4")));
    EXPECT_TRUE(lines.contains(QStringLiteral("RGB_I RGB_R RGB_G RGB_B")));
    EXPECT_TRUE(lines.contains(QStringLiteral("NUMBER_OF_SETS 1024")));
    const qsizetype begin = lines.indexOf(QStringLiteral("BEGIN_DATA"));
    const qsizetype end = lines.indexOf(QStringLiteral("END_DATA"));
    ASSERT_EQ(end - begin - 1, 1024);
    EXPECT_EQ(lines[begin + 1], QStringLiteral("0.000000 0.000000 0.000000 0.000000"));
    EXPECT_EQ(lines[begin + 2], QStringLiteral("0.000978 0.000978 0.000978 1.000000"));
    EXPECT_EQ(lines[end - 1], QStringLiteral("1.000000 1.000000 1.000000 1.000000"));
}

TEST(GammaExport, CubeLutIsOneDimensionalOver1024Entries) {
    const GammaCells cells = threeCurves();
    const QStringList lines = QString::fromUtf8(CubeLutText(cells, QStringLiteral("My \"LCD\"")))
                                  .split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 4 + 1024);
    EXPECT_EQ(lines[0], QStringLiteral("TITLE \"My LCD\""));
    EXPECT_EQ(lines[1], QStringLiteral("LUT_1D_SIZE 1024"));
    EXPECT_EQ(lines[2], QStringLiteral("DOMAIN_MIN 0.0 0.0 0.0"));
    EXPECT_EQ(lines[3], QStringLiteral("DOMAIN_MAX 1.0 1.0 1.0"));
    for (int i = 0; i < kGammaRows; ++i) {
        const QStringList v = lines[4 + i].split(u' ');
        ASSERT_EQ(v.size(), 3);
        for (int c = 0; c < kGammaColors; ++c)
            ASSERT_NEAR(v[c].toDouble(), Val(cells.at(i, c)) / 1023.0, 5e-7);
    }
}

TEST(GammaFileCheck, AFileWithoutItsThreeWholeTablesIsNoGammaFile) {
    GammaFileHeader h;
    h.txtGamma = QStringLiteral("2.2");
    GammaCells cells;
    for (int c = 0; c < kGammaColors; ++c)
        for (int i = 0; i < kGammaRows; ++i)
            cells.at(i, c) = QString::number(i);
    const QStringList whole =
        QString::fromUtf8(GammaFileText(h, cells)).split(QStringLiteral("\r\n"));
    EXPECT_EQ(GammaFileProblem(whole), QString());
    EXPECT_EQ(GammaFileProblem({QStringLiteral("hello"), QStringLiteral("world")}),
              QStringLiteral("it has no \"Scalar Gamma=\" line"));
    QStringList noBlue = whole;
    noBlue.removeIf([](const QString& l) { return l.startsWith(QLatin1String("BLUE=")); });
    EXPECT_EQ(GammaFileProblem(noBlue), QStringLiteral("it has no BLUE table"));
    QStringList shortRed = whole;
    for (QString& l : shortRed)
        if (l.startsWith(QLatin1String("RED=")))
            l = QStringLiteral("RED=1 2 3");
    EXPECT_EQ(GammaFileProblem(shortRed), QStringLiteral("its RED table holds 3 codes, not 1024"));
}
