#include "config/IniLoader.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "config/INI.h"
#include "core/text/MinorSubs.h"
#include "link/Driver.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "settings/SCL.h"

#include <QFile>

namespace telvo::ui {

QString IniFilePath() {
    return platform::AppFile(QStringLiteral("Telvo.ini"));
}

int Hex2Int(const QString& text) {
    if (const auto v = core::Hex2IntChecked(text))
        return *v;
    platform::MessageBox(QStringLiteral("Illegal call to Hex2Int with value ") + text);
    return 0;
}

void InitDefaults() {
    SCL& s = scl();
    Config() = core::ConfigTables();
    s.chkSaveRestore->setChecked(false);
    s.txtretry->setText(QStringLiteral("1"));
    s.txtTO->setText(QStringLiteral("250"));
    s.chkSim->setChecked(false);
    Link().SimNote.clear();
    s.DeviceModel->setText(QStringLiteral("Vorix"));
    s.lstRate->clear();
    s.lstRate->addItem(QStringLiteral("?????"));
    const auto& rates = Config().BaudRates;
    for (int i = 1; i < rates.size(); ++i)
        s.lstRate->addItem(rates[i].Rate);
    s.lstRate->setCurrentIndex(0);
    App().KeyNames = {QString(),
                      QStringLiteral("Left"),
                      QStringLiteral("Right"),
                      QStringLiteral("Up"),
                      QStringLiteral("Down"),
                      QStringLiteral("Menu"),
                      QStringLiteral("Enter"),
                      QStringLiteral("Exit")};
    SetState(QStringLiteral("Not Available"));
}

static QStringList readLines(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return core::SplitTextLines(f.readAll());
}

bool CheckIniFile() {
    const QString path = IniFilePath();
    if (!core::FileExists(path)) {
        platform::MessageBox(QStringLiteral("There is no INI file, Program may not continue"));
        return false;
    }
    const QStringList lines = readLines(path);
    // Nothing but comments and blank lines: the program ends in silence.
    if (core::FirstIniLine(lines).isEmpty())
        return false;
    if (!core::IsPrototypeFile(lines))
        return true;
    // A template: the first-run window leads the user through it.
    INI& w = ini();
    w.IniDone = false;
    w.show();
    WaitOnWindow(w);
    if (w.IniDone)
        return true;
    platform::MessageBox(
        QStringLiteral("INI file could not be initialized or user cancelled initialization"));
    return false;
}

void ReadIniFile(int pass) {
    const QString path = IniFilePath();
    if (!core::FileExists(path)) {
        ShowAlert(QStringLiteral("There is no INI file, default values used"));
        return;
    }
    SCL& s = scl();
    core::IniControls c;
    c.DeviceModel = s.DeviceModel->text();
    c.txtFirmware = s.txtFirmware->text();
    for (int i = 0; i < s.lstRate->count(); ++i)
        c.lstRate << s.lstRate->itemText(i);
    const QList<core::IniReport> reports = core::ReadIniText(pass, readLines(path), Config(), c);
    s.DeviceModel->setText(c.DeviceModel);
    s.txtFirmware->setText(c.txtFirmware);
    if (c.chkConfirm)
        s.chkConfirm->setChecked(*c.chkConfirm);
    if (c.chkDefaults)
        s.chkDefaults->setChecked(*c.chkDefaults);
    if (c.chkSaveRestore)
        s.chkSaveRestore->setChecked(*c.chkSaveRestore);
    if (c.chkSim) {
        s.chkSim->setChecked(*c.chkSim);
        Link().SimNote = *c.chkSim ? QStringLiteral(" (Simulation Mode)") : QString();
    }
    if (c.txtretry)
        s.txtretry->setText(*c.txtretry);
    if (c.txtTO)
        s.txtTO->setText(*c.txtTO);
    if (c.lstModelsOfMDL)
        App().ModelList = *c.lstModelsOfMDL;
    for (const core::IniReport& r : reports) {
        if (r.kind == core::IniReport::MessageBox)
            platform::MessageBox(r.text);
        else
            ShowAlert(r.text);
    }
}

} // namespace telvo::ui
