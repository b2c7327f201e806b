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
};

} // namespace telvo::ui
