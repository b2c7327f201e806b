#include "core/link/ReceiveRouter.h"

#include "core/text/Classic.h"

#include <algorithm>
#include <limits>

namespace telvo::core {

namespace {
const QString kFailure = QStringLiteral("failure");
const QString kRestart = QStringLiteral("restart.");
const QString kReady = QStringLiteral("frk file now");

// A sign of life. The count stops at its largest value: a spinner that turns for hours outside a
// transfer (where no watchdog tick resets it) is still just alive, never an overflow.
void countSpinner(LinkState& link) {
    if (link.SpinnerCount < std::numeric_limits<qint16>::max()) ++link.SpinnerCount;
}

bool tailIs(const QString& text, const QString& word) {
    return text.size() >= word.size() &&
           QStringView(text).right(word.size()).compare(word, Qt::CaseInsensitive) == 0;
}
} // namespace

void ConsoleText::setText(const QString& text) {
    m_text = text;
    ++m_revision;
    m_setRevision = m_revision;
    m_cuts.clear();
    m_droppedFailure = m_droppedRestart = m_droppedReady = false;
    bound();
    rescan();
}

void ConsoleText::append(QChar c) {
    m_text.append(c);
    ++m_revision;
    scanTail();
    if (m_text.size() > kMaxChars) bound();
}

void ConsoleText::bound() {
    if (m_text.size() <= kMaxChars) return;
    const auto lineEnd = [](QChar c) { return c == QLatin1Char('\r') || c == QLatin1Char('\n'); };
    // The kept part begins after the first line end that leaves at most kKeepChars; a line
    // longer than that on its own is kept from the middle, as much of its end as fits.
    qsizetype from = m_text.size() - kKeepChars;
    qsizetype end = from - 1;
    while (end < m_text.size() && !lineEnd(m_text.at(end))) ++end;
    if (end < m_text.size()) {
        while (end < m_text.size() && lineEnd(m_text.at(end))) ++end;
        from = end;
    } else if (m_text.at(from).isLowSurrogate()) {
        ++from; // never half a character
    }
    const bool failure = m_hasFailure, restart = m_hasRestart, ready = m_hasReady;
    m_text.remove(0, from);
    m_headDropped += quint64(from);
    for (Cut& c : m_cuts) c.length = std::max<qsizetype>(0, c.length - from);
    rescan();
    m_droppedFailure = m_droppedFailure || (failure && !m_hasFailure);
    m_droppedRestart = m_droppedRestart || (restart && !m_hasRestart);
    m_droppedReady = m_droppedReady || (ready && !m_hasReady);
    rescan();
}

void ConsoleText::removeLast() {
    if (m_text.isEmpty()) return;
    m_text.chop(1);
    ++m_revision;
    while (!m_cuts.isEmpty() && m_cuts.constLast().length >= m_text.size()) m_cuts.removeLast();
    m_cuts.append({m_revision, m_text.size()});
    // A mark can only vanish when its last character goes; look again then.
    if (m_hasFailure || m_hasRestart || m_hasReady) rescan();
}

qsizetype ConsoleText::keptSince(quint64 revision) const {
    if (revision < m_setRevision) return 0;
    // The first cut after `revision` is the shortest of those after it.
    const auto it = std::upper_bound(m_cuts.cbegin(), m_cuts.cend(), revision,
                                     [](quint64 r, const Cut& c) { return r < c.revision; });
    return it == m_cuts.cend() ? m_text.size() : it->length;
}

void ConsoleText::rescan() {
    m_hasFailure = m_droppedFailure || m_text.contains(kFailure, Qt::CaseInsensitive);
    m_hasRestart = m_droppedRestart || m_text.contains(kRestart, Qt::CaseInsensitive);
    m_hasReady = m_droppedReady || m_text.contains(kReady, Qt::CaseInsensitive);
}

void ConsoleText::scanTail() {
    if (!m_hasFailure && tailIs(m_text, kFailure)) m_hasFailure = true;
    if (!m_hasRestart && tailIs(m_text, kRestart)) m_hasRestart = true;
    if (!m_hasReady && tailIs(m_text, kReady)) m_hasReady = true;
}

bool IsSpecialState(const QString& deviceState, bool consoleActive) {
    return SameText(deviceState, QStringLiteral("Resetting")) ||
           SameText(deviceState, QStringLiteral("WAITING")) ||
           SameText(deviceState, QStringLiteral("OC LOADING")) || consoleActive;
}

void RouteReceived(const QString& input, bool special, LinkState& link, ConsoleText& ldrText,
                   ConsoleText& dbgText, ReceiveSink& sink) {
    for (QChar ch : input) {
        const ushort code = ch.unicode();
        if (code == 13 || code == 10) {
            if (special) {
                if (!ldrText.isEmpty()) ldrText.append(ch);
                if (!dbgText.isEmpty()) dbgText.append(ch);
            }
        } else if (code == 8) {
            if (special) {
                ldrText.removeLast();
                dbgText.removeLast();
            }
            link.DeviceTalking = false;
            countSpinner(link);
        } else if (code == 2) {
            link.InPacket = true;
            link.PartialPacket = QString(ch);
            link.DeviceTalking = true;
        } else if (code == 3) {
            link.InPacket = false;
            link.Reply = link.PartialPacket + ch;
            link.PartialPacket.clear();
            if (link.Reply == link.SentFrame) {
                // The echo of the command: the wait goes on.
                sink.EchoReceived(link.Reply);
                link.Reply.clear();
            } else {
                sink.ReplyReceived();
                link.TimedOut = false;
                link.WaitingReply = false;
                link.DeviceTalking = true;
            }
        } else if (link.InPacket) {
            if (link.PartialPacket.size() < kMaxPacketChars) link.PartialPacket.append(ch);
            link.DeviceTalking = true;
        } else if (special) {
            ldrText.append(ch);
            dbgText.append(ch);
            if (ch == QLatin1Char('\\') || ch == QLatin1Char('/') || ch == QLatin1Char('|') ||
                ch == QLatin1Char('-')) {
                link.DeviceTalking = false;
                countSpinner(link);
            }
        }
        if (!link.ConsoleActive) {
            if (ldrText.holdsFailure()) {
                link.LoaderFailed = true;
                link.DeviceTalking = false;
            }
            if (ldrText.holdsReady()) {
                link.LoaderReady = true;
                link.DeviceTalking = false;
            }
        } else if (ch == QLatin1Char('>')) {
            link.DeviceTalking = true;
            sink.PromptSeen();
        }
    }
}

} // namespace telvo::core
