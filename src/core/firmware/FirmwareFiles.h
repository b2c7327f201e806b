#pragma once
// The loader's own files as values: the list of firmware files (.frl, and the working list
// FileList.frl), the one line of RestartLoader.txt, and the texts the transfer shows.

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace telvo::core {

// A list file: one entry a line, CR LF after each, the last one included. Entries go out as
// they stand (a blank line is an entry).
QByteArray FormatFileList(const QStringList& entries);
// Reads a list file's lines as they stand (CR LF or LF), untrimmed and unchecked.
QStringList ParseFileList(const QByteArray& bytes);

// The test that tells a firmware image from a list in multiple selection: the last three
// characters of the path, lowered.
bool IsFirmwarePath(const QString& path);
// Why `head` (a file's first bytes) cannot be a firmware image, or empty: an image is binary, so
// an empty file or one of text alone is refused before the device is touched.
QString FirmwareImageProblem(const QByteArray& head);
// The folder of a chosen path with its closing backslash: everything before the last
// backslash (or slash), and a lone backslash when there is none.
QString FolderOfChoice(const QString& path);

// RestartLoader.txt: "port,former speed,transfer speed,index" and CR LF.
struct RestartRecord {
    QString port;
    QString origSpeed;
    QString xfrSpeed;
    qint16 index = 0;
};
QByteArray FormatRestartRecord(const RestartRecord& r);
// Splits the one line at its commas; missing fields come out empty and the index 0. The index
// is the numeric value of what follows the third comma.
RestartRecord ParseRestartLine(const QString& line);
// The first line of a restart file's bytes (empty when none).
QString FirstLine(const QByteArray& bytes);

// The progress caption after a block. `elapsedS` whole seconds since the attempt began.
QString TransferProgressText(qint16 elapsedS, qint32 filePosition, qint16 blockSize,
                             int outBufferCount, qint32 bytesRemaining);

// The three questions after a fault of the transfer.
QString TransferFailedText(qint32 filePosition);
QString UserAbortedText(qint32 filePosition);
QString LoaderTimedOutText(const QString& model, qint32 filePosition);

} // namespace telvo::core
