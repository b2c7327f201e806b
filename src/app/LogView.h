#pragma once
// The Details box: paints only the lines in view, newest on top, so that its cost does not grow
// with the run. A double-click empties it.

#include "core/log/LogLines.h"

#include <QAbstractScrollArea>

namespace telvo::ui {

class LogView : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit LogView(QWidget* parent = nullptr);

    void addLine(const QString& line);
    void clear();
    QString Text() const { return m_lines.text(); }
    const core::LogLines& lines() const { return m_lines; }

Q_SIGNALS:
    void DblClick();

protected:
    void paintEvent(QPaintEvent*) override;
    void resizeEvent(QResizeEvent*) override;
    void mouseDoubleClickEvent(QMouseEvent*) override;

private:
    void updateScrollBar();
    void showAdded();
    core::LogLines m_lines;
    int m_added = 0; // lines added since the box last showed them
};

} // namespace telvo::ui
