# The moves of src/platform into folders by concern, as sed expressions over include lines,
# CMake lists and docs (a name with or without .h/.cpp). Idempotent, so a branch that already
# has some of the new paths is safe:
#   git grep -lE 'platform/[A-Z][A-Za-z]+' | xargs sed -i -E -f tools/platform-paths.sed
s#(^|[^A-Za-z_])platform/Clock([^A-Za-z_/]|$)#\1platform/clock/Clock\2#g
s#(^|[^A-Za-z_])platform/Timer([^A-Za-z_/]|$)#\1platform/clock/Timer\2#g
s#(^|[^A-Za-z_])platform/DoEvents([^A-Za-z_/]|$)#\1platform/clock/DoEvents\2#g
s#(^|[^A-Za-z_])platform/CommBackend([^A-Za-z_/]|$)#\1platform/serial/CommBackend\2#g
s#(^|[^A-Za-z_])platform/CommControl([^A-Za-z_/]|$)#\1platform/serial/CommControl\2#g
s#(^|[^A-Za-z_])platform/SerialPortBackend([^A-Za-z_/]|$)#\1platform/serial/SerialPortBackend\2#g
s#(^|[^A-Za-z_])platform/NetworkPortBackend([^A-Za-z_/]|$)#\1platform/serial/NetworkPortBackend\2#g
s#(^|[^A-Za-z_])platform/LinePacer([^A-Za-z_/]|$)#\1platform/serial/LinePacer\2#g
s#(^|[^A-Za-z_])platform/LinkLatency([^A-Za-z_/]|$)#\1platform/serial/LinkLatency\2#g
s#(^|[^A-Za-z_])platform/PortMap([^A-Za-z_/]|$)#\1platform/serial/PortMap\2#g
s#(^|[^A-Za-z_])platform/SystemPorts([^A-Za-z_/]|$)#\1platform/serial/SystemPorts\2#g
s#(^|[^A-Za-z_])platform/SimulatedLine([^A-Za-z_/]|$)#\1platform/serial/SimulatedLine\2#g
s#(^|[^A-Za-z_])platform/AppPath([^A-Za-z_/]|$)#\1platform/os/AppPath\2#g
s#(^|[^A-Za-z_])platform/Launch([^A-Za-z_/]|$)#\1platform/os/Launch\2#g
s#(^|[^A-Za-z_])platform/Priority([^A-Za-z_/]|$)#\1platform/os/Priority\2#g
s#(^|[^A-Za-z_])platform/Shell([^A-Za-z_/]|$)#\1platform/os/Shell\2#g
s#(^|[^A-Za-z_])platform/Platform([^A-Za-z_/]|$)#\1platform/dialogs/Platform\2#g
s#(^|[^A-Za-z_])platform/ScriptedPeer([^A-Za-z_/]|$)#\1platform/doubles/ScriptedPeer\2#g
