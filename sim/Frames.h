#pragma once
// Frames as the device writes them, and the device's error codes.

#include <QByteArray>

namespace vorix::sim {

enum DeviceError : int {
    kErrChecksum = 1,
    kErrPacketType = 2,
    kErrSettingId = 3,
    kErrRange = 4,
    kErrBadCharacter = 5,
    kErrTiming = 6,
    kErrUnterminated = 7,
    kErrBadData = 8,
    kErrValueCount = 9,
    kErrNotWritable = 10,
    kErrTooLarge = 11,
};

constexpr char kStx = '\x02';
constexpr char kEtx = '\x03';

// Low byte of the sum of all bytes from STX through the last data byte.
quint8 FrameSum(const QByteArray& stxToData);
// STX, type, length as two lower-case hex digits, data, two upper-case checksum digits, ETX.
QByteArray DeviceFrame(const QByteArray& type, const QByteArray& data);
QByteArray DataReply(const QByteArray& id, const QByteArray& value); // "21": id NUL value NUL
QByteArray AckReply();                                               // "01": "1" NUL "30" NUL
QByteArray ErrorReply(int code);                                     // "02": the code in decimal

} // namespace vorix::sim
