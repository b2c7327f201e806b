// Lists and restart files come from disk: any bytes must parse without a crash.

#include "core/firmware/FirmwareFiles.h"
#include "core/text/Classic.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QStringList lines = telvo::core::ParseFileList(bytes);
    (void)telvo::core::FormatFileList(lines);
    try {
        (void)telvo::core::ParseRestartLine(telvo::core::FirstLine(bytes));
    } catch (const telvo::core::RuntimeError&) {
        // an index beyond 16 bits is the classic overflow
    }
    return 0;
}

#include "common/FuzzCorpus.h"

#ifndef TELVO_LIBFUZZER
int main() {
    const char* corpus[] = {"",          "COM1,19200,57600,0\r\n", "a.frk\r\nb.frk",
                            ",,,,,",     "\xff\xfe\r\r\n",         "COM9,1,2,99999999999",
                            "x,y,z,-3e2"};
    for (const char* c : corpus)
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(c), strlen(c));
    if (telvo::test::FeedCorpus("fw_files", LLVMFuzzerTestOneInput) == 0)
        return 1;
    return 0;
}
#endif
