#pragma once
// A load's progress where no one watches a bar (standard error a pipe or a log): one line for
// each stage the windows' status lines tell (connecting, sending, rebooting...) and one for
// every tenth of each transfer.

#include <QObject>
#include <QString>

class QTimer;

namespace telvo::cli {

class PipeProgress : public QObject {
public:
    explicit PipeProgress(bool on, QObject* parent = nullptr);
    // Looks at the windows once; the timer calls it every 50 ms.
    void look();

private:
    QTimer* m_timer = nullptr;
    QString m_mainStatus;   // the main window's status line last told
    QString m_loaderStatus; // the loader window's
    int m_tenth = -1;       // the tenth of the transfer last told; -1 before one runs
};

} // namespace telvo::cli
