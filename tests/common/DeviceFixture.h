#pragma once
// The loader's tests against the emulated device (rather than a boot loader played by hand):
// one Gorda on COM1 of the in-process line, paced, with the main window's controls as a
// connection to it leaves them.

#include "common/EmulatedDevice.h"
#include "common/LoaderFixture.h"

#include "core/config/IniFile.h"
#include "link/Driver.h"

#include <memory>

namespace telvo::test {

class DeviceFixture : public LoaderFixture {
protected:
    void TearDown() override {
        LoaderFixture::TearDown(); // the line goes before the device it talks to
        m_device.reset();
    }
    vorix::sim::Device& attachDevice(vorix::sim::DeviceOptions o, int baud = 57600,
                                     const QString& firmware = QStringLiteral("1.24")) {
        o.model = QStringLiteral("Gorda");
        o.firmware = firmware;
        o.baud = baud;
        vorix::sim::Device& device = m_device.attach(sampleIni(), o);
        openPort(1, baud);
        prepare(baud, firmware);
        return device;
    }
    // The controls as a connection at `baud` leaves them.
    void prepare(int baud = 57600, const QString& firmware = QStringLiteral("1.24")) {
        ui::SCL& s = ui::scl();
        s.lstPort->clear();
        s.lstPort->addItems({QStringLiteral("?????"), QStringLiteral("COM1")});
        ShowConnection(1, baud, QStringLiteral("Idle"), firmware);
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
        m_device.peer().powerCycle();
    }

    EmulatedDevice m_device;
};

} // namespace telvo::test
