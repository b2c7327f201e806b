#pragma once
// The common ground of the two cut sweeps (sweep_fw on the in-process line, sweep_kill with a
// real process killed over a pseudo-terminal): the cases, the user's own settings on the device,
// the program's ini, and the scripted user who starts the program and takes what it offers.

#include "common/LoaderFixture.h"

#include "app/Main.h"
#include "app/Tools.h"
#include "common/DeviceScript.h"
#include "config/FWR.h"
#include "config/modRegistry.h"

#include <string>
#include <vector>

namespace telvo::test {

constexpr qint64 kSweepImage = 64 * 1024;
constexpr qint64 kSweepPage = 1024;
inline QString SweepNewVersion() {
    return QStringLiteral("2.90");
}

enum class Cut {
    Line,
    KillAtByte,
    KillBeforeSpeed,
    KillAfterSpeed,
    KillAfterCommand,
    KillInReboot,
    KillInSearch,
    KillInRestore
};

struct Case {
    int id;
    Cut cut;
    qint64 byte; // the image byte of a line cut or a kill at a byte
    bool menu;   // the menu way into the loader (a version before 1.11) rather than "AD"
    bool save;   // "Save Settings" ticked
    bool bootLoader;

    std::string name() const {
        static const char* const names[] = {"line cut at byte",
                                            "killed at byte",
                                            "killed before the speed change",
                                            "killed after the speed change",
                                            "killed after the command, before the prompt",
                                            "killed in the 10 s reboot wait",
                                            "killed in the search after the load",
                                            "killed in the restore of settings"};
        std::string n = names[int(cut)];
        if (cut == Cut::Line || cut == Cut::KillAtByte)
            n += " " + std::to_string(byte);
        return n;
    }
    const char* way() const { return menu ? "menu" : "command"; }
    const char* start() const { return bootLoader ? "BootLoader" : "plain"; }
};

// Every cut point in every way (command or menu, save or not, plain or "BootLoader"); with
// `spread`, every cut point once, the eight ways taken in turn. Line cuts at each page boundary
// and a byte either side when `lineCuts`; kills at each page boundary and each stage.
inline std::vector<Case> SweepCases(const std::vector<qint64>& lineBytes,
                                    const std::vector<qint64>& killBytes, bool spread) {
    std::vector<Case> all;
    for (bool menu : {false, true}) {
        for (bool save : {true, false}) {
            for (bool bootLoader : {false, true}) {
                for (qint64 b : lineBytes)
                    all.push_back({0, Cut::Line, b, menu, save, bootLoader});
                for (qint64 b : killBytes)
                    all.push_back({0, Cut::KillAtByte, b, menu, save, bootLoader});
                for (Cut c : {Cut::KillBeforeSpeed, Cut::KillAfterSpeed, Cut::KillAfterCommand,
                              Cut::KillInReboot, Cut::KillInSearch, Cut::KillInRestore}) {
                    if (c == Cut::KillInRestore && !save)
                        continue;
                    all.push_back({0, c, 0, menu, save, bootLoader});
                }
            }
        }
    }
    if (spread) {
        // The first way's list holds every point: each point takes the ways in turn.
        std::vector<Case> one;
        const size_t ways = 8;
        const size_t perWay = lineBytes.size() + killBytes.size() + 6;
        for (size_t i = 0; i < perWay; ++i) {
            Case c = all[i];
            const size_t way = i % ways;
            c.menu = way & 4;
            c.save = !(way & 2);
            c.bootLoader = way & 1;
            if (c.cut == Cut::KillInRestore && !c.save)
                c.save = true;
            one.push_back(c);
        }
        all = one;
    }
    for (size_t i = 0; i < all.size(); ++i)
        all[i].id = int(i + 1);
    return all;
}

// The page boundaries of the image, 0 included.
inline std::vector<qint64> SweepPageBoundaries() {
    std::vector<qint64> out;
    for (qint64 b = 0; b < kSweepImage; b += kSweepPage)
        out.push_back(b);
    return out;
}

// The user's own settings on the device before the load, of different kinds and pages: a list
// and a number of the configuration page, a number and a list of input 2's picture. Each is where
// a save and a restore leave it alone otherwise: the view put back after either selects input 1
// and then a preset, which recalls that preset into input 1, and a display profile, which is
// recalled into the output last selected (the digital one after a save's walk, the analog one once
// the view kept says digital), so no value of input 1 or of an output survives a save for sure,
// even without a load.
struct UserSetting {
    const char* key; // as the emulator keeps it: "D3", "B1@in2"
    const char* value;
};
inline const std::vector<UserSetting>& SweepUserSettings() {
    static const std::vector<UserSetting> s = {
        {"D3", "3"}, {"D1", "60"}, {"B1@in2", "17"}, {"B6@in2", "2"}};
    return s;
}
// The emulator's words that set them at power-on (its --settings list).
inline QString SweepUserSettingsWords() {
    return QStringLiteral("D3=3,D1=60,4C=2,B1=17,B6=2,4C=1");
}
// Whether every user setting is back, given how the device holds a key; `found` lists them.
template <typename Held> bool SweepUserSettingsBack(Held held, QByteArray* found) {
    bool all = true;
    for (const UserSetting& u : SweepUserSettings()) {
        const QByteArray v = held(QByteArray(u.key));
        *found += QByteArray(found->isEmpty() ? "" : " ") + u.key + "=" + v;
        all = all && v == u.value;
    }
    return all;
}

// The program's side of a sweep case: its ini and files, and the user at the windows.
class SweepFixture : public LoaderFixture {
protected:
    // The case under way.
    virtual const Case& sweepCase() const = 0;
    // What the device's own screen shows: its loader's prompt.
    virtual bool deviceShowsLoader() = 0;

