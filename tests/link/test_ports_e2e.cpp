// End to end without TELVO_PORTS: two pseudo-terminals presented as the machine's ports through the
// seam the real enumeration uses, each behind a by-id link as a USB adapter is, vorix-sim on the
// second. The full search finds it, and the log names the device file behind the COM number.

#include "common/Fixture.h"

#include "app/Main.h"
#include "common/SimProcess.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/serial/SystemPorts.h"
#include "settings/SCL.h"

#include <QFile>

using namespace telvo;
using namespace telvo::test;

namespace {

class MachinePorts : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        qunsetenv("TELVO_PORTS");
        if (!QFile::exists(SimBinary()))
            GTEST_SKIP() << "vorix-sim not built";
    }
    void TearDown() override {
        RunFixture::TearDown();
        platform::SetPortLister({});
        m_sim.reset();
        platform::Clock::instance().setVirtual(true);
    }
    // A by-id link in the test's folder, as udev makes one for an adapter.
    QString byId(const QString& name, const QString& target) {
        QDir().mkpath(home() + QStringLiteral("/by-id"));
        const QString link = home() + QStringLiteral("/by-id/") + name;
        QFile::link(target, link);
        return link;
    }
    std::unique_ptr<SimProcess> m_sim;
};

TEST_F(MachinePorts, SearchFindsTheDeviceOnTheSecondMachinePortAndLogsItsDeviceFile) {
    QByteArray ini;
    for (const QByteArray& line : sampleIni().split('\n')) {
        const QByteArray key = line.left(line.indexOf('=')).replace(' ', "").toUpper();
        if (key == "PORT" || key == "BAUD" || key == "MAXPORTS")
            continue; // nothing configured: the full search
        ini += line + '\n';
    }
    writeHomeFile(QStringLiteral("Telvo.ini"), ini);
    EmptyPty empty;
    m_sim = std::make_unique<SimProcess>(
        home(), QStringLiteral("dev"),
        QStringList{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))});
    ASSERT_TRUE(m_sim->running());
    platform::SystemPort first;
    first.path = empty.path();
    first.byId = byId(QStringLiteral("usb-Telvo_Empty_Adapter-if00-port0"), empty.path());
    first.manufacturer = QStringLiteral("Telvo");
    first.description = QStringLiteral("Empty Adapter");
    platform::SystemPort second;
    second.path = m_sim->path();
    second.byId = byId(QStringLiteral("usb-Vorix_Sim_Adapter_0042-if00-port0"), m_sim->path());
    second.manufacturer = QStringLiteral("Vorix");
    second.description = QStringLiteral("Sim Adapter");
    second.serialNumber = QStringLiteral("0042");
    // The machine lists the device first; the stable order puts it second.
    platform::SetPortLister([=] { return QList<platform::SystemPort>{second, first}; });
    platform::PortMap::instance().loadFromEnvironment();

    ui::Main();

    EXPECT_EQ(ui::scl().txtPort->text(), QStringLiteral("COM2"));
    EXPECT_EQ(ui::scl().txtState->text(), QStringLiteral("Powered"));
    const QStringList log = logLines();
    EXPECT_TRUE(
        log.contains(QStringLiteral("COM1 is ") + empty.path() +
                     QStringLiteral(": Telvo Empty Adapter [usb-Telvo_Empty_Adapter-if00-port0]")));
    EXPECT_TRUE(log.contains(QStringLiteral("COM2 is ") + m_sim->path() +
                             QStringLiteral(": Vorix Sim Adapter, serial 0042 "
                                            "[usb-Vorix_Sim_Adapter_0042-if00-port0]")))
        << log.join(QLatin1Char('\n')).toStdString();
    // The port list carries the same words as the tooltip of COM2.
    EXPECT_EQ(ui::scl().lstPort->itemText(2), QStringLiteral("COM2"));
    EXPECT_EQ(ui::scl().lstPort->itemData(2, Qt::ToolTipRole).toString(),
              m_sim->path() + QStringLiteral(": Vorix Sim Adapter, serial 0042 "
                                             "[usb-Vorix_Sim_Adapter_0042-if00-port0]"));
}

TEST_F(MachinePorts, AdapterBackUnderAnotherDeviceFileIsReopenedThroughItsByIdName) {
    writeHomeFile(QStringLiteral("Telvo.ini"), sampleIni());
    initControls();
    const QStringList args{QStringLiteral("--ini"), homeFile(QStringLiteral("Telvo.ini"))};
    SimProcess before(home(), QStringLiteral("before"), args);
    SimProcess after(home(), QStringLiteral("after"), args);
    ASSERT_TRUE(before.running() && after.running());
    const QString link =
        byId(QStringLiteral("usb-Vorix_Sim_Adapter_0042-if00-port0"), before.path());
    platform::SystemPort adapter;
    adapter.path = before.path();
    adapter.byId = link;
    platform::SetPortLister([&adapter] { return QList<platform::SystemPort>{adapter}; });
    platform::PortMap::instance().loadFromEnvironment();
    ui::scl().txtPort->setText(QStringLiteral("COM1"));
    ui::scl().txtCrntSpeed->setText(QStringLiteral("19200"));
    const QString query = QStringLiteral("host  (STX)2003A1(NUL)(ETX)");
    const QString answer = QStringLiteral("device  (STX)2105A1(NUL)1(NUL)6D(ETX)");

    ui::ReopenPort();
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_TRUE(waitUntil([&] { return before.frames().contains(answer); }, 5000));

    // The adapter resets mid-run: the kernel brings it back as another device file and udev
    // moves its by-id link there; the machine's list says so at the next scan.
    before.vanish();
    QFile::remove(link);
    ASSERT_TRUE(QFile::link(after.path(), link));
    adapter.path = after.path();
    platform::PortMap::instance().rescan();
    ui::ReopenPort();
    ui::QueryDevice(QStringLiteral("A1"));
    EXPECT_TRUE(waitUntil([&] { return after.frames().contains(answer); }, 5000));
    EXPECT_EQ(after.frames().first(), query);
    EXPECT_EQ(platform::PortMap::instance().defaultPath(1), link);
}

} // namespace
