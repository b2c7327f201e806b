#pragma once
// The run's log as the Details box shows it: newest line on top. Lines are kept oldest first
// and read backwards, so that adding the 100,000th line costs what adding the 100th did.

#include <QString>
#include <QTime>
#include <vector>

namespace telvo::core {

class LogLines {
public:
    void add(const QString& line) {
        m_lines.push_back(line);
        ++m_revision;
    }
    // Emptied, the box gives its memory back too: a run of days may have kept a million lines.
    void clear() {
        std::vector<QString>().swap(m_lines);
        ++m_revision;
    }
    qsizetype count() const { return qsizetype(m_lines.size()); }
    // Row 0 is the newest line.
    const QString& row(qsizetype i) const { return m_lines[m_lines.size() - 1 - size_t(i)]; }
    // The box's whole text: each line and CR LF, newest first.
    QString text() const;
    quint64 revision() const { return m_revision; }

private:
    std::vector<QString> m_lines;
    quint64 m_revision = 0;
};

// The time of a log line: the pattern "nn:ss.s" as the classic formatter reads it, minutes,
// seconds, a point, and the seconds again without a leading zero; it gives no fractions.
QString LogTimeText(const QTime& t);

} // namespace telvo::core
