# The moves of src/platform into folders by concern, as sed expressions over include lines,
# CMake lists and docs. Idempotent, so a branch that already has some of the new paths is safe:
#   git grep -lE 'platform/[A-Za-z]+\.(h|cpp)' | xargs sed -i -E -f tools/platform-paths.sed
s#(^|[^A-Za-z_])platform/Clock\.(h|cpp)#\1platform/clock/Clock.\2#g
s#(^|[^A-Za-z_])platform/Timer\.(h|cpp)#\1platform/clock/Timer.\2#g
s#(^|[^A-Za-z_])platform/DoEvents\.(h|cpp)#\1platform/clock/DoEvents.\2#g
s#(^|[^A-Za-z_])platform/CommBackend\.(h|cpp)#\1platform/serial/CommBackend.\2#g
s#(^|[^A-Za-z_])platform/CommControl\.(h|cpp)#\1platform/serial/CommControl.\2#g
s#(^|[^A-Za-z_])platform/SerialPortBackend\.(h|cpp)#\1platform/serial/SerialPortBackend.\2#g
s#(^|[^A-Za-z_])platform/NetworkPortBackend\.(h|cpp)#\1platform/serial/NetworkPortBackend.\2#g
s#(^|[^A-Za-z_])platform/LinePacer\.(h|cpp)#\1platform/serial/LinePacer.\2#g
s#(^|[^A-Za-z_])platform/LinkLatency\.(h|cpp)#\1platform/serial/LinkLatency.\2#g
s#(^|[^A-Za-z_])platform/PortMap\.(h|cpp)#\1platform/serial/PortMap.\2#g
s#(^|[^A-Za-z_])platform/SystemPorts\.(h|cpp)#\1platform/serial/SystemPorts.\2#g
s#(^|[^A-Za-z_])platform/SimulatedLine\.(h|cpp)#\1platform/serial/SimulatedLine.\2#g
s#(^|[^A-Za-z_])platform/AppPath\.(h|cpp)#\1platform/os/AppPath.\2#g
s#(^|[^A-Za-z_])platform/Launch\.(h|cpp)#\1platform/os/Launch.\2#g
s#(^|[^A-Za-z_])platform/Priority\.(h|cpp)#\1platform/os/Priority.\2#g
s#(^|[^A-Za-z_])platform/Shell\.(h|cpp)#\1platform/os/Shell.\2#g
s#(^|[^A-Za-z_])platform/Platform\.(h|cpp)#\1platform/dialogs/Platform.\2#g
s#(^|[^A-Za-z_])platform/ScriptedPeer\.(h|cpp)#\1platform/doubles/ScriptedPeer.\2#g
