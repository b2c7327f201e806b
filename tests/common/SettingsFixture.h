#pragma once
// A run of the main window against the emulated device on the in-process line, under the
// virtual clock: the panels, value entry, save and restore and the emulator's round trips talk
// to a device of their own.

#include "common/EmulatedDevice.h"
#include "common/Fixture.h"

#include "app/Globals.h"
#include "core/text/MinorSubs.h"
#include "link/Driver.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/Layout.h"
#include "settings/SCL.h"

#include <QTest>

namespace telvo::test {

class DeviceRun : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        writeHomeFile(QStringLiteral("Telvo.ini"), ini());
        initControls();
    }
    void TearDown() override {
        RunFixture::TearDown(); // the line goes before the device it talks to
        m_device.reset();
    }
    virtual QByteArray ini() { return sampleIni(); }

    // The device on COM1 at 19200, connected as a search leaves it, with the panels built.
    vorix::sim::Device& attachDevice(const vorix::sim::DeviceOptions& o = {}) {
        vorix::sim::Device& device = m_device.attach(ini(), o);
        openPort(1, 19200);
        ui::Link().DeviceTalking = true;
        ShowConnection(1, 19200, QStringLiteral("Powered"));
        return device;
    }
    ui::SCL& s() { return ui::scl(); }

    // The frames the program sent, as the log prints them, from line `from` of the log on.
    QStringList sent(int from = 0) const {
        QStringList out;
        const QStringList log = logLines();
        for (int i = from; i < log.size(); ++i) {
            const QString& l = log.at(i);
            if (!l.startsWith(QLatin1String("Sent: ")))
                continue;
            out << l.mid(6, l.indexOf(QLatin1String(" on COM")) - 6);
        }
        return out;
    }
    // A query or set frame as the log prints it.
    static QString query(const char* id) {
        return QStringLiteral("(STX)2003") + QLatin1String(id) + QStringLiteral("(NUL)(ETX)");
    }
    static QString set(const char* id, const QString& value) {
        const int length = 2 + 1 + int(value.size()) + 1;
        return QStringLiteral("(STX)30") +
               QStringLiteral("%1").arg(length, 2, 16, QChar(u'0')).toUpper() + QLatin1String(id) +
               QStringLiteral("(NUL)") + value + QStringLiteral("(NUL)(ETX)");
    }
    int logSize() const { return int(logLines().size()); }

    // The label of a panel's n-th setting.
    ui::SettingLabel* top(int n) { return s().lblSettingTop.at(n); }
    ui::SettingLabel* mid(int n) { return s().lblSettingMid.at(n); }
    ui::SettingLabel* btm(int n) { return s().lblSettingBtm.at(n); }
    ui::SettingLabel* labelNamed(const QString& name) { return SettingLabelNamed(name); }

    EmulatedDevice m_device;
};

} // namespace telvo::test
