// `console`: the system debugger (DBG) on the terminal. The window's ON button opens the device's
// debugger and its exit closes it; between them a terminal is raw, each key going to the device
// as typed (the device echoes), until Ctrl-]. Lines from a pipe go through the window's Send.
#include "app/Globals.h"
#include "cli/Jobs.h"
#include "cli/Report.h"
#include "link/DBG.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "settings/SCL.h"

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <termios.h>
#include <unistd.h>

namespace telvo::cli {

namespace {

constexpr char kCtrlBracket = 0x1d;

// The terminal as it was, put back however the console ends.
class RawTerminal {
public:
    RawTerminal() : m_raw(::isatty(0) != 0 && ::tcgetattr(0, &m_saved) == 0) {
        if (!m_raw)
            return;
        termios raw = m_saved;
        ::cfmakeraw(&raw);
        ::tcsetattr(0, TCSANOW, &raw);
    }
    ~RawTerminal() {
        if (m_raw)
            ::tcsetattr(0, TCSANOW, &m_saved);
    }
    bool raw() const { return m_raw; }

private:
    termios m_saved{};
    bool m_raw;
};

// What the debugger's box shows, kept in step on standard output: only its new tail, and
// backspaces for what the device took back.
class Mirror {
public:
    void sync() {
        const core::ConsoleText& t = ui::G().dbgText;
        if (t.revision() == m_revision)
            return;
        // What the box dropped from its top stays on the terminal, scrolled away.
        const quint64 dropped = t.headDropped() - m_headDropped;
        m_headDropped = t.headDropped();
        m_shown = dropped >= quint64(m_shown) ? 0 : m_shown - qsizetype(dropped);
        const qsizetype kept = qMin(t.keptSince(m_revision), m_shown);
        QString out;
        for (qsizetype i = kept; i < m_shown; ++i)
            out += QStringLiteral("\b \b");
        out += t.text().mid(kept);
        Out(out);
        m_shown = t.text().size();
        m_revision = t.revision();
    }
    quint64 revision() const { return ui::G().dbgText.revision(); }

private:
    quint64 m_revision = ~quint64(0);
    qsizetype m_shown = 0;
    quint64 m_headDropped = ui::G().dbgText.headDropped();
};

// Yields until the box has been still for a moment (the device has said what it had to say),
// or a few seconds have gone.
void untilQuiet(Mirror& m) {
    QElapsedTimer quiet, total;
    quiet.start();
    total.start();
    quint64 seen = m.revision();
    while (quiet.elapsed() < 500 && total.elapsed() < 5000) {
        ui::Pause(50);
        m.sync();
        if (m.revision() != seen) {
            seen = m.revision();
            quiet.restart();
        }
    }
}

} // namespace

int ConsoleJob(const Options&) {
    ui::DBG& d = ui::dbg();
    Mirror mirror;
    mirror.sync();
    ui::G().dbgText.clear();
    d.cmdDbgr_Click();
    RawTerminal terminal;
    Report::instance().note(terminal.raw()
                                ? QStringLiteral("Console open: Ctrl-] ends it.\r")
                                : QStringLiteral("Console open: the end of the input ends it."));
    bool done = false;
    QByteArray pending;
    QStringList lines;
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char buf[256];
        const ssize_t n = ::read(0, buf, sizeof buf);
        if (n <= 0) {
            input.setEnabled(false);
            done = true;
            return;
        }
        if (!terminal.raw()) {
            pending.append(buf, n);
            qsizetype nl = 0;
            while ((nl = pending.indexOf('\n')) >= 0) {
                lines << QString::fromLocal8Bit(pending.left(nl)).remove(QLatin1Char('\r'));
                pending.remove(0, nl + 1);
            }
            return;
        }
        for (ssize_t i = 0; i < n && !done; ++i) {
            if (buf[i] == kCtrlBracket) {
                done = true;
                break;
            }
            // Enter ends a line as the window's Send does: CR LF.
            ui::scl().P1->Output(buf[i] == '\r' ? QStringLiteral("\r\n")
                                                : QString(QLatin1Char(buf[i])));
        }
    });
    if (!terminal.raw())
        untilQuiet(mirror);
    while (!done || !lines.isEmpty()) {
        if (!lines.isEmpty()) {
            d.txtSend->setText(lines.takeFirst());
            d.cmdsend_Click();
            untilQuiet(mirror);
            continue;
        }
        platform::DoEvents();
        mirror.sync();
    }
    if (!terminal.raw() && !pending.isEmpty()) {
        d.txtSend->setText(QString::fromLocal8Bit(pending).remove(QLatin1Char('\r')));
        d.cmdsend_Click();
        untilQuiet(mirror);
    }
    mirror.sync();
    // The window's Exit: the debugger is told to close.
    d.cmdExit_Click();
    if (terminal.raw())
        Out(QStringLiteral("\r\n"));
    return kDone;
}

} // namespace telvo::cli
