// The progress of long jobs, read from what their windows show: a bar redrawn on a terminal,
// lines in a pipe.
#include "cli/Progress.h"

#include "app/Accessible.h"
#include "app/Globals.h"
#include "cli/CliPlatform.h"
#include "cli/Report.h"
#include "firmware/LDR.h"
#include "ir/IRG.h"
#include "settings/SCL.h"

#include <QTimer>

namespace telvo::cli {

QString ProgressLine(int percent, const QString& rate) {
    constexpr int kBar = 30;
    const int filled = qBound(0, percent, 100) * kBar / 100;
    return QStringLiteral("[") + QString(filled, QLatin1Char('#')) +
           QString(kBar - filled, QLatin1Char(' ')) + QStringLiteral("] ") +
           QStringLiteral("%1%").arg(percent, 3) + QStringLiteral("  ") + rate;
}

namespace {
ui::IRG* g_walk = nullptr;
} // namespace

void WatchGenAll(ui::IRG* window) { g_walk = window; }

QString JobProgress() {
    if (g_walk && !g_walk->prgGenAll->isHidden())
        return QStringLiteral("Gen ALL: command %1 of %2, %3 patterns")
            .arg(g_walk->prgGenAll->value())
            .arg(g_walk->prgGenAll->maximum())
            .arg(ui::Ir().ButtonCount);
    if (!ui::WindowExists("LDR")) return QString();
    ui::LDR& l = ui::ldr();
    // The title carries the percentage only while a transfer runs.
    if (!l.windowTitle().contains(QLatin1Char('%'))) return QString();
    return ProgressLine(l.prgLoad->value(), l.lblRate->text());
}

namespace {

// A status line's text when it changed since `told` (which then holds it), else nothing.
QString fresh(const QString& now, QString& told) {
    const QString text = now.simplified();
    if (text.isEmpty() || text == told) return QString();
    told = text;
    return text;
}

} // namespace

PipeProgress::PipeProgress(bool on, QObject* parent) : QObject(parent) {
    if (!on) return;
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &PipeProgress::look);
    m_timer->start(50);
}

void PipeProgress::look() {
    Report& r = Report::instance();
    if (ui::WindowExists("SCL")) {
        const QString text = fresh(ui::scl().lblMessage->text(), m_mainStatus);
        if (!text.isEmpty()) r.note(text);
    }
    if (!ui::WindowExists("LDR")) return;
    ui::LDR& l = ui::ldr();
    const QString text = fresh(l.lblMessage->text(), m_loaderStatus);
    if (!text.isEmpty()) r.note(text);
    // The title carries the percentage only while a transfer runs.
    if (!l.windowTitle().contains(QLatin1Char('%'))) {
        m_tenth = -1;
        return;
    }
    const int percent = qBound(0, l.prgLoad->value(), 100);
    if (percent / 10 <= m_tenth) return;
    m_tenth = percent / 10;
    r.note(QStringLiteral("Sending: %1%  ").arg(m_tenth * 10) + l.lblRate->text());
}

} // namespace telvo::cli
