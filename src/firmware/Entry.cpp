#include "app/Tools.h"

#include "config/DG.h"
#include "firmware/EX.h"
#include "firmware/Firmware.h"
#include "firmware/RS.h"

#include <memory>

namespace telvo::ui {

namespace {
struct Loader {
    FirmwareGlobals state;
    std::unique_ptr<EX> ex;
    std::unique_ptr<RS> rs;
    std::unique_ptr<DG> dg;
};

std::unique_ptr<Loader>& loader() {
    static std::unique_ptr<Loader> l = std::make_unique<Loader>();
    return l;
}

template <typename W> W& windowOf(std::unique_ptr<W>& slot) {
    if (!slot)
        slot = std::make_unique<W>();
    return *slot;
}
} // namespace

FirmwareGlobals& FW() {
    return loader()->state;
}
EX& ex() {
    return windowOf(loader()->ex);
}
RS& rs() {
    return windowOf(loader()->rs);
}
DG& dg() {
    return windowOf(loader()->dg);
}

bool FirmwareWindowExists(const char* name) {
    const QString n = QString::fromLatin1(name);
    if (n == QLatin1String("EX"))
        return bool(loader()->ex);
    if (n == QLatin1String("RS"))
        return bool(loader()->rs);
    if (n == QLatin1String("DG"))
        return bool(loader()->dg);
    return false;
}

void ResetFirmwareWindows() {
    loader() = std::make_unique<Loader>();
}

} // namespace telvo::ui
