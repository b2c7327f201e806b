// Wires the libraries together and hands over to the start-up.
#include "app/Program.h"

#include "DevicePeer.h"

int main(int argc, char** argv) {
    return telvo::ui::RunProgram(argc, argv, vorix::sim::MakeDefaultPeer);
}
