#pragma once
// One device's run: the start-up's steps up to the connection (as the main window's start-up
// takes them, with the windows hidden), then the job.

#include "cli/Args.h"

#include <QString>

namespace telvo::cli {

// The port as the routines name it: "COMn". A path becomes a one-entry port list (COM1).
// Empty `port`: the ports of TELVO_PORTS / the platform and Telvo.ini's Port, as the program.
QString UsePort(const QString& port);

// The name of a port's own folder ("COM2", "dev_ttyUSB0", "rfc2217_host_4001").
QString PortFolderName(const QString& port);

// Reads Telvo.ini and sets the hidden windows up as the start-up does; a code on failure.
int PrepareRun(const Options& o, const QString& com);
// The start-up's steps between the preferences and the connection: ports, model and firmware,
// the model's tables, the panels.
void PrepareDeviceTables();
// Finds and powers up the device; kNoDevice when there is none.
int Connect();

// The job on one device (or none, for the jobs without one); returns its exit code.
int RunJob(const Options& o, const QString& port);

} // namespace telvo::cli
