#pragma once
// The run's log as the Details box shows it: newest line on top. Lines are kept oldest first
// and read backwards, so that adding the 100,000th line costs what adding the 100th did.
//
// The box grows for the whole run, so its lines are packed end to end in large blocks rather
// than held one allocation each: a line costs its characters and a small index entry, not a
// heap block of its own, and emptying the box gives whole blocks back instead of leaving
// thousands of holes between the program's other allocations.

#include <QString>
#include <QTime>
#include <memory>
#include <vector>

namespace telvo::core {

class LogLines {
public:
    // Characters a block holds (256 KB): far past any line, few enough blocks for a long run.
    static constexpr qsizetype kBlockChars = qsizetype{128} * 1024;

    void add(const QString& line);
    // Emptied, the box gives its memory back too: a run of days may have kept a million lines.
    void clear();
    qsizetype count() const { return qsizetype(m_index.size()); }
    // Row 0 is the newest line. The text is the box's own, not a copy: read it before the box
    // is next emptied.
    QString row(qsizetype i) const;
    // The box's whole text: each line and CR LF, newest first.
    QString text() const;
    quint64 revision() const { return m_revision; }
    // Characters the blocks can hold, used or not: what the box costs besides its index.
    qsizetype capacityChars() const;
    // What the box's lines hold in memory: their characters and the index over them (the
    // unwritten end of the last block is never touched, so it costs nothing resident).
    qsizetype bytes() const;

private:
    struct Line {
        quint32 block;
        quint32 offset;
        quint32 length;
    };
    struct Block {
        std::unique_ptr<char16_t[]>
            chars; // left unwritten past `used`: untouched pages cost nothing
        qsizetype size = 0;
        qsizetype used = 0;
    };

    std::vector<Block> m_blocks;
    std::vector<Line> m_index;
    quint64 m_revision = 0;
};

// The time of a log line: the pattern "nn:ss.s" as the classic formatter reads it, minutes,
// seconds, a point, and the seconds again without a leading zero; it gives no fractions.
QString LogTimeText(const QTime& t);

} // namespace telvo::core
