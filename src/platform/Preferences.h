// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonValue>
#include <QString>

#include <cstdint>
#include <optional>

namespace quillfen::platform {

/// The user's typed key-value settings of this program.
///
/// What every implementation promises (tests/contract runs the same cases against all):
///   1. A value keeps its type: boolean, string or number.
///   2. value() answers what this process last set, or else what the last synchronize() read.
///   3. After synchronize() in one process, synchronize() in another sees the value.
///   4. Keys that nobody here writes survive every write.
///   5. A write that fails keeps its values here; the next synchronize() tries again.
///   6. While generation() stays the same, value() answers the same.
class Preferences {
public:
    virtual ~Preferences() = default;

    /// The value stored under @p key, of whatever type; nothing when there is none.
    virtual std::optional<QJsonValue> value(const QString &key) const = 0;
    /// Remembers @p value under @p key; it is stored by the next synchronize().
    virtual void setValue(const QString &key, const QJsonValue &value) = 0;
    /// Stores what was set, then takes in what other processes stored.
    /// @returns whether all that was set is now stored.
    virtual bool synchronize() = 0;
    /// A number that is another one than before when any value may be, and never one of those
    /// before: for whoever wants to keep what he made of the values.
    virtual std::uint64_t generation() const = 0;
};

} // namespace quillfen::platform
