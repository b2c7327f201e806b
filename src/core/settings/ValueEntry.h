#pragma once
// The choosers' rules without a window.

#include "core/config/CommandRec.h"

#include <QString>

namespace telvo::core {

// Height in twips of the choice list for n items: 240 a row below 10, 2400 from 10 on.
int SelectListHeight(int items);

// A typed value padded to the setting's decimals: a "." when there is none, then "0" until as
// many characters stand behind the first "." as `decimals` asks. A longer fraction stays.
QString PadToDecimals(const QString& text, int decimals);

// The prompt of the enter box for a record, and whether it opens the box at all ("Enter") or the
// list ("Select"), or nothing ("").
struct ChooserPlan {
    QString mode;   // "Select", "Enter" or empty
    QString prompt; // the new prompt; empty keeps the one standing
    bool integerContext = false;
};
ChooserPlan PlanChooser(const CommandRec& rec);

} // namespace telvo::core
