// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Preferences.h"

#include <QJsonValue>
#include <QMap>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace quillfen::world {

/// The place where the settings of all processes of one user lie.
struct SettingsDisk {
    QMap<QString, QJsonValue> values;
    bool refusesWrites = false;
};

/// One process's settings, on a disk that it may share with others.
class FakePreferences : public platform::Preferences {
public:
    /// Settings on an empty disk of their own.
    FakePreferences() : FakePreferences(std::make_shared<SettingsDisk>()) { }
    /// Settings as a process sees them that starts now with @p disk.
    explicit FakePreferences(std::shared_ptr<SettingsDisk> disk) : m_disk(std::move(disk)) { }

    /// What lies on the disk, for a look from outside or another process's hand.
    SettingsDisk &disk() { return *m_disk; }

    std::optional<QJsonValue> value(const QString &key) const override
    {
        for (const QMap<QString, QJsonValue> *values : {&m_pending, &m_read}) {
            if (const auto found = values->constFind(key); found != values->constEnd())
                return *found;
        }
        return std::nullopt;
    }

    void setValue(const QString &key, const QJsonValue &value) override
    {
        m_pending.insert(key, value);
        ++m_generation;
    }

    bool synchronize() override
    {
        if (!m_disk->refusesWrites) {
            m_disk->values.insert(m_pending);
            m_pending.clear();
        }
        if (m_read != m_disk->values)
            ++m_generation;
        m_read = m_disk->values;
        return m_pending.isEmpty();
    }

    std::uint64_t generation() const override { return m_generation; }

private:
    std::shared_ptr<SettingsDisk> m_disk;
    QMap<QString, QJsonValue> m_read; ///< As of the last synchronize().
    QMap<QString, QJsonValue> m_pending; ///< Set here, not on the disk yet.
    std::uint64_t m_generation = 0;
};

} // namespace quillfen::world
