#include "core/link/Protocol.h"

#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"

namespace telvo::core {

QString NUL() {
    return QString(QChar(0));
}
QString STX() {
    return QString(QChar(2));
}
QString ETX() {
    return QString(QChar(3));
}

QString BuildFrame(const QString& type, const QString& data) {
    return STX() + type + HexField(data.size(), 2) + data + ETX();
}

QString DeviceChecksum(const QString& frameBody) {
    unsigned sum = 0;
    for (QChar c : frameBody)
        sum += c.unicode() & 0xff;
    return HexField(sum & 0xff, 2).toUpper();
}

QString SimulatedAckFrame() {
    return STX() + QStringLiteral("01051") + NUL() + QStringLiteral("30") + NUL() +
           QStringLiteral("5C") + ETX();
}

QString DeviceErrorText(int code) {
    switch (code) {
    case 1:
        return QStringLiteral("Invalid Checksum");
    case 2:
        return QStringLiteral("Invalid Packet ID (Query Command etc.)");
    case 3:
        return QStringLiteral("Invalid Setting ID (Brightness, Contrast etc.)");
    case 4:
        return QStringLiteral(
            "Range Error. Attempt to modify a device setting with vlaue out of range");
    case 5:
        return QStringLiteral(
            "Bad Packet Character. Not STX, ETX, or legal Alphanumeric or punctiation");
    case 6:
        return QStringLiteral("Timing Error Message Exceed 100 ms in transmit time (No ETX?)");
    case 7:
        return QStringLiteral("Unterminated Value Data. Last data byte was not a NUL");
    case 8:
        return QStringLiteral(
            "Bad Data. Data values passed were not correctly formated for the setting");
    case 9:
        return QStringLiteral("Too many or Too few data values were passed");
    case 10:
        return QStringLiteral(
            "The setting indicated in a command packet is not a writeable setting.");
    case 11:
        return QStringLiteral("The packet is larger than the maximum packet size");
    case 12:
        return QString();
    case 13:
        return QStringLiteral("Transmission Timed out");
    default:
        break;
    }
    if (code > 13)
        return QStringLiteral("Error code ") + QString::number(code) + QStringLiteral(", ");
    return QString();
}

QString ReplyType(const QString& reply) {
    return Mid(reply, 2, 2);
}

int ReplyErrorCode(const QString& reply) {
    const int digits = int(Val(Mid(reply, 5, 1)));
    if (digits <= 0)
        return 0;
    return int(Val(Mid(reply, 6, digits)));
}

QString ReplyValue(const QString& reply) {
    const QString tail = Mid(reply, 9);
    const qsizetype nul = tail.indexOf(QChar(0));
    return nul < 0 ? tail : tail.left(nul);
}

bool ReplyWhole(const QString& reply) {
    constexpr qsizetype kFrameChars = 1 + 2 + 2 + 2 + 1; // STX, type, length, checksum, ETX
    if (reply.size() < kFrameChars || reply.front() != QChar(2) || reply.back() != QChar(3))
        return false;
    int length = 0;
    for (const QChar c : reply.mid(3, 2)) {
        const int digit = QStringLiteral("0123456789abcdef").indexOf(c, 0, Qt::CaseInsensitive);
        if (digit < 0)
            return false;
        length = length * 16 + digit;
    }
    return reply.size() == kFrameChars + length;
}

} // namespace telvo::core
