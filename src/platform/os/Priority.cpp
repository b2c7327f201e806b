#include "platform/os/Priority.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace telvo::platform {

namespace {

int currentTid() {
    return int(::syscall(SYS_gettid));
}

int niceOf(int tid) {
    errno = 0;
    return ::getpriority(PRIO_PROCESS, id_t(tid));
}

QString className(int c) {
    switch (c) {
    case NORMAL_PRIORITY_CLASS:
        return QStringLiteral("Normal");
    case IDLE_PRIORITY_CLASS:
        return QStringLiteral("Low (Idle)");
    case HIGH_PRIORITY_CLASS:
        return QStringLiteral("High");
    case REALTIME_PRIORITY_CLASS:
        return QStringLiteral("Realtime");
    default:
        return QString::number(c);
    }
}

QString refusal(const QString& what, int err) {
    QString text = what + QStringLiteral(" was refused by the system: ") +
                   QString::fromLocal8Bit(std::strerror(err));
    if (err == EPERM || err == EACCES)
        text += QStringLiteral(".\r\nRaising priority needs administrator rights (CAP_SYS_NICE) "
                               "or a higher nice or realtime limit for this user.");
    return text;
}

class LinuxPriority : public Priority {
public:
    int GetPriorityClass() override {
        const int policy = ::sched_getscheduler(0);
        if (policy == SCHED_RR || policy == SCHED_FIFO)
            return REALTIME_PRIORITY_CLASS;
        const int base = baseNice();
        if (base >= 15)
            return IDLE_PRIORITY_CLASS;
        if (base > 0)
            return BELOW_NORMAL_PRIORITY_CLASS;
        if (base == 0)
            return NORMAL_PRIORITY_CLASS;
        if (base > -10)
            return ABOVE_NORMAL_PRIORITY_CLASS;
        return HIGH_PRIORITY_CLASS;
    }

    bool SetPriorityClass(int c, QString& error) override {
        int base = 0;
        switch (c) {
        case NORMAL_PRIORITY_CLASS:
            base = 0;
            break;
        case IDLE_PRIORITY_CLASS:
            base = 19;
            break;
        case HIGH_PRIORITY_CLASS:
            base = -10;
            break;
        case REALTIME_PRIORITY_CLASS:
            base = 0;
            break;
        default:
            error = QStringLiteral("Unknown priority class ") + QString::number(c);
            return false;
        }
        const QString what =
            QStringLiteral("Setting the process priority class to ") + className(c);
        const int self = currentTid();
        for (const QString& t :
             QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const int tid = t.toInt();
            sched_param param{};
            int policy = SCHED_OTHER;
            if (c == REALTIME_PRIORITY_CLASS) {
                policy = SCHED_RR;
                param.sched_priority = rtPriority(tid == self ? m_offset : 0);
            }
            if (::sched_setscheduler(tid, policy, &param) != 0) {
                if (errno == ESRCH)
                    continue; // the thread has ended meanwhile
                error = refusal(what, errno);
                return false;
            }
            if (policy == SCHED_OTHER &&
                ::setpriority(PRIO_PROCESS, id_t(tid), niceFor(base, tid == self ? m_offset : 0)) !=
                    0) {
                if (errno == ESRCH)
                    continue;
                error = refusal(what, errno);
                return false;
            }
        }
        m_base = base;
        return true;
    }

    // Back to nice 0 from a higher nice needs CAP_SYS_NICE (root) or a nice limit of 20.
    bool CanRaiseAgain() override {
        if (::geteuid() == 0)
            return true;
        rlimit limit{};
        return ::getrlimit(RLIMIT_NICE, &limit) == 0 &&
               (limit.rlim_cur == RLIM_INFINITY || limit.rlim_cur >= 20);
    }
    int GetThreadPriority() override { return m_offset; }

    bool SetThreadPriority(int p, QString& error) override {
        const QString what = QStringLiteral("Setting the thread priority to ") + QString::number(p);
        const int self = currentTid();
        const int policy = ::sched_getscheduler(0);
        if (policy == SCHED_RR || policy == SCHED_FIFO) {
            sched_param param{};
            param.sched_priority = rtPriority(p);
            if (::sched_setparam(self, &param) != 0) {
                error = refusal(what, errno);
                return false;
            }
        } else {
            if (::setpriority(PRIO_PROCESS, id_t(self), niceFor(baseNice(), p)) != 0) {
                error = refusal(what, errno);
                return false;
            }
        }
        m_offset = p;
        return true;
    }

private:
    static int niceFor(int base, int offset) { return std::clamp(base - offset, -20, 19); }
    static int rtPriority(int offset) { return std::clamp(16 + offset, 1, 99); }
    // The class's nice as last set; before that, read back from this thread's nice.
    int baseNice() const { return m_base >= -20 ? m_base : niceOf(currentTid()) + m_offset; }
    int m_base = -100;
    int m_offset = 0; // the thread priority last set: nice has no separate class to read back
};

std::unique_ptr<Priority>& slot() {
    static std::unique_ptr<Priority> p;
    return p;
}

} // namespace

std::unique_ptr<Priority> MakeSystemPriority() {
    return std::make_unique<LinuxPriority>();
}

Priority& CurrentPriority() {
    if (!slot())
        slot() = MakeSystemPriority();
    return *slot();
}

void InstallPriority(std::unique_ptr<Priority> priority) {
    slot() = std::move(priority);
}

} // namespace telvo::platform
