#pragma once
// The commands of telvo-cli, each over the routines the windows' buttons run.

#include "cli/Args.h"

namespace telvo::cli {

// Runs o.command on the device of this run (connecting first where the job needs one).
int RunCommand(const Options& o);

// The device-free jobs and the firmware, IR, gamma and console jobs, each in its own file.
int PortsJob(const Options& o);
int LoadJob(const Options& o);
int IrJob(const Options& o);
int GammaJob(const Options& o);
int ConsoleJob(const Options& o);
int NamesJob(const Options& o);
int ApplyJob(const Options& o);

// After a job: an alert or a failed step the routine told becomes exit code 1.
int JobOutcome();

} // namespace telvo::cli
