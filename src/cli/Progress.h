#pragma once
// A load's progress where no one watches a bar (standard error a pipe or a log): one line for
// each stage the windows' status lines tell (connecting, sending, rebooting...) and one for
// every tenth of each transfer.

#include <QObject>
#include <QString>

class QTimer;

namespace telvo::cli {

// What the log gained since `offset` (moved on past it); from its start when the log began anew.
QByteArray ReadLogSince(qint64& offset);

class PipeProgress : public QObject {
public:
    explicit PipeProgress(bool on, QObject* parent = nullptr);
    ~PipeProgress() override;
    // Looks at the log and the loader once; the timer calls it every 50 ms.
    void look();

private:
    void tell(const QString& text);

    QTimer* m_timer = nullptr;
    QString m_told;       // the line last told
    qint64 m_offset = 0;  // how far the log has been read
    QByteArray m_pending; // a line of the log not yet whole
    int m_tenth = -1;     // the tenth of the transfer last told; -1 while none runs
    bool m_verified = false; // the device's verdict on the image in hand has been told
};

} // namespace telvo::cli
