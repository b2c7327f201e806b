#pragma once
// The progress of long jobs as the routines report it (platform::Progress, the status lines): a
// bar redrawn on a terminal, and where no one watches a bar (standard error a pipe or a log) one
// line for each stage the status lines tell (connecting, sending, rebooting...) and one for every
// tenth of each transfer.

#include "platform/dialogs/Platform.h"

#include <QObject>
#include <QString>

class QTimer;

namespace telvo::cli {

// The load's bar on a terminal: "[####      ]  42%  6720 / 16000 bytes, 5700 B/s, 2 s left".
QString ProgressLine(int percent, const QString& rate);
// What the transfer or a Gen ALL walk has reached, as one line; empty when neither runs.
QString JobProgress();

// What the log gained since `offset` (moved on past it); from its start when the log began anew.
QByteArray ReadLogSince(qint64& offset);

// A status line, a transfer's step and its end, passed on to the lines in a pipe when they run.
void TellStep(const QString& text);
void TellTransfer(const platform::Progress& progress);
void TellTransferEnded();

class PipeProgress : public QObject {
public:
    explicit PipeProgress(bool on, QObject* parent = nullptr);
    ~PipeProgress() override;
    PipeProgress(const PipeProgress&) = delete;
    PipeProgress& operator=(const PipeProgress&) = delete;

    void step(const QString& text);
    void transfer(const platform::Progress& progress);
    void transferEnded();
    // Looks for the device's verdict on the image; the timer calls it every 50 ms.
    void look();

private:
    void tell(const QString& text);

    QTimer* m_timer = nullptr;
    QString m_told;          // the line last told
    int m_tenth = -1;        // the tenth of the transfer last told; -1 while none runs
    bool m_verified = false; // the device's verdict on the image in hand has been told
};

} // namespace telvo::cli
