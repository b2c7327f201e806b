#pragma once
// The device's own alarms, on the time it is fed: nothing here reads a clock.

#include <QtGlobal>
#include <functional>
#include <map>

namespace vorix::sim {

class Timers {
public:
    using Id = quint64;
    using Fn = std::function<void()>;

    Id at(qint64 dueUs, Fn fn) {
        const Id id = m_next++;
        m_events.emplace(Key{dueUs, id}, std::move(fn));
        m_due.emplace(id, dueUs);
        return id;
    }
    void cancel(Id id) {
        const auto it = m_due.find(id);
        if (it == m_due.end())
            return;
        m_events.erase(Key{it->second, id});
        m_due.erase(it);
    }
    void clear() {
        m_events.clear();
        m_due.clear();
    }
    bool pending(Id id) const { return m_due.count(id) != 0; }
    qint64 nextDueUs() const { return m_events.empty() ? -1 : m_events.begin()->first.first; }

    // Runs the earliest alarm due at or before `nowUs`; `setNow` receives its due time first, so
    // that what it does is stamped with the moment it was meant for. False when none is due.
    bool runOne(qint64 nowUs, const std::function<void(qint64)>& setNow) {
        if (m_events.empty() || m_events.begin()->first.first > nowUs)
            return false;
        auto it = m_events.begin();
        const qint64 due = it->first.first;
        Fn fn = std::move(it->second);
        m_due.erase(it->first.second);
        m_events.erase(it);
        setNow(due);
        fn();
        return true;
    }

private:
    using Key = std::pair<qint64, Id>;
    std::map<Key, Fn> m_events;
    std::map<Id, qint64> m_due;
    Id m_next = 1;
};

} // namespace vorix::sim
