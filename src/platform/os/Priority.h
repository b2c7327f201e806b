#pragma once
// The process's scheduling class and the present thread's priority, behind one small interface
// so that tests install a scripted stand-in (a test must never make itself realtime;
// platform/doubles/ScriptedPriority.h).
//
// On Linux the four classes are nice values of every thread of the process (Normal 0,
// Low (Idle) 19, High -10) and SCHED_RR for Realtime; the thread priority -15..15 moves the
// present thread's nice (or its realtime priority) against its class. What the system refuses,
// mostly for want of privileges, comes back as false with a message for the user.

#include <QString>
#include <memory>

namespace telvo::platform {

enum PriorityClassNumber : int {
    NORMAL_PRIORITY_CLASS = 32,
    IDLE_PRIORITY_CLASS = 64,
    HIGH_PRIORITY_CLASS = 128,
    REALTIME_PRIORITY_CLASS = 256,
    BELOW_NORMAL_PRIORITY_CLASS = 16384,
    ABOVE_NORMAL_PRIORITY_CLASS = 32768
};

class Priority {
public:
    virtual ~Priority() = default;
    virtual int GetPriorityClass() = 0;
    virtual bool SetPriorityClass(int priorityClass, QString& error) = 0;
    virtual int GetThreadPriority() = 0;
    virtual bool SetThreadPriority(int priority, QString& error) = 0;
    // Whether the process may raise its priority again after lowering it (to Normal from Low).
    virtual bool CanRaiseAgain() { return true; }
};

Priority& CurrentPriority();
void InstallPriority(std::unique_ptr<Priority> priority);

// The system's own (Linux: nice values and SCHED_RR).
std::unique_ptr<Priority> MakeSystemPriority();

} // namespace telvo::platform
