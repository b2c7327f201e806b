#pragma once
// The commands of telvo-cli, each over the routines the windows' buttons run.

#include "cli/Args.h"

namespace telvo::cli {

// One command of the line: the words it takes, whether it is connected to the device before its
// handler runs, and the handler. RunCommand checks the words and connects; the handlers check
// only what is their own (a sub-command, a value, a file).
struct Command {
    enum Device {
        None,    // no device
        Connect, // connected before the handler
        Own,     // the handler connects once its own checks (a file, a value) have passed
    };
    const char* name;
    // A row that holds only when this switch is given (load --resume); nullptr: always.
    bool Options::*mode;
    int fewest; // words taken: fewest to most; most -1 for no limit
    int most;
    const char* wrongWords; // told (exit 2) when the words do not fit
    Device device;
    // The words are checked once connected: a console's run has always found its device first.
    bool wordsOnceConnected;
    int (*handler)(const Options&);
};
// The row for o.command (and its switches); nullptr for an unknown command.
const Command* CommandOf(const Options& o);
// The command's usage failure (its row's wrongWords), exit 2.
int WrongWords(const Options& o);

// Runs o.command on the device of this run (connecting first where the job needs one).
int RunCommand(const Options& o);

// The device-free jobs and the firmware, IR, gamma and console jobs, each in its own file.
int PortsJob(const Options& o);
int LoadJob(const Options& o);
int ResumeJob(const Options& o);
int IrJob(const Options& o);
int GammaJob(const Options& o);
int ConsoleJob(const Options& o);
int NamesJob(const Options& o);
int ApplyJob(const Options& o);

// After a job: an alert or a failed step the routine told becomes exit code 1.
int JobOutcome();
// What the routines told so far is forgotten: the job's own telling starts now.
void ForgetTold();
// Connects to the device of this run and forgets what the connection told.
int ConnectForJob();

} // namespace telvo::cli
