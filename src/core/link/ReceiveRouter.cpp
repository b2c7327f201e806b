#include "core/link/ReceiveRouter.h"

#include "core/text/Classic.h"

#include <algorithm>

namespace telvo::core {

namespace {
const QString kFailure = QStringLiteral("failure");
const QString kRestart = QStringLiteral("restart.");
const QString kReady = QStringLiteral("frk file now");

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
    rescan();
}

void ConsoleText::append(QChar c) {
    m_text.append(c);
    ++m_revision;
    scanTail();
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
    m_hasFailure = m_text.contains(kFailure, Qt::CaseInsensitive);
    m_hasRestart = m_text.contains(kRestart, Qt::CaseInsensitive);
    m_hasReady = m_text.contains(kReady, Qt::CaseInsensitive);
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
            link.SpinnerCount = AddInt(link.SpinnerCount, 1);
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
            } else if (sink.LateReply(link.Reply)) {
                link.Reply.clear();
            } else {
                sink.ReplyReceived();
                link.TimedOut = false;
                link.WaitingReply = false;
                link.DeviceTalking = true;
            }
        } else if (link.InPacket) {
            link.PartialPacket.append(ch);
            link.DeviceTalking = true;
        } else if (special) {
            ldrText.append(ch);
            dbgText.append(ch);
            if (ch == QLatin1Char('\\') || ch == QLatin1Char('/') || ch == QLatin1Char('|') ||
                ch == QLatin1Char('-')) {
                link.DeviceTalking = false;
                link.SpinnerCount = AddInt(link.SpinnerCount, 1);
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
