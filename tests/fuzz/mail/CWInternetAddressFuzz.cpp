// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "mail/CWInternetAddress.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

using quillfen::mail::CWInternetAddress;
using quillfen::test::require;

/// Whether @p wire can stand between the angle brackets of a command.
bool isSafe(const QByteArray &wire)
{
    return std::all_of(wire.begin(), wire.end(), [](char octet) {
        return octet > ' ' && octet < '\x7F' && octet != '<' && octet != '>' && octet != '"'
            && octet != ',';
    });
}

} // namespace

/// The bytes are UTF-8.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const auto address = CWInternetAddress::initWithString(text);
    require(address.valid() == address.refusal().isEmpty());
    if (!address.valid()) {
        require(address.wire().isEmpty() && address.name().isEmpty());
        return 0;
    }
    require(isSafe(address.wire()) && address.wire().size() <= 64 + 1 + 255);
    require(!address.domain().isEmpty() && address.wire().count('@') == 1);
    for (const QChar character : address.name())
        require(character.category() != QChar::Other_Control);
    // What is fit for the wire stays as it is.
    const auto again = CWInternetAddress::initWithString(QString::fromLatin1(address.wire()));
    require(again.wire() == address.wire());
    return 0;
}
