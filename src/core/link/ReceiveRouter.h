#pragma once
// The receive handler of the serial line as a state machine fed characters: it sorts what the
// device says into reply packets and boot-loader or console text, and keeps the link's flags.

#include "core/link/LinkTiming.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace telvo::core {

// The shared state of the exchange.
struct LinkState {
    QString SentFrame;
    QString LastCommandType;
    QString LastCommandData;
    QString PartialPacket;
    QString Reply;
    bool InPacket = false;
    bool WaitingReply = false;
    bool TimedOut = false;
    bool BadCommand = false;
    bool DeviceTalking = false;
    QString PowerState;
    QString ReportedSpeedCode;
    QString SpeedCodeSent;
    QString SimPower;
    QString SimSpeedCode;
    QString SimNote;
    QString SimCommandText;
    bool ConsoleActive = false;
    qint16 SpinnerCount = 0;
    bool LoaderFailed = false;
    bool LoaderReady = false;
    bool LoaderAborted = false;
    // A network link's round trip as the exchange measures it, the address it is of, and the
    // frame in flight: when it went out, and until when its reply counts as late after a
    // time-out (clock milliseconds).
    SlowestRecentAnswer RoundTrip;
    QString RoundTripOf;
    qint64 SentAtMs = 0;
    qint64 LateUntilMs = 0;
};

// A text box fed by the line, with the loader's marks found as text arrives rather than by
// searching the whole box after every character: the result is the same, the cost is not.
// The box keeps the last part of what it was given: past kMaxChars it drops whole lines from
// the top down to kKeepChars, so a line that floods it for hours holds a fixed amount of memory.
// A mark once found stays found though its line was dropped, as it would in an unbounded box.
class ConsoleText {
public:
    // Far more than anyone scrolls back through; the drop back to kKeepChars makes the cost of
    // a drop (moving what is kept) a small share of the text that caused it.
    static constexpr qsizetype kMaxChars = qsizetype{256} * 1024;
    static constexpr qsizetype kKeepChars = kMaxChars - kMaxChars / 4;

    const QString& text() const { return m_text; }
    void setText(const QString& text);
    void clear() { setText(QString()); }
    bool isEmpty() const { return m_text.isEmpty(); }
    void append(QChar c);
    void removeLast();
    // Case-blind: does the box hold the word?
    bool holdsFailure() const { return m_marks[0].held() && m_marks[1].held(); }
    bool holdsReady() const { return m_marks[2].held(); }
    // Counts every change, so a window can tell when to repaint.
    quint64 revision() const { return m_revision; }
    // How many leading characters have stayed untouched since `revision` (0 when the whole text
    // was set since): a window that showed that revision need only redo what lies beyond, and
    // a long session costs no more per line than a short one. The count may pass the length
    // the text had then; the caller bounds it by what it showed. Positions are those of the
    // text now: a window first drops from what it showed what headDropped() says went.
    qsizetype keptSince(quint64 revision) const;
    // How many characters have gone from the top since the box was made, all drops together:
    // the difference between two readings is what went in between.
    quint64 headDropped() const { return m_headDropped; }

private:
    // Where the last copy of a loader word ends in the text (-1: none), and whether one went
    // with the lines dropped from the top. A backspace looks again only when it cuts into that
    // last copy, so a spinner costs the same in a full box as in an empty one.
    struct Mark {
        qsizetype end = -1;
        bool dropped = false;
        bool held() const { return dropped || end >= 0; }
    };

    void rescan();
    void scanTail();
    void bound();

    // A backspace: the text was cut to `length` at `revision`. Only cuts shorter than every
    // later one are kept, so lengths rise with revisions and the list stays short.
    struct Cut {
        quint64 revision;
        qsizetype length;
    };

    QString m_text;
    QList<Cut> m_cuts; // since the last setText
    quint64 m_setRevision = 0;
    Mark m_marks[3]; // "failure", "restart.", "frk file now"
    quint64 m_headDropped = 0;
    quint64 m_revision = 0;
};

// The longest frame is 263 characters (a 255-byte data field). A packet that runs on past this
// without its ETX is noise: only its head is kept, which holds all that classifies it.
constexpr qsizetype kMaxPacketChars = 1024;

// What the receive handler asks of the window side, in the order it happens.
class ReceiveSink {
public:
    virtual ~ReceiveSink() = default;
    virtual void EchoReceived(const QString& reply) = 0; // log "Echo: " ...
    virtual void ReplyReceived() = 0;                    // disable the reply timer
    virtual void PromptSeen() = 0;                       // console prompt: cursor to the end
    // A reply packet other than the echo, before it is taken: true when it is the late answer
    // to a frame that already timed out, which is then dropped and leaves the flags alone.
    virtual bool LateReply(const QString& reply) {
        (void)reply;
        return false;
    }
};

// True when the device state word asks for loader text to be shown.
bool IsSpecialState(const QString& deviceState, bool consoleActive);

// Routes every character of `input` (CommEvent 2).
void RouteReceived(const QString& input, bool special, LinkState& link, ConsoleText& ldrText,
                   ConsoleText& dbgText, ReceiveSink& sink);

} // namespace telvo::core
