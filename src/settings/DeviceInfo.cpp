// The device's state word, and what a connection reads of the device: firmware, model, options.
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "config/FWR.h"
#include "config/IniLoader.h"
#include "config/MDL.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "settings/SCL.h"

#include <functional>
#include <optional>

namespace telvo::ui {

using core::ContainsText;
using core::Mid;
using core::SameText;

namespace {

// How the loader window follows the state word: the lamp, its Done button, its busy mark.
enum class Look { Off, On, Keep };
struct LoaderLook {
    const char* word;
    Look ctsLed;
    Look endEnabled;
    Look wait;
};
const LoaderLook kLooks[] = {
    {"RESETTING", Look::Off, Look::Off, Look::Off},
    {"INVALID", Look::Off, Look::On, Look::Off},
    {"WAITING", Look::Off, Look::Off, Look::Keep},
    {"WAIT", Look::Off, Look::Off, Look::Keep},
    {"OC LOADING", Look::On, Look::Off, Look::On},
    {"IDLE", Look::Off, Look::On, Look::Off},
    {"POWERED", Look::Off, Look::On, Look::Off},
    {"STANDBY", Look::Off, Look::On, Look::Off},
    {"?????", Look::Off, Look::On, Look::Off},
    {"NOT AVAILABLE", Look::Off, Look::On, Look::Off},
    {"NOT CONNECTED", Look::Off, Look::On, Look::Off},
};

void apply(Look look, const std::function<void(bool)>& set) {
    if (look != Look::Keep)
        set(look == Look::On);
}

void followOnLoader(const QString& upper) {
    LDR& l = ldr();
    for (const LoaderLook& row : kLooks) {
        if (upper != QLatin1String(row.word))
            continue;
        apply(row.ctsLed, [&l](bool on) { l.CTSled->setVisible(on); });
        apply(row.endEnabled, [&l](bool on) { l.cmdEnd->setEnabled(on); });
        apply(row.wait, [&l](bool on) { l.lblWait->setVisible(on); });
        break;
    }
    l.lblCTS->setVisible(!l.CTSled->isHidden());
}

template <typename W> void showAndWait(W& window) {
    window.show();
    WaitOnWindow(window);
}

// A data reply ("21") that answers the given command.
bool answers(const QString& reply, const QString& cmd) {
    return Mid(reply, 2, 2) == QLatin1String("21") && SameText(Mid(reply, 6, 2), cmd);
}

// The text of a model or firmware answer, from position 9 for the length field less 4.
QString answerText(const QString& reply) {
    const int length = Hex2Int(Mid(reply, 4, 2)) - 4;
    return Mid(reply, 9, length < 0 ? 0 : length);
}

// The text the device answers `cmd` with; none, after the user has been shown the `window`
// (where the value is entered by hand; made only then), when the device gives no such answer.
template <typename W> std::optional<QString> askDevice(const QString& cmd, W& (*window)()) {
    QueryDevice(cmd);
    const QString reply = Link().Reply;
    if (!answers(reply, cmd)) {
        showAndWait(window());
        return std::nullopt;
    }
    return answerText(reply);
}

} // namespace

void SetState(const QString& word) {
    QString w = word;
    if (SameText(w, QStringLiteral("Firmware")))
        w = Link().DeviceTalking ? QStringLiteral("Idle") : QStringLiteral("Invalid");
    scl().txtState->setText(w);
    App().DeviceState = w.toUpper();
    followOnLoader(App().DeviceState);
}

void ReadFirmware() {
    SCL& s = scl();
    const std::optional<QString> answer = askDevice(QStringLiteral("A9"), fwr);
    if (!answer)
        return;
    const QString& firmware = *answer;
    if (App().DebuggerMode) {
        s.txtFirmware->setText(firmware);
        return;
    }
    // These three versions report themselves wrongly: they count as unknown.
    const QString upper = firmware.toUpper();
    if (upper == QLatin1String("1.87B") || upper == QLatin1String("1.87F") ||
        upper == QLatin1String("1.87G"))
        s.txtFirmware->setText(QString());
    else
        s.txtFirmware->setText(firmware);
}

void ReadModel() {
    SCL& s = scl();
    const std::optional<QString> answer = askDevice(QStringLiteral("A8"), mdl);
    if (!answer)
        return;
    QString text = *answer;
    const qsizetype nul = text.lastIndexOf(QChar(0));
    if (nul >= 0)
        text = text.mid(nul + 1);
    // The order decides when a text names two models.
    if (ContainsText(text, QStringLiteral("Fenna")))
        s.DeviceModel->setText(QStringLiteral("Fenna"));
    else if (ContainsText(text, QStringLiteral("Gorda")))
        s.DeviceModel->setText(QStringLiteral("Gorda"));
    else if (ContainsText(text, QStringLiteral("Hesta")))
        s.DeviceModel->setText(QStringLiteral("Hesta"));
    else if (ContainsText(text, QStringLiteral("VORIX")))
        s.DeviceModel->setText(QStringLiteral("Vorix"));
    QString& options = Config().Options;
    if (ContainsText(text, QStringLiteral("FRK102")) &&
        !ContainsText(options, QStringLiteral("FRKDI")))
        options = core::TrimBlank(options) + QStringLiteral(" FRKDI");
}

void CheckSDI() {
    SCL& s = scl();
    SettingsGlobals& g = G().settings;
    g.SuppressTab = true;
    const QStringList names = InputTabNames();
    const int wanted = ContainsText(Config().Options, QStringLiteral("SDI")) ? 12 : 11;
    while (s.SSTab1->count() > wanted)
        s.SSTab1->removeTab(s.SSTab1->count() - 1);
    while (s.SSTab1->count() < wanted)
        s.SSTab1->addTab(names.at(s.SSTab1->count()));
    if (wanted == 11)
        LogLine(QStringLiteral("There is no SDI interface module installed in the device"));
    g.SuppressTab = false;
}

void EnsureModelAndFirmware() {
    SCL& s = scl();
    const auto modelUnknown = [&s] {
        return SameText(s.DeviceModel->text(), QStringLiteral("VORIX"));
    };
    if (s.chkSim->isChecked()) {
        if (modelUnknown())
            showAndWait(mdl());
        if (s.txtFirmware->text().isEmpty())
            showAndWait(fwr());
        return;
    }
    if (s.txtFirmware->text().isEmpty() || modelUnknown()) {
        ConnectDevice();
        if (modelUnknown())
            showAndWait(mdl());
        if (s.txtFirmware->text().isEmpty())
            showAndWait(fwr());
    }
}

} // namespace telvo::ui
