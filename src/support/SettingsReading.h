// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/Settings.h"

#include <QJsonValue>
#include <QString>

#include <cstdint>
#include <optional>

namespace quillfen::platform {
class Preferences;
}

/// The rules by which a stored value becomes the value of a setting. None of the readers
/// synchronises; the caller does, where it wants to see what other processes stored.
namespace quillfen::support {

/// What is stored under @p key, of whatever type. A null counts as absent.
std::optional<QJsonValue> storedValue(const platform::Preferences &preferences,
                                      QLatin1StringView key);

/// The stored boolean; the fallback when it is absent or of another type.
bool readBoolean(const platform::Preferences &preferences, const Setting<bool> &setting);
/// The stored text; the fallback when it is absent or of another type.
QString readString(const platform::Preferences &preferences, const Setting<Text> &setting);
/// The stored text; nothing when it is absent or of another type.
std::optional<QString> readString(const platform::Preferences &preferences,
                                  const Setting<OptionalText> &setting);
/// The low 16 bits of the stored number; the fallback when it is absent or of another type.
std::int16_t readNumber(const platform::Preferences &preferences,
                        const Setting<std::int16_t> &setting);
/// The stored switch: a boolean as it is, a number unless it is 0, a text when it starts with
/// Y, y, T, t or a digit other than 0, past blanks, one sign and zeros. The fallback when it is
/// absent or none of these.
bool readUserDefaultBoolean(const platform::Preferences &preferences,
                            const UserDefault<bool> &setting);

/// A whole number out of a value of any type: a number without its fraction; the number that a
/// text starts with, past blanks; 1 for true; otherwise 0. What does not fit into 64 bits
/// becomes the nearest that does.
std::int64_t integerValue(const QJsonValue &value);
/// The low 16 bits of integerValue(), as a signed number: 70000 gives 4464, 1e300 gives -1.
std::int16_t sixteenBits(const QJsonValue &value);

} // namespace quillfen::support
