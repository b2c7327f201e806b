// After a load: a device not found because it still waits at its loader's prompt (the line cut
// on the image's last byte), the question to put the speed back, and the Restore Defaults steps.
// Against the emulated device on the in-process line, under the virtual clock.

#include "LoaderFixture.h"

#include "Device.h"
#include "DevicePeer.h"
#include "Firmware.h"

#include "app/Tools.h"
#include "config/FWR.h"
#include "core/config/IniFile.h"
#include "link/DeviceScript.h"
#include "link/Driver.h"

using namespace telvo;
using namespace telvo::test;
using vorix::sim::Device;
using vorix::sim::DeviceOptions;
using vorix::sim::DevicePeer;

namespace {

const QString kLoadAgain = QStringLiteral(
    "The Gorda was not found after the load.\r\n"
    "If it shows 'Load frk File now.' (switch it off and on first if it shows nothing), it did not "
    "take the firmware: click 'Yes' to load the file(s) again from the first.\r\n"
    "If it runs its firmware, click 'No'.");
const QString kNotFound = QStringLiteral("Communications was not re-established with the Gorda     ");

class Recovery : public LoaderFixture {
protected:
    void TearDown() override {
        LoaderFixture::TearDown(); // the line goes before the device it talks to
        m_peer.reset();
    }
    Device& attachDevice(DeviceOptions o, int baud = 57600) {
        o.model = QStringLiteral("Gorda");
        o.firmware = QStringLiteral("1.24");
        o.baud = baud;
        m_peer = std::make_unique<DevicePeer>(std::make_unique<Device>(
            core::SplitTextLines(sampleIni()), o, platform::Clock::instance().nowUs()));
        platform::PortMap::instance().attachPeer(1, m_peer.get());
        line(1)->setPacing(true);
        openPort(1, baud);
        prepare(baud);
        return m_peer->device();
    }
    // The controls as a connection at `baud` leaves them.
    void prepare(int baud) {
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
    QByteArray image(const QString& version, qint64 size) {
        writeHomeFile(QStringLiteral("new.frk"), vorix::sim::MakeFirmwareImage(version, size));
        writeHomeFile(QStringLiteral("FileList.frl"), (homeFile(QStringLiteral("new.frk")) + "\r\n").toUtf8());
        return readHomeFile(QStringLiteral("new.frk"));
    }
    bool restartFileExists() const { return QFile::exists(homeFile(QStringLiteral("RestartLoader.txt"))); }

    // The line is cut on the image's last byte: every block drains, so the load counts the image
    // as sent and waits for the reboot, where the program is ended. The device, switched off and
    // on, waits at its loader's prompt; the next start takes the load up from RestartLoader.txt.
    void cutOnTheLastByteThenRestartFromTheFile(Device& d, qint64 size) {
        killWhen([&d] { return d.lineCut(); }, 2000, 10);
        EXPECT_THROW(ui::LoadTheFiles(false), platform::ProgramEnd);
        ASSERT_TRUE(logLines().contains(QStringLiteral("Waiting 10 seconds while Gorda reboots     ")));
        ASSERT_EQ(d.loader().stats().bytes, size);
        // The index says the entry went through.
        ASSERT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")), QByteArray("COM1,57600,57600,1\r\n"));
        events.cancelAll();
        platform::ResetProgramEnded();
        ui::ResetSession();
        initControls();
        prepare(57600);
        ui::Link().PowerState.clear();
        line(1)->clearWire();
        m_peer->powerCycle();
        ASSERT_EQ(d.mode(), Device::Mode::Loader);
        restartFromFileAtStart(50);
        ui::ResumeCutOffLoad();
    }
    std::unique_ptr<DevicePeer> m_peer;
};

TEST_F(Recovery, LastByteCutIsLoadedAgainWhenTheUserSaysTheLoaderWaits) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 5999;
    Device& d = attachDevice(o);
    const QByteArray file = image(QStringLiteral("3.00"), 6000);
    cutOnTheLastByteThenRestartFromTheFile(d, 6000);
    EXPECT_EQ(scripted->messageTexts(), QStringList{kLoadAgain});
    const QStringList log = logLines();
    const qsizetype notFound = log.indexOf(kNotFound);
    ASSERT_GE(notFound, 0);
    EXPECT_EQ(log.value(notFound + 1),
              QStringLiteral("Gorda not found after the load: asking whether it shows 'Load frk File now.'"));
    EXPECT_EQ(log.value(notFound + 2),
              QStringLiteral("Loading the file(s) again from the first, the Gorda at its boot loader prompt"));
    EXPECT_TRUE(log.mid(notFound).contains(QStringLiteral("Communications re-established with the Gorda")));
    // The whole image went again, from its first byte, at the transfer speed.
    EXPECT_TRUE(line(1)->wire().contains(file));
    EXPECT_TRUE(d.firmwareValid());
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("3.00"));
    EXPECT_EQ(d.mode(), Device::Mode::Running);
    EXPECT_EQ(ui::scl().txtFirmware->text(), QStringLiteral("3.00"));
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("IDLE"));
    EXPECT_FALSE(restartFileExists());
    EXPECT_FALSE(ui::FW().RestartLoad);
    EXPECT_FALSE(ui::App().RestartBusy);
}

