#include "Device.h"

#include "core/config/IniFile.h"

#include <QFile>

namespace vorix::sim {

using telvo::core::ConfigTables;
using telvo::core::IniControls;
using telvo::core::ReadIniText;

Device::Device(const QStringList& iniLines, DeviceOptions options, qint64 nowUs)
    : m_options(std::move(options)), m_ini(iniLines), m_loader(*this, m_options), m_now(nowUs) {
    // Pass 1 of the file gives the model, the firmware and the table of rates.
    ConfigTables tables;
    IniControls controls;
    ReadIniText(1, m_ini, tables, controls);
    m_modelName = m_options.model;
    if (m_modelName.isEmpty())
        m_modelName = controls.DeviceModel;
    if (m_modelName.isEmpty() ||
        m_modelName.compare(QLatin1String("Vorix"), Qt::CaseInsensitive) == 0)
        m_modelName = QStringLiteral("Gorda");
    m_modelText = m_options.modelText.isEmpty()
                      ? QByteArrayLiteral("Vorix ") + m_modelName.toLatin1()
                      : m_options.modelText.toLatin1();
    m_firmware = m_options.firmware;
    if (m_firmware.isEmpty())
        m_firmware = controls.txtFirmware;
    if (m_firmware.isEmpty())
        m_firmware = QStringLiteral("1.24");
    for (int i = 1; i < tables.BaudRates.size(); ++i) {
        bool ok = false;
        const int rate = tables.BaudRates[i].Rate.toInt(&ok);
        if (ok)
            m_rates.append({rate, tables.BaudRates[i].Code.trimmed().toLatin1()});
    }
    if (m_rates.isEmpty())
        m_rates = {{19200, "4"}, {57600, "6"}, {4800, "1"},
                   {9600, "2"},  {14400, "3"}, {38400, "5"}};
    if (!tables.TransferSpeed.isEmpty())
        m_loaderBaud = tables.TransferSpeed.toInt();
    buildTables();
    for (const auto& [id, value] : m_options.settings)
        m_store->set(id, value);

    m_powerOnBaud = m_baud = m_options.baud;
    m_powered = !m_options.startStandby;
}

Device::~Device() = default;

std::unique_ptr<Device> Device::FromIniFile(const QString& path, DeviceOptions options,
                                            QString* error, qint64 nowUs) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("cannot read %1: %2").arg(path, f.errorString());
        return nullptr;
    }
    return std::make_unique<Device>(telvo::core::SplitTextLines(f.readAll()), std::move(options),
                                    nowUs);
}

// The settings depend on model, firmware and options through the conditions of the file's lines,
// so they are built anew for each firmware the device runs.
void Device::buildTables() {
    ConfigTables tables;
    IniControls controls;
    ReadIniText(1, m_ini, tables, controls);
    tables.Options.remove(QStringLiteral("SDI"));
    if (m_options.sdiModule)
        tables.Options = (tables.Options + QStringLiteral(" SDI")).trimmed();
    controls.DeviceModel = m_modelName;
    controls.txtFirmware = m_firmware;
    ReadIniText(2, m_ini, tables, controls);
    m_store = std::make_unique<SettingStore>(tables.Commands, m_options.sdiModule);
}

QByteArray Device::speedCode(int baud) const {
    for (const auto& r : m_rates)
        if (r.first == baud)
            return r.second;
    return {};
}

int Device::rateOfCode(const QByteArray& code) const {
    for (const auto& r : m_rates)
        if (r.second == code)
            return r.first;
    return 0;
}

int Device::txBaud() const {
    return m_options.faults.replyBaud > 0 ? m_options.faults.replyBaud : m_baud;
}

bool Device::cts() const {
    if (m_cut || m_options.faults.ctsHeldLow)
        return false;
    return m_mode != Mode::Loader || m_loader.cts();
}

void Device::receive(const QByteArray& bytes, qint64 nowUs) {
    advance(nowUs);
    if (m_options.faults.silent)
        return;
    for (char c : bytes) {
        if (m_cut)
            return;
        switch (m_mode) {
        case Mode::Rebooting:
            break;
        case Mode::Loader:
            // Before an image begins, the loader still follows a speed command, so that the
            // host can move it to the transfer speed after asking for it by a setting.
            if (m_inFrame || (c == kStx && m_loader.state() == BootLoader::State::Waiting))
                receiveByte(c);
            else
                m_loader.receive(c);
            break;
        case Mode::Running:
            receiveByte(c);
            break;
        }
    }
}

