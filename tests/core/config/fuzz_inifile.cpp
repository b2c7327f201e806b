// Fuzz entry for the Telvo.ini reader: bytes become lines, both passes read them, and every
// line also goes through the command parser alone. Built without libFuzzer, main() runs the
// entry over a small corpus of awkward inputs so that ctest keeps it honest.

#include "core/config/CommandRec.h"
#include "core/config/IniFile.h"
#include "core/text/Classic.h"

#include <QFile>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace telvo::core;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz_inifile: broken invariant: %s\n", what);
        std::abort();
    }
}

// Every table keeps its unused entry 0, whatever the input.
void checkTables(const ConfigTables& t) {
    require(!t.BaudRates.isEmpty(), "BaudRates entry 0");
    require(!t.Commands.isEmpty(), "Commands entry 0");
    require(!t.StateSettings.isEmpty(), "StateSettings entry 0");
    require(!t.RemoteCodes.isEmpty(), "RemoteCodes entry 0");
    require(!t.WebSites.isEmpty(), "WebSites entry 0");
    for (const CommandRec& c : t.Commands)
        require((!c.IsList && !c.IsByte) || !c.Values.isEmpty(), "Values entry 0");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QStringList lines = SplitTextLines(bytes);

    ConfigTables tables;
    IniControls controls;
    controls.lstRate = InitialRateList(tables.BaudRates);
    ReadIniText(1, lines, tables, controls);
    ReadIniText(2, lines, tables, controls);
    checkTables(tables);

    CommandTable commands = EmptyCommandTable();
    for (const QString& line : lines) {
        try {
            ParseCommandLine(line, commands, [](const QString&) {});
        } catch (const RuntimeError& e) {
            require(e.number() == kOverflow, "only overflow may escape the parser");
        }
        QString copy = line;
        FilterIniLine(copy, 3, controls, tables.Options);
    }
    require(!commands.isEmpty(), "command table entry 0");
    (void)IsPrototypeFile(lines);
    return 0;
}

#include "common/FuzzCorpus.h"

#ifndef TELVO_LIBFUZZER
int main() {
    static const char* const kCorpus[] = {
        "",
        "\n\n\r\n",
        "[",
        "]=[",
        "=",
        "(=)",
        "a (=",
        "x (M:~)= (",
        "[SYSTEM]\nModel=*\nVorix Connected=\nBaud Rates=,,::,:\nTransfer Speed=\n",
        "[SYSTEM]\nUser Level=99999999\nMax Ports=-1e400\nInter Row Space=&HFFFFFFFFF\n",
        "[SYSTEM]\nFirmware Folder=\nPort=\nOptions=\"\nVorix Models=,,,\n",
        "[COMMANDS]\n=\n/R/W/N=\nA=[\nB=[]\nC=[99999] x\nD=99999 x;y;z\n",
        "[COMMANDS]\nE=[1] (;(;(\nF=[1] ab(;(,(,(;\nG=[1] c;..;\nH=[1] c;...;\n",
        "[COMMANDS]\nI=[1] c;BYTE\nJ=[1] c;byte;(1\nK=[1] c;INTEGER\nL=[1] c;\"(1)a,b\n",
        "[COMMANDS]\nM=[1] c;(99999)x\nN=[1] c;(1e999)y\nO=[1] c;0..1.99999999999999999\n",
        "[SETTINGSBYSTATE]\n=;\n:=,:,;[\nA=;[]\nB=\"a;b:c\";[:,:,]\nC=x;[\"]\n",
        "[REMOTECODES]\n=\n=1\nA=\nA=2\n[WEBSITES]\n==\n=a=b\n",
        "[SYSTEM]\n(F:1e999)Port=1\n(F:~)Baud=1\n(O:~)Speed=1\n(,,,)Exit Speed=1\n",
        "\xEF\xBB\xBF[SYSTEM]\xC3\n\xFF\xFE=\xC0\x80\n\xF4\x90\x80\x80=\xED\xA0\x80",
        "[SYSTEM]\n\t[COMMANDS]\nA\t=\t[1]\tB1;0..9\n' comment = x\nQ = 'a=b\n",
    };
    int runs = 0;
    for (const char* input : kCorpus) {
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input), std::strlen(input));
        ++runs;
    }
    // The sample file that goes with the program, when the source folder is known.
    QFile sample(qEnvironmentVariable("TELVO_SOURCE_DIR") + QStringLiteral("/data/Telvo.ini"));
    if (sample.open(QIODevice::ReadOnly)) {
        const QByteArray bytes = sample.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()),
                               static_cast<size_t>(bytes.size()));
        ++runs;
        // Every prefix cut mid-line, to reach the states between sections.
        for (qsizetype cut = 0; cut < bytes.size(); cut += 97) {
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()),
                                   static_cast<size_t>(cut));
            ++runs;
        }
    }
    std::printf("fuzz_inifile: %d inputs, no crash\n", runs);
    if (telvo::test::FeedCorpus("inifile", LLVMFuzzerTestOneInput) == 0)
        return 1;
    return 0;
}
#endif
