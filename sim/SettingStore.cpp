#include "SettingStore.h"

#include "Frames.h"

#include <QRegularExpression>

#include <cmath>

namespace vorix::sim {

using telvo::core::CommandRec;

namespace {

bool isInteger(const QByteArray& t) {
    static const QRegularExpression re(QStringLiteral("^[+-]?\\d+$"));
    return re.match(QString::fromLatin1(t)).hasMatch();
}

bool isDecimal(const QByteArray& t) {
    static const QRegularExpression re(QStringLiteral("^[+-]?(\\d+(\\.\\d*)?|\\.\\d+)$"));
    return re.match(QString::fromLatin1(t)).hasMatch();
}

bool isPrintable(const QByteArray& t) {
    for (char c : t)
        if (quint8(c) < 0x20 || quint8(c) > 0x7e)
            return false;
    return true;
}

// "0 to 250 ms" gives 0 and 250; false when the text names no range.
bool integerRange(const QString& text, qint64& lo, qint64& hi) {
    static const QRegularExpression re(QStringLiteral("(-?\\d+)\\s*to\\s*(-?\\d+)"),
                                       QRegularExpression::CaseInsensitiveOption);
    const auto m = re.match(text);
    if (!m.hasMatch())
        return false;
    lo = m.captured(1).toLongLong();
    hi = m.captured(2).toLongLong();
    return true;
}

QByteArray fixed(double v, int decimals) {
    if (v == 0.0)
        v = 0.0; // no "-0.00"
    return QByteArray::number(v, 'f', decimals);
}

bool hasKind(const CommandRec& r) {
    return r.IsList || r.IsByte || r.IsRange || r.IsInteger;
}

} // namespace

int SettingStore::Validate(const CommandRec& rec, const QByteArray& text, QByteArray* stored) {
    if (rec.IsList) {
        if (!isInteger(text))
            return kErrBadData;
        const qint64 v = text.toLongLong();
        for (int i = 1; i < rec.Values.size(); ++i) {
            if (rec.Values[i].Value == v) {
                *stored = QByteArray::number(v);
                return 0;
            }
        }
        return kErrRange;
    }
    if (rec.IsByte) {
        if (!isPrintable(text))
            return kErrBadCharacter;
        if (rec.Kind == QLatin1String("A")) {
            if (text.size() != 1)
                return kErrBadData;
            *stored = text;
        } else if (rec.Kind == QLatin1String("H")) {
            static const QRegularExpression re(QStringLiteral("^[0-9A-Fa-f]{2}$"));
            if (!re.match(QString::fromLatin1(text)).hasMatch())
                return kErrBadData;
            *stored = text.toUpper();
        } else {
            if (text.isEmpty() || text.size() > 8)
                return kErrBadData;
            *stored = text;
        }
        return 0;
    }
    if (rec.IsRange) {
        if (!isDecimal(text))
            return kErrBadData;
        const qsizetype dot = text.indexOf('.');
        const int fraction = dot < 0 ? 0 : int(text.size() - dot - 1);
        if (fraction > rec.Decimals)
            return kErrBadData;
        const double v = text.toDouble();
        const double lo = rec.MinText.toDouble();
        const double hi = rec.MaxText.toDouble();
        const double eps = 0.5 * std::pow(10.0, -rec.Decimals - 1);
        if (v < lo - eps || v > hi + eps)
            return kErrRange;
        *stored = fixed(v, rec.Decimals);
        return 0;
    }
    if (rec.IsInteger) {
        if (!isInteger(text))
            return kErrBadData;
        const qint64 v = text.toLongLong();
        qint64 lo = -32768, hi = 32767;
        integerRange(rec.RangeText, lo, hi);
        if (v < lo || v > hi)
            return kErrRange;
        *stored = QByteArray::number(v);
        return 0;
    }
    return kErrNotWritable;
}

QByteArray SettingStore::DefaultValue(const CommandRec& rec) {
    if (rec.IsList)
        return rec.Values.size() > 1 ? QByteArray::number(rec.Values[1].Value) : "0";
    if (rec.IsByte) {
        if (rec.Kind == QLatin1String("A"))
            return "V";
        if (rec.Kind == QLatin1String("H"))
            return "00";
        return "0";
    }
    if (rec.IsRange) {
        const double lo = rec.MinText.toDouble();
        const double hi = rec.MaxText.toDouble();
        return fixed(lo <= 0.0 && 0.0 <= hi ? 0.0 : lo, rec.Decimals);
    }
    if (rec.IsInteger) {
        qint64 lo = 0, hi = 0;
        if (integerRange(rec.RangeText, lo, hi) && (lo > 0 || hi < 0))
            return QByteArray::number(lo);
        return "0";
    }
    return {};
}

SettingStore::SettingStore(const telvo::core::CommandTable& commands, bool sdiModule)
    : m_sdi(sdiModule) {
    for (int i = 1; i < commands.size(); ++i) {
        const CommandRec& rec = commands[i];
        const QByteArray id = rec.Cmd.trimmed().toUpper().toLatin1();
        if (id.isEmpty())
            continue;
        Def d;
        d.rec = rec;
        d.scope = rec.Panel == 1   ? Scope::PerInput
                  : rec.Panel == 2 ? Scope::PerOutput
                                   : Scope::Global;
        d.initial = DefaultValue(rec);
        // Two names may share a code; the first record of a code is the device's.
        if (!m_defs.contains(id))
            m_defs.insert(id, d);
    }
    restoreDefaults();
}

int SettingStore::selectorSlots(const char* id, int fallback) const {
    const auto it = m_defs.constFind(QByteArray(id));
    int slots = fallback;
    if (it != m_defs.cend())
        for (const auto& v : it->rec.Values)
            slots = qMax(slots, int(v.Value) + 1);
    return slots;
}

SettingStore::Values SettingStore::defaultsFor(Scope scope) const {
    Values out;
    for (auto it = m_defs.cbegin(); it != m_defs.cend(); ++it)
        if (it->scope == scope)
            out.insert(it.key(), it->initial);
    return out;
}

void SettingStore::restoreDefaults() {
    m_global = defaultsFor(Scope::Global);
    m_inputs.assign(selectorSlots(kInput, kSdiInput + 1), defaultsFor(Scope::PerInput));
    m_outputs.assign(selectorSlots(kOutput, 3), defaultsFor(Scope::PerOutput));
    m_presets.assign(selectorSlots(kPreset, kFixedPresets + 10), defaultsFor(Scope::PerInput));
    m_profiles.assign(selectorSlots(kProfile, 8), defaultsFor(Scope::PerOutput));
    const auto first = [this](const char* id, int fallback) {
        const auto it = m_defs.constFind(QByteArray(id));
        return it == m_defs.cend() ? fallback : int(it->initial.toInt());
    };
    m_input = first(kInput, 1);
    m_output = first(kOutput, 1);
    m_preset = first(kPreset, 0);
    m_profile = first(kProfile, 0);
    m_global.insert(kInput, QByteArray::number(m_input));
    m_global.insert(kOutput, QByteArray::number(m_output));
    m_global.insert(kPreset, QByteArray::number(m_preset));
    m_global.insert(kProfile, QByteArray::number(m_profile));
}

SettingStore::Values* SettingStore::valuesOf(Scope scope) {
    switch (scope) {
    case Scope::PerInput:
        return &m_inputs[m_input];
    case Scope::PerOutput:
        return &m_outputs[m_output];
    case Scope::Global:
        break;
    }
    return &m_global;
}

const SettingStore::Values* SettingStore::valuesOf(Scope scope) const {
    return const_cast<SettingStore*>(this)->valuesOf(scope);
}

const CommandRec* SettingStore::record(const QByteArray& id) const {
    const auto it = m_defs.constFind(id.toUpper());
    return it == m_defs.cend() ? nullptr : &it->rec;
}

SettingStore::Scope SettingStore::scope(const QByteArray& id) const {
    const auto it = m_defs.constFind(id.toUpper());
    return it == m_defs.cend() ? Scope::Global : it->scope;
}

SettingStore::Result SettingStore::query(const QByteArray& rawId) const {
    const QByteArray id = rawId.toUpper();
    const auto it = m_defs.constFind(id);
    if (it == m_defs.cend())
        return {kErrSettingId, {}, 0};
    // A write-only setting has nothing to read back: the query itself is the wrong packet.
    if (it->rec.WriteOnly)
        return {kErrPacketType, {}, 0};
    return {0, valuesOf(it->scope)->value(id), 0};
}

SettingStore::Result SettingStore::setSelector(const QByteArray& id, int v) {
    if (id == kInput) {
        if (v == kSdiInput && !m_sdi)
            return {kErrRange, {}, 0};
        m_input = v;
    } else if (id == kOutput) {
        m_output = v;
    } else if (id == kPreset) {
        m_preset = v;
        m_inputs[m_input] = m_presets[v];
    } else if (id == kProfile) {
        m_profile = v;
        m_outputs[m_output] = m_profiles[v];
    }
    m_global.insert(id, QByteArray::number(v));
    return {};
}

SettingStore::Result SettingStore::set(const QByteArray& rawId, const QByteArray& text) {
    const QByteArray id = rawId.toUpper();
    const auto it = m_defs.constFind(id);
    if (it == m_defs.cend())
        return {kErrSettingId, {}, 0};
    const CommandRec& rec = it->rec;
    if (rec.ReadOnly || !hasKind(rec))
        return {kErrNotWritable, {}, 0};
    QByteArray stored;
    if (const int err = Validate(rec, text, &stored))
        return {err, {}, 0};

    if (id == kInput || id == kOutput || id == kPreset || id == kProfile) {
        const int v = stored.toInt();
        const auto& slots = id == kInput    ? m_inputs
                            : id == kOutput ? m_outputs
                            : id == kPreset ? m_presets
                                            : m_profiles;
        if (v < 0 || v >= int(slots.size()))
            return {kErrRange, {}, 0};
        return setSelector(id, v);
    }
    if (id == kStorePreset) {
        const int slot = stored.toInt() + kFixedPresets;
        if (slot < kFixedPresets || slot >= int(m_presets.size()))
            return {kErrRange, {}, 0};
        m_presets[slot] = m_inputs[m_input];
        return {};
    }
    if (id == kStoreProfile) {
        const int slot = stored.toInt() - 1;
        if (slot < 0 || slot >= int(m_profiles.size()))
            return {kErrRange, {}, 0};
        m_profiles[slot] = m_outputs[m_output];
        return {};
    }
    valuesOf(it->scope)->insert(id, stored);
    Result r;
    r.action = rec.Action.isEmpty() ? 0 : rec.Action.at(0).toLatin1();
    return r;
}

QByteArray SettingStore::inputValue(int input, const QByteArray& id) const {
    if (input < 0 || input >= int(m_inputs.size()))
        return {};
    return m_inputs[input].value(id.toUpper());
}

QByteArray SettingStore::outputValue(int output, const QByteArray& id) const {
    if (output < 0 || output >= int(m_outputs.size()))
        return {};
    return m_outputs[output].value(id.toUpper());
}

QByteArray SettingStore::presetValue(int preset, const QByteArray& id) const {
    if (preset < 0 || preset >= int(m_presets.size()))
        return {};
    return m_presets[preset].value(id.toUpper());
}

QByteArray SettingStore::profileValue(int profile, const QByteArray& id) const {
    if (profile < 0 || profile >= int(m_profiles.size()))
        return {};
    return m_profiles[profile].value(id.toUpper());
}

QByteArray SettingStore::heldValue(const QByteArray& key) const {
    const qsizetype at = key.indexOf('@');
    if (at < 0)
        return value(key);
    const QByteArray id = key.left(at);
    const QByteArray where = key.mid(at + 1);
    if (where.startsWith("in"))
        return inputValue(where.mid(2).toInt(), id);
    if (where.startsWith("out"))
        return outputValue(where.mid(3).toInt(), id);
    return {};
}

QList<QByteArray> SettingStore::changedValues() const {
    QList<QByteArray> out;
    for (auto it = m_defs.cbegin(); it != m_defs.cend(); ++it) {
        if (it->rec.WriteOnly)
            continue;
        const QByteArray& id = it.key();
        if (it->scope == Scope::Global) {
            if (m_global.value(id) != it->initial)
                out << id + ":" + m_global.value(id);
            continue;
        }
        const std::vector<Values>& places = it->scope == Scope::PerInput ? m_inputs : m_outputs;
        const QByteArray tag = it->scope == Scope::PerInput ? "@in" : "@out";
        for (size_t i = 0; i < places.size(); ++i)
            if (places[i].value(id) != it->initial)
                out << id + tag + QByteArray::number(qulonglong(i)) + ":" + places[i].value(id);
    }
    return out;
}

} // namespace vorix::sim
