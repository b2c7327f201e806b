#include "core/link/ReceiveRouter.h"

#include "core/text/Classic.h"

#include <algorithm>
#include <limits>

namespace telvo::core {

namespace {
// The loader's words, in the order of ConsoleText's marks.
const QString kWords[3] = {QStringLiteral("failure"), QStringLiteral("restart."),
                           QStringLiteral("frk file now")};

// A sign of life. The count stops at its largest value: a spinner that turns for hours outside a
// transfer (where no watchdog tick resets it) is still just alive, never an overflow.
void countSpinner(LinkState& link) {
    if (link.SpinnerCount < std::numeric_limits<qint16>::max())
        ++link.SpinnerCount;
}

bool tailIs(const QString& text, const QString& word) {
    return text.size() >= word.size() &&
           QStringView(text).right(word.size()).compare(word, Qt::CaseInsensitive) == 0;
}

// Where the last copy of `word` in the first `length` characters of `text` ends; -1 for none.
qsizetype lastEnd(const QString& text, const QString& word, qsizetype length) {
    if (length < word.size())
        return -1;
    const qsizetype at = QStringView(text).left(length).lastIndexOf(word, Qt::CaseInsensitive);
    return at < 0 ? -1 : at + word.size();
}
} // namespace

void ConsoleText::setText(const QString& text) {
    m_text = text;
    ++m_revision;
    m_setRevision = m_revision;
    m_cuts.clear();
    for (Mark& m : m_marks)
        m = Mark{};
    bound();
    rescan();
}

void ConsoleText::append(QChar c) {
    m_text.append(c);
    ++m_revision;
    scanTail();
    if (m_text.size() > kMaxChars)
        bound();
}

void ConsoleText::bound() {
    if (m_text.size() <= kMaxChars)
        return;
    const auto lineEnd = [](QChar c) { return c == QLatin1Char('\r') || c == QLatin1Char('\n'); };
    // The kept part begins after the first line end that leaves at most kKeepChars; a line
    // longer than that on its own is kept from the middle, as much of its end as fits.
    qsizetype from = m_text.size() - kKeepChars;
    qsizetype end = from - 1;
    while (end < m_text.size() && !lineEnd(m_text.at(end)))
        ++end;
    if (end < m_text.size()) {
        while (end < m_text.size() && lineEnd(m_text.at(end)))
            ++end;
        from = end;
    } else if (m_text.at(from).isLowSurrogate()) {
        ++from; // never half a character
    }
    m_text.remove(0, from);
    m_headDropped += quint64(from);
    for (Cut& c : m_cuts)
        c.length = std::max<qsizetype>(0, c.length - from);
    // Cuts into what went are all cuts to nothing now: the latest of them answers for them all
    // (keptSince takes the first cut after a revision), so the list stays as short as the box.
    const auto zeros =
        std::find_if(m_cuts.cbegin(), m_cuts.cend(), [](const Cut& c) { return c.length > 0; }) -
        m_cuts.cbegin();
    if (zeros > 1)
        m_cuts.remove(0, zeros - 1);
    for (int i = 0; i < 3; ++i) {
        Mark& m = m_marks[i];
        if (m.end < 0)
            continue;
        m.end -= from;
        // The last copy began in what went: no copy is left, and the word stands all the same.
        if (m.end < kWords[i].size()) {
            m.end = -1;
            m.dropped = true;
        }
    }
}

void ConsoleText::removeLast() {
    if (m_text.isEmpty())
        return;
    m_text.chop(1);
    ++m_revision;
    while (!m_cuts.isEmpty() && m_cuts.constLast().length >= m_text.size())
        m_cuts.removeLast();
    m_cuts.append({m_revision, m_text.size()});
    // A word goes only when its last copy loses its last character; an earlier copy may stand.
    for (int i = 0; i < 3; ++i)
        if (m_marks[i].end > m_text.size())
            m_marks[i].end = lastEnd(m_text, kWords[i], m_text.size());
}

qsizetype ConsoleText::keptSince(quint64 revision) const {
    if (revision < m_setRevision)
        return 0;
    // The first cut after `revision` is the shortest of those after it.
    const auto it = std::upper_bound(m_cuts.cbegin(), m_cuts.cend(), revision,
                                     [](quint64 r, const Cut& c) { return r < c.revision; });
    return it == m_cuts.cend() ? m_text.size() : it->length;
}

void ConsoleText::rescan() {
    for (int i = 0; i < 3; ++i)
        m_marks[i].end = lastEnd(m_text, kWords[i], m_text.size());
}

void ConsoleText::scanTail() {
    // Each word ends in a character of its own ('e', '.', 'w'): only that one can complete it.
    const QChar last = m_text.back().toLower();
    for (int i = 0; i < 3; ++i)
        if (last == kWords[i].back() && tailIs(m_text, kWords[i]))
            m_marks[i].end = m_text.size();
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
                if (!ldrText.isEmpty())
                    ldrText.append(ch);
                if (!dbgText.isEmpty())
                    dbgText.append(ch);
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
            } else if (sink.LateReply(link.Reply)) {
                link.Reply.clear();
            } else {
                sink.ReplyReceived();
                link.TimedOut = false;
                link.WaitingReply = false;
                link.DeviceTalking = true;
            }
        } else if (link.InPacket) {
            if (link.PartialPacket.size() < kMaxPacketChars)
                link.PartialPacket.append(ch);
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
