#include "core/firmware/FirmwareFiles.h"

#include "core/config/IniFile.h"
#include "core/text/Classic.h"

namespace telvo::core {

QByteArray FormatFileList(const QStringList& entries) {
    QByteArray out;
    for (const QString& e : entries) {
        out += e.toUtf8();
        out += "\r\n";
    }
    return out;
}

QStringList ParseFileList(const QByteArray& bytes) {
    return SplitTextLines(bytes);
}

QString FirmwareImageProblem(const QByteArray& head) {
    if (head.isEmpty())
        return QStringLiteral("it is empty");
    for (const char c : head) {
        const auto b = static_cast<unsigned char>(c);
        if ((b < 0x20 && c != '\r' && c != '\n' && c != '\t') || b >= 0x7f)
            return QString();
    }
    return QStringLiteral("it is text");
}

bool IsFirmwarePath(const QString& path) {
    return Right(path, 3).toLower() == QLatin1String("frk");
}

QString FolderOfChoice(const QString& path) {
    const qsizetype cut =
        qMax(path.lastIndexOf(QLatin1Char('\\')), path.lastIndexOf(QLatin1Char('/')));
    return (cut < 0 ? QString() : path.left(cut)) + QLatin1Char('\\');
}

QByteArray FormatRestartRecord(const RestartRecord& r) {
    return (r.port + QLatin1Char(',') + r.origSpeed + QLatin1Char(',') + r.xfrSpeed +
            QLatin1Char(',') + QString::number(r.index))
               .toUtf8() +
           "\r\n";
}

RestartRecord ParseRestartLine(const QString& line) {
    RestartRecord r;
    QString rest = line;
    const auto take = [&rest]() {
        const qsizetype comma = rest.indexOf(QLatin1Char(','));
        QString field = comma < 0 ? rest : rest.left(comma);
        rest = comma < 0 ? QString() : rest.mid(comma + 1);
        return field;
    };
    r.port = take();
    r.origSpeed = take();
    r.xfrSpeed = take();
    r.index = CInt(Val(rest));
    return r;
}

QString FirstLine(const QByteArray& bytes) {
    const QStringList lines = SplitTextLines(bytes);
    return lines.isEmpty() ? QString() : lines.first();
}

QString TransferProgressText(qint16 elapsedS, qint32 filePosition, qint16 blockSize,
                             int outBufferCount, qint32 bytesRemaining) {
    const qint32 done = filePosition + blockSize - outBufferCount;
    QString head = QStringLiteral("Bytes processed=") + CStr(done);
    if (elapsedS < 3)
        return head;
    const qint32 rate = CLng(double(filePosition + blockSize) / elapsedS);
    // A rate of 0 would be a division by zero, the general run-time error.
    if (rate == 0)
        throw RuntimeError(kDivisionByZero, QStringLiteral("Division by zero"));
    const qint32 remaining = CLng(double(bytesRemaining - blockSize) / rate);
    if (remaining < 61)
        return head + QStringLiteral(",   Approximate Time Remaining = ") + CStr(remaining) +
               QStringLiteral(" Seconds");
    const qint32 minutes = (remaining + 59) / 60; // whole minutes, rounded up
    return head + QStringLiteral(",   Approximate Time Remaining = ") + CStr(minutes) +
           QStringLiteral(" Minutes ");
}

namespace {
QString restartTail(qint32 filePosition, int blanks) {
    return CStr(filePosition) + QStringLiteral(" Bytes processed.\r\n") +
           QString(blanks, QLatin1Char(' ')) +
           QStringLiteral("Click 'Continue' to restart transfer");
}
} // namespace

QString TransferFailedText(qint32 filePosition) {
    return QStringLiteral("Transfer Failed, ") + restartTail(filePosition, 15);
}

QString UserAbortedText(qint32 filePosition) {
    return QStringLiteral("User aborted the transfer, ") + restartTail(filePosition, 30);
}

QString LoaderTimedOutText(const QString& model, qint32 filePosition) {
    return model + QStringLiteral(" Boot Loader timed out and aborted, ") +
           restartTail(filePosition, 30);
}

} // namespace telvo::core
