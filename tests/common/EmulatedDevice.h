#pragma once
// The emulated device (vorix-sim's Device) on a port of the in-process line, and the main window
// as a connection to it leaves it: the one way the tests, and the tools that render the windows,
// put a device on COM1.

#include "Device.h"
#include "DevicePeer.h"

#include <QByteArray>
#include <QString>
#include <memory>

namespace telvo::test {

// The device on COM `com`, at the line's own pace. It outlives the line: reset() it only after
// the run's TearDown has taken the line down.
class EmulatedDevice {
public:
    // A device made from the Telvo.ini text `ini`.
    vorix::sim::Device& attach(const QByteArray& ini, const vorix::sim::DeviceOptions& o = {},
                               int com = 1);
    vorix::sim::Device& attach(std::unique_ptr<vorix::sim::Device> device, int com = 1);
    vorix::sim::Device& device() { return m_peer->device(); }
    vorix::sim::DevicePeer& peer() { return *m_peer; }
    void reset() { m_peer.reset(); }

private:
    std::unique_ptr<vorix::sim::DevicePeer> m_peer;
};

// The main window's port open on COM `com` at `baud`, with the port and the rate shown.
void OpenPort(int com, int baud);
// The main window's controls as a connection to a Gorda on COM `com` at `baud` leaves them: port
// and rates shown (the transfer rate 57600), the model and `firmware`, the device on, the program
// in `state`.
void ShowConnection(int com, int baud, const QString& state,
                    const QString& firmware = QStringLiteral("1.24"));

} // namespace telvo::test
