#include "DevicePeer.h"

#include "platform/os/AppPath.h"

#include <QDebug>
#include <QFile>

namespace vorix::sim {

using telvo::platform::Clock;

DevicePeer::DevicePeer(std::unique_ptr<Device> device) : m_device(std::move(device)) {}

DevicePeer::~DevicePeer() {
    Clock::instance().cancel(m_wake);
}

void DevicePeer::attached(telvo::platform::LineHost* host) {
    LinePeer::attached(host);
    sync();
}

void DevicePeer::bytesArrived(const QByteArray& bytes) {
    m_device->receive(bytes, Clock::instance().nowUs());
    sync();
}

void DevicePeer::powerCycle() {
    m_device->powerCycle(Clock::instance().nowUs());
    if (m_cutSent && m_host) {
        m_cutSent = false;
        m_host->peerSetCut(false);
    }
    sync();
}

void DevicePeer::sync() {
    Clock& clock = Clock::instance();
    m_device->advance(clock.nowUs());
    if (m_host) {
        const QByteArray out = m_device->takeOutput();
        if (!out.isEmpty())
            m_host->peerSend(out);
        m_host->peerSetCts(m_device->cts());
        if (m_device->lineCut() && !m_cutSent) {
            m_cutSent = true;
            m_host->peerSetCut(true);
        }
    }
    const qint64 next = m_device->nextWakeUs();
    if (m_wake && next == m_wakeAtUs)
        return;
    clock.cancel(m_wake);
    m_wake = 0;
    m_wakeAtUs = next;
    if (next >= 0)
        m_wake = clock.schedule(next, [this] { wake(); });
}

void DevicePeer::wake() {
    // What the device does at this alarm (CTS back after a page, a reply falling due) happens at
    // the alarm's time, however late the program's clock woke.
    const Clock::At due(m_wakeAtUs);
    m_wake = 0;
    m_wakeAtUs = -1;
    sync();
}

std::unique_ptr<telvo::platform::LinePeer> MakeDefaultPeer(int com) {
    DeviceOptions options;
    const QString words = qEnvironmentVariable("VORIX_SIM_OPTIONS").trimmed();
    QString error;
    if (!words.isEmpty() &&
        !ParseDeviceOptions(words.split(QLatin1Char(' '), Qt::SkipEmptyParts), options, &error))
        qWarning().noquote() << "VORIX_SIM_OPTIONS:" << error;
    const QString ini = telvo::platform::AppFile(QStringLiteral("Telvo.ini"));
    std::unique_ptr<Device> device;
    if (QFile::exists(ini))
        device = Device::FromIniFile(ini, options, &error, Clock::instance().nowUs());
    if (!device)
        device = std::make_unique<Device>(QStringList{}, options, Clock::instance().nowUs());
    Q_UNUSED(com);
    return std::make_unique<DevicePeer>(std::move(device));
}

} // namespace vorix::sim
