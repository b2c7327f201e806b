#pragma once
// The grid of the gamma window as a model of 1025 rows by 4 columns: row 0 the header
// ("Address", "Red", "Green", "Blue"), column 0 the address, the rest the table's cells. The view
// shows row 0 as its fixed header row.

#include "core/gamma/Gamma.h"

#include <QAbstractTableModel>
#include <QStringList>
#include <array>
#include <vector>

namespace telvo::ui {

class GammaGrid : public QAbstractTableModel {
    Q_OBJECT
public:
    static constexpr int kRows = core::kGammaRows + 1;
    static constexpr int kCols = core::kGammaColors + 1;

    GammaGrid();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation o, int role) const override;

    // The cell texts as the grid's Row/Col/Text give them.
    QString Text(int row, int col) const;
    void SetText(int row, int col, const QString& text);
    // Every cell empty, header and addresses included.
    void Clear();

    // The colour cells themselves, for the computation and the files; call Changed() after
    // writing them directly.
    core::GammaCells& cells() { return m_cells; }
    const core::GammaCells& cells() const { return m_cells; }
    void Changed(int firstRow = 1, int lastRow = kRows - 1);

private:
    core::GammaCells m_cells;
    std::array<QString, kCols> m_header;
    std::vector<QString> m_address;
};

} // namespace telvo::ui
