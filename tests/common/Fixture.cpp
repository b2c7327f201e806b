#include "common/Fixture.h"
#include "common/EmulatedDevice.h"
#include "platform/doubles/ScriptedPlatform.h"

#include "config/IniLoader.h"
#include "core/text/MinorSubs.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>

namespace telvo::test {

QApplication& TestApp() {
    static int argc = 1;
    static char name[] = "telvo-test";
    static char* argv[] = {name, nullptr};
    static QApplication* app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return new QApplication(argc, argv);
    }();
    return *app;
}

void RunFixture::SetUp() {
    TestApp();
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("TELVO_HOME", m_home->path().toUtf8());
    scripted = &platform::InstallScriptedPlatform();
    platform::Clock::instance().setVirtual(true);
    platform::PortMap::instance().setPorts({});
    ui::ResetSession();
}

void RunFixture::TearDown() {
    // Windows and lines go before the devices they talk to.
    ui::ResetSession();
    platform::PortMap::instance().setPorts({});
    m_peers.clear();
    // Nothing scheduled by this test may run in the next one.
    platform::Clock::instance().clear();
    platform::ResetProgramEnded();
}

QString RunFixture::homeFile(const QString& name) const {
    return QDir(home()).filePath(name);
}

void RunFixture::writeHomeFile(const QString& name, const QByteArray& text) {
    QFile f(homeFile(name));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(text);
}

QByteArray RunFixture::readHomeFile(const QString& name) const {
    QFile f(homeFile(name));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return f.readAll();
}

QStringList RunFixture::logLines() const {
    QString text = QString::fromUtf8(readHomeFile(QStringLiteral("LogFile.txt")));
    if (text.isEmpty())
        return {};
    QStringList lines = text.split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

QByteArray RunFixture::sampleIni() {
    return ReadSampleIni(qEnvironmentVariable("TELVO_SOURCE_DIR"));
}

void RunFixture::writeIni(const QStringList& system, const QStringList& drop) {
    writeHomeFile(QStringLiteral("Telvo.ini"), IniWithSystem(sampleIni(), system, drop));
}

void RunFixture::initControls() {
    ui::InitDefaults();
    if (QFile::exists(homeFile(QStringLiteral("Telvo.ini")))) {
        ui::ReadIniFile(1);
        ui::ReadIniFile(2);
    }
}

platform::SimulatedLine* RunFixture::line(int com) {
    return platform::PortMap::instance().simulatedLine(com);
}

platform::ScriptedPeer& RunFixture::attachPeer(int com, int baud, bool open, bool pacing) {
    m_peers.push_back(std::make_unique<platform::ScriptedPeer>());
    platform::ScriptedPeer& peer = *m_peers.back();
    platform::PortMap::instance().attachPeer(com, &peer);
    line(com)->setPacing(pacing);
    if (open)
        openPort(com, baud);
    return peer;
}

void RunFixture::openPort(int com, int baud) {
    OpenPort(com, baud);
}

void RunFixture::usePorts(const QStringList& ports) {
    qputenv("TELVO_PORTS", ports.join(QLatin1Char(',')).toUtf8());
    platform::PortMap::instance().loadFromEnvironment();
}

void RunFixture::at(int ms, std::function<void()> fn) {
    platform::Clock::instance().scheduleIn(qint64(ms) * 1000, std::move(fn));
}

bool RunFixture::waitUntil(const std::function<bool()>& cond, int limitMs) {
    platform::Clock& c = platform::Clock::instance();
    const qint64 end = c.nowUs() + qint64(limitMs) * 1000;
    bool expired = false;
    const auto guard = c.schedule(end, [&] { expired = true; });
    while (!cond() && !expired)
        platform::DoEvents();
    c.cancel(guard);
    return cond();
}

QByteArray Bytes(const QString& printable) {
    QByteArray out;
    for (int i = 0; i < printable.size(); ++i) {
        if (printable[i] == QLatin1Char('(')) {
            const int close = printable.indexOf(QLatin1Char(')'), i);
            if (close > i) {
                const QString name = printable.mid(i, close - i + 1);
                bool matched = false;
                for (int code = 0; code < 32; ++code)
                    if (core::ControlName(code) == name) {
                        out.append(char(code));
                        matched = true;
                        break;
                    }
                if (matched) {
                    i = close;
                    continue;
                }
            }
        }
        out.append(printable[i].toLatin1());
    }
    return out;
}

QString PrintableFrame(const QByteArray& type, const QByteArray& data) {
    return core::Printable(QString::fromLatin1(platform::DeviceFrame(type, data)));
}

ui::SettingLabel* SettingLabelNamed(const QString& name) {
    ui::SCL& s = ui::scl();
    for (auto* list : {&s.lblSettingTop, &s.lblSettingMid, &s.lblSettingBtm})
        for (ui::SettingLabel* l : *list)
            if (l->accessibleName().section(QLatin1Char('='), 0, 0) == name)
                return l;
    return nullptr;
}

} // namespace telvo::test
