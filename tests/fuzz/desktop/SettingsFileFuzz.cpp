// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/desktop/SettingsFile.h"
#include "support/Settings.h"
#include "support/SettingsReading.h"
#include "world/FakePreferences.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <variant>

namespace {

using namespace quillfen;
using platform::SettingsFile;
using test::require;

/// Reads whatever @p value is by every rule that there is.
void readAsAnything(const QJsonValue &value)
{
    world::FakePreferences preferences;
    for (const auto &setting : support::kEverySetting) {
        std::visit([&](const auto &one) { preferences.setValue(one.key, value); }, setting);
    }
    readBoolean(preferences, support::kTitleIconOnly);
    readString(preferences, support::kEmail);
    readString(preferences, support::kLastIPAddress);
    readUserDefaultBoolean(preferences, support::kUseSSL);
    const std::int16_t low = support::sixteenBits(value);
    require(low == static_cast<std::int16_t>(support::integerValue(value) & 0xFFFF));
    require(readNumber(preferences, support::kMinutesInterval) == (value.isDouble() ? low : 6));
}

} // namespace

/// The bytes of settings.json. What can be read can be stored, and reads the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    static const SettingsFile settings(folder.path());
    {
        QFile file(settings.path());
        require(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        require(file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size))
                == static_cast<qint64>(size));
    }
    const SettingsFile::Reading reading = settings.read();
    require(std::holds_alternative<SettingsFile::Good>(reading)
            || std::holds_alternative<SettingsFile::Damaged>(reading));
    const auto *good = std::get_if<SettingsFile::Good>(&reading);
    if (!good)
        return 0;
    for (const QJsonValue &value : good->object)
        readAsAnything(value);
    const SettingsFile::Writing written = settings.replace(good->object);
    require(std::holds_alternative<SettingsFile::Stored>(written));
    const SettingsFile::Reading again = settings.read();
    require(std::get<SettingsFile::Good>(again).object == good->object);
    return 0;
}
