#include "core/log/LogLines.h"

#include <algorithm>

namespace telvo::core {

void LogLines::add(const QString& line) {
    const qsizetype n = line.size();
    if (m_blocks.empty() || m_blocks.back().size - m_blocks.back().used < n) {
        // A line longer than a block gets a block of its own size.
        Block b;
        b.size = std::max(kBlockChars, n);
        b.chars = std::make_unique_for_overwrite<char16_t[]>(size_t(b.size));
        m_blocks.push_back(std::move(b));
    }
    Block& b = m_blocks.back();
    std::copy_n(line.utf16(), n, b.chars.get() + b.used);
    m_index.push_back({quint32(m_blocks.size() - 1), quint32(b.used), quint32(n)});
    b.used += n;
    ++m_revision;
}

void LogLines::clear() {
    std::vector<Block>().swap(m_blocks);
    std::vector<Line>().swap(m_index);
    ++m_revision;
}

QString LogLines::row(qsizetype i) const {
    const Line& l = m_index[m_index.size() - 1 - size_t(i)];
    return QString::fromRawData(
        reinterpret_cast<const QChar*>(m_blocks[l.block].chars.get() + l.offset),
        qsizetype(l.length));
}

QString LogLines::text() const {
    qsizetype size = 0;
    for (const Line& l : m_index)
        size += qsizetype(l.length) + 2;
    QString out;
    out.reserve(size);
    for (qsizetype i = 0; i < count(); ++i) {
        out += row(i);
        out += QStringLiteral("\r\n");
    }
    return out;
}

qsizetype LogLines::capacityChars() const {
    qsizetype n = 0;
    for (const Block& b : m_blocks)
        n += b.size;
    return n;
}

qsizetype LogLines::bytes() const {
    qsizetype n = qsizetype(m_index.capacity()) * qsizetype(sizeof(Line));
    for (const Block& b : m_blocks)
        n += b.used * qsizetype(sizeof(char16_t));
    return n;
}

QString LogTimeText(const QTime& t) {
    return QStringLiteral("%1:%2.%3")
        .arg(t.minute(), 2, 10, QLatin1Char('0'))
        .arg(t.second(), 2, 10, QLatin1Char('0'))
        .arg(t.second());
}

} // namespace telvo::core
