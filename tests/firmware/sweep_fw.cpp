// The cut sweep: a 64 KB image loaded at 57600 through the real start-up, windows and load
// routines against the emulated device on the in-process line (virtual clock), cut at every
// point where it can be cut: the line at each page boundary and a byte either side, the program
// killed at each page boundary and at each stage around the image. After each cut the program
// starts again as a user would (plain, or with "BootLoader"), the user takes what is offered, and
// the row says whether the device runs the new version with its saved settings back.
//
// SWEEP=full runs every case (make sweep); without it a short subset runs (make test).

#include "LoaderFixture.h"

#include "Device.h"
#include "DevicePeer.h"
#include "Firmware.h"

#include "app/Main.h"
#include "app/Tools.h"
#include "config/modRegistry.h"
#include "core/config/IniFile.h"
#include "link/DeviceScript.h"

#include <cstdio>

using namespace telvo;
using namespace telvo::test;
using vorix::sim::Device;
using vorix::sim::DeviceOptions;
using vorix::sim::DevicePeer;

namespace {

constexpr qint64 kImage = 64 * 1024;
constexpr qint64 kPage = 1024;
const QString kNew = QStringLiteral("2.90");

enum class Cut { Line, KillAtByte, KillBeforeSpeed, KillAfterSpeed, KillAfterCommand, KillInReboot,
                 KillInSearch, KillInRestore };

struct Case {
    int id;
    Cut cut;
    qint64 byte; // the image byte of a line cut or a kill at a byte
    bool menu;   // the menu way into the loader (a version before 1.11) rather than "AD"
    bool save;   // "Save Settings" ticked
    bool bootLoader;

    std::string name() const {
        static const char* const names[] = {"line cut at byte", "killed at byte", "killed before the speed change",
                                            "killed after the speed change", "killed after the command, before the prompt",
                                            "killed in the 10 s reboot wait", "killed in the search after the load",
                                            "killed in the restore of settings"};
        std::string n = names[int(cut)];
        if (cut == Cut::Line || cut == Cut::KillAtByte) n += " " + std::to_string(byte);
        return n;
    }
};

// SWEEP=full: every cut point in every way (command or menu, save or not, plain or
// "BootLoader"); SWEEP=points: every cut point once, the eight ways taken in turn; otherwise a
// few points, the ways in turn.
std::vector<Case> Cases() {
    const QString mode = qEnvironmentVariable("SWEEP");
    const bool points = mode == QLatin1String("points");
    const bool full = points || mode == QLatin1String("full");
    std::vector<qint64> lineBytes;
    std::vector<qint64> killBytes;
    if (full) {
        for (qint64 b = 0; b <= kImage; b += kPage) {
            for (qint64 d : {-1, 0, 1})
                if (b + d >= 0 && b + d < kImage) lineBytes.push_back(b + d);
            if (b < kImage) killBytes.push_back(b);
        }
    } else {
        lineBytes = {1023, 32 * kPage + 1};
        killBytes = {10 * kPage};
    }
    std::vector<Case> all;
    for (bool menu : {false, true}) {
        for (bool save : {true, false}) {
            for (bool bootLoader : {false, true}) {
                for (qint64 b : lineBytes) all.push_back({0, Cut::Line, b, menu, save, bootLoader});
                for (qint64 b : killBytes) all.push_back({0, Cut::KillAtByte, b, menu, save, bootLoader});
                for (Cut c : {Cut::KillBeforeSpeed, Cut::KillAfterSpeed, Cut::KillAfterCommand,
                              Cut::KillInReboot, Cut::KillInSearch, Cut::KillInRestore}) {
                    if (c == Cut::KillInRestore && !save) continue;
                    all.push_back({0, c, 0, menu, save, bootLoader});
                }
            }
        }
    }
    if (points || !full) {
        // The first way's list holds every point: each point takes the ways in turn.
        std::vector<Case> spread;
        const size_t ways = 8;
        const size_t perWay = lineBytes.size() + killBytes.size() + 6;
        for (size_t i = 0; i < perWay; ++i) {
            Case c = all[i];
            const size_t way = i % ways;
            c.menu = way & 4;
            c.save = !(way & 2);
            c.bootLoader = way & 1;
            if (c.cut == Cut::KillInRestore && !c.save) c.save = true;
            spread.push_back(c);
        }
        all = spread;
    }
    for (size_t i = 0; i < all.size(); ++i) all[i].id = int(i + 1);
    return all;
}

class Sweep : public LoaderFixture, public ::testing::WithParamInterface<Case> {
protected:
    void SetUp() override {
        LoaderFixture::SetUp();
        ui::RegWrite(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                     QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), 1);
        writeIni();
        writeHomeFile(QStringLiteral("new.frk"), vorix::sim::MakeFirmwareImage(kNew, kImage));
    }
    void TearDown() override {
        LoaderFixture::TearDown();
        m_peer.reset();
    }
    // The sample ini on one port, connecting at start-up, with confirmation of each step.
    void writeIni() {
        QByteArray out;
        for (const QByteArray& raw : sampleIni().split('\n')) {
            QByteArray line = raw;
            if (line.endsWith('\r')) line.chop(1);
            const QByteArray key = line.left(line.indexOf('=')).replace(' ', "").toUpper();
            if (line.contains('=') && (key == "MAXPORTS" || key == "AUTOSTART" || key == "CONFIRMOPERATIONS"))
                continue;
            out += line + "\r\n";
            if (line.trimmed() == "[SYSTEM]")
                out += "Max Ports = 1\r\nAuto Start = True\r\nConfirm Operations = True\r\n";
        }
        writeHomeFile(QStringLiteral("Telvo.ini"), out);
    }
    Device& attachDevice() {
        DeviceOptions o;
        o.model = QStringLiteral("Gorda");
        o.firmware = GetParam().menu ? QStringLiteral("1.10b") : QStringLiteral("1.24");
        o.baud = 19200;
        if (GetParam().cut == Cut::Line) o.faults.cutAtImageByte = GetParam().byte;
        m_peer = std::make_unique<DevicePeer>(std::make_unique<Device>(
            core::SplitTextLines(sampleIni()), o, platform::Clock::instance().nowUs()));
        platform::PortMap::instance().attachPeer(1, m_peer.get());
        line(1)->setPacing(true);
        return m_peer->device();
    }
    Device& dev() { return m_peer->device(); }
    // The user's own settings on the device before the load.
    void setUserSettings() {
        dev().settings().set("D3", "3");
    }
    bool userSettingsBack() {
        const QByteArray d3 = dev().settings().query("D3").value;
        m_found = "D3=" + d3;
        return d3 == "3";
    }
    QByteArray m_found;
    bool running() {
        return dev().mode() == Device::Mode::Running && dev().firmwareValid() &&
               dev().firmwareVersion() == kNew;
    }

