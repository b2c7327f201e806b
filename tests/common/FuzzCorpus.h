#pragma once
// Built as a plain test, a fuzz target also runs its entry over every seed that `make fuzz`
// starts from (tests/fuzz/corpus/<name> and the subsystem's own tests/<name>/corpus), so that
// `make test` keeps each seed passing. Returns how many seeds ran; a target with none fails.

#include <QDir>
#include <QFile>
#include <QString>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace telvo::test {

using FuzzEntry = int (*)(const uint8_t*, size_t);

// An invariant of a fuzz entry: a broken one aborts, which libFuzzer keeps as a finding.
inline void FuzzRequire(const char* target, bool condition, const char* what) {
    if (condition)
        return;
    std::fprintf(stderr, "%s: broken invariant: %s\n", target, what);
    std::abort();
}

inline int FeedCorpus(const char* name, FuzzEntry entry) {
    QString root = qEnvironmentVariable("TELVO_SOURCE_DIR");
#ifdef TELVO_SOURCE_ROOT
    if (root.isEmpty())
        root = QStringLiteral(TELVO_SOURCE_ROOT);
#endif
    const QString n = QString::fromLatin1(name);
    int runs = 0;
    for (const QString& dir : {root + QStringLiteral("/tests/fuzz/corpus/") + n,
                               root + QStringLiteral("/tests/") + n + QStringLiteral("/corpus")}) {
        const QDir d(dir);
        for (const QString& file : d.entryList(QDir::Files, QDir::Name)) {
            QFile f(d.filePath(file));
            if (!f.open(QIODevice::ReadOnly))
                continue;
            const QByteArray bytes = f.readAll();
            entry(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
            ++runs;
        }
    }
    if (runs == 0)
        std::fprintf(stderr, "fuzz_%s: no seeds found under %s\n", name, qPrintable(root));
    return runs;
}

} // namespace telvo::test
