#include "app/LogView.h"

#include "app/Accessible.h"

#include <QMetaObject>
#include <QPainter>
#include <QScrollBar>

namespace telvo::ui {

LogView::LogView(QWidget* parent) : QAbstractScrollArea(parent) {
    InstallAccessibleFactory();
    setFont(QFont(QStringLiteral("Monospace"), 9));
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
}

void LogView::addLine(const QString& line) {
    m_lines.add(line);
    // The scroll bar and the repaint follow at the next pass of the event loop, which a sender
    // reaches only after its frame has gone: a line logged between a reply and the next frame
    // costs the line no time, and a burst of lines costs one update.
    if (m_added++ == 0)
        QMetaObject::invokeMethod(this, &LogView::showAdded, Qt::QueuedConnection);
}

void LogView::showAdded() {
    if (m_added == 0)
        return;
    // A reader scrolled down keeps the lines under the eye as new ones come in on top.
    QScrollBar* bar = verticalScrollBar();
    const int at = bar->value();
    updateScrollBar();
    if (at > 0)
        bar->setValue(at + m_added);
    m_added = 0;
    if (isVisible())
        viewport()->update();
}

void LogView::clear() {
    m_lines.clear();
    m_added = 0;
    updateScrollBar();
    viewport()->update();
}

void LogView::updateScrollBar() {
    const int lineHeight = fontMetrics().height();
    const int visible = lineHeight > 0 ? viewport()->height() / lineHeight : 0;
    verticalScrollBar()->setRange(0, int(qMax<qsizetype>(0, m_lines.count() - visible)));
    verticalScrollBar()->setPageStep(visible);
}

void LogView::resizeEvent(QResizeEvent* e) {
    QAbstractScrollArea::resizeEvent(e);
    updateScrollBar();
}

void LogView::paintEvent(QPaintEvent*) {
    QPainter p(viewport());
    const int lineHeight = fontMetrics().height();
    const qsizetype first = verticalScrollBar()->value();
    int y = fontMetrics().ascent() + 2;
    for (qsizetype i = first; i < m_lines.count() && y - lineHeight < viewport()->height(); ++i) {
        p.drawText(4, y, m_lines.row(i));
        y += lineHeight;
    }
}

void LogView::mouseDoubleClickEvent(QMouseEvent*) {
    Q_EMIT DblClick();
}

} // namespace telvo::ui
