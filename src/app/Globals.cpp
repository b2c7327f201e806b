#include "app/Globals.h"

#include "app/Tools.h"

#include "config/FP.h"
#include "config/FWR.h"
#include "config/INI.h"
#include "config/MDL.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "settings/SCL.h"

#include <memory>

namespace telvo::ui {

namespace {
struct Windows {
    std::unique_ptr<SCL> scl;
    std::unique_ptr<LDR> ldr;
    std::unique_ptr<DBG> dbg;
    std::unique_ptr<FP> fp;
    std::unique_ptr<INI> ini;
    std::unique_ptr<MDL> mdl;
    std::unique_ptr<FWR> fwr;
};

Windows& windows() {
    static Windows* w = new Windows;
    return *w;
}

std::unique_ptr<Session>& session() {
    static std::unique_ptr<Session> s = std::make_unique<Session>();
    return s;
}

// Windows are created on first use and live for the run.
template <typename W> W& windowOf(std::unique_ptr<W>& slot) {
    if (!slot)
        slot = std::make_unique<W>();
    return *slot;
}
} // namespace

Session& G() {
    return *session();
}

SCL& scl() {
    return windowOf(windows().scl);
}

LDR& ldr() {
    return windowOf(windows().ldr);
}

DBG& dbg() {
    return windowOf(windows().dbg);
}

FP& fp() {
    return windowOf(windows().fp);
}

INI& ini() {
    return windowOf(windows().ini);
}

MDL& mdl() {
    return windowOf(windows().mdl);
}

FWR& fwr() {
    return windowOf(windows().fwr);
}

bool WindowExists(const char* name) {
    const QString n = QString::fromLatin1(name);
    if (n == QLatin1String("SCL"))
        return bool(windows().scl);
    if (n == QLatin1String("LDR"))
        return bool(windows().ldr);
    if (n == QLatin1String("DBG"))
        return bool(windows().dbg);
    if (n == QLatin1String("FP"))
        return bool(windows().fp);
    if (n == QLatin1String("INI"))
        return bool(windows().ini);
    if (n == QLatin1String("MDL"))
        return bool(windows().mdl);
    if (n == QLatin1String("FWR"))
        return bool(windows().fwr);
    return false;
}

void ResetSession() {
    ResetIrWindows();
    ResetGammaWindows();
    ResetSupportWindows();
    ResetOptionsWindows();
    ResetFirmwareWindows();
    auto& w = windows();
    w.fwr.reset();
    w.mdl.reset();
    w.ini.reset();
    w.fp.reset();
    w.dbg.reset();
    w.ldr.reset();
    w.scl.reset();
    session() = std::make_unique<Session>();
}

} // namespace telvo::ui
