// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SettingsReading.h"

#include "platform/Preferences.h"

#include <QStringView>
#include <QVariant>

#include <cmath>
#include <limits>

namespace quillfen::support {

namespace {

using Limits = std::numeric_limits<std::int64_t>;

/// Without the blanks that @p text starts with.
QStringView withoutLeadingBlanks(QStringView text)
{
    while (!text.isEmpty() && text.front().isSpace())
        text = text.sliced(1);
    return text;
}

/// Takes one sign off the front of @p text. @returns whether it was a minus.
bool takeSign(QStringView &text)
{
    const bool minus = text.startsWith(u'-');
    if (minus || text.startsWith(u'+'))
        text = text.sliced(1);
    return minus;
}

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

std::int64_t integerOfText(QStringView text)
{
    text = withoutLeadingBlanks(text);
    const bool minus = takeSign(text);
    // Summed below zero, where there is room for one number more than above it.
    std::int64_t sum = 0;
    for (; !text.isEmpty() && isDigit(text.front()); text = text.sliced(1)) {
        const int digit = text.front().unicode() - u'0';
        if (sum < (Limits::min() + digit) / 10)
            return minus ? Limits::min() : Limits::max();
        sum = sum * 10 - digit;
    }
    if (minus)
        return sum;
    return sum == Limits::min() ? Limits::max() : -sum;
}

std::int64_t integerOfNumber(double number)
{
    constexpr double kEnd = 0x1p63; // the first number too large
    if (std::isnan(number))
        return 0;
    if (number >= kEnd)
        return Limits::max();
    return number < -kEnd ? Limits::min() : static_cast<std::int64_t>(number);
}

bool switchOfText(QStringView text)
{
    text = withoutLeadingBlanks(text);
    takeSign(text);
    while (text.startsWith(u'0'))
        text = text.sliced(1);
    return !text.isEmpty() && QStringView(u"YyTt123456789").contains(text.front());
}

} // namespace

std::optional<QJsonValue> storedValue(const platform::Preferences &preferences,
                                      QLatin1StringView key)
{
    std::optional<QJsonValue> value = preferences.value(key);
    if (value && (value->isNull() || value->isUndefined()))
        value.reset();
    return value;
}

bool readBoolean(const platform::Preferences &preferences, const Setting<bool> &setting)
{
    const auto value = storedValue(preferences, setting.key);
    return value && value->isBool() ? value->toBool() : setting.fallback;
}

QString readString(const platform::Preferences &preferences, const Setting<Text> &setting)
{
    const auto value = storedValue(preferences, setting.key);
    return value && value->isString() ? value->toString() : QString(setting.fallback);
}

std::optional<QString> readString(const platform::Preferences &preferences,
                                  const Setting<OptionalText> &setting)
{
    const auto value = storedValue(preferences, setting.key);
    if (value && value->isString())
        return value->toString();
    return setting.fallback ? std::optional<QString>(*setting.fallback) : std::nullopt;
}

std::int16_t readNumber(const platform::Preferences &preferences,
                        const Setting<std::int16_t> &setting)
{
    const auto value = storedValue(preferences, setting.key);
    return value && value->isDouble() ? sixteenBits(*value) : setting.fallback;
}

bool readUserDefaultBoolean(const platform::Preferences &preferences,
                            const UserDefault<bool> &setting)
{
    const auto value = storedValue(preferences, setting.key);
    if (!value)
        return setting.fallback;
    if (value->isBool())
        return value->toBool();
    if (value->isDouble())
        return value->toDouble() != 0.0;
    return value->isString() ? switchOfText(value->toString()) : setting.fallback;
}

std::int64_t integerValue(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? 1 : 0;
    if (value.isString())
        return integerOfText(value.toString());
    if (!value.isDouble())
        return 0;
    // A JSON number is held either as 64 bits or as a double, which would round the former.
    const QVariant number = value.toVariant();
    return number.typeId() == QMetaType::LongLong ? number.toLongLong()
                                                  : integerOfNumber(number.toDouble());
}

std::int16_t sixteenBits(const QJsonValue &value)
{
    return static_cast<std::int16_t>(integerValue(value) & 0xFFFF);
}

} // namespace quillfen::support