TEST_F(Recovery, LastByteCutLeftAsItIsWhenTheUserSaysNo) {
    DeviceOptions o;
    o.faults.cutAtImageByte = 5999;
    Device& d = attachDevice(o);
    const QByteArray file = image(QStringLiteral("3.00"), 6000);
    scripted->answers.push_back(platform::vbNo);
    cutOnTheLastByteThenRestartFromTheFile(d, 6000);
    EXPECT_EQ(scripted->messageTexts(), QStringList{kLoadAgain});
    EXPECT_EQ(logLines().filter(QStringLiteral("Loading the file(s) again")).size(), 0);
    EXPECT_EQ(logLines().last(),
              QStringLiteral("Gorda not found after the load: asking whether it shows 'Load frk File now.'"));
    EXPECT_FALSE(line(1)->wire().contains(file.left(100)));
    EXPECT_EQ(d.mode(), Device::Mode::Loader);
    EXPECT_EQ(ui::App().DeviceState, QStringLiteral("?????"));
    EXPECT_FALSE(restartFileExists());
}

// A load cut before its first page leaves the old firmware whole: switched off and on, the device
// runs it at its own rate. "Use Existing Restart File" then sends the image into the running
// firmware, at the transfer speed, where nothing takes it; after the reboot wait the version
// query goes unanswered and the firmware request stands. Abort leaves it, and the load ends as
// an aborted one, with the firmware still valid.
TEST_F(Recovery, RestartIntoTheOldFirmwareWaitsOnTheRequestUntilAbort) {
    Device& d = attachDevice({}, 19200);
    image(QStringLiteral("3.00"), 3000);
    writeHomeFile(QStringLiteral("RestartLoader.txt"), "COM1,19200,57600,0\r\n");
    ui::Link().DeviceTalking = false;
    // Whatever still waits after an hour is ended, and shows as a throw.
    events.in(3600 * 1000, [] {
        try {
            platform::EndProgram();
        } catch (const platform::ProgramEnd&) {
        }
    });
    QString captionThen;
    bool requestShown = false;
    std::function<void()> abortAtTheRequest = [&] {
        if (!ui::WindowExists("FWR") || ui::fwr().isHidden()) return events.in(10, abortAtTheRequest);
        requestShown = true;
        captionThen = l().cmdStart->text();
        l().cmdStart->click();
    };
    events.in(10, abortAtTheRequest);
    ui::RS& w = ui::rs();
    w.show();
    w.Check1->click();
    EXPECT_NO_THROW(ui::RS_cmdReStart_Click());
    EXPECT_TRUE(requestShown);
    EXPECT_EQ(captionThen, QStringLiteral("Abort"));
    EXPECT_TRUE(ui::fwr().isHidden());
    const QStringList log = logLines();
    const qsizetype wait = log.indexOf(QStringLiteral("Waiting 10 seconds while Gorda reboots     "));
    ASSERT_GE(wait, 0);
    EXPECT_EQ(log.mid(wait + 1).filter(QStringLiteral("Sent: ")).value(0),
              QStringLiteral("Sent: (STX)2003A9(NUL)(ETX) on COM1 @ 57600"));
    EXPECT_TRUE(log.mid(wait).contains(
        QStringLiteral("End user selecetd to abort the Firmware load in progress     ")));
    EXPECT_EQ(log.last(), QStringLiteral("The Load failed, but the firmware in the device still may be valid.     "));
    EXPECT_TRUE(scripted->messageTexts().isEmpty()); // no Critical Situation: it still runs
    EXPECT_EQ(l().cmdStart->text(), QStringLiteral("Start"));
    EXPECT_FALSE(l().cmdReStart->isHidden());
    EXPECT_EQ(readHomeFile(QStringLiteral("RestartLoader.txt")), QByteArray("COM1,19200,57600,1\r\n"));
    EXPECT_EQ(d.mode(), Device::Mode::Running);
    EXPECT_TRUE(d.firmwareValid());
    EXPECT_EQ(d.firmwareVersion(), QStringLiteral("1.24"));
    EXPECT_FALSE(ui::App().RestartBusy);
}

} // namespace
