#include "link/Driver.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "config/FP.h"
#include "config/INI.h"
#include "core/link/Protocol.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "firmware/LDR.h"
#include "link/zSCL.h"
#include "platform/dialogs/Platform.h"
#include "platform/serial/PortMap.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <algorithm>
#include <cstdio>

namespace telvo::ui {

using core::Val;

namespace {
QString model() {
    return scl().DeviceModel->text();
}
const QString kSettingsTail = QStringLiteral(",n,8,1");
} // namespace

// ---- Ports ----------------------------------------------------------------------------------

void EnumeratePorts() {
    SCL& s = scl();
    platform::CommControl* P1 = s.P1;
    G().driver.lstComPorts.clear();
    FP& f = fp();
    f.Label1->setText(QString());
    f.RefusedReason.clear();
    f.setProblem(QString());
    f.show();
    // The machine's ports as they stand now: an adapter plugged in since the start counts.
    platform::PortMap::instance().rescan();
    int count = 0;
    QStringList devices; // "COM3  /dev/ttyUSB0: maker product", FP's tooltip
    for (int n = 1; n <= Config().MaxPorts; ++n) {
        f.Label1->setText(QStringLiteral("Checking for port COM") + QString::number(n));
        P1->ClearError();
        P1->setPortOpen(false);
        if (P1->ErrNumber() != 0 && P1->ErrNumber() != 8012)
            continue;
        P1->ClearError();
        P1->setCommPort(n);
        if (P1->ErrNumber() != 0)
            continue;
        P1->setPortOpen(true);
        if (P1->ErrNumber() != 0) {
            // A port there but refused says why none may be found; the first one is told.
            const QString why = platform::OpenFailureReason(P1->ErrNumber(), P1->ErrDevice());
            if (f.RefusedReason.isEmpty())
                f.RefusedReason = why;
            continue;
        }
        ++count;
        G().driver.lstComPorts << QStringLiteral("COM") + QString::number(n);
        devices << QStringLiteral("COM") + QString::number(n) + QStringLiteral("  ") +
                       platform::PortMap::instance().describe(n);
        P1->setPortOpen(false);
    }
    P1->ClearError();
    f.Label1->setText(QStringLiteral("Number of COM Ports Found = ") + QString::number(count));
    f.Label1->setToolTip(devices.join(QLatin1Char('\n')));
    Pause(2000);
    G().driver.PortsEnumerated = true;
}

void BuildPortList() {
    SCL& s = scl();
    if (G().driver.lstComPorts.isEmpty())
        EnumeratePorts();
    if (G().driver.lstComPorts.isEmpty()) {
        const QString text = QStringLiteral("There were no Com Ports found on this machine.");
        if (Config().MaxPorts < 1) {
            platform::MessageBox(text);
        } else {
            fp().Label1->setText(text);
            // The cause, where the user looks and on standard error for one who started us there.
            const QString why = fp().RefusedReason;
            fp().setProblem(why);
            if (!why.isEmpty())
                std::fprintf(stderr, "%s\n", qPrintable(why));
            Pause(5000);
        }
        platform::EndProgram();
    }
    fp().hide();
    // COM5 goes in as COM05 so that sorting as text gives number order up to 99.
    QStringList lstTemp;
    for (const QString& name : G().driver.lstComPorts)
        lstTemp << (name.size() == 4 ? name.left(3) + QStringLiteral("0") + name.mid(3) : name);
    std::sort(lstTemp.begin(), lstTemp.end(), [](const QString& a, const QString& b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    s.lstPort->clear();
    s.lstPort->addItem(QStringLiteral("?????"));
    for (const QString& name : lstTemp) {
        const QString port =
            core::Mid(name, 4, 1) == QLatin1String("0") ? name.left(3) + name.mid(4) : name;
        // The name stays the list's text (the search reads it); the device file is its tooltip.
        const QString device = platform::PortMap::instance().describe(int(Val(port.mid(3))));
        s.lstPort->addItem(port);
        s.lstPort->setItemData(s.lstPort->count() - 1, device, Qt::ToolTipRole);
    }
    if (!lstTemp.isEmpty())
        ini().lstPorts->setCurrentIndex(0);
}

void SelectConfiguredPort() {
    SCL& s = scl();
    const core::ConfigTables& c = Config();
    if (!c.PortName.isEmpty()) {
        s.lblWait->show();
        for (int i = 1; i < s.lstPort->count(); ++i)
            if (s.lstPort->itemText(i).toUpper() == c.PortName.toUpper()) {
                s.lstPort->setCurrentIndex(i);
                break;
            }
        s.lblWait->hide();
    }
    if (!c.BaudName.isEmpty()) {
        for (int i = 1; i < s.lstRate->count(); ++i)
            if (s.lstRate->itemText(i).toUpper() == c.BaudName.toUpper()) {
                s.lstRate->setCurrentIndex(i);
                break;
            }
    }
}

qint16 GetProbeMode() {
    SCL& s = scl();
    WriteLogFile(QStringLiteral("Starting Subroutine GetProbeMode"));
    const bool portKnown = s.lstPort->currentIndex() > 0;
    const bool rateKnown = s.lstRate->currentIndex() > 0;
    const QString port = s.lstPort->currentText();
    const QString rate = s.lstRate->currentText();
    if (!portKnown && !rateKnown) {
        if (ConfirmOperation(QStringLiteral("Niether the Com Port nor the Baud rate is provided, a "
                                            "full Search will be done"),
                             0))
            return 0;
    } else if (!portKnown) {
        if (ConfirmOperation(
                QStringLiteral(
                    "The Com Port is not provided, a search of all ports will be done at ") +
                    rate,
                0))
            return 1;
    } else if (!rateKnown) {
        if (ConfirmOperation(QStringLiteral("A Baud Rate is not provided, a search of ") + port +
                                 QStringLiteral(" at all Baud Rates will be done"),
                             0))
            return 2;
    } else {
        if (ConfirmOperation(QStringLiteral("The Gorda will be checked to be on port ") + port +
                                 QStringLiteral(" @ ") + rate + QStringLiteral(" Baud"),
                             0))
            return 3;
    }
    return -1;
}

bool FindDevice(int mode) {
    SCL& s = scl();
    const int lastPort = s.lstPort->count() - 1;
    const int lastRate = s.lstRate->count() - 1;
    int firstP = 1, lastP = lastPort, firstR = 1, lastR = lastRate;
    auto indexOf = [](QComboBox* list, const QString& text) {
        for (int i = 0; i < list->count(); ++i)
            if (list->itemText(i) == text)
                return i;
        return 0;
    };
    switch (mode) {
    case 1:
        firstR = lastR = s.lstRate->currentIndex();
        break;
    case 2:
        firstP = lastP = s.lstPort->currentIndex();
        break;
    case 3:
        firstP = lastP = s.lstPort->currentIndex();
        firstR = lastR = s.lstRate->currentIndex();
        break;
    case 10:
        firstP = lastP = indexOf(s.lstPort, s.txtPort->text());
        firstR = lastR = indexOf(s.lstRate, s.txtxfrspeed->text());
        break;
    case 11:
        firstP = lastP = indexOf(s.lstPort, s.txtPort->text());
        break;
    default:
        break;
    }
    QString found;
    for (int p = firstP; p <= lastP && found.isEmpty(); ++p) {
        // The list may carry a remark behind the name.
        const QString port =
            core::TrimBlank(s.lstPort->itemText(p).section(QLatin1Char(' '), 0, 0));
        s.txtPort->setText(port);
        ShowStatus(QStringLiteral("Checking Com Port ") + port, 1);
        if (TryOpenPort(port)) {
            found = ProbeRates(port, firstR, lastR);
        } else {
            Pause(100);
            s.lblMessage->setText(QString());
        }
    }
    if (found.isEmpty())
        return false;
    s.txtCrntSpeed->setText(found);
    if (s.txtOrigSpeed->text().isEmpty())
        s.txtOrigSpeed->setText(found);
    return true;
}

bool TryOpenPort(const QString& port) {
    platform::CommControl* P1 = scl().P1;
    P1->setPortOpen(false);
    P1->ClearError();
    P1->setCommPort(int(Val(core::Mid(port, 4))));
    P1->setHandshaking(2);
    P1->setPortOpen(true);
    G().driver.Tried.append({port, P1->ErrNumber(), P1->ErrDescription(), {}});
    if (P1->ErrNumber() == 0) {
        // Which device file a COM number is, for whoever reads the log after a search.
        const QString device = platform::PortMap::instance().describe(P1->CommPort());
        if (!device.isEmpty() && device.compare(QLatin1String("sim"), Qt::CaseInsensitive) != 0)
            WriteLogFile(port + QStringLiteral(" is ") + device);
        return true;
    }
    scl().lblMessage->setText(QStringLiteral("Port ") + port + QStringLiteral(" ") +
                              P1->ErrDescription());
    return false;
}

QString ProbeRates(const QString& port, int first, int last) {
    SCL& s = scl();
    platform::CommControl* P1 = s.P1;
    // The port's own time-outs, put back after the probe. Read once: a record read while the
    // probe's copy is in force would put the probe's 100 ms back for good.
    const int kept = P1->WriteTimeout();
    for (int i = first; i <= last; ++i) {
        QString rate = s.lstRate->itemText(i);
        s.txtCrntSpeed->setText(rate);
        P1->setPortOpen(false);
        P1->setHandshaking(3);
        P1->setSettings(rate + kSettingsTail);
        P1->setRThreshold(1);
        P1->ClearError();
        P1->setPortOpen(true);
        // Errors are ignored here: a rate the port refuses, or an adapter pulled out, moves the
        // search on to the next rate (and so to the next port) instead of abandoning it.
        if (!P1->PortOpen())
            continue;
        // A probe write may never hang on a line with nothing on it.
        P1->setWriteTimeout(100);
        bool answered = false;
        try {
            answered = ProbeExchange(QStringLiteral("20"), QStringLiteral("A1") + core::NUL());
        } catch (const core::RuntimeError& e) {
            LogLine(QStringLiteral("Port ") + port + QStringLiteral(" @ ") + rate +
                    QStringLiteral(": ") + e.description());
        }
        if (!answered && !G().driver.Tried.isEmpty())
            G().driver.Tried.last().silentAt << rate;
        if (answered) {
            P1->setWriteTimeout(kept);
            P1->setPortOpen(false);
            P1->setHandshaking(2);
            P1->setPortOpen(true);
            P1->ClearError();
            return rate;
        }
    }
    P1->setWriteTimeout(kept);
    P1->setPortOpen(false);
    P1->ClearError();
    return QString();
}

void PowerUp() {
    core::LinkState& l = Link();
    WriteLogFile(QStringLiteral("Starting Subroutine PowerUp"));
    if (l.PowerState != QLatin1String("STANDBY") || !G().driver.PowerUpAllowed)
        return;
    for (int i = 0; i < 5 && l.PowerState != QLatin1String("ON"); ++i) {
        ShowStatus(QStringLiteral("Sending command to Power up Gorda"));
        SetDevice(QStringLiteral("A1"), QStringLiteral("1"));
        DevicePause(1000);
        ShowStatus(QStringLiteral("Sending command to check ") + model() +
                   QStringLiteral(" Power state"));
        QueryDevice(QStringLiteral("A1"));
        DevicePause(1000);
    }
    if (l.PowerState == QLatin1String("STANDBY"))
        ShowAlert(QStringLiteral("UNABLE TO POWER UP THE ") + model().toUpper());
}

bool ConnectDevice() {
    SCL& s = scl();
    core::LinkState& l = Link();
    s.txtState->setText(QStringLiteral("Attempting to Connect"));
    s.cmdDecodeIR->setEnabled(false);
    s.cmdSupport->setEnabled(false);
    s.cmdOpen->setEnabled(false);
    if (s.chkSim->isChecked()) {
        // No search in simulation, and no refresh after it: the result is false on purpose.
        s.lstPort->setCurrentIndex(0);
        s.lstRate->setCurrentIndex(0);
        s.txtPort->setText(QStringLiteral("COM1"));
        s.txtOrigSpeed->setText(QStringLiteral("19200"));
        s.txtCrntSpeed->setText(QStringLiteral("19200"));
        s.txtxfrspeed->setText(QStringLiteral("57600"));
        s.txtFirmware->setText(QStringLiteral("1.10"));
        l.PowerState = QStringLiteral("ON");
        SetState(QStringLiteral("Powered"));
        EnableControls(QStringLiteral("ALL"));
        return false;
    }
    if (Config().UserLevel == 1) {
        s.lstPort->setCurrentIndex(0);
        s.lstRate->setCurrentIndex(0);
    }
    s.lblWait->show();
    G().driver.ProbeMode = GetProbeMode();
    bool connected = false;
    if (G().driver.ProbeMode < 0) {
        ShowAlert(QStringLiteral("Could not asctertain the Port and Speed to use to find the ") +
                  model());
        SetState(QStringLiteral("Not Connected"));
        EnableControls(QStringLiteral("OPEN SUPPORT IR END"));
    } else {
        l.PowerState.clear();
        G().driver.Tried.clear();
        if (!FindDevice(G().driver.ProbeMode)) {
            // A device too far away answers late: the alert says how late, so that nobody
            // takes it for a device without firmware.
            const QString tooFar = LatencyBeyondReach();
            ShowAlert(QStringLiteral("All requested Com Ports Checked, No Vorix Device Found") +
                      (tooFar.isEmpty() ? QString() : QStringLiteral(": ") + tooFar));
            App().NoDeviceFound = true;
            s.txtCrntSpeed->clear();
            s.txtPort->clear();
            SetState(QStringLiteral("Not Connected"));
            EnableControls(QStringLiteral("OPEN SUPPORT IR END"));
        } else if (!ConfirmOperation(model() + QStringLiteral(" Found on ") + s.txtPort->text() +
                                     QStringLiteral(" Operating @ ") + s.txtCrntSpeed->text() +
                                     QStringLiteral(" baud"))) {
            EnableControls(QStringLiteral("OPEN SUPPORT IR END"));
            SetState(QStringLiteral("Not Connected"));
        } else {
            ReadFirmware();
            ReadModel();
            CheckSDI();
            s.SetTitle();
            PowerUp();
            if (l.PowerState != QLatin1String("ON")) {
                if (G().driver.PowerUpAllowed)
                    ShowAlert(QStringLiteral("Could not Power up the ") + model());
                l.PowerState = QStringLiteral("STANDBY");
                SetState(QStringLiteral("Standby"));
                ldr().ResetIdle();
                s.lblWait->hide();
                SetUserLayout(Config().UserLevel);
                EnableControls(QStringLiteral("OPEN SUPPORT IR END"));
                return false;
            }
            SetState(QStringLiteral("Powered"));
            if (s.txtxfrspeed->text().isEmpty())
                s.txtxfrspeed->setText(Config().TransferSpeed);
            s.lblWait->hide();
            EnableControls(QStringLiteral("ALL"));
            SetUserLayout(Config().UserLevel);
            connected = true;
        }
    }
    if (connected)
        return true;
    ldr().ResetIdle();
    s.lblWait->hide();
    return false;
}

void ReopenPort() {
    SCL& s = scl();
    platform::CommControl* P1 = s.P1;
    auto giveUp = [](const QString& middle) {
        platform::MessageBox(
            QStringLiteral("Unable to re-open the com port.  It was never opened.") +
            QStringLiteral("\r\n") + middle + QStringLiteral("\r\n") +
            QStringLiteral(" Program will end, restart and click 'Open Port'"));
        platform::EndProgram();
    };
    if (s.txtPort->text().isEmpty()) {
        if (!ConnectDevice())
            giveUp(QStringLiteral("The Port the device is on is not known"));
        return;
    }
    if (s.txtCrntSpeed->text().isEmpty()) {
        if (!ConnectDevice())
            giveUp(QStringLiteral("The Serial Port Speed for the device is not known"));
        return;
    }
    P1->setPortOpen(false);
    P1->ClearError();
    P1->setCommPort(int(Val(core::Mid(s.txtPort->text(), 4))));
    P1->setSettings(s.txtCrntSpeed->text() + kSettingsTail);
    P1->setHandshaking(2);
    P1->setRThreshold(1);
    P1->setPortOpen(true);
    if (P1->ErrNumber() != 0)
        s.lblMessage->setText(P1->ErrDescription());
}

void cmdOpen_Click() {
    if (ConnectDevice()) {
        // A device found only by hand (left at the transfer speed by a program that died in the
        // reboot wait) is offered its cut-off load's settings as one found at start-up is.
        RestoreSettingsOfCutOffLoad();
        RefreshPanels(7);
        scl().lblWait->hide();
    }
}

} // namespace telvo::ui
