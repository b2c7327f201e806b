// The machine's ports as COM numbers: a scripted port list through the seam the real enumeration
// uses, the stable order, the by-id names, and TELVO_PORTS above it all.

#include "platform/serial/PortMap.h"
#include "platform/serial/SystemPorts.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

using namespace telvo::platform;

namespace {

SystemPort Port(const QString& path, const QString& byId = QString(), bool hardware = true) {
    SystemPort p;
    p.path = path;
    p.byId = byId;
    p.hasHardware = hardware;
    return p;
}

const QString kFtdi =
    QStringLiteral("/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_A10K3Z-if00-port0");
const QString kProlific =
    QStringLiteral("/dev/serial/by-id/usb-Prolific_USB-Serial_Controller-if00-port0");

class SystemPorts : public ::testing::Test {
protected:
    void SetUp() override {
        m_saved = qgetenv("TELVO_PORTS");
        qunsetenv("TELVO_PORTS");
    }
    void TearDown() override {
        SetPortLister({});
        if (m_saved.isNull())
            qunsetenv("TELVO_PORTS");
        else
            qputenv("TELVO_PORTS", m_saved);
        PortMap::instance().setPorts({});
    }
    // The map as the program builds it at start, over this list.
    PortMap& mapOver(const QList<SystemPort>& ports) {
        SetPortLister([ports] { return ports; });
        PortMap::instance().loadFromEnvironment();
        return PortMap::instance();
    }
    QStringList comPaths(PortMap& m, int count) {
        QStringList out;
        for (int n = 1; n <= count; ++n)
            out << m.defaultPath(n);
        return out;
    }
    QByteArray m_saved;
};

TEST_F(SystemPorts, SameOrderWhicheverOrderTheMachineListsThem) {
    const QList<SystemPort> first{
        Port(QStringLiteral("/dev/ttyS10")), Port(QStringLiteral("/dev/ttyUSB1"), kProlific),
        Port(QStringLiteral("/dev/ttyS2")), Port(QStringLiteral("/dev/ttyUSB0"), kFtdi),
        Port(QStringLiteral("/dev/ttyACM0"))};
    const QStringList expected{kFtdi, kProlific, QStringLiteral("/dev/ttyACM0"),
                               QStringLiteral("/dev/ttyS2"), QStringLiteral("/dev/ttyS10")};
    EXPECT_EQ(comPaths(mapOver(first), 5), expected);
    QList<SystemPort> second(first.rbegin(), first.rend());
    EXPECT_EQ(comPaths(mapOver(second), 5), expected);
    EXPECT_EQ(PortMap::instance().defaultPath(6), QString());
}

TEST_F(SystemPorts, AdapterThatMovesToAnotherTtyUsbKeepsItsComNumber) {
    PortMap& before =
        mapOver({Port(QStringLiteral("/dev/ttyUSB0"), kFtdi), Port(QStringLiteral("/dev/ttyS0"))});
    ASSERT_EQ(before.defaultPath(1), kFtdi);
    // Replugged: the adapter is ttyUSB1 now, and another one took ttyUSB0.
    PortMap& after =
        mapOver({Port(QStringLiteral("/dev/ttyUSB0"), kProlific),
                 Port(QStringLiteral("/dev/ttyUSB1"), kFtdi), Port(QStringLiteral("/dev/ttyS0"))});
    EXPECT_EQ(after.defaultPath(1), kFtdi);
    EXPECT_EQ(after.describe(1),
              QStringLiteral("/dev/ttyUSB1 [usb-FTDI_FT232R_USB_UART_A10K3Z-if00-port0]"));
    EXPECT_EQ(after.defaultPath(2), kProlific);
    EXPECT_EQ(after.defaultPath(3), QStringLiteral("/dev/ttyS0"));
}

TEST_F(SystemPorts, UartNodesWithoutHardwareAreNotListed) {
    PortMap& m = mapOver({Port(QStringLiteral("/dev/ttyS0")),
                          Port(QStringLiteral("/dev/ttyS1"), QString(), false),
                          Port(QStringLiteral("/dev/ttyS2"), QString(), false),
                          Port(QStringLiteral("/dev/ttyUSB0"))});
    EXPECT_EQ(comPaths(m, 3), (QStringList{QStringLiteral("/dev/ttyS0"),
                                           QStringLiteral("/dev/ttyUSB0"), QString()}));
}

TEST_F(SystemPorts, TelvoPortsOverridesTheMachinesPorts) {
    SetPortLister([] { return QList<SystemPort>{Port(QStringLiteral("/dev/ttyUSB0"), kFtdi)}; });
    qputenv("TELVO_PORTS", "/dev/null,sim");
    PortMap& m = PortMap::instance();
    m.loadFromEnvironment();
    EXPECT_FALSE(m.usesDefault());
    EXPECT_EQ(m.resolve(1).kind, PortTarget::Device);
    EXPECT_EQ(m.resolve(1).path, QStringLiteral("/dev/null"));
    EXPECT_EQ(m.describe(1), QStringLiteral("/dev/null"));
    // A rescan (the port scan's) leaves the user's list alone.
    m.rescan();
    EXPECT_EQ(m.resolve(1).path, QStringLiteral("/dev/null"));
}

TEST_F(SystemPorts, DescriptionNamesMakerProductAndSerial) {
    SystemPort p = Port(QStringLiteral("/dev/ttyUSB0"), kFtdi);
    p.manufacturer = QStringLiteral("FTDI");
    p.description = QStringLiteral("FT232R USB UART");
    p.serialNumber = QStringLiteral("A10K3Z");
    EXPECT_EQ(p.label(), QStringLiteral("/dev/ttyUSB0: FTDI FT232R USB UART, serial A10K3Z "
                                        "[usb-FTDI_FT232R_USB_UART_A10K3Z-if00-port0]"));
    EXPECT_EQ(Port(QStringLiteral("/dev/ttyS0")).label(), QStringLiteral("/dev/ttyS0"));
}

TEST_F(SystemPorts, NaturalOrderComparesNumbersAsNumbers) {
    EXPECT_TRUE(NaturalLess(QStringLiteral("/dev/ttyS2"), QStringLiteral("/dev/ttyS10")));
    EXPECT_FALSE(NaturalLess(QStringLiteral("/dev/ttyS10"), QStringLiteral("/dev/ttyS2")));
    EXPECT_TRUE(NaturalLess(QStringLiteral("/dev/pts/9"), QStringLiteral("/dev/pts/10")));
    EXPECT_TRUE(NaturalLess(QStringLiteral("/dev/ttyACM0"), QStringLiteral("/dev/ttyS0")));
    EXPECT_FALSE(NaturalLess(QStringLiteral("/dev/ttyS0"), QStringLiteral("/dev/ttyS0")));
}

TEST_F(SystemPorts, AMachineListIsReadWithoutError) {
    // Whatever this machine has: every listed port has a device path and hardware behind it.
    SetPortLister({});
    for (const SystemPort& p : ListSystemPorts()) {
        EXPECT_FALSE(p.path.isEmpty());
        EXPECT_TRUE(p.hasHardware) << p.path.toStdString();
    }
}

} // namespace
