// The cut sweep: a 64 KB image loaded at 57600 through the real start-up, windows and load
// routines against the emulated device on the in-process line (virtual clock), cut at every
// point where it can be cut: the line at each page boundary and a byte either side, the program
// killed at each page boundary and at each stage around the image. After each cut the program
// starts again as a user would (plain, or with "BootLoader"), the user takes what is offered, and
// the row says whether the device runs the new version with its saved settings back.
//
// SWEEP=full runs every case (make sweep); without it a short subset runs (make test).

#include "SweepUser.h"
#include "common/EmulatedDevice.h"

#include "Device.h"
#include "Firmware.h"

#include <cstdio>

using namespace telvo;
using namespace telvo::test;
using vorix::sim::Device;
using vorix::sim::DeviceOptions;

namespace {

const qint64 kImage = kSweepImage;
const qint64 kPage = kSweepPage;
const QString kNew = SweepNewVersion();

// SWEEP=full: every cut point in every way; SWEEP=points: every cut point once, the eight ways
// taken in turn; otherwise a few points, the ways in turn.
std::vector<Case> Cases() {
    const QString mode = qEnvironmentVariable("SWEEP");
    const bool points = mode == QLatin1String("points");
    const bool full = points || mode == QLatin1String("full");
    std::vector<qint64> lineBytes;
    std::vector<qint64> killBytes;
    if (full) {
        for (qint64 b = 0; b <= kImage; b += kPage) {
            for (qint64 d : {-1, 0, 1})
                if (b + d >= 0 && b + d < kImage)
                    lineBytes.push_back(b + d);
        }
        killBytes = SweepPageBoundaries();
    } else {
        lineBytes = {1023, 32 * kPage + 1};
        killBytes = {10 * kPage};
    }
    return SweepCases(lineBytes, killBytes, points || !full);
}

class Sweep : public SweepFixture, public ::testing::WithParamInterface<Case> {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        prepareHome();
        writeHomeFile(QStringLiteral("new.frk"), vorix::sim::MakeFirmwareImage(kNew, kImage));
    }
    void TearDown() override {
        LoaderFixture::TearDown();
        m_device.reset();
    }
    const Case& sweepCase() const override { return GetParam(); }
    bool deviceShowsLoader() override { return dev().mode() == Device::Mode::Loader; }
    Device& attachDevice() {
        DeviceOptions o;
        o.model = QStringLiteral("Gorda");
        o.firmware = GetParam().menu ? QStringLiteral("1.10b") : QStringLiteral("1.24");
        o.baud = 19200;
        QString error;
        vorix::sim::ParseDeviceOptions({QStringLiteral("--settings"), SweepUserSettingsWords()}, o,
                                       &error);
        if (GetParam().cut == Cut::Line)
            o.faults.cutAtImageByte = GetParam().byte;
        return m_device.attach(sampleIni(), o);
    }
    Device& dev() { return m_device.device(); }
    bool userSettingsBack() {
        m_found.clear();
        return SweepUserSettingsBack(
            [this](const QByteArray& key) { return dev().settings().heldValue(key); }, &m_found);
    }
    QByteArray m_found;
    bool running() {
        return dev().mode() == Device::Mode::Running && dev().firmwareValid() &&
               dev().firmwareVersion() == kNew;
    }