void Device::advance(qint64 nowUs) {
    while (m_timers.runOne(nowUs, [this](qint64 due) { setNow(due); })) {
    }
    setNow(nowUs);
}

QByteArray Device::takeOutput() {
    return takeOutput(nullptr);
}

QByteArray Device::takeOutput(QList<int>* rates) {
    if (rates)
        rates->append(m_outRates);
    m_outRates.clear();
    QByteArray out;
    out.swap(m_out);
    return out;
}

void Device::send(const QByteArray& bytes) {
    if (bytes.isEmpty() || m_cut)
        return;
    m_out.append(bytes);
    for (qsizetype i = 0; i < bytes.size(); ++i)
        m_outRates.append(txBaud());
    m_txBusyUntilUs = qMax(m_txBusyUntilUs, m_now) + bytes.size() * ByteTimeUs(txBaud());
}

void Device::sendFrame(const QByteArray& frame) {
    QByteArray noise;
    for (int i = 0; i < m_options.faults.garbageBytes; ++i) {
        // High bytes only: noise never looks like a frame marker, a line end or a spinner.
        m_noise = m_noise * 1103515245u + 12345u;
        noise.append(char(0x80 | ((m_noise >> 16) & 0x7f)));
    }
    send(noise);
    send(frame);
    if (m_trace)
        m_trace(TraceKind::FrameOut, frame);
}

void Device::note(const QByteArray& text) {
    if (m_trace)
        m_trace(TraceKind::Note, text);
}

void Device::later(qint64 delayUs, std::function<void()> fn) {
    m_timers.at(m_now + delayUs, std::move(fn));
}

// What was half received is forgotten when the device restarts or changes mode.
void Device::resetLink() {
    m_timers.cancel(m_frameAlarm);
    m_frameAlarm = 0;
    m_inFrame = false;
    m_frame.clear();
    m_console = false;
    m_line.clear();
    m_menu.close();
}

void Device::enterLoader() {
    resetLink();
    m_mode = Mode::Loader;
    m_loaderBaud = m_baud;
    note("boot loader at " + QByteArray::number(m_baud));
    m_loader.enter(m_modelName);
}

void Device::beginReboot(qint64 delayUs, int baudAfter) {
    m_timers.clear();
    m_loader.stop();
    resetLink();
    m_mode = Mode::Rebooting;
    note("rebooting for " + QByteArray::number(delayUs / 1000) + " ms");
    later(delayUs, [this, baudAfter] { boot(baudAfter); });
}

void Device::setRate(int baud) {
    m_baud = baud;
    if (m_mode == Mode::Loader)
        m_loaderBaud = baud;
    note("rate " + QByteArray::number(baud));
}

void Device::boot(int baud) {
    m_mode = Mode::Running;
    m_baud = baud;
    note("running firmware " + m_firmware.toLatin1() + " at " + QByteArray::number(baud));
}

void Device::powerCycle(qint64 nowUs) {
    advance(nowUs);
    // Someone mended the cable and switched the device off and on.
    m_cut = false;
    m_timers.clear();
    m_loader.stop();
    resetLink();
    m_out.clear();
    m_outRates.clear();
    m_powerTries = 0;
    note("power cycle");
    if (!m_firmwareValid) {
        m_baud = m_loaderBaud;
        enterLoader();
        return;
    }
    m_mode = Mode::Running;
    m_baud = m_powerOnBaud;
    m_powered = !m_options.startStandby;
}

void Device::loaderSend(const QByteArray& text) {
    send(text);
    if (text.size() > 2)
        note("loader: " + text.trimmed());
}

void Device::loaderErased() {
    m_firmwareValid = false;
}

void Device::loaderAccepted(const FirmwareHeader& image) {
    m_firmware = QString::fromLatin1(image.version);
    m_firmwareValid = true;
    if (!m_options.keepSettingsOnLoad)
        buildTables();
    m_powered = true;
    const int after = m_options.rebootBaud > 0 ? m_options.rebootBaud : m_loaderBaud;
    const qint64 delay = m_options.rebootDelayUs;
    // The verdict leaves the port before the device goes quiet.
    m_timers.at(m_txBusyUntilUs, [this, delay, after] { beginReboot(delay, after); });
}

void Device::loaderCutLine() {
    m_cut = true;
    m_timers.clear();
    m_loader.stop();
    m_out.clear();
    m_outRates.clear();
    note("line cut");
}

} // namespace vorix::sim
