#include "gamma/GammaGrid.h"

namespace telvo::ui {

GammaGrid::GammaGrid() : m_address(core::kGammaRows) {}

int GammaGrid::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kRows;
}
int GammaGrid::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kCols;
}

QVariant GammaGrid::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    if (role == Qt::DisplayRole)
        return Text(index.row(), index.column());
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);
    return {};
}

QVariant GammaGrid::headerData(int section, Qt::Orientation o, int role) const {
    if (o == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < kCols)
        return m_header[size_t(section)];
    if (o == Qt::Vertical && role == Qt::DisplayRole)
        return section;
    return {};
}

QString GammaGrid::Text(int row, int col) const {
    if (row < 0 || row >= kRows || col < 0 || col >= kCols)
        return {};
    if (row == 0)
        return m_header[size_t(col)];
    if (col == 0)
        return m_address[size_t(row - 1)];
    return m_cells.at(row - 1, col - 1);
}

void GammaGrid::SetText(int row, int col, const QString& text) {
    if (row < 0 || row >= kRows || col < 0 || col >= kCols)
        return;
    if (row == 0) {
        m_header[size_t(col)] = text;
        Q_EMIT headerDataChanged(Qt::Horizontal, col, col);
    } else if (col == 0) {
        m_address[size_t(row - 1)] = text;
    } else {
        m_cells.at(row - 1, col - 1) = text;
    }
    const QModelIndex i = index(row, col);
    Q_EMIT dataChanged(i, i, {Qt::DisplayRole});
}

void GammaGrid::Clear() {
    // Not a model reset: the view keeps its hidden header row and its current cell.
    m_cells.clear();
    m_header.fill(QString());
    m_address.assign(core::kGammaRows, QString());
    Q_EMIT dataChanged(index(0, 0), index(kRows - 1, kCols - 1), {Qt::DisplayRole});
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, kCols - 1);
}

void GammaGrid::Changed(int firstRow, int lastRow) {
    Q_EMIT dataChanged(index(firstRow, 1), index(lastRow, kCols - 1), {Qt::DisplayRole});
}

} // namespace telvo::ui
