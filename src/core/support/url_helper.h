#pragma once
// The pure half of the small HTTP client: splitting an address, the request text, the remote
// port a scheme leads to, and the mending of line ends in what arrives.

#include "core/text/Classic.h"

#include <QString>

namespace telvo::core {

struct UrlParts {
    QString Scheme; // before "://", empty if none
    QString Host;
    // 0 when the address names none. The whole TCP range 0..65535: a signed 16-bit port would
    // refuse every port above 32767, where the system's own ephemeral ports lie.
    quint16 Port = 0;
    QString Path;  // from the first "/" up to "?"; "/" if none
    QString Query; // behind "?"
};

// A port text that is not numeric leaves Port at 0; one outside 0..65535 raises RuntimeError(6).
UrlParts SplitUrl(QString url);

// The request HttpGet sends. `formData` is name=value pairs each closed by "&" (empty in this
// program); with a method other than GET it becomes the body.
QString HttpRequest(const QString& method, const UrlParts& parts, QString formData = QString());

// The port to connect to: the address's own for http, 80 for http without one or no scheme.
// Any other scheme keeps `currentPort` and sets `badScheme`.
int RemotePortFor(const UrlParts& parts, int currentPort, bool& badScheme);

// LF alone becomes CR LF, CR LF stays; a lone CR before x gives CR, x, LF; a trailing CR gets
// no LF. Each chunk is mended by itself.
QString FixLineEnds(const QString& text);

} // namespace telvo::core
