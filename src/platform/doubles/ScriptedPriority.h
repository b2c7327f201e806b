#pragma once
// The scripted stand-in of the process's priority: every change recorded, none made.

#include "platform/os/Priority.h"

#include <QString>
#include <vector>

namespace telvo::platform {

class ScriptedPriority : public Priority {
public:
    int GetPriorityClass() override { return priorityClass; }
    bool SetPriorityClass(int c, QString& error) override {
        classCalls.push_back(c);
        if (!refuse.isEmpty()) {
            error = refuse;
            return false;
        }
        priorityClass = c;
        return true;
    }
    int GetThreadPriority() override { return threadPriority; }
    bool SetThreadPriority(int p, QString& error) override {
        threadCalls.push_back(p);
        if (!refuse.isEmpty()) {
            error = refuse;
            return false;
        }
        threadPriority = p;
        return true;
    }

    bool CanRaiseAgain() override { return canRaise; }

    int priorityClass = NORMAL_PRIORITY_CLASS;
    int threadPriority = 0;
    bool canRaise = true;
    QString refuse; // when set, every change fails with this message
    std::vector<int> classCalls;
    std::vector<int> threadCalls;
};

ScriptedPriority& InstallScriptedPriority();

} // namespace telvo::platform
