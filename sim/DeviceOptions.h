#pragma once
// What a simulated Vorix device is like, and what is wrong with it. Tests set these fields
// directly; vorix-sim and the in-process device read them from command-line words.

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

class QCommandLineParser;

namespace vorix::sim {

// Faults a test can switch on, one field each; the defaults are a healthy device.
struct Faults {
    bool silent = false;             // hears nothing, says nothing
    int garbageBytes = 0;            // noise sent in front of every reply
    int replyBaud = 0;               // answers at this rate instead of its own (0: its own)
    QMap<QByteArray, int> errorFor;  // setting id (upper case) -> error code given instead
    qint64 failAtImageByte = -1;     // the loader fails when this byte of an image arrives
    int failTimes = 1;               // how many attempts fail that way (0: every one)
    bool spinnerStopped = false;     // the loader shows no spinner
    bool deafToSpeedChange = false;  // a speed change is neither answered nor made
    bool ctsHeldLow = false;         // CTS low all the time
    qint64 ctsStallAtImageByte = -1; // the loader holds CTS low for good from this byte on
    qint64 cutAtImageByte = -1;      // the line goes dead when this byte of an image arrives
};

struct DeviceOptions {
    int baud = 19200;                  // rate at power-on and after a restart
    QString model;                     // name of the model; empty: the Telvo.ini's Model
    QString modelText;                 // answer to A8; empty: "Vorix " + model
    QString firmware;                  // answer to A9; empty: the Telvo.ini's Current Firmware
    bool startStandby = false;         // powers on in standby
    int powerUpTries = 1;              // the n-th "A1"=1 in a row powers it up
    bool echo = false;                 // sends every frame back before answering it
    bool ackAtOldRate = false;         // acknowledges a speed change before changing
    bool sdiModule = true;             // input 12 exists
    bool keepSettingsOnLoad = false;   // a firmware load normally wipes the settings
    qint64 replyDelayUs = 2'000;       // thinking time before an answer
    qint64 frameLimitUs = 100'000;     // a frame must arrive whole within this
    int maxDataBytes = 32;             // larger packets are refused (error 11)
    qint64 rebootDelayUs = 8'000'000;  // silence after a good image
    int rebootBaud = 0;                // rate after a load; 0: the rate the loader ran at
    qint64 restartDelayUs = 2'000'000; // silence of a restart by command
    qint64 loaderEntryUs = 50'000;     // from the acknowledgement to the loader's banner
    int pageSize = 1024;               // the loader writes the image in pages of this size
    qint64 pageWriteUs = 12'000;       // CTS stays low this long while a page is written
    qint64 resyncIdleUs = 500'000;     // after a failure, a quiet line brings the banner back
    // The user's own values at power-on, set in order ("4C" and "60" choose the input and the
    // output the picture and output values after them go to).
    QList<QPair<QByteArray, QByteArray>> settings;
    Faults faults;
};

// Registers the device's options on `parser` (shared by vorix-sim and the in-process device).
void AddDeviceOptions(QCommandLineParser& parser);
// Reads them back; false with a message when a value doesn't parse.
bool ReadDeviceOptions(const QCommandLineParser& parser, DeviceOptions& options, QString* error);
// The same from a line of words, as VORIX_SIM_OPTIONS holds them ("--standby --echo").
bool ParseDeviceOptions(const QStringList& words, DeviceOptions& options, QString* error);

} // namespace vorix::sim
