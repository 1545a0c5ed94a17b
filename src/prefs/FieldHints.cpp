// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/FieldHints.h"

#include <cstdint>

#include <QJsonValue>

#include "support/SettingsReading.h"

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

constexpr int kShortest = 6; // minutes
constexpr int kLongest = 546; // minutes: the last whose seconds fit into 16 bits
constexpr int kTlsPort = 465;

QString spell(int seconds)
{
    const int minutes = seconds / 60;
    const QString rest = seconds % 60 == 0 ? u""_s : u" %1 s"_s.arg(seconds % 60);
    return u"%1 min"_s.arg(minutes) + rest;
}

QString meaningOfInterval(int minutes)
{
    if (minutes < kShortest)
        return u"Less than 6 counts as 6."_s;
    if (minutes <= kLongest)
        return u"From 6 to 546 minutes."_s;
    const auto seconds = static_cast<std::int16_t>(minutes * 60);
    if (seconds <= 0)
        return u"More than 546 wraps round: checked once only."_s;
    return u"More than 546 wraps round: checked every %1."_s.arg(spell(seconds));
}

} // namespace

QString intervalHint(const QString &typed)
{
    const std::int64_t number = support::integerValue(typed);
    const std::int16_t stored = support::sixteenBits(typed);
    const QString meaning = meaningOfInterval(stored);
    return stored == number ? meaning : u"Stored as %1. "_s.arg(stored) + meaning;
}

QString portHint(const QString &typed, bool overTls)
{
    const std::int64_t number = support::integerValue(typed);
    const auto port = static_cast<std::uint16_t>(support::sixteenBits(typed));
    if (port == 0)
        return u"Read as port 0, where no server answers."_s;
    const QString reading = port == number ? u""_s : u"Read as port %1. "_s.arg(port);
    if (!overTls)
        return reading + u"Not encrypted: useSSL is switched off."_s;
    return reading
        + (port == kTlsPort ? u"Encrypted from the first byte."_s : u"Encrypted by STARTTLS."_s);
}

} // namespace quillfen::prefs
