#pragma once
// The emulated device at the far end of the in-process line, running on the program's clock.

#include "Device.h"

#include "platform/clock/Clock.h"
#include "platform/serial/SimulatedLine.h"

#include <memory>

namespace vorix::sim {

class DevicePeer : public telvo::platform::LinePeer {
public:
    explicit DevicePeer(std::unique_ptr<Device> device);
    ~DevicePeer() override;

    Device& device() { return *m_device; }
    const Device& device() const { return *m_device; }

    // Runs the device up to now and puts what it said and its CTS on the line. Call after
    // changing the device from outside (a power cycle, a fault switched on).
    void sync();
    void powerCycle();

    // LinePeer
    void attached(telvo::platform::LineHost* host) override;
    void bytesArrived(const QByteArray& bytes) override;
    int baud() const override { return m_device->baud(); }
    int txBaud() const override { return m_device->txBaud(); }

private:
    void wake();

    std::unique_ptr<Device> m_device;
    telvo::platform::Clock::Id m_wake = 0;
    qint64 m_wakeAtUs = -1;
    bool m_cutSent = false;
};

// The device behind a "sim" entry of TELVO_PORTS: built from the Telvo.ini of the program's
// folder, with the options of VORIX_SIM_OPTIONS (the words vorix-sim takes, "--standby --echo").
// Without a readable Telvo.ini the device has only its own identifiers.
std::unique_ptr<telvo::platform::LinePeer> MakeDefaultPeer(int com);

} // namespace vorix::sim
