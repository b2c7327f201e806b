// Fuzz entry for what a network serial server sends: the Telnet / COM port option parser and the
// client's negotiation. Invariants: any split of the stream gives the same data and events as the
// whole; data escaped again and parsed comes back unchanged and alone; the negotiation only ever
// answers with one three-byte verb and never loops (a repeated verb gets no second agreement).
// Built without libFuzzer, main() runs the entry over awkward inputs and a seeded random stream
// so that ctest keeps it honest.

#include "core/link/Rfc2217.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

using namespace telvo::core;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz_rfc2217: broken invariant: %s\n", what);
        std::abort();
    }
}

bool same(const std::vector<TelnetEvent>& a, const std::vector<TelnetEvent>& b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i].kind != b[i].kind || a[i].verb != b[i].verb || a[i].option != b[i].option ||
            a[i].command != b[i].command || a[i].value != b[i].value)
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    TelnetParser whole;
    std::vector<TelnetEvent> events;
    const QByteArray out = whole.feed(bytes, &events);
    require(out.size() <= bytes.size(), "data no longer than the stream");
    for (const TelnetEvent& e : events)
        require(e.value.size() <= TelnetParser::kMaxSub, "sub-negotiation bounded");

    // Split at three points chosen by the input itself.
    const qsizetype n = bytes.size();
    const qsizetype a = n ? qsizetype(data[0]) % (n + 1) : 0;
    const qsizetype b = a + (n > 1 ? qsizetype(data[n - 1]) % (n - a + 1) : 0);
    TelnetParser split;
    std::vector<TelnetEvent> splitEvents;
    QByteArray splitOut = split.feed(bytes.left(a), &splitEvents);
    splitOut += split.feed(bytes.mid(a, b - a), &splitEvents);
    splitOut += split.feed(bytes.mid(b), &splitEvents);
    require(splitOut == out, "split data equals whole");
    require(same(splitEvents, events), "split events equal whole");

    TelnetParser again;
    std::vector<TelnetEvent> none;
    require(again.feed(TelnetEscape(bytes), &none) == bytes, "escape round trip");
    require(none.empty(), "escaped data holds no command");

    TelnetNegotiator neg;
    (void)neg.start();
    for (const TelnetEvent& e : events) {
        if (e.kind != TelnetEvent::Option)
            continue;
        const QByteArray reply = neg.answer(e.verb, e.option);
        require(reply.isEmpty() ||
                    (reply.size() == 3 && static_cast<unsigned char>(reply[0]) == 255 &&
                     static_cast<unsigned char>(reply[2]) == e.option),
                "one verb for the same option");
        // Said again, an agreement is not repeated; a refusal may be.
        const QByteArray second = neg.answer(e.verb, e.option);
        require(second.isEmpty() || (static_cast<unsigned char>(second[1]) == telnet::DONT ||
                                     static_cast<unsigned char>(second[1]) == telnet::WONT),
                "no second agreement to a repeated verb");
    }
    return 0;
}

#include "common/FuzzCorpus.h"

#ifndef TELVO_LIBFUZZER
int main() {
    const std::vector<std::vector<uint8_t>> awkward = {
        {},
        {255},
        {255, 255},
        {255, 250},
        {255, 250, 44},
        {255, 250, 44, 101, 0, 0, 255, 255, 0, 255, 240},
        {255, 250, 44, 101, 255, 'x', 'y'},
        {255, 251, 44, 255, 253, 44, 255, 254, 44, 255, 252, 44},
        {255, 253, 1, 255, 253, 1, 255, 251, 1, 255, 251, 1},
        {'a', 255, 241, 'b', 255, 249, 'c', 255, 240},
        {255, 250, 44, 107, 0x11, 255, 240, 2, '2', '1', 3},
    };
    for (const auto& a : awkward)
        LLVMFuzzerTestOneInput(a.data(), a.size());
    std::mt19937 rng(20261124);
    for (int run = 0; run < 2000; ++run) {
        std::vector<uint8_t> buf(rng() % 200);
        for (auto& c : buf) {
            // The protocol's own bytes turn up often enough to matter.
            const unsigned r = rng() % 8;
            c = r == 0 ? 255 : r == 1 ? uint8_t(240 + rng() % 16) : r == 2 ? 44 : uint8_t(rng());
        }
        LLVMFuzzerTestOneInput(buf.data(), buf.size());
    }
    std::puts("fuzz_rfc2217: corpus passed");
    if (telvo::test::FeedCorpus("rfc2217", LLVMFuzzerTestOneInput) == 0)
        return 1;
    return 0;
}
#endif
