#pragma once
// Frames of the serial protocol and the reading of replies.

#include <QString>

namespace telvo::core {

QString NUL();
QString STX();
QString ETX();
inline const char* ReplyError = "02";
inline const char* ReplyData = "21";
inline const char* ReplyAck = "01";

// STX, type, length as two lower-case hex digits, data, ETX. No checksum: the device's table has
// a checksum error all the same, and the sender adds nothing.
QString BuildFrame(const QString& type, const QString& data);

// The simulated acknowledgement: STX "01051" NUL "30" NUL "5C" ETX.
QString SimulatedAckFrame();
// The device's checksum: low byte of the sum from STX through the last data byte, two
// upper-case hex digits.
QString DeviceChecksum(const QString& frameBody);

QString DeviceErrorText(int code);

// Characters 2 and 3 of a reply (position 1 is the STX).
QString ReplyType(const QString& reply);
// The decimal error code of a "02" reply: character 5 counts its digits, from character 6.
int ReplyErrorCode(const QString& reply);
// The value of a "21" reply, from character 9 up to its NUL.
QString ReplyValue(const QString& reply);
// True when a reply holds exactly what its length field says: STX, type, two hexadecimal length
// digits, that many data bytes, the device's two checksum characters, ETX. The line has no
// checksum the program reads, so this is what tells a reply from one with noise spliced into it.
bool ReplyWhole(const QString& reply);

} // namespace telvo::core
