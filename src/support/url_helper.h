#pragma once
// The HTTP client of the support window: a hand-written HTTP/1.0 GET over the window's socket,
// a blocking call that yields while the socket's events fill HttpResponse, and downloads of
// files through the network access manager.

#include <QString>

namespace telvo::ui {

// Fetches `url` into Support().HttpResponse (raw, headers included, line ends mended). Returns
// when the peer has closed, at once on an error, or at the time limit with an empty response.
void HttpGet(const QString& url);
bool IsOnline();
// Saves the resource at `url` into `file`; 0 on success, else an error code (a network error
// number (4 when no byte came for the stall limit), 5 when cancelled, 75 when the file cannot be
// written, 299 past the size cap, 301 for an address that is not http or https).
qint16 DownloadToFile(QString& url, QString& file);
// Offers the resource to the user in the browser.
void ShowDownloadDialog(const QString& url);

// Error codes of DownloadToFile beside the network's own.
enum DownloadError : qint16 {
    kDownloadCancelled = 5,
    kDownloadFileError = 75,
    kDownloadTooLarge = 299,
    kDownloadNotWeb = 301
};

} // namespace telvo::ui
