#pragma once
// The machine's own serial ports, for COM1, COM2, ... when TELVO_PORTS is not set. The list is
// ordered so that a port keeps its COM number across replugs and reboots: USB adapters first,
// by their /dev/serial/by-id name, then every other port by its device path.

#include <QList>
#include <QString>
#include <functional>

namespace telvo::platform {

struct SystemPort {
    QString path;        // the device file, e.g. /dev/ttyUSB0
    QString byId;        // its /dev/serial/by-id link, empty when it has none
    QString description; // the product as the device names itself
    QString manufacturer;
    QString serialNumber;
    bool hasHardware = true; // false for a UART node with no chip behind it

    // What to open: the by-id link follows an adapter that came back under another ttyUSBn.
    QString openPath() const { return byId.isEmpty() ? path : byId; }
    // "/dev/ttyUSB0: FTDI FT232R USB UART, serial A10K3Z" (by-id name in brackets when there is
    // one).
    QString label() const;
};

using PortLister = std::function<QList<SystemPort>()>;

// The machine's ports with hardware behind them, in their stable order.
QList<SystemPort> ListSystemPorts();
// Where the list comes from: a test scripts it here; an empty function puts the machine back.
void SetPortLister(PortLister lister);
// Drops ports without hardware and puts the rest in the stable order.
QList<SystemPort> OrderPorts(QList<SystemPort> ports);
// Text order with runs of digits compared as numbers ("ttyS2" before "ttyS10").
bool NaturalLess(const QString& a, const QString& b);

} // namespace telvo::platform
