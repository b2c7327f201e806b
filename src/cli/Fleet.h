#pragma once
// Several ports at once: the command line starts itself once per port, each child running that
// one port's job exactly as the run in turn would (its folder, lock, log, {n} and {port}), and
// gathers what they tell, line by line, under their port.

#include "cli/Args.h"

#include <QStringList>

namespace telvo::cli {

// The environment variable that makes a process one port's job of a run over several ports:
// its value is the port's position among the --port options, from 1.
inline constexpr char kFleetPortVariable[] = "TELVO_CLI_FLEET_PORT";

// This process's position when it is one port's job of such a run; 0 otherwise.
int FleetPosition();
// Whether the run is split into one process a port: several ports, a job that needs a device,
// and not already a child. gamma and names need no device; console has one terminal to share.
bool RunsAsFleet(const Options& o);
// Runs every port's job in a process of its own, at most o.jobs at once (0: all), in the order
// given; `arguments` are this run's words, passed on unchanged. Returns the worst exit code.
int RunFleet(const Options& o, const QStringList& arguments);
// A child of such a run goes when its parent goes (no job keeps a port with no one to report to).
void FollowParent();

} // namespace telvo::cli
