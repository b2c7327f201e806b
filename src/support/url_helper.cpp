#include "support/url_helper.h"

#include "support/SUP.h"
#include "support/SupportState.h"

#include "app/MajorSubs.h"
#include "core/support/url_helper.h"
#include "platform/clock/Clock.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/Shell.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>

namespace telvo::ui {

namespace {

constexpr int kCritical = 16;

bool IsWebAddress(const QUrl& u) {
    return u.isValid() &&
           (u.scheme() == QLatin1String("http") || u.scheme() == QLatin1String("https"));
}

// Runs `fn` when the scope is left, however it is left (the end of the program unwinds too).
template <typename F> struct OnExit {
    F fn;
    ~OnExit() { fn(); }
};
template <typename F> OnExit(F) -> OnExit<F>;

} // namespace

void HttpGet(const QString& url) {
    SupportGlobals& st = Support();
    const QString method = QStringLiteral("GET");
    // One fetch at a time; a second call is silently ignored.
    if (st.HttpConnected || st.HttpBusy)
        return;
    SUP& w = sup();
    const core::UrlParts parts = core::SplitUrl(url);
    if (parts.Host.isEmpty()) {
        platform::MessageBox(QStringLiteral("Invalid Host"), kCritical, QStringLiteral("ERROR"));
        w.lblWWW->show();
        return;
    }
    bool badScheme = false;
    st.RemotePort = core::RemotePortFor(parts, st.RemotePort, badScheme);
    if (badScheme)
        platform::MessageBox(QStringLiteral("Invalid protocol schema"));
    st.HttpResponse.clear();
    const QString request = core::HttpRequest(method, parts);
    st.HttpRequestText = request;

    st.HttpBusy = true;
    w.m_tooLarge = false;
    bool expired = false;
    platform::Clock& clock = platform::Clock::instance();
    const auto limit = clock.scheduleIn(qint64(SupportSettings().HttpTimeLimitMs) * 1000,
                                        [&expired] { expired = true; });
    OnExit done{[&] {
        clock.cancel(limit);
        st.HttpBusy = false;
    }};

    w.winsock->abort();
    w.winsock->connectToHost(parts.Host, quint16(st.RemotePort));
    while (!st.HttpConnected && !expired)
        platform::DoEvents();
    if (st.HttpConnected) {
        w.winsock->write(request.toLatin1());
        while (st.HttpConnected && !expired)
            platform::DoEvents();
    }
    if (expired) {
        // The same outcome as an empty response.
        w.winsock->abort();
        st.HttpConnected = false;
        st.HttpResponse.clear();
        LogLine(QStringLiteral("No complete answer from ") + parts.Host +
                QStringLiteral(" within ") +
                QString::number(SupportSettings().HttpTimeLimitMs / 1000.0) + QStringLiteral(" s"));
    }
    if (w.m_tooLarge) {
        st.HttpResponse.clear();
        const QString text = QStringLiteral("The answer from ") + parts.Host +
                             QStringLiteral(" is larger than ") +
                             QString::number(SupportSettings().HttpResponseCap) +
                             QStringLiteral(" bytes and was dropped");
        LogLine(text);
        platform::MessageBox(text, 48, QStringLiteral("ERROR"));
    }
}

bool IsOnline() {
    return platform::CurrentShell().IsOnline();
}

qint16 DownloadToFile(QString& url, QString& file) {
    const QUrl u(url);
    if (!IsWebAddress(u))
        return kDownloadNotWeb;
    SUP& w = sup();
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly))
        return kDownloadFileError;

    QNetworkRequest request(u);
    request.setTransferTimeout(SupportSettings().DownloadStallLimitMs);
    QNetworkReply* reply = w.inet->get(request);
    OnExit release{[reply, &w] {
        reply->disconnect();
        reply->abort();
        reply->deleteLater();
        w.frmDownload->reset();
        w.frmDownload->hide();
    }};

    const qint64 cap = SupportSettings().DownloadCap;
    qint64 received = 0;
    bool tooLarge = false;
    bool writeFailed = false;
    bool cancelled = false;
    QProgressDialog* dlg = w.frmDownload;
    dlg->setLabelText(QStringLiteral("Retrieving ") + u.fileName());
    dlg->setCancelButtonText(QStringLiteral("Cancel"));
    dlg->setRange(0, 0);
    dlg->setMinimumDuration(500);
    dlg->setValue(0);
    QObject::connect(dlg, &QProgressDialog::canceled, reply, [reply, &cancelled] {
        cancelled = true;
        reply->abort();
    });
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [&] {
        const QByteArray data = reply->readAll();
        received += data.size();
        if (received > cap) {
            tooLarge = true;
            reply->abort();
        } else if (out.write(data) != data.size()) {
            writeFailed = true;
            reply->abort();
        }
    });
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply,
                     [dlg](qint64 got, qint64 total) {
                         // Kilobytes keep large files inside the dialog's int range.
                         if (total > 0)
                             dlg->setMaximum(int(total / 1024) + 1);
                         dlg->setValue(int(got / 1024));
                     });

    while (!reply->isFinished()) {
        platform::DoEvents();
        if (dlg->wasCanceled() && !cancelled) {
            cancelled = true;
            reply->abort();
        }
    }
    if (!cancelled && !tooLarge && !writeFailed && reply->bytesAvailable() > 0) {
        const QByteArray rest = reply->readAll();
        received += rest.size();
        if (received > cap)
            tooLarge = true;
        else if (out.write(rest) != rest.size())
            writeFailed = true;
    }

    qint16 rc = 0;
    if (cancelled)
        rc = kDownloadCancelled;
    else if (tooLarge)
        rc = kDownloadTooLarge;
    else if (writeFailed)
        rc = kDownloadFileError;
    // The stall limit aborts the transfer too; it is told apart from the user's Cancel.
    else if (reply->error() == QNetworkReply::OperationCanceledError)
        rc = QNetworkReply::TimeoutError;
    else if (reply->error() != QNetworkReply::NoError)
        rc = qint16(reply->error());
    if (rc == kDownloadTooLarge)
        LogLine(QStringLiteral("Download of ") + url + QStringLiteral(" stopped: larger than ") +
                QString::number(cap) + QStringLiteral(" bytes"));
    if (rc != 0) {
        out.cancelWriting();
        return rc;
    }
    if (!out.commit())
        return kDownloadFileError;
    return 0;
}

void ShowDownloadDialog(const QString& url) {
    const QUrl u(url);
    if (!IsWebAddress(u)) {
        platform::MessageBox(QStringLiteral("Not a web address: '") + url + u'\'', 48,
                             QStringLiteral("ERROR"));
        return;
    }
    platform::CurrentShell().OpenUrl(u);
}

} // namespace telvo::ui
