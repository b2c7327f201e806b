#include "BootLoader.h"

namespace vorix::sim {

QByteArray BootLoader::Banner(const QString& model) {
    return QByteArrayLiteral("\r\nVorix FRK Boot Loader 2.10\r\nModel: ") + model.toLatin1() +
           QByteArrayLiteral("\r\nLoad frk File now.");
}

BootLoader::BootLoader(Host& host, const DeviceOptions& options)
    : m_host(host), m_options(options) {}

void BootLoader::cancelAlarms() {
    m_host.loaderTimers().cancel(m_pageAlarm);
    m_host.loaderTimers().cancel(m_resyncAlarm);
    m_pageAlarm = m_resyncAlarm = 0;
}

void BootLoader::enter(const QString& model) {
    cancelAlarms();
    m_model = model;
    m_state = State::Waiting;
    m_writing = m_stalled = false;
    m_window.clear();
    m_host.loaderSend(Banner(model));
}

void BootLoader::stop() {
    cancelAlarms();
    m_state = State::Off;
    m_writing = m_stalled = false;
}

void BootLoader::startAttempt() {
    m_state = State::Receiving;
    m_count = 0;
    m_header.clear();
    m_bodyLength = -1;
    m_crc = Crc32();
    m_pageFill = 0;
    m_complete = false;
    m_erased = false;
    m_stats.bytes = 0;
    ++m_stats.attempts;
}

void BootLoader::receive(char c) {
    switch (m_state) {
    case State::Off:
    case State::Done:
        return;
    case State::Resync: {
        // After a failure the host may start over at once: a new image begins at its magic.
        armResync();
        m_window.append(c);
        const QByteArray magic = FirmwareHeader::magic();
        if (m_window.size() > magic.size())
            m_window.remove(0, m_window.size() - magic.size());
        if (m_window == magic) {
            m_host.loaderTimers().cancel(m_resyncAlarm);
            startAttempt();
            for (char m : magic)
                take(m);
        }
        return;
    }
    case State::Waiting:
        startAttempt();
        take(c);
        return;
    case State::Receiving:
        take(c);
        return;
    }
}

void BootLoader::take(char c) {
    const Faults& f = m_options.faults;
    const qint64 index = m_count++;
    ++m_stats.bytes;
    ++m_stats.totalBytes;
    if (index == f.cutAtImageByte && !m_cutDone) {
        m_cutDone = true;
        m_host.loaderCutLine();
        return;
    }
    if (index == f.ctsStallAtImageByte)
        m_stalled = true;
    if (index == f.failAtImageByte && (f.failTimes == 0 || m_injected < f.failTimes)) {
        ++m_injected;
        fail(QStringLiteral("transfer error at byte %1").arg(index));
        return;
    }
    if (m_complete)
        return; // whatever follows the image is not written

    if (index < FirmwareHeader::kSize) {
        m_header.append(c);
        if (index == 3 && m_header != FirmwareHeader::magic()) {
            fail(QStringLiteral("not a firmware image"));
            return;
        }
        if (index == FirmwareHeader::kSize - 1) {
            QString why;
            const auto h = DecodeHeader(m_header, &why);
            if (!h) {
                fail(why);
                return;
            }
            if (!h->model.isEmpty() &&
                QString::fromLatin1(h->model).compare(m_model, Qt::CaseInsensitive) != 0) {
                fail(QStringLiteral("image is for another model"));
                return;
            }
            m_image = *h;
            m_bodyLength = h->bodyLength;
            m_complete = m_bodyLength == 0;
        }
    } else {
        m_crc.add(c);
        m_complete = index - (FirmwareHeader::kSize - 1) == m_bodyLength;
    }
    ++m_pageFill;
    if (!m_writing && (m_pageFill >= m_options.pageSize || m_complete))
        writePage();
}

void BootLoader::writePage() {
    m_writing = true;
    m_pageAlarm = m_host.loaderTimers().at(m_host.loaderNow() + m_options.pageWriteUs,
                                           [this] { pageWritten(); });
}

void BootLoader::pageWritten() {
    m_pageAlarm = 0;
    m_writing = false;
    m_pageFill -= qMin<qint64>(m_pageFill, m_options.pageSize);
    if (!m_erased) {
        m_erased = true;
        m_host.loaderErased();
    }
    if (!m_options.faults.spinnerStopped) {
        const char spin[2] = {kSpinner[m_spin++ % 4], '\b'};
        m_host.loaderSend(QByteArray(spin, 2));
    }
    // Bytes that came in while the page was written make the next page at once.
    if (m_pageFill >= m_options.pageSize || (m_complete && m_pageFill > 0)) {
        writePage();
        return;
    }
    if (m_complete)
        finish();
}

void BootLoader::finish() {
    if (m_crc.value() != m_image.bodyCrc) {
        fail(QStringLiteral("checksum error"));
        return;
    }
    m_state = State::Done;
    ++m_stats.accepted;
    m_stats.lastVersion = m_image.version;
    m_host.loaderSend(QByteArrayLiteral("\r\nVerify OK, version ") + m_image.version +
                      QByteArrayLiteral(". Rebooting.\r\n"));
    m_host.loaderAccepted(m_image);
}

void BootLoader::fail(const QString& reason) {
    m_host.loaderTimers().cancel(m_pageAlarm);
    m_pageAlarm = 0;
    m_writing = false;
    ++m_stats.failures;
    m_stats.lastFailure = reason;
    m_host.loaderSend(QByteArrayLiteral("\r\nFailure: ") + reason.toLatin1() +
                      QByteArrayLiteral(". Please restart.\r\n"));
    m_state = State::Resync;
    m_window.clear();
    armResync();
    m_host.loaderFailed();
}

void BootLoader::armResync() {
    m_host.loaderTimers().cancel(m_resyncAlarm);
    m_resyncAlarm = m_host.loaderTimers().at(m_host.loaderNow() + m_options.resyncIdleUs, [this] {
        m_resyncAlarm = 0;
        m_state = State::Waiting;
        m_window.clear();
        m_host.loaderSend(Banner(m_model));
    });
}

} // namespace vorix::sim
