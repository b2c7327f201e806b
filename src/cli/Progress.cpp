// The progress of long jobs, from what the routines report of it: a bar redrawn on a terminal,
// lines in a pipe.
#include "cli/Progress.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "cli/CliPlatform.h"
#include "cli/Report.h"
#include "firmware/LDR.h"
#include "ir/IRG.h"

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

QString JobProgress() {
    const Heard& h = HeardSoFar();
    if (h.walk)
        return QStringLiteral("Gen ALL: command %1 of %2, %3 patterns")
            .arg(h.walk->done)
            .arg(h.walk->total)
            .arg(ui::Ir().ButtonCount);
    if (!h.transfer)
        return QString();
    return ProgressLine(h.transfer->percent, h.transfer->text);
}

QByteArray ReadLogSince(qint64& offset) {
    QFile log(ui::LogFilePath());
    if (!log.open(QIODevice::ReadOnly)) {
        offset = 0;
        return QByteArray();
    }
    // The log starts afresh with each run: follow it from its start.
    if (log.size() < offset)
        offset = 0;
    log.seek(offset);
    QByteArray fresh = log.readAll();
    offset += fresh.size();
    return fresh;
}

namespace {
PipeProgress* g_lines = nullptr;
} // namespace

void TellStep(const QString& text) {
    if (g_lines)
        g_lines->step(text);
}

void TellTransfer(const platform::Progress& progress) {
    if (g_lines)
        g_lines->transfer(progress);
}

void TellTransferEnded() {
    if (g_lines)
        g_lines->transferEnded();
}

PipeProgress::PipeProgress(bool on, QObject* parent) : QObject(parent) {
    if (!on)
        return;
    g_lines = this;
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &PipeProgress::look);
    m_timer->start(50);
}

PipeProgress::~PipeProgress() {
    if (!m_timer)
        return;
    look();
    g_lines = nullptr;
}

void PipeProgress::tell(const QString& text) {
    // A step said twice in a row (ShowStatus and ShowStatusLDR of one text) is told once.
    if (text.isEmpty() || text == m_told)
        return;
    m_told = text;
    // Several ports: each line says which device it came from, as the results do.
    Report& r = Report::instance();
    r.note(r.linePrefix() + text);
}

void PipeProgress::step(const QString& text) {
    // The log holds a status with five blanks behind it; of a status of several lines, the lines
    // so ended are its steps (the last, and any other that ends in five blanks), as a log reader
    // has always told them.
    static const QLatin1String kFive("     ");
    for (QString line : (text + kFive).split(QLatin1Char('\n'))) {
        while (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.endsWith(kFive))
            tell(line.trimmed());
    }
}

void PipeProgress::transfer(const platform::Progress& progress) {
    const int tenth = qBound(0, progress.percent, 100) / 10;
    // The next image of a list starts again from nothing.
    if (tenth < m_tenth)
        m_tenth = -1;
    // Each tenth passed is told, even when one step of the transfer went past more than one.
    while (m_tenth < tenth) {
        ++m_tenth;
        if (m_tenth == 0)
            m_verified = false;
        tell(QStringLiteral("Sending: %1%  ").arg(m_tenth * 10) + progress.text);
    }
}

void PipeProgress::transferEnded() {
    m_tenth = -1;
}

void PipeProgress::look() {
    // The device's verdict comes while the program waits out its reboot, with no status line of
    // its own: a script that cuts the wait short knows then that the image took.
    if (m_verified || !ui::WindowExists("LDR"))
        return;
    const QString shown = ui::G().ldrText.text();
    const qsizetype at = shown.lastIndexOf(QLatin1String("Verify OK"));
    // Told once its line is whole.
    const qsizetype end = at < 0 ? -1 : shown.indexOf(QLatin1Char('\r'), at);
    if (end >= 0) {
        m_verified = true;
        tell(QStringLiteral("The device verified the image: ") + shown.mid(at, end - at).trimmed());
    }
}

} // namespace telvo::cli
