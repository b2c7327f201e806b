// Fuzz entry for what arrives from the web: the address split, the line-end mending and the
// update-list parser. Built without libFuzzer, main() runs the entry over a small corpus.

#include "core/support/ReleaseNotes.h"
#include "core/support/UpdateList.h"
#include "core/support/url_helper.h"
#include "core/text/Classic.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace telvo::core;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz_update: broken invariant: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString text = QString::fromLatin1(bytes);

    try {
        const UrlParts p = SplitUrl(text);
        require(!p.Path.isEmpty(), "a path is never empty");
        require(p.Path.startsWith(u'/'), "a path starts with /");
        bool bad = false;
        RemotePortFor(p, 1, bad);
        HttpRequest(QStringLiteral("GET"), p, QStringLiteral("a=1&"));
    } catch (const RuntimeError& e) {
        require(e.number() == kOverflow, "only a port past 16 bits may raise");
    }

    const QString mended = FixLineEnds(text);
    require(mended.size() >= text.size(), "mending never drops characters");
    require(mended.count(u'\n') >= text.count(u'\n'), "no line feed is lost");
    require(mended.count(u'\r') >= text.count(u'\r'), "no carriage return is lost");

    for (const QString& prefix : {QString(), QStringLiteral("gorda_")}) {
        try {
            const UpdateListResult r = ParseUpdateList(mended, prefix);
            require(!r.entries.isEmpty(), "entry 0");
            for (qsizetype i = 1; i < r.entries.size(); ++i) {
                require(UnsafeNameReason(r.entries[i].FileName).isEmpty(),
                        "only safe names listed");
                require(r.entries[i].NotesUrl.endsWith(QStringLiteral("php")), "notes address");
            }
        } catch (const RuntimeError& e) {
            require(e.number() == 5, "only the short address may raise");
        }
    }

    if (const auto cut = CutReleaseNotes(FirstLineOf(bytes)))
        require(!cut->contains(u'\n'), "one line");
    return 0;
}

#include "common/FuzzCorpus.h"

#ifndef TELVO_LIBFUZZER
int main() {
    const char* corpus[] = {"",
                            "http://host",
                            "http://host:8080/x?y",
                            "host:80",
                            "ftp://h/x",
                            "http://h:99999/",
                            "\r\r\n\n\r",
                            "A\nB",
                            "HTTP/1.0 200 OK\r\n\r\ngorda_1,http://x/a.frk\r\n",
                            "HTTP/1.0 200 OK\r\n\r\n../x,http://x/a.frk\r\ngorda_\x01,abc\r\nzz",
                            "x<!-- #BeginEditable \"content\" -->body<p><b>Downloads</b></p>tail",
                            "\xff\xfe\x00\x01://:/?",
                            "::::////????",
                            "http://:/",
                            "a,b\r\n\r\n,\r\n,,\r\n"};
    for (const char* c : corpus)
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(c), std::strlen(c));
    // A pseudo-random walk over short byte strings, the same every run.
    uint32_t seed = 12345;
    uint8_t buf[64];
    for (int run = 0; run < 20000; ++run) {
        const size_t n = run % 64;
        static const char alphabet[] = "\r\n:/?,.\\gorda_http#<>\" \x01"
                                       "ab80";
        for (size_t i = 0; i < n; ++i) {
            seed = seed * 1103515245u + 12345u;
            buf[i] = static_cast<uint8_t>(alphabet[(seed >> 16) % (sizeof alphabet - 1)]);
        }
        LLVMFuzzerTestOneInput(buf, n);
    }
    std::puts("fuzz_update: corpus done");
    if (telvo::test::FeedCorpus("update", LLVMFuzzerTestOneInput) == 0)
        return 1;
    return 0;
}
#endif
