#pragma once
// One run of a program, start to exit (fork to wait4), with what it and every process it waited
// for used: CPU and the largest peak memory. Its standard output (and, when asked, its standard
// error) go to /dev/null.

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace telvo::bench {

#ifdef TELVO_SOURCE_DIR
// The sample Telvo.ini copied into a program folder of the bench's own; its path.
inline QString SampleIniIn(const QTemporaryDir& home) {
    const QString ini = home.filePath(QStringLiteral("Telvo.ini"));
    QFile::copy(QStringLiteral(TELVO_SOURCE_DIR "/data/Telvo.ini"), ini);
    return ini;
}
#endif

struct ProcessRun {
    double ms = 0;
    double cpuMs = 0;  // user and system time of the program and its waited-for children
    long maxRssKb = 0; // the largest of them
    int exit = -1;
};

inline ProcessRun RunProgram(const QByteArray& program, const QStringList& args, bool quietErr) {
    std::vector<QByteArray> words{program};
    for (const QString& a : args)
        words.push_back(a.toLocal8Bit());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (QByteArray& w : words)
        argv.push_back(w.data());
    argv.push_back(nullptr);
    QElapsedTimer t;
    t.start();
    const pid_t pid = fork();
    if (pid == 0) {
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, 1);
        if (quietErr)
            ::dup2(null, 2);
        ::execv(argv[0], argv.data());
        _exit(127);
    }
    ProcessRun r;
    int status = 0;
    rusage use{};
    ::wait4(pid, &status, 0, &use);
    r.ms = double(t.nsecsElapsed()) / 1e6;
    r.cpuMs = double(use.ru_utime.tv_sec + use.ru_stime.tv_sec) * 1000.0 +
              double(use.ru_utime.tv_usec + use.ru_stime.tv_usec) / 1000.0;
    r.maxRssKb = use.ru_maxrss;
    r.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

} // namespace telvo::bench
