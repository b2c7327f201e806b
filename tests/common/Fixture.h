#pragma once
// The common ground of tests that run the program's routines: a fresh run (state and windows),
// the scripted platform, a temporary program folder, the virtual clock, and readers of the log.

#include "common/SampleIni.h"

#include "app/Globals.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPeer.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"

#include <QApplication>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

#include <ostream>

// Readable failures: QString printed as text.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QByteArray& b, std::ostream* os) {
    *os << '"' << b.toStdString() << '"';
}

namespace telvo::ui {
class SettingLabel;
}

namespace telvo::test {

// One QApplication for the whole test executable.
QApplication& TestApp();

class RunFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The program's folder of this test (TELVO_HOME).
    QString home() const { return m_homeDir.isEmpty() ? m_home->path() : m_homeDir; }
    // Another program's folder, kept after the test: one that several runs of the program share.
    void useHome(const QString& dir) {
        m_homeDir = dir;
        qputenv("TELVO_HOME", dir.toUtf8());
    }
    QString homeFile(const QString& name) const;
    void writeHomeFile(const QString& name, const QByteArray& text);
    QByteArray readHomeFile(const QString& name) const;
    // The lines of LogFile.txt, without their CR LF.
    QStringList logLines() const;
    // The sample Telvo.ini of the project.
    static QByteArray sampleIni();
    // Writes the sample as the program's Telvo.ini with `system` in its [SYSTEM] section in place
    // of the sample's lines of those keys and of the keys in `drop` (see SampleIni.h).
    void writeIni(const QStringList& system, const QStringList& drop = {});

    // Initialises the main window's controls as start-up does (defaults, pass 1 and 2 of the
    // Telvo.ini in home, if any) without connecting.
    void initControls();

    // The program's ports COM1, COM2... on these paths or addresses, as TELVO_PORTS names them.
    void usePorts(const QStringList& ports);
    // Opens the main window's port on COMn at `baud`, as a connection leaves it.
    void openPort(int com, int baud);
    // Attaches a scripted device to COMn and opens the port on it at `baud`.
    platform::ScriptedPeer& attachPeer(int com = 1, int baud = 19200, bool open = true,
                                       bool pacing = false);
    platform::SimulatedLine* line(int com = 1);

    // Runs `fn` at virtual time `ms` from now (a click, a reply...).
    void at(int ms, std::function<void()> fn);
    // Yields until `cond` holds; fails after `limitMs` of virtual (or real) time.
    bool waitUntil(const std::function<bool()>& cond, int limitMs = 60000);

    platform::ScriptedPlatform* scripted = nullptr;
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_homeDir;
    std::vector<std::unique_ptr<platform::ScriptedPeer>> m_peers;
};

// Frames spelled as the log prints them: "(STX)2003A1(NUL)(ETX)" to bytes and back.
QByteArray Bytes(const QString& printable);
// A device frame as the log prints it.
QString PrintableFrame(const QByteArray& type, const QByteArray& data);
// The main window's label of the setting `name` on any panel; null when none shows it.
ui::SettingLabel* SettingLabelNamed(const QString& name);

} // namespace telvo::test
