#pragma once
// The command exchange: frames out on the serial control, replies in through the receive
// handler, every step in the log.

#include <QString>

namespace telvo::ui {

void GordaCommSend(const QString& frame);
void SendCommand(const QString& type, const QString& data, int retries = 0);
void QueryDevice(const QString& id, int retries = 0);
void SetDevice(const QString& id, const QString& value, int retries = 0);
bool SendVerified(const QString& type, const QString& data, int attempts = 0);
bool ProbeExchange(const QString& type, const QString& data);
void SimulateCommand(const QString& type, const QString& data);
void SimulatedAck();
void Pause(int ms);

// Waits on the device over a network port (rfc2217://, socket://) grow by the link's round trip;
// on a local port they are exactly what they say.
// The address of the open port when it is a network one, else empty. A new address starts a new
// measurement of the round trip.
QString NetworkAddress();
int DeviceWaitGrowthMs();
int DeviceWaitMs(int ms);
void DevicePause(int ms);
// When the device answers too late to be worked with: a sentence naming the address and its
// round trip; else empty.
QString LatencyBeyondReach();

// Events of the serial control and the timers.
void P1_OnComm();
void T1_Timer();
void tmrdelay_Timer();
void chkSim_Click();

} // namespace telvo::ui
