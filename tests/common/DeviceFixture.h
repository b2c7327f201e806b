#pragma once
// The loader's tests against the emulated device (rather than a boot loader played by hand):
// one Gorda on COM1 of the in-process line, paced, with the main window's controls as a
// connection to it leaves them.

#include "common/LoaderFixture.h"

#include "Device.h"
#include "DevicePeer.h"

#include "core/config/IniFile.h"
#include "link/Driver.h"

#include <memory>

namespace telvo::test {

class DeviceFixture : public LoaderFixture {
protected:
    void TearDown() override {
        LoaderFixture::TearDown(); // the line goes before the device it talks to
        m_peer.reset();
    }
    vorix::sim::Device& attachDevice(vorix::sim::DeviceOptions o, int baud = 57600,
                                     const QString& firmware = QStringLiteral("1.24")) {
        o.model = QStringLiteral("Gorda");
        o.firmware = firmware;
        o.baud = baud;
        m_peer = std::make_unique<vorix::sim::DevicePeer>(std::make_unique<vorix::sim::Device>(
            core::SplitTextLines(sampleIni()), o, platform::Clock::instance().nowUs()));
        platform::PortMap::instance().attachPeer(1, m_peer.get());
        line(1)->setPacing(true);
        openPort(1, baud);
        prepare(baud);
        ui::scl().txtFirmware->setText(firmware);
        return m_peer->device();
    }
    // The controls as a connection at `baud` leaves them.
    void prepare(int baud = 57600) {
        ui::SCL& s = ui::scl();
        const QString rate = QString::number(baud);
        s.DeviceModel->setText(QStringLiteral("Gorda"));
        s.txtFirmware->setText(QStringLiteral("1.24"));
        s.txtPort->setText(QStringLiteral("COM1"));
        s.txtCrntSpeed->setText(rate);
        s.txtxfrspeed->setText(QStringLiteral("57600"));
        s.txtOrigSpeed->setText(rate);
        s.lstPort->clear();
        s.lstPort->addItems({QStringLiteral("?????"), QStringLiteral("COM1")});
        ui::Link().PowerState = QStringLiteral("ON");
        ui::SetState(QStringLiteral("Idle"));
    }

    // The program's next start after it was ended mid-load, with the device switched off and on
    // (a load cut off leaves it at its loader's prompt).
    void nextStartAfterPowerCycle() {
        events.cancelAll();
        platform::ResetProgramEnded();
        ui::ResetSession();
        initControls();
        prepare();
        ui::Link().PowerState.clear();
        line(1)->clearWire();
        m_peer->powerCycle();
    }

    std::unique_ptr<vorix::sim::DevicePeer> m_peer;
};

} // namespace telvo::test
