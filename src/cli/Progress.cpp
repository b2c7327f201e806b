// The progress of long jobs on a terminal, read from what their windows show.
#include "app/Globals.h"
#include "cli/CliPlatform.h"
#include "firmware/LDR.h"
#include "ir/IRG.h"

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

} // namespace telvo::cli
