#include "common/EmulatedDevice.h"

#include "app/Globals.h"
#include "core/text/MinorSubs.h"
#include "link/Driver.h"
#include "platform/clock/Clock.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

namespace telvo::test {

vorix::sim::Device& EmulatedDevice::attach(const QByteArray& ini,
                                           const vorix::sim::DeviceOptions& o, int com) {
    return attach(std::make_unique<vorix::sim::Device>(core::SplitTextLines(ini), o,
                                                       platform::Clock::instance().nowUs()),
                  com);
}

vorix::sim::Device& EmulatedDevice::attach(std::unique_ptr<vorix::sim::Device> device, int com) {
    m_peer = std::make_unique<vorix::sim::DevicePeer>(std::move(device));
    platform::PortMap::instance().attachPeer(com, m_peer.get());
    platform::PortMap::instance().simulatedLine(com)->setPacing(true);
    return m_peer->device();
}

void OpenPort(int com, int baud) {
    ui::SCL& s = ui::scl();
    s.P1->setCommPort(com);
    s.P1->setSettings(QString::number(baud) + QStringLiteral(",n,8,1"));
    s.P1->setHandshaking(2);
    s.P1->setRThreshold(1);
    s.P1->setPortOpen(true);
    s.txtPort->setText(QStringLiteral("COM") + QString::number(com));
    s.txtCrntSpeed->setText(QString::number(baud));
}

void ShowConnection(int com, int baud, const QString& state, const QString& firmware) {
    ui::SCL& s = ui::scl();
    const QString rate = QString::number(baud);
    s.DeviceModel->setText(QStringLiteral("Gorda"));
    s.txtFirmware->setText(firmware);
    s.txtPort->setText(QStringLiteral("COM") + QString::number(com));
    s.txtCrntSpeed->setText(rate);
    s.txtxfrspeed->setText(QStringLiteral("57600"));
    s.txtOrigSpeed->setText(rate);
    ui::Link().PowerState = QStringLiteral("ON");
    ui::SetState(state);
}

} // namespace telvo::test
