// Fuzz entry for the lines of Settings.txt as the restore reads them back, and for the answers a
// save turns into lines. Invariants: a line is a state line exactly when it begins "SetState"
// (any case); what is cut from a line never outgrows it; a state's set body is the saved text
// with two NULs; a line written by the save reads back with the name it was made of.
// Built without libFuzzer, main() runs the entry over awkward lines, a seeded random walk and
// the seeds of `make fuzz`, so that ctest keeps it honest.

#include "common/FuzzCorpus.h"
#include "core/settings/SettingsFile.h"

#include <QStringList>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

using namespace telvo::core;

namespace {

void require(bool condition, const char* what) {
    telvo::test::FuzzRequire("fuzz_settings", condition, what);
}

void checkLine(const QString& line) {
    const SettingsLine l = ParseSettingsLine(line);
    require(l.isState == line.startsWith(QLatin1String("SetState"), Qt::CaseInsensitive),
            "state line by its first word");
    require(l.parameter.size() <= line.size() && l.item.size() <= line.size(),
            "parts no longer than the line");
    require(line.contains(l.item), "the item is the line's own text");
    if (l.isState) {
        require(l.setBody.size() >= 2 && l.setBody.endsWith(QChar(0)), "set body ends with NUL");
        require(l.state.size() <= line.size(), "state no longer than the line");
        require(l.stateType == l.stateType.toUpper(), "state type in upper case");
    }
    require(SetBody(line).size() == line.size() + 2, "set body adds two NULs");
    const QString answer = SavedAnswer(line);
    require(answer.size() <= line.size(), "saved answer no longer than the reply");
    (void)StateType(line);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text =
        QString::fromLatin1(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (QString line : lines) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        checkLine(line);
    }
    // A plain row the save writes, from a name without its separator, reads back as written.
    if (lines.size() >= 2) {
        QString name = lines[0];
        // Quotes and the separators are the tokenizer's own; blanks around a name it trims.
        name.remove(QLatin1Char(',')).remove(QLatin1Char('=')).remove(QLatin1Char('"'));
        const QString answer = SavedAnswer(lines[1]);
        const SettingsLine back = ParseSettingsLine(PlainSettingsLine(name, answer));
        if (!name.startsWith(QLatin1Char(' ')) && !name.endsWith(QLatin1Char(' ')))
            require(back.parameter == name, "saved name reads back");
    }
    return 0;
}

#ifndef TELVO_LIBFUZZER
int main() {
    const char* awkward[] = {
        "",
        "=",
        ",",
        ";",
        "SetState",
        "SETSTATE=",
        "SetState=,;=,",
        "SetState=Input 1",
        "SetState=Input 1,4C1",
        "SetState=Input 1,4C1; SetParameter=Brightness, B117",
        "SetState=  , ; SetParameter=  ,  ",
        "SetParameter=Gamma, 53\r\nSetParameter=, \r\n",
        "\x02"
        "21-5A1\0"
        "1\0"
        "cc\x03",
        "\x02"
        "2199B1\0"
        "17\0\x03",
        "\xff\xfe=\xc3\x28,;",
    };
    for (const char* a : awkward)
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(a), std::strlen(a));
    std::mt19937 rng(20261124);
    const char alphabet[] = "SetStaePrm=,; \r\n\t\x02\x03"
                            "0123456789AB";
    for (int run = 0; run < 3000; ++run) {
        std::vector<uint8_t> buf(rng() % 120);
        for (auto& c : buf)
            c = uint8_t(rng() % 4 == 0 ? rng() : alphabet[rng() % (sizeof alphabet - 1)]);
        LLVMFuzzerTestOneInput(buf.data(), buf.size());
    }
    if (telvo::test::FeedCorpus("settings", LLVMFuzzerTestOneInput) == 0)
        return 1;
    std::puts("fuzz_settings: corpus passed");
    return 0;
}
#endif
