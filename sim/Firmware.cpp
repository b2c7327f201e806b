#include "Firmware.h"

#include <array>

namespace vorix::sim {

namespace {

const std::array<quint32, 256>& crcTable() {
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> t{};
        for (quint32 n = 0; n < 256; ++n) {
            quint32 c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    return table;
}

void putU32(QByteArray& out, quint32 v) {
    for (int i = 0; i < 4; ++i)
        out.append(char((v >> (8 * i)) & 0xff));
}

quint32 getU32(const QByteArray& in, int at) {
    quint32 v = 0;
    for (int i = 0; i < 4; ++i)
        v |= quint32(quint8(in[at + i])) << (8 * i);
    return v;
}

QByteArray padded(const QByteArray& text, int size) {
    QByteArray out = text.left(size);
    out.append(QByteArray(size - out.size(), '\0'));
    return out;
}

QByteArray unpadded(const QByteArray& field) {
    const qsizetype nul = field.indexOf('\0');
    return nul < 0 ? field : field.left(nul);
}

} // namespace

void Crc32::add(const char* data, qsizetype size) {
    const auto& t = crcTable();
    for (qsizetype i = 0; i < size; ++i)
        m_crc = t[(m_crc ^ quint8(data[i])) & 0xff] ^ (m_crc >> 8);
}

QByteArray EncodeHeader(const FirmwareHeader& h) {
    QByteArray out = FirmwareHeader::magic();
    putU32(out, h.bodyLength);
    putU32(out, h.bodyCrc);
    out.append(padded(h.version, FirmwareHeader::kVersionSize));
    out.append(padded(h.model, FirmwareHeader::kModelSize));
    return out;
}

std::optional<FirmwareHeader> DecodeHeader(const QByteArray& bytes, QString* why) {
    const auto fail = [why](const char* reason) {
        if (why)
            *why = QString::fromLatin1(reason);
        return std::nullopt;
    };
    if (bytes.size() < FirmwareHeader::kSize)
        return fail("image too short");
    if (!bytes.startsWith(FirmwareHeader::magic()))
        return fail("not a firmware image");
    FirmwareHeader h;
    h.bodyLength = getU32(bytes, 4);
    h.bodyCrc = getU32(bytes, 8);
    h.version = unpadded(bytes.mid(12, FirmwareHeader::kVersionSize));
    h.model = unpadded(bytes.mid(24, FirmwareHeader::kModelSize));
    if (h.bodyLength > FirmwareHeader::kMaxBody)
        return fail("image length out of range");
    if (h.version.isEmpty())
        return fail("image has no version");
    return h;
}

QByteArray MakeFirmwareImage(const QString& version, qint64 totalSize, const QString& model) {
    const qint64 bodySize = qMax<qint64>(0, totalSize - FirmwareHeader::kSize);
    QByteArray body(bodySize, '\0');
    // xorshift from a seed of the version text: reproducible, and different per version.
    quint32 s = 2166136261u;
    for (char c : version.toLatin1())
        s = (s ^ quint8(c)) * 16777619u;
    if (s == 0)
        s = 1;
    for (qint64 i = 0; i < bodySize; ++i) {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        body[i] = char(s & 0xff);
    }
    Crc32 crc;
    crc.add(body.constData(), body.size());
    FirmwareHeader h;
    h.bodyLength = quint32(bodySize);
    h.bodyCrc = crc.value();
    h.version = version.toLatin1();
    h.model = model.toLatin1();
    return EncodeHeader(h) + body;
}

std::optional<FirmwareHeader> CheckFirmwareImage(const QByteArray& image, QString* why) {
    auto h = DecodeHeader(image, why);
    if (!h)
        return h;
    if (image.size() - FirmwareHeader::kSize < qsizetype(h->bodyLength)) {
        if (why)
            *why = QStringLiteral("image truncated");
        return std::nullopt;
    }
    Crc32 crc;
    crc.add(image.constData() + FirmwareHeader::kSize, h->bodyLength);
    if (crc.value() != h->bodyCrc) {
        if (why)
            *why = QStringLiteral("checksum error");
        return std::nullopt;
    }
    return h;
}

} // namespace vorix::sim