    // The user: Continue at each prompt and stop of both windows; in RS the restart file when
    // it is offered, else port and file when the device shows its loader's prompt, else Cancel;
    // Done on the loader window once a restart from RS is over.
    void user() {
        // Armed first: a restart clicked here runs its whole load inside this call.
        events.in(40, [this] { user(); });
        ui::SCL& s = ui::scl();
        ui::LDR& l = ui::ldr();
        if (!s.cmdContinue->isHidden()) s.cmdContinue->click();
        if (!l.cmdContinue->isHidden()) l.cmdContinue->click();
        if (ui::FirmwareWindowExists("RS") && !ui::rs().isHidden() && !ui::App().RestartBusy) {
            ui::RS& w = ui::rs();
            m_restarted = true;
            if (dev().mode() != Device::Mode::Loader) {
                // The device shows its own picture, not the loader's prompt the window asks for.
                w.cmdCancel->click();
            } else if (!w.Check1->isHidden()) {
                if (!w.Check1->isChecked()) w.Check1->click();
                w.cmdReStart->click();
            } else {
                scripted->paths.push_back(homeFile(QStringLiteral("new.frk")));
                w.cmdBrowse->click();
                for (int i = 0; i < w.List1->count(); ++i)
                    if (w.List1->item(i)->text() == QLatin1String("COM1")) w.List1->setCurrentRow(i);
                ui::RS_List1_Click();
                w.cmdReStart->click();
            }
        }
        if (m_inStart && m_restarted && !l.isHidden() && !ui::App().RestartBusy &&
            (!ui::FirmwareWindowExists("RS") || ui::rs().isHidden()) &&
            l.cmdStart->text() == QLatin1String("Start"))
            l.cmdEnd->click();
    }