    // The program's folder: the adapter warning off, the sample ini on one port, connecting at
    // start-up with confirmation of each step, and the new image.
    void prepareHome() {
        qputenv("TELVO_REGISTRY_FILE", homeFile(QStringLiteral("registry.ini")).toUtf8());
        ui::RegWrite(QStringLiteral("HKCU"), QString::fromLatin1(ui::kDongleKey),
                     QStringLiteral("ShowDongleWarning"), QStringLiteral("D"), 1);
        writeIni({QStringLiteral("Max Ports = 1"), QStringLiteral("Auto Start = True"),
                  QStringLiteral("Confirm Operations = True")});
    }

    // The user: Continue at each prompt and stop of both windows (except at `holdAt`, where the
    // user waits and `onHold` is told); in RS the restart file when it is offered, else port and
    // file when the device shows its loader's prompt, else Cancel; Done on the loader window once
    // a restart from RS is over.
    void user() {
        // Armed first: a restart clicked here runs its whole load inside this call.
        events.in(40, [this] { user(); });
        ui::SCL& s = ui::scl();
        ui::LDR& l = ui::ldr();
        if (!m_holdAt.isEmpty() &&
            (s.lblMessage->text().contains(m_holdAt) || l.lblMessage->text().contains(m_holdAt))) {
            if (m_onHold)
                m_onHold();
            return;
        }
        // The program has said it lost the device ("?????"): what it then cannot do for want of
        // an answer is not worth six tries a row; the user cancels it and remembers why.
        if (ui::App().DeviceState == QLatin1String("?????") && !s.cmdCancel->isHidden() &&
            s.lblMessage->text().contains(QStringLiteral("Could not"))) {
            m_steps << QStringLiteral("cancelled the restore");
            s.cmdCancel->click();
            return;
        }
        if (!s.cmdContinue->isHidden())
            s.cmdContinue->click();
        if (!l.cmdContinue->isHidden())
            l.cmdContinue->click();
        // Asked for the firmware version the device did not tell: "If you do not know the
        // firmware loaded just click 'OK'".
        if (ui::WindowExists("FWR") && !ui::fwr().isHidden())
            ui::fwr().Command1->click();
        if (ui::FirmwareWindowExists("RS") && !ui::rs().isHidden() && !ui::App().RestartBusy) {
            ui::RS& w = ui::rs();
            m_restarted = true;
            if (!deviceShowsLoader()) {
                // The device shows its own picture, not the loader's prompt the window asks for.
                w.cmdCancel->click();
            } else if (!w.Check1->isHidden()) {
                if (!w.Check1->isChecked())
                    w.Check1->click();
                w.cmdReStart->click();
            } else {
                scripted->paths.push_back(homeFile(QStringLiteral("new.frk")));
                w.cmdBrowse->click();
                for (int i = 0; i < w.List1->count(); ++i)
                    if (w.List1->item(i)->text() == QLatin1String("COM1"))
                        w.List1->setCurrentRow(i);
                ui::RS_List1_Click();
                w.cmdReStart->click();
            }
        }
        if (m_inStart && m_restarted && !l.isHidden() && !ui::App().RestartBusy &&
            (!ui::FirmwareWindowExists("RS") || ui::rs().isHidden()) &&
            l.cmdStart->text() == QLatin1String("Start"))
            l.cmdEnd->click();
    }

    // A fresh start of the program, as the user runs it; `guardMs` (0: none) ends a recovery
    // that waits longer, and the row shows it.
    void start(const QString& commandLine, int guardMs) {
        events.cancelAll();
        platform::ResetProgramEnded();
        if (guardMs > 0)
            events.in(guardMs, [this] {
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
        ui::scl().chkSaveRestore->setChecked(sweepCase().save);
        scripted->paths.push_back(homeFile(QStringLiteral("new.frk")));
        ui::scl().cmdStart->click();
        ui::ldr().cmdStart->click();
    }

    bool m_inStart = false;
    bool m_hung = false;
    bool m_restarted = false;
    QString m_holdAt;
    std::function<void()> m_onHold;
    QStringList m_steps; // what the user did beyond the offered recovery
};

} // namespace telvo::test
