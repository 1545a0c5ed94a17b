// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

namespace quillfen::support {

/// @p bytes from outside as text: UTF-8 if they are valid UTF-8 (RFC 3629: neither overlong forms
/// nor surrogates nor a sequence cut short), else Mac OS Roman, which any bytes are. A byte order
/// mark and zero bytes are characters like others.
QString decodeText(QByteArrayView bytes);

/// @p bytes in Mac OS Roman, one character each. 0xDB is the euro sign, as it is since Mac OS 8.5,
/// and 0xF0 the private-use U+F8FF.
/// @source https://www.unicode.org/Public/MAPPINGS/VENDORS/APPLE/ROMAN.TXT
QString decodeMacRoman(QByteArrayView bytes);

} // namespace quillfen::support
