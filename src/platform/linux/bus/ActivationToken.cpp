// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/ActivationToken.h"

#include <algorithm>

namespace quillfen::platform {

namespace {

constexpr auto kTokenVariable = "XDG_ACTIVATION_TOKEN";
constexpr auto kStartupVariable = "DESKTOP_STARTUP_ID";
constexpr qsizetype kMostTokenBytes = 4096;

bool canBeToken(const QByteArray &bytes)
{
    return !bytes.isEmpty() && bytes.size() <= kMostTokenBytes
        && std::ranges::all_of(bytes, [](char byte) { return byte > ' ' && byte <= '~'; });
}

} // namespace

QString takeOwnActivationToken()
{
    const QString token = qEnvironmentVariable(kTokenVariable);
    const QString startup = qEnvironmentVariable(kStartupVariable);
    qunsetenv(kTokenVariable);
    qunsetenv(kStartupVariable);
    return token.isEmpty() ? startup : token;
}

ActivationToken::ActivationToken(const QString &text)
{
    if (const QByteArray token = text.toUtf8(); canBeToken(token))
        m_given = qputenv(kTokenVariable, token);
}

bool ActivationToken::isSpent() const
{
    return m_given && !qEnvironmentVariableIsSet(kTokenVariable);
}

void ActivationToken::spend()
{
    qunsetenv(kTokenVariable);
}

ActivationToken::~ActivationToken()
{
    qunsetenv(kTokenVariable);
}

} // namespace quillfen::platform
