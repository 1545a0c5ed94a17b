// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/ActivationToken.h"

#include <algorithm>

namespace quillfen::platform {

namespace {

constexpr auto kTokenVariable = "XDG_ACTIVATION_TOKEN";
constexpr qsizetype kMostTokenBytes = 4096;

bool canBeToken(const QByteArray &bytes)
{
    return !bytes.isEmpty() && bytes.size() <= kMostTokenBytes
        && std::ranges::all_of(bytes, [](char byte) { return byte > ' ' && byte <= '~'; });
}

} // namespace

QString ownActivationToken()
{
    return qEnvironmentVariable(kTokenVariable);
}

ActivationToken::ActivationToken(const QString &text)
{
    if (const QByteArray token = text.toUtf8(); canBeToken(token))
        qputenv(kTokenVariable, token);
}

ActivationToken::~ActivationToken()
{
    qunsetenv(kTokenVariable);
}

} // namespace quillfen::platform
