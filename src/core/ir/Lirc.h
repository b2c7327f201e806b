#pragma once
// IR codes for LIRC: a Pronto raw line back to pulses and spaces in microseconds, the
// pulse/space text that `ir-ctl --send` and LIRC's tools read, button names `irsend` can type,
// and a lircd.conf remote of raw codes. Widget-free.

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace telvo::core::ir {

// One code as it goes out on a single press: pulse, space, pulse, ... in microseconds, at the
// carrier `frequency` (Hz). The last entry is a space, the code's lead-out, when the code has
// an even number of entries.
struct RawCode {
    qint32 frequency = 0;
    QList<qint32> durations;
};

// The remote's name in lircd.conf: what `irsend SEND_ONCE vorix KEY` names.
inline constexpr char kLircRemoteName[] = "vorix";
// The silence around one press in a pulse/space text: longer than any lead-out of the built-in
// forms, so a receiver sees where the press begins and ends (LIRC's drivers time out after
// about 100 ms of silence too).
inline constexpr qint32 kPressSilence = 100000;

// A Pronto learned (raw) line, "0000 FREQ ONCE REPEAT words...": each burst word times the
// carrier period (word FREQ times 0.241246 us), rounded to the microsecond; the once part, then
// the repeat part once. Words beyond the declared pairs are not part of the code; declared pairs
// beyond the words present are cut. Empty when the line is no raw Pronto code or holds no burst.
std::optional<RawCode> ProntoDurations(const QString& pronto);

// The code's lead-out: its last space, 0 when it ends with a pulse.
qint32 LeadOut(const RawCode& code);

// One press as pulse/space lines ("pulse N" / "space N", LF-ended): the silence before, the
// code's own durations, and its lead-out run into the silence after.
QString Mode2Text(const RawCode& code);

// A button name `irsend` can type: upper case, every character other than A-Z and 0-9 folded
// to "_". A command's value is COMMAND_VALUE.
QString LircButtonName(const QString& name);
QString LircButtonName(const QString& command, const QString& value);

struct LircButton {
    QString name;
    RawCode code;
};

// The buttons of one remote, in order. A name already taken is numbered: NAME_2, NAME_3, ...
class LircRemote {
public:
    // Adds the code under `name` (folded) and returns the name it got.
    QString add(const QString& name, const RawCode& code);
    const QList<LircButton>& buttons() const { return m_buttons; }
    bool isEmpty() const { return m_buttons.isEmpty(); }

    // The lircd.conf text: `header` as comment lines, then one remote of raw codes with the
    // first code's carrier as frequency and the longest lead-out as gap; each raw code without
    // its lead-out, as LIRC's raw codes end with a pulse.
    QString conf(const QStringList& header) const;

private:
    bool taken(const QString& name) const;
    QList<LircButton> m_buttons;
};

} // namespace telvo::core::ir
