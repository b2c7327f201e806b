#pragma once
// "Checking For Valid COM Ports": shown while the ports are tried; the scan writes its label.

#include <QLabel>
#include <QWidget>

namespace telvo::ui {

class FP : public QWidget {
    Q_OBJECT
public:
    FP();
    QLabel* Label1;
    // Why no port opened, under Label1; hidden while empty.
    QLabel* Label2;
    void setProblem(const QString& text);
    // What the scan learnt of the first port that was there but refused (empty: none was).
    QString RefusedReason;
};

} // namespace telvo::ui
