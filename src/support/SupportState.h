#pragma once
// The module state of the support window and its HTTP client, and the limits a test may shorten.

#include "core/support/UpdateList.h"

#include <QList>
#include <QString>

namespace telvo::ui {

class SUP;

struct SupportGlobals {
    bool HttpConnected = false; // from the socket's connect to its close
    bool HttpBusy = false;      // a fetch is under way (connecting included)
    QString HttpRequestText;
    QString HttpResponse;
    int RemotePort = 0;                                       // kept across fetches
    QList<core::UpdateEntry> UpdateList{core::UpdateEntry{}}; // 1-based, entry 0 unused
    qint16 OverwriteAnswer = 0;                               // 6 yes, 7 no
};

// The update service ships switched off (cmake -DTELVO_UPDATE_SERVICE=ON builds it on); tests
// flip it here. The limits keep a silent or endless server from holding the program.
struct SupportConfig {
    bool UpdateServiceOn = UpdateServiceOnAsBuilt();
    int HttpTimeLimitMs = 30000;                      // a whole fetch, connect to close
    qint64 HttpResponseCap = qint64(4) * 1024 * 1024; // characters of a page
    int DownloadStallLimitMs = 30000;                 // no byte for this long ends a download
    qint64 DownloadCap = qint64(64) * 1024 * 1024;    // bytes of a downloaded file
    QString HomePage = QStringLiteral(TELVO_HOME_PAGE);
    QString ForumThread = QStringLiteral(TELVO_FORUM_THREAD);

    static constexpr bool UpdateServiceOnAsBuilt() { return TELVO_UPDATE_SERVICE_ON != 0; }
};

SupportGlobals& Support();
SupportConfig& SupportSettings();
SUP& sup();
bool SupExists();

} // namespace telvo::ui
