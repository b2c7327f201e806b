#pragma once
// The gamma tool's files: gamma files (.gma, a table with the values that made it), display
// reference files (formulas in X, tables of numbers, copies of another colour), and two exports
// for other colour tools (an ArgyllCMS .cal calibration and a 1D .cube LUT).

#include "core/gamma/Gamma.h"

#include <QByteArray>
#include <QStringList>
#include <optional>

namespace telvo::core {

// Classic numbers of the general handling for files.
constexpr int kFileNotFound = 53;
constexpr int kPathFileAccess = 75;
constexpr int kInvalidPropertyValue = 380;
constexpr int kNoControlArrayElement = 340;

// What SaveGamma writes before the table.
struct GammaFileHeader {
    QString txtGamma;
    QString txtDSPgamma;
    int colorOption = 0;
    int useRefData = 0; // the check box: 0 clear, 1 checked
    QString DSPrefFile;
};

// The whole file, CR LF lines.
QByteArray GammaFileText(const GammaFileHeader& header, const GammaCells& cells);

// What a gamma file sets, filled line by line so that a reader stopped by an error leaves
// what it had read. Values not in the file stay unset (the texts stay empty).
struct GammaFileRead {
    QString txtGamma;
    QString txtDSPgamma;
    QString DSPrefFile;
    std::optional<int> colorOption;
    std::optional<int> useRefData;
};

// Reads the lines of a gamma file into `out` and `cells` (rows from the top, as text). Lines
// without "=" and unknown keys are skipped. More than 1024 codes in a colour line raise the
// subscript error after the table is full; an option number out of 0..3 raises 340, a box value
// out of 0..2 raises 380.
void ReadGammaLines(const QStringList& lines, GammaFileRead& out, GammaCells& cells);

// Why `lines` are not a gamma file the tool wrote ("it has no RED table", "line GREEN holds 12
// codes, not 1024"), or empty when they are: checked before anything is written from them.
QString GammaFileProblem(const QStringList& lines);

// A display reference: the formula text of each colour and the curve it gives.
struct Reference {
    std::array<QString, kGammaColors> FunctionText;
    RefData DSPrefData = EmptyRefData();
};

// Reads a reference file's lines: texts and tables only, nothing evaluated. `ref` is emptied
// first and filled as far as the reader got when more than 1024 numbers raise the subscript error.
void ReadReferenceLines(const QStringList& lines, Reference& ref);
// Evaluates the formulas into the curves, then runs the copies in their fixed order. A curve
// value past the range of a double raises overflow.
void ApplyReference(Reference& ref);

// Lines of a text file, CR LF or LF, any length; a file that can't be read raises 53.
QStringList ReadTextFileLines(const QString& path);
// Replaces `path` with `bytes` in one step: written beside and renamed into place, so a failed
// or killed save leaves the old file whole. Failure raises 75.
void WriteFileWhole(const QString& path, const QByteArray& bytes);

// The exports: each cell's value as a fraction of 1023, clamped to 0..1.
double CellFraction(const QString& cell);
// An ArgyllCMS calibration file (CGATS "CAL", 1024 sets of RGB_I RGB_R RGB_G RGB_B).
QByteArray ArgyllCalText(const GammaCells& cells, const QString& created);
// A 1D .cube LUT of 1024 entries over the domain 0..1.
QByteArray CubeLutText(const GammaCells& cells, const QString& title);

} // namespace telvo::core
