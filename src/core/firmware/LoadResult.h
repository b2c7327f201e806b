#pragma once
// What a firmware load and its steps end with. The routines hand these on as the 16-bit codes
// they always were (0 and small negatives), so the values stay; here they get their names.

#include <QtGlobal>

namespace telvo::core {

// One file's transfer, the step that puts the device in its update mode included.
enum TransferResult : qint16 {
    kTransferDone = 0,
    kTransferNoFile = -1,       // the file would not open, or no port was chosen to send it to
    kTransferFailed = -2,       // the loader reported a failed block
    kTransferAborted = -3,      // the user aborted at the loader
    kTransferTimedOut = -4,     // the watch on a block ran out
    kTransferNoUpdateMode = -5, // the device would not enter its update mode
};

// A whole load: what LoadTheFiles and StartFirmwareLoad give and FinishFirmwareLoad judges.
enum LoadResult : qint16 {
    kLoadDone = 0,
    kLoadNotStarted = -1, // file problems: nothing, or not all, could be sent
    kLoadFailed = -2,     // the device or the line failed, or the user aborted under way
    kLoadCancelled = -3,  // declined, or no file chosen, before anything was sent
};

// BuildFileList when no list came of the choice (nothing chosen, or a file would not open);
// otherwise it gives the count of files.
constexpr qint16 kNoFileList = -2;

} // namespace telvo::core
