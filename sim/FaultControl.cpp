#include "FaultControl.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorix::sim {

namespace {
// A flood or garbage asked for in one line is capped, so that a typing mistake cannot fill the
// machine's memory.
constexpr qint64 kMaxBytes = 256LL * 1024 * 1024;
} // namespace

FaultControl::Command FaultControl::Parse(const QByteArray& line) {
    const QList<QByteArray> words = line.simplified().split(' ');
    Command c;
    if (words.isEmpty() || words.first().isEmpty())
        return c;
    const QByteArray word = words.first().toLower();
    bool ok = words.size() == 2;
    const qint64 n = ok ? words.at(1).toLongLong(&ok) : 0;
    if (word == "reboot" && words.size() == 1)
        c.kind = Command::Reboot;
    else if (!ok || n < 0 || n > kMaxBytes)
        return c;
    else if (word == "garbage")
        c.kind = Command::Garbage;
    else if (word == "flood")
        c.kind = Command::Flood;
    else if (word == "silence")
        c.kind = Command::Silence;
    else if (word == "cut")
        c.kind = Command::Cut;
    else if (word == "late")
        c.kind = Command::Late;
    else if (word == "splice")
        c.kind = Command::Splice;
    c.amount = c.kind == Command::Unknown ? 0 : n;
    return c;
}

bool FaultControl::open(const QString& path, QString* error) {
    const QByteArray name = QFile::encodeName(path);
    struct stat st {};
    if (::stat(name.constData(), &st) != 0 && ::mkfifo(name.constData(), 0600) != 0) {
        *error = QStringLiteral("cannot make %1: %2")
                     .arg(path, QString::fromLocal8Bit(::strerror(errno)));
        return false;
    }
    m_fd = ::open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (m_fd < 0) {
        *error = QStringLiteral("cannot open %1: %2")
                     .arg(path, QString::fromLocal8Bit(::strerror(errno)));
        return false;
    }
    m_reader = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Read);
    connect(m_reader.get(), &QSocketNotifier::activated, this, [this] { readLines(); });
    return true;
}

void FaultControl::readLines() {
    char buf[512];
    ssize_t n = 0;
    while ((n = ::read(m_fd, buf, sizeof buf)) > 0)
        m_partial.append(buf, qsizetype(n));
    qsizetype end = 0;
    while ((end = m_partial.indexOf('\n')) >= 0) {
        const QByteArray line = m_partial.left(end).trimmed();
        m_partial.remove(0, end + 1);
        if (m_handler && !line.isEmpty())
            m_handler(Parse(line), line);
    }
    if (m_partial.size() > 4096) // a line nobody ends is no command
        m_partial.clear();
}

void FaultControl::apply(const Command& c, qint64 nowUs) {
    switch (c.kind) {
    case Command::Silence:
        m_muteUntilUs = qMax(m_muteUntilUs, nowUs + c.amount * 1000);
        break;
    case Command::Cut:
        m_cutUntilUs = qMax(m_cutUntilUs, nowUs + c.amount * 1000);
        break;
    case Command::Late:
        m_holdUs = c.amount * 1000;
        break;
    case Command::Splice:
        m_spliceBytes = c.amount;
        break;
    default:
        break;
    }
}

QByteArray FaultControl::splice(const QByteArray& output, qsizetype* at) {
    *at = -1;
    if (m_spliceBytes <= 0)
        return output;
    // STX, "21", two length digits, a two-character identifier, NUL: the value follows.
    constexpr qsizetype kHead = 8;
    const qsizetype start = output.indexOf("\x02"
                                           "21");
    if (start < 0 || output.size() < start + kHead)
        return output;
    *at = start + kHead;
    QByteArray out = output;
    out.insert(*at, garbage(m_spliceBytes));
    m_spliceBytes = 0;
    return out;
}

QByteArray FaultControl::garbage(qint64 n) {
    QByteArray out(n, Qt::Uninitialized);
    for (qint64 i = 0; i < n; ++i) {
        m_seed = m_seed * 1664525u + 1013904223u;
        char c = char((m_seed >> 24) & 0xff);
        if (c == 2 || c == 3) // STX and ETX would make a frame of noise: that is another fault
            c = '?';
        out[i] = c;
    }
    return out;
}

} // namespace vorix::sim
