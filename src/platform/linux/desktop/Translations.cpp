// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <memory>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

QString ownFolder()
{
    return QCoreApplication::applicationDirPath() + u"/../share/quillfen/translations"_s;
}

/// Takes the words for @p language from the file of @p name in @p folder, if there is one.
bool install(QCoreApplication &application, const QLocale &language, const QString &name,
             const QString &folder)
{
    auto translator = std::make_unique<QTranslator>(&application);
    if (!translator->load(language, name, u"_"_s, folder))
        return false;
    return QCoreApplication::installTranslator(translator.release());
}

} // namespace

QStringList userLanguages()
{
    return QLocale::system().uiLanguages();
}

void installTranslations(QCoreApplication &application, const QStringList &languages)
{
    for (const QString &name : languages) {
        const QLocale language(name);
        if (language.language() == QLocale::English || language.language() == QLocale::C)
            return;
        if (install(application, language, u"quillfen"_s, ownFolder())) {
            install(application, language, u"qtbase"_s,
                    QLibraryInfo::path(QLibraryInfo::TranslationsPath));
            return;
        }
    }
}

} // namespace quillfen::platform
