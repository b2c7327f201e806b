#pragma once
// Firmware images as the emulator makes and checks them. The utility treats a .frk file as
// opaque bytes; only the emulated boot loader reads this header.
//
// Layout, little-endian:
//   0  4  magic "VXFK"
//   4  4  length of the body in bytes
//   8  4  CRC-32 of the body
//  12 12  version text, NUL-padded ("1.24")
//  24  8  model name, NUL-padded; empty fits every model
//  32     body

#include <QByteArray>
#include <QString>
#include <optional>

namespace vorix::sim {

struct FirmwareHeader {
    static constexpr int kSize = 32;
    static constexpr int kVersionSize = 12;
    static constexpr int kModelSize = 8;
    static constexpr quint32 kMaxBody = 16u << 20;
    static QByteArray magic() { return QByteArrayLiteral("VXFK"); }

    quint32 bodyLength = 0;
    quint32 bodyCrc = 0;
    QByteArray version;
    QByteArray model;
};

class Crc32 {
public:
    void add(const char* data, qsizetype size);
    void add(char c) { add(&c, 1); }
    quint32 value() const { return ~m_crc; }

private:
    quint32 m_crc = 0xffffffffu;
};

QByteArray EncodeHeader(const FirmwareHeader& header);
// Reads the first kSize bytes of an image; nullopt with the reason when they are no header.
std::optional<FirmwareHeader> DecodeHeader(const QByteArray& bytes, QString* why = nullptr);

// A whole image of `totalSize` bytes (at least the header) whose body is a pattern that depends
// on the version, so that two versions never look alike.
QByteArray MakeFirmwareImage(const QString& version, qint64 totalSize, const QString& model = {});

// Checks a whole image as the loader would; the header on success.
std::optional<FirmwareHeader> CheckFirmwareImage(const QByteArray& image, QString* why = nullptr);

} // namespace vorix::sim