    // The cut of this case: true once it struck.
    void armCut() {
        const Case& c = GetParam();
        const auto shown = [](const QString& part) {
            return ui::scl().lblMessage->text().contains(part) || ui::ldr().lblMessage->text().contains(part);
        };
        switch (c.cut) {
        case Cut::Line:
            killWhen([this] { return dev().lineCut(); }, 3000, 10);
            break;
        case Cut::KillAtByte:
            killWhen([this, c] { return dev().loader().stats().bytes >= c.byte &&
                                        dev().loader().state() == vorix::sim::BootLoader::State::Receiving; },
                     0, 1);
            break;
        case Cut::KillBeforeSpeed:
            killWhen([shown] { return shown(QStringLiteral(" baud rate to 57600")); }, 0, 1);
            break;
        case Cut::KillAfterSpeed:
            killWhen([shown] { return shown(QStringLiteral("Ready to load selected Firmware")); }, 0, 1);
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
            killWhen([this] {
                for (const QString& l : logLines())
                    if (l.startsWith(QStringLiteral("Restoring "))) return true;
                return false;
            }, 0, 50);
            break;
        }
    }

    // A fresh start of the program, as the user runs it.
    void start(const QString& commandLine) {
        events.cancelAll();
        platform::ResetProgramEnded();
        // A recovery that waits for ever is ended after an hour of the device's time, and shows.
        events.in(3600 * 1000, [this] {
            m_hung = true;
            try {
                platform::EndProgram();
            } catch (const platform::ProgramEnd&) {
            }
        });
        ui::ResetSession();
        ui::App().CommandLine = commandLine;
        m_restarted = false;
        m_inStart = true;
        events.in(40, [this] { user(); });
        try {
            ui::Main();
        } catch (const platform::ProgramEnd&) {
            // Ended by the hang guard; the row says so.
        }
        m_inStart = false;
    }
    // Load Firmware on the main window, then Start on the loader: the whole load in the click.
    void load() {
        ui::scl().chkSaveRestore->setChecked(GetParam().save);
        scripted->paths.push_back(homeFile(QStringLiteral("new.frk")));
        ui::scl().cmdStart->click();
        ui::ldr().cmdStart->click();
    }

    std::unique_ptr<DevicePeer> m_peer;
    bool m_inStart = false;
    bool m_hung = false;
    bool m_restarted = false;
};

TEST_P(Sweep, CutAndRecovered) {
    const Case& c = GetParam();
    attachDevice();
    setUserSettings();
    start(QString());
    ASSERT_EQ(ui::scl().txtCrntSpeed->text(), QStringLiteral("19200")) << platform::ProgramEnded() << scripted->messageTexts().join(QLatin1Char('\n')).toStdString();
    armCut();
    load();
    const bool struck = platform::ProgramEnded();
    const qint64 cutAtMs = platform::Clock::instance().nowMs();

    // A cable cut is mended by switching the device off and on, as its manual says.
    if (c.cut == Cut::Line) m_peer->powerCycle();
    start(c.bootLoader ? QStringLiteral("BootLoader") : QString());
    // Not found (left at the transfer speed on its old firmware): off and on, and start again.
    const QString state = ui::App().DeviceState;
    if (!running() && (state == QLatin1String("NOT CONNECTED") || state == QLatin1String("?????"))) {
        m_peer->powerCycle();
        start(QString());
    }
    // The device still on its old firmware (the cut came before the loader): the user loads again.
    if (!running()) load();
    const qint64 tookS = (platform::Clock::instance().nowMs() - cutAtMs) / 1000;
    const bool version = running();
    const bool settings = !c.save || userSettingsBack();
    const bool recovered = struck && version && settings && !m_hung;
    std::printf("ROW|%4d|%-48s|%-7s|%-4s|%-10s|%-6s|%-9s|%-8s|%5llds|%s\n", c.id, c.name().c_str(),
                c.menu ? "menu" : "command", c.save ? "save" : "-", c.bootLoader ? "BootLoader" : "plain",
                struck ? "cut" : "MISSED", version ? kNew.toLatin1().constData() : dev().firmwareVersion().toLatin1().constData(),
                c.save ? (settings ? "back" : "LOST") : "-", static_cast<long long>(tookS),
                recovered ? "recovered" : m_hung ? "NOT RECOVERED (hung)" : "NOT RECOVERED");
    std::fflush(stdout);
    EXPECT_TRUE(struck);
    EXPECT_TRUE(version) << "device at " << dev().firmwareVersion().toStdString();
    EXPECT_TRUE(settings) << m_found.toStdString();
    if (!recovered && qEnvironmentVariableIsSet("SWEEP_DEBUG"))
        std::printf("%s\n", qPrintable(logLines().mid(qMax(0, int(logLines().size()) - 80)).join(QLatin1Char('\n'))));
    EXPECT_FALSE(m_hung);
}

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
    return "c" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(Points, Sweep, ::testing::ValuesIn(Cases()), caseName);

} // namespace
