// The progress of long jobs, read from what their windows show: a bar redrawn on a terminal,
// lines in a pipe.
#include "cli/Progress.h"

#include "app/Globals.h"
#include "cli/CliPlatform.h"
#include "cli/Report.h"
#include "firmware/LDR.h"
#include "ir/IRG.h"
#include "app/MajorSubs.h"

#include <QFile>
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

QByteArray ReadLogSince(qint64& offset) {
    QFile log(ui::LogFilePath());
    if (!log.open(QIODevice::ReadOnly)) {
        offset = 0;
        return QByteArray();
    }
    // The log starts afresh with each run: follow it from its start.
    if (log.size() < offset) offset = 0;
    log.seek(offset);
    QByteArray fresh = log.readAll();
    offset += fresh.size();
    return fresh;
}

PipeProgress::PipeProgress(bool on, QObject* parent) : QObject(parent) {
    if (!on) return;
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &PipeProgress::look);
    m_timer->start(50);
}

PipeProgress::~PipeProgress() {
    if (m_timer) look();
}

void PipeProgress::tell(const QString& text) {
    // A step said twice in a row (ShowStatus and ShowStatusLDR of one text) is told once.
    if (text.isEmpty() || text == m_told) return;
    m_told = text;
    // Several ports: each line says which device it came from, as the results do.
    Report& r = Report::instance();
    r.note(r.linePrefix() + text);
}

void PipeProgress::look() {
    if (ui::WindowExists("LDR")) {
        ui::LDR& l = ui::ldr();
        // The title carries the percentage only while a load runs.
        const int tenth = l.windowTitle().contains(QLatin1Char('%'))
                              ? qBound(0, l.prgLoad->value(), 100) / 10
                              : -1;
        // The next image of a list starts again from nothing.
        if (tenth < m_tenth) m_tenth = -1;
        // Each tenth passed is told, even when the bar went past more than one since the last
        // look.
        while (m_tenth < tenth) {
            ++m_tenth;
            if (m_tenth == 0) m_verified = false;
            tell(QStringLiteral("Sending: %1%  ").arg(m_tenth * 10) + l.lblRate->text());
        }
        // The device's verdict comes while the program waits out its reboot, with no status
        // line of its own: a script that cuts the wait short knows then that the image took.
        if (!m_verified) {
            const QString shown = ui::G().ldrText.text();
            const qsizetype at = shown.lastIndexOf(QLatin1String("Verify OK"));
            // Told once its line is whole.
            const qsizetype end = at < 0 ? -1 : shown.indexOf(QLatin1Char('\r'), at);
            if (end >= 0) {
                m_verified = true;
                tell(QStringLiteral("The device verified the image: ") +
                     shown.mid(at, end - at).trimmed());
            }
        }
    }
    // The steps: every status line is written to the log with five blanks behind it, so none
    // is missed however briefly it stood in its window.
    m_pending += ReadLogSince(m_offset);
    const int end = m_pending.lastIndexOf('\n');
    if (end < 0) return;
    for (QByteArray line : m_pending.left(end).split('\n')) {
        while (line.endsWith('\r')) line.chop(1);
        if (line.endsWith("     ")) tell(QString::fromLocal8Bit(line).trimmed());
    }
    m_pending.remove(0, end + 1);
}

} // namespace telvo::cli
