#include "Frames.h"

namespace vorix::sim {

quint8 FrameSum(const QByteArray& stxToData) {
    unsigned sum = 0;
    for (char c : stxToData)
        sum += quint8(c);
    return quint8(sum & 0xff);
}

QByteArray DeviceFrame(const QByteArray& type, const QByteArray& data) {
    QByteArray f;
    f.append(kStx);
    f.append(type);
    f.append(QByteArray::number(data.size(), 16).rightJustified(2, '0'));
    f.append(data);
    f.append(QByteArray::number(FrameSum(f), 16).rightJustified(2, '0').toUpper());
    f.append(kEtx);
    return f;
}

QByteArray DataReply(const QByteArray& id, const QByteArray& value) {
    return DeviceFrame("21", id + '\0' + value + '\0');
}

QByteArray AckReply() {
    return DeviceFrame("01", QByteArray("1\0"
                                        "30\0",
                                        5));
}

QByteArray ErrorReply(int code) {
    return DeviceFrame("02", QByteArray::number(code));
}

} // namespace vorix::sim
