#pragma once
// The device's settings, built from the [COMMANDS] records of the same Telvo.ini the utility
// reads, so that the two agree on kinds, ranges and lists. Picture settings (panel 1) are kept per
// input, output settings (panel 2) per output type, the rest once. Presets and display profiles
// are memories: selecting one recalls it into the current input or output, and the store
// commands write the current values into one.

#include "core/config/CommandRec.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <vector>

namespace vorix::sim {

class SettingStore {
public:
    enum class Scope { Global, PerInput, PerOutput };

    struct Result {
        int error = 0;    // a device error code, or 0
        QByteArray value; // the answer to a query
        char action = 0;  // after a set: '1' restart, '2' factory reset, '3' boot loader
    };

    // The state selectors and store commands the utility itself knows.
    static constexpr const char* kInput = "4C";
    static constexpr const char* kOutput = "60";
    static constexpr const char* kPreset = "E1";
    static constexpr const char* kProfile = "E0";
    static constexpr const char* kStorePreset = "53";
    static constexpr const char* kStoreProfile = "52";
    // Presets below this are fixed; "53" n stores into preset n + kFixedPresets.
    static constexpr int kFixedPresets = 4;
    static constexpr int kSdiInput = 12;

    SettingStore(const telvo::core::CommandTable& commands, bool sdiModule);

    bool knows(const QByteArray& id) const { return m_defs.contains(id.toUpper()); }
    Result query(const QByteArray& id) const;
    Result set(const QByteArray& id, const QByteArray& value);
    void restoreDefaults();

    int input() const { return m_input; }
    int output() const { return m_output; }
    int preset() const { return m_preset; }
    int profile() const { return m_profile; }

    // Values as held, for tests and the trace: the current state's, or a given memory's.
    QByteArray value(const QByteArray& id) const { return query(id).value; }
    QByteArray inputValue(int input, const QByteArray& id) const;
    QByteArray outputValue(int output, const QByteArray& id) const;
    QByteArray presetValue(int preset, const QByteArray& id) const;
    QByteArray profileValue(int profile, const QByteArray& id) const;
    QList<QByteArray> ids() const { return m_defs.keys(); }
    // A value by where it is kept: "D3" (the current state's), "B1@in2" (input 2's), "61@out1"
    // (output 1's); empty when there is no such place.
    QByteArray heldValue(const QByteArray& key) const;
    // Every value that differs from its default, one "key:value" each, keys as heldValue takes
    // them: the picture and output values of every input and output, the rest once.
    QList<QByteArray> changedValues() const;
    const telvo::core::CommandRec* record(const QByteArray& id) const;
    Scope scope(const QByteArray& id) const;

    // Checks a value against a record's kind: 0 and the value as it is kept, or an error code.
    static int Validate(const telvo::core::CommandRec& rec, const QByteArray& text,
                        QByteArray* stored);
    static QByteArray DefaultValue(const telvo::core::CommandRec& rec);

private:
    using Values = QMap<QByteArray, QByteArray>;
    struct Def {
        telvo::core::CommandRec rec;
        Scope scope = Scope::Global;
        QByteArray initial;
    };

    Values defaultsFor(Scope scope) const;
    Values* valuesOf(Scope scope);
    const Values* valuesOf(Scope scope) const;
    int selectorSlots(const char* id, int fallback) const;
    Result setSelector(const QByteArray& id, int v);

    QMap<QByteArray, Def> m_defs;
    bool m_sdi = true;
    Values m_global;
    std::vector<Values> m_inputs;
    std::vector<Values> m_outputs;
    std::vector<Values> m_presets;
    std::vector<Values> m_profiles;
    int m_input = 1;
    int m_output = 1;
    int m_preset = 0;
    int m_profile = 0;
};

} // namespace vorix::sim
