#pragma once
// The device's boot loader: a banner ending in "Load frk File now.", then the raw bytes of an
// image at the line's pace. It writes the image page by page, holding CTS low while a page is
// written, and shows a spinner after each page. A bad image ends in "Failure: ... restart.";
// a good one is handed to the device, which reboots into it.

#include "DeviceOptions.h"
#include "Firmware.h"
#include "Timers.h"

#include <QByteArray>
#include <QString>

namespace vorix::sim {

class BootLoader {
public:
    // What the loader needs of the device around it.
    class Host {
    public:
        virtual ~Host() = default;
        virtual qint64 loaderNow() const = 0;
        virtual Timers& loaderTimers() = 0;
        virtual void loaderSend(const QByteArray& text) = 0;
        virtual void loaderErased() = 0;                              // the old firmware is gone
        virtual void loaderAccepted(const FirmwareHeader& image) = 0; // whole and good
        virtual void loaderCutLine() = 0;                             // the cut-line fault struck
        virtual void loaderFailed() {
        } // a "Failure" text went out: what the host sent ahead is moot
    };

    enum class State { Off, Waiting, Receiving, Resync, Done };

    struct Stats {
        int attempts = 0; // images begun
        int failures = 0; // "Failure" texts shown
        int accepted = 0; // good images
        qint64 bytes = 0; // bytes of the current or last attempt
        qint64 totalBytes = 0;
        QString lastFailure; // the reason shown last
        QByteArray lastVersion;
    };

    static QByteArray Banner(const QString& model);
    static constexpr char kSpinner[] = {'\\', '|', '/', '-'};

    BootLoader(Host& host, const DeviceOptions& options);

    // Shows the banner and waits for an image.
    void enter(const QString& model);
    // Leaves the loader: every alarm of it is cancelled.
    void stop();
    void receive(char c);

    // CTS as the loader drives it (high when it is not running).
    bool cts() const { return m_state == State::Off || (!m_writing && !m_stalled); }
    State state() const { return m_state; }
    const Stats& stats() const { return m_stats; }

private:
    void startAttempt();
    void take(char c);
    void writePage();
    void pageWritten();
    void finish();
    void fail(const QString& reason);
    void armResync();
    void cancelAlarms();

    Host& m_host;
    const DeviceOptions& m_options;
    State m_state = State::Off;
    QString m_model;
    Stats m_stats;
    qint64 m_count = 0; // bytes of this attempt
    QByteArray m_header;
    FirmwareHeader m_image;
    qint64 m_bodyLength = -1; // known once the header is whole
    Crc32 m_crc;
    qint64 m_pageFill = 0; // bytes received and not yet written
    bool m_writing = false;
    bool m_complete = false;
    bool m_erased = false;
    bool m_stalled = false;
    int m_injected = 0;     // failures injected so far
    bool m_cutDone = false; // the cut-line fault strikes once in a device's life
    int m_spin = 0;
    QByteArray m_window; // the last bytes seen while looking for a new image
    Timers::Id m_pageAlarm = 0;
    Timers::Id m_resyncAlarm = 0;
};

} // namespace vorix::sim
