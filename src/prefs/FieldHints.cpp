// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/FieldHints.h"

#include "support/SettingsReading.h"

#include <QCoreApplication>
#include <QJsonValue>

#include <cstdint>

namespace quillfen::prefs {

namespace {

constexpr int kShortest = 6; // minutes
constexpr int kLongest = 546; // minutes: the last whose seconds fit into 16 bits
constexpr int kTlsPort = 465;

/// The hints' words, which translators find under this name.
struct FieldHints {
    Q_DECLARE_TR_FUNCTIONS(FieldHints)
};

QString spell(int seconds)
{
    const QString minutes = QString::number(seconds / 60);
    const int rest = seconds % 60;
    return rest == 0 ? FieldHints::tr("%1 min").arg(minutes)
                     : FieldHints::tr("%1 min %2 s").arg(minutes, QString::number(rest));
}

QString meaningOfInterval(int minutes)
{
    if (minutes < kShortest)
        return FieldHints::tr("Less than 6 counts as 6.");
    if (minutes <= kLongest)
        return FieldHints::tr("From 6 to 546 minutes.");
    const auto seconds = static_cast<std::int16_t>(minutes * 60);
    if (seconds <= 0)
        return FieldHints::tr("More than 546 wraps round: checked once only.");
    return FieldHints::tr("More than 546 wraps round: checked every %1.").arg(spell(seconds));
}

QString meaningOfPort(int port, bool overTls)
{
    if (!overTls)
        return FieldHints::tr("Not encrypted: useSSL is switched off.");
    return port == kTlsPort ? FieldHints::tr("Encrypted from the first byte.")
                            : FieldHints::tr("Encrypted by STARTTLS.");
}

} // namespace

QString intervalHint(const QString &typed)
{
    const std::int64_t number = support::integerValue(typed);
    const std::int16_t stored = support::sixteenBits(typed);
    const QString meaning = meaningOfInterval(stored);
    return stored == number ? meaning
                            : FieldHints::tr("Stored as %1.").arg(stored) + u' ' + meaning;
}

QString portHint(const QString &typed, bool overTls)
{
    const std::int64_t number = support::integerValue(typed);
    const auto port = static_cast<std::uint16_t>(support::sixteenBits(typed));
    if (port == 0)
        return FieldHints::tr("Read as port 0, where no server answers.");
    const QString meaning = meaningOfPort(port, overTls);
    return port == number ? meaning : FieldHints::tr("Read as port %1.").arg(port) + u' ' + meaning;
}

} // namespace quillfen::prefs
