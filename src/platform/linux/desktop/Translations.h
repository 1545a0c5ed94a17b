// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

class QCoreApplication;

namespace quillfen::platform {

/// The languages that the user reads, the preferred one first: "de-AT", "de".
/// @source gettext(3): LANGUAGE, LC_ALL, LC_MESSAGES, LANG
QStringList userLanguages();

/// Has the windows of @p application, ours and Qt's own, speak the first of @p languages that we
/// have words for. Their own, English, is one.
void installTranslations(QCoreApplication &application, const QStringList &languages);

} // namespace quillfen::platform
