// Changing the speed of the device and of the port together.
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/dialogs/Platform.h"
#include "settings/SCL.h"

namespace telvo::ui {

using core::SameText;
using core::Val;

namespace {
QString model() {
    return scl().DeviceModel->text();
}

void statusBoth(const QString& text) {
    ShowStatus(text, 0);
    ShowStatusLDR(text, 0);
}

void alertBoth(const QString& text) {
    ShowAlert(text);
    ShowAlertLDR(text);
}
} // namespace

QString RateFromCode(const QString& code) {
    const auto& rates = Config().BaudRates;
    for (int i = 1; i < rates.size(); ++i)
        if (Val(rates[i].Code) == Val(code))
            return rates[i].Rate;
    return QStringLiteral("19200");
}

QString CodeToRateText(const QString& code) {
    const auto& rates = Config().BaudRates;
    for (int i = 1; i < rates.size(); ++i)
        if (SameText(rates[i].Code, code))
            return rates[i].Rate;
    return QStringLiteral("?????");
}

int RateIndex(const QString& rate) {
    const auto& rates = Config().BaudRates;
    for (int i = 1; i < rates.size(); ++i)
        if (Val(rates[i].Rate) == Val(rate))
            return i;
    return 0;
}

void ApplyPortRate(const QString& value) {
    QString rate = value;
    // Below 10 the value is a speed code.
    if (Val(value) < 10) {
        rate = CodeToRateText(value);
        if (rate == QLatin1String("?????"))
            return;
    }
    SCL& s = scl();
    s.P1->setPortOpen(false);
    s.P1->setSettings(rate + QStringLiteral(",n,8,1"));
    s.P1->setPortOpen(true);
    s.P1->ClearError();
    s.txtCrntSpeed->setText(rate);
}

void SetGordaBaudRate(const QString& input) {
    SCL& s = scl();
    core::LinkState& l = Link();
    const auto& rates = Config().BaudRates;
    WriteLogFile(QStringLiteral("Starting program SetGordaBaudRate with input=") + input);

    QString code;
    QString rate;
    if (Val(input) >= 100) {
        for (int i = 1; i < rates.size() && rate.isEmpty(); ++i)
            if (SameText(rates[i].Rate, input)) {
                code = rates[i].Code;
                rate = input;
            }
        if (rate.isEmpty()) {
            alertBoth(input + QStringLiteral(" is not a proper serial port rate for the ") +
                      model());
            return;
        }
    } else {
        for (int i = 1; i < rates.size() && rate.isEmpty(); ++i)
            if (SameText(rates[i].Code, input)) {
                code = input;
                rate = rates[i].Rate;
            }
        if (rate.isEmpty()) {
            alertBoth(input + QStringLiteral(" is not a proper serial port rate index for the ") +
                      model());
            return;
        }
    }

    bool success = false;
    for (int attempt = 0; attempt < 5 && !success; ++attempt) {
        statusBoth(QStringLiteral("Sending command to set ") + model() +
                   QStringLiteral(" baud rate to ") + rate);
        // The sender follows the device to the new rate by itself when the answer is lost.
        SetDevice(QStringLiteral("A3"), code);
        if (!l.TimedOut && !l.BadCommand) {
            success = true;
            break;
        }
        ApplyPortRate(rate);
        l.ReportedSpeedCode.clear();
        statusBoth(QStringLiteral("Sending command to check ") + model() +
                   QStringLiteral(" baud rate"));
        s.txtCrntSpeed->setText(QStringLiteral("?????"));
        QueryDevice(QStringLiteral("A3"));
        // A rate against a code: with the default table this never matches, and the fall-back
        // search below takes over.
        success = rate == l.ReportedSpeedCode;
    }

    if (success) {
        s.txtCrntSpeed->setText(CodeToRateText(code));
        statusBoth(QStringLiteral("Established Communications with the ") + model() +
                   QStringLiteral(" @ ") + rate + QStringLiteral(" Baud"));
        return;
    }
    const QString lost = QStringLiteral("Lost communications with ") + model() +
                         QStringLiteral(" trying to set Baud Rate to ") + rate +
                         QStringLiteral(" baud");
    statusBoth(lost);
    platform::MessageBox(lost);
    s.lstRate->setCurrentIndex(0);
    ConnectDevice();
}

} // namespace telvo::ui
