#pragma once
// What the line benchmarks set up alike: COM1 opened at a rate with RTS/CTS, as a connection
// leaves the main window (port, speeds, model, power on).

#include "app/Globals.h"
#include "settings/SCL.h"

#include <QLineEdit>
#include <QString>

namespace telvo::bench {

inline ui::SCL& OpenCom1AsConnected(const QString& rate = QStringLiteral("19200")) {
    ui::SCL& s = ui::scl();
    s.P1->setCommPort(1);
    s.P1->setSettings(rate + QStringLiteral(",n,8,1"));
    s.P1->setHandshaking(2);
    s.P1->setRThreshold(1);
    s.P1->setPortOpen(true);
    s.txtPort->setText(QStringLiteral("COM1"));
    for (QLineEdit* e : {s.txtCrntSpeed, s.txtOrigSpeed})
        e->setText(rate);
    s.DeviceModel->setText(QStringLiteral("Gorda"));
    ui::Link().PowerState = QStringLiteral("ON");
    return s;
}

} // namespace telvo::bench