    // The cut of this case: true once it struck.
    void armCut() {
        const Case& c = GetParam();
        const auto shown = [](const QString& part) {
            return ui::scl().lblMessage->text().contains(part) ||
                   ui::ldr().lblMessage->text().contains(part);
        };
        switch (c.cut) {
        case Cut::Line:
            killWhen([this] { return dev().lineCut(); }, 3000, 10);
            break;
        case Cut::KillAtByte:
            killWhen(
                [this, c] {
                    return dev().loader().stats().bytes >= c.byte &&
                           dev().loader().state() == vorix::sim::BootLoader::State::Receiving;
                },
                0, 1);
            break;
        case Cut::KillBeforeSpeed:
            killWhen([shown] { return shown(QStringLiteral(" baud rate to 57600")); }, 0, 1);
            break;
        case Cut::KillAfterSpeed:
            killWhen([shown] { return shown(QStringLiteral("Ready to load selected Firmware")); },
                     0, 1);
            break;
        case Cut::KillAfterCommand:
            killWhen([this] { return dev().mode() == Device::Mode::Loader; }, 0, 1);
            break;
        case Cut::KillInReboot:
            killWhen([shown] { return shown(QStringLiteral("reboots")); }, 4000, 5);
            break;
        case Cut::KillInSearch:
            killWhen([] { return ui::scl().tmrFindGorda->Enabled(); }, 300, 5);
            break;
        case Cut::KillInRestore:
            killWhen(
                [this] {
                    for (const QString& l : logLines())
                        if (l.startsWith(QStringLiteral("Restoring ")))
                            return true;
                    return false;
                },
                0, 50);
            break;
        }
    }

    EmulatedDevice m_device;
};

// A recovery still waiting after an hour of the device's time is hung.
constexpr int kHangMs = 3600 * 1000;

TEST_P(Sweep, CutAndRecovered) {
    const Case& c = GetParam();
    attachDevice();
    start(QString(), kHangMs);
    ASSERT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("19200"))
        << platform::ProgramEnded()
        << scripted->messageTexts().join(QLatin1Char('\n')).toStdString();
    armCut();
    load();
    const bool struck = platform::ProgramEnded();
    const qint64 cutAtMs = platform::Clock::instance().nowMs();

    // A cable cut is mended by switching the device off and on, as its manual says.
    if (c.cut == Cut::Line)
        m_device.peer().powerCycle();
    start(c.bootLoader ? QStringLiteral("BootLoader") : QString(), kHangMs);
    // Not found (left at the transfer speed on its old firmware): off and on, and start again.
    const QString state = ui::App().DeviceState;
    if (!running() &&
        (state == QLatin1String("NOT CONNECTED") || state == QLatin1String("?????"))) {
        m_device.peer().powerCycle();
        start(QString(), kHangMs);
    }
    // The device still on its old firmware (the cut came before the loader): the user loads again.
    if (!running())
        load();
    const qint64 tookS = (platform::Clock::instance().nowMs() - cutAtMs) / 1000;
    const bool version = running();
    const bool settings = !c.save || userSettingsBack();
    const bool recovered = struck && version && settings && !m_hung;
    std::printf("ROW|%4d|%-48s|%-7s|%-4s|%-10s|%-6s|%-9s|%-8s|%5llds|%s\n", c.id, c.name().c_str(),
                c.way(), c.save ? "save" : "-", c.start(), struck ? "cut" : "MISSED",
                version ? kNew.toLatin1().constData()
                        : dev().firmwareVersion().toLatin1().constData(),
                c.save ? (settings ? "back" : "LOST") : "-", static_cast<long long>(tookS),
                recovered ? "recovered"
                : m_hung  ? "NOT RECOVERED (hung)"
                          : "NOT RECOVERED");
    std::fflush(stdout);
    EXPECT_TRUE(struck);
    EXPECT_TRUE(version) << "device at " << dev().firmwareVersion().toStdString();
    EXPECT_TRUE(settings) << m_found.toStdString();
    if (!recovered)
        std::printf("DETAIL|%4d|settings: %s\n", c.id, m_found.constData());
    if (!recovered && qEnvironmentVariableIsSet("SWEEP_DEBUG"))
        std::printf(
            "%s\n",
            qPrintable(
                logLines().mid(qMax(0, int(logLines().size()) - 80)).join(QLatin1Char('\n'))));
    EXPECT_FALSE(m_hung);
}

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
    return "c" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(Points, Sweep, ::testing::ValuesIn(Cases()), caseName);

} // namespace
