#pragma once
// Gamma tables: 1024 input codes to 10-bit output codes for red, green and blue, from a power
// curve or from a display's reference data. The table is kept as the text of its cells, as the
// window's grid shows it, because an edited cell keeps the text the user typed.

#include <QString>
#include <array>
#include <functional>
#include <vector>

namespace telvo::core {

constexpr int kGammaRows = 1024;
constexpr int kGammaColors = 3; // 0 red, 1 green, 2 blue
constexpr double kGammaMax = 1023.0;

// Run-time errors of the computation besides overflow and division by zero.
constexpr int kInvalidCall = 5;

// The 1024 x 3 cells of the table; row 0..1023 is input code 0..1023, column 0..2 the colour.
class GammaCells {
public:
    GammaCells() { clear(); }
    QString& at(int row, int color) { return m_cells[index(row, color)]; }
    const QString& at(int row, int color) const { return m_cells[index(row, color)]; }
    // Every cell empty, as a cleared grid holds it (its value reads as 0).
    void clear();
    bool operator==(const GammaCells& other) const { return m_cells == other.m_cells; }

private:
    static size_t index(int row, int color);
    std::vector<QString> m_cells;
};

// Reference curve of a display per colour, in code units, not rounded.
using RefData = std::vector<std::array<double, kGammaColors>>;
RefData EmptyRefData();

// A code as the grid writes it: four digits, a minus before them when negative.
QString FormatCode(int code);
// One decimal, as a gamma value is shown.
QString FormatTenths(double value);

// What the first step of a computation settles.
struct Exponent {
    bool referenceMode = false;
    double g = 0; // unrounded; unused in reference mode
};

// The boxes the first step reads and may rewrite.
struct GammaInputs {
    bool useReference = false; // chkDSPRef
    QString txtGamma;
    QString txtDSPgamma;
    double sourceGamma = 0.45;
};

// Settles exponent and mode; fills txtDSPgamma and txtGamma as the window shows them.
// A source or display gamma of 0 raises the division's run-time error.
Exponent SettleExponent(GammaInputs& in);

// The code of input `i` (0..1023). `colorOption` 0..3 picks the reference column (All uses red).
// Raises RuntimeError for what the classic arithmetic refuses (overflow, 0 to a negative power,
// log of a negative value, division by zero).
qint16 GammaCode(int i, const Exponent& e, const RefData& ref, int colorOption, double sourceGamma);

// Fills the columns of `colorOption` (0: all three) row by row; `beforeRow` runs before each row
// (the window yields there). An error leaves the table as far as it was filled.
void ComputeTable(const Exponent& e, const RefData& ref, int colorOption, double sourceGamma,
                  GammaCells& cells, const std::function<void(int)>& beforeRow = {});

// The pow of the classic arithmetic: errors where it has them, overflow for an infinite result.
double ClassicPow(double base, double exponent);

} // namespace telvo::core
