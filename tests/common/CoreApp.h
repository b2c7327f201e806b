#pragma once
// One QCoreApplication for a test executable that wants an event loop but no windows (the
// emulator, the network ports); RunFixture's TestApp() is the one with windows.

#include <QCoreApplication>

namespace telvo::test {

inline QCoreApplication& TestCoreApp() {
    static int argc = 1;
    static char name[] = "telvo-test";
    static char* argv[] = {name, nullptr};
    static auto* app = new QCoreApplication(argc, argv);
    return *app;
}

} // namespace telvo::test
