#include "firmware/Firmware.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "core/firmware/FirmwareFiles.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"

#include <QFile>
#include <QSaveFile>

namespace telvo::ui {

namespace {
const QString kDefaultTitle = QStringLiteral("Select file to load");

QString filterOf(int mode) {
    if (mode == 1 || mode == 2)
        return QStringLiteral("File Lists (*.frl)|*.frl");
    return QStringLiteral("Firmware (*.frk); Lists (*.frl)|*.fr?");
}

QString crlf() {
    return QStringLiteral("\r\n");
}

// The classic "description|pattern" as the platform's dialog reads it: "description (pattern)".
QString dialogFilter(const QString& classic) {
    const qsizetype bar = classic.indexOf(QLatin1Char('|'));
    if (bar < 0)
        return classic;
    return classic.left(bar) + QStringLiteral(" (") + classic.mid(bar + 1) + QLatin1Char(')');
}
} // namespace

QString SelectFirmwareFile(const QString& dir, const QString& title, int mode) {
    ldr().lblMessage->setText(QString());
    // The start folder and the wildcard reach the dialog in one field, as its file name.
    const QString start = platform::NativePath(dir + QStringLiteral("*.fr?"));
    const QString filter = dialogFilter(filterOf(mode));
    // A cancelled dialog is an empty answer and no message.
    return mode == 2 ? platform::SaveFileDialog(title, start, filter)
                     : platform::OpenFileDialog(title, start, filter);
}

QString SelectFirmwareFile(const QString& dir) {
    return SelectFirmwareFile(dir, kDefaultTitle, 0);
}

qint16 BuildFileList(bool multiple) {
    FirmwareGlobals& fw = FW();
    QStringList list;
    if (multiple) {
        QString folder = Config().FirmwareDir;
        for (;;) {
            const QString path = SelectFirmwareFile(
                folder, QStringLiteral("Select File to Load, Cancel to Stop Selection Process"), 0);
            if (path.isEmpty())
                break;
            if (core::IsFirmwarePath(path)) {
                list << path;
            } else {
                // Whatever else was chosen is read as a list, whatever its extension.
                QFile f(platform::NativePath(path));
                if (!f.open(QIODevice::ReadOnly)) {
                    platform::MessageBox(
                        QStringLiteral(
                            "BuildFileList Multiple Files: Error opening frk file for input") +
                        crlf() + path + crlf() + f.errorString());
                    return core::kNoFileList;
                }
                list << core::ParseFileList(f.readAll());
            }
            folder = core::FolderOfChoice(path);
        }
    } else {
        const QString path = SelectFirmwareFile(Config().FirmwareDir, QString(), 0);
        if (path.isEmpty())
            return core::kNoFileList;
        // The extension isn't looked at here: a list picked in this mode is sent as firmware.
        list << path;
        fw.LastFirmwareFile = path;
    }
    if (list.isEmpty())
        return core::kNoFileList;

    QFile::remove(platform::JobFile(QStringLiteral("FileList.frl")));
    QSaveFile out(platform::JobFile(QStringLiteral("filelist.frl")));
    if (!out.open(QIODevice::WriteOnly) || out.write(core::FormatFileList(list)) < 0 ||
        !out.commit()) {
        platform::MessageBox(QStringLiteral("BuildFileList error opening file ") + crlf() +
                             platform::JobFolder() + QStringLiteral("\\filelist.frl") + crlf() +
                             out.errorString());
        return core::kNoFileList;
    }
    // The count is a 16-bit number: a longer list is the run-time error of an overflow.
    return core::CInt(double(list.size()));
}

void cmdDelFileList_Click() {
    const QString path =
        SelectFirmwareFile(Config().FirmwareDir, QStringLiteral("Select File to be deleted"), 1);
    if (!path.isEmpty())
        QFile::remove(platform::NativePath(path));
}

void cmdSaveFileList_Click() {
    const QString target =
        SelectFirmwareFile(Config().FirmwareDir, QStringLiteral("Save File As..."), 2);
    if (target.isEmpty())
        return;
    const QString working = platform::JobFile(QStringLiteral("Filelist.frl"));
    if (!QFile::exists(working)) {
        ShowAlert(QStringLiteral("There is no current file list to save"));
        return;
    }
    const QString native = platform::NativePath(target);
    QFile::remove(native);
    // A failed copy has no handling of its own: it is logged, and the window stays usable.
    if (!QFile::copy(working, native))
        LogLine(QStringLiteral("The file list could not be copied to ") + target);
}

} // namespace telvo::ui
