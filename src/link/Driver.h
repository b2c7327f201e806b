#pragma once
// Finding the device: ports, rates, power, reopening a lost port; and the speed changes.

#include <QString>

namespace telvo::ui {

void EnumeratePorts();
void BuildPortList();
void SelectConfiguredPort();
qint16 GetProbeMode();
bool FindDevice(int mode);
bool TryOpenPort(const QString& port);
QString ProbeRates(const QString& port, int first, int last);
void PowerUp();
bool ConnectDevice();
void ReopenPort();
void cmdOpen_Click();

// Speed.
void SetGordaBaudRate(const QString& input);
void ApplyPortRate(const QString& value);
QString RateFromCode(const QString& code);
QString CodeToRateText(const QString& code);
int RateIndex(const QString& rate);

// The device's state word, and the reads a connection makes.
void SetState(const QString& word);
void ReadFirmware();
void ReadModel();
void CheckSDI();
void EnsureModelAndFirmware();

} // namespace telvo::ui
