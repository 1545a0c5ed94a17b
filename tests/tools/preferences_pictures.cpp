// SPDX-License-Identifier: GPL-3.0-or-later

// Draws each page of the preferences window into a picture, for docs/:
//
//     preferences_pictures FOLDER light|dark
//
// makes preferences-general.png and so on, in the dark …-dark.png; with QT_SCALE_FACTOR=2 in the
// environment …-2x.png. LANGUAGE=de has them in German. Under xvfb-run the letters are those of an
// X11 desktop; its screen must have room for the whole window: -s "-screen 0 2560x2048x24".

#include "mail/Notifiers.h"
#include "platform/linux/desktop/Translations.h"
#include "prefs/QuillfenPrefPane.h"
#include "support/Console.h"
#include "support/Log.h"
#include "world/FakeConsole.h"
#include "world/FakeHost.h"
#include "world/FakeNames.h"
#include "world/FakeNotifications.h"
#include "world/FakePreferences.h"
#include "world/FakeSound.h"
#include "world/FakeTlsTrust.h"

#include <QApplication>
#include <QDir>
#include <QPalette>
#include <QPixmap>
#include <QStyleFactory>
#include <QTabWidget>

#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quillfen;

namespace {

constexpr std::array kPages{"general", "external", "mail"};
constexpr int kSmallest = 0; // as small as PNG can have it

QPalette darkPalette()
{
    const QColor text(0xee, 0xee, 0xee);
    QPalette dark(QColor(0x38, 0x38, 0x3a), QColor(0x2e, 0x2e, 0x30));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(role, text);
    dark.setColor(QPalette::Base, QColor(0x20, 0x20, 0x22));
    dark.setColor(QPalette::PlaceholderText, QColor(0xee, 0xee, 0xee, 0x80));
    dark.setColor(QPalette::Highlight, QColor(0x2a, 0x76, 0xc6));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    return dark;
}

/// Settings as somebody may have them.
void fill(world::FakePreferences &preferences)
{
    const std::initializer_list<std::pair<QString, QJsonValue>> values{
        {u"IncludeMachineName"_s, true},
        {u"DisplayChangedIconWhenAddressChangeDetected"_s, true},
        {u"IncludeExternalIP"_s, true},
        {u"EmailChangesToExternalIPAddress"_s, true},
        {u"MinutesInterval"_s, 15},
        {u"LastIPAddress"_s, u"192.0.2.17"_s},
        {u"LastExternalIPAddress"_s, u"203.0.113.5"_s},
        {u"SendEmailNotifications"_s, true},
        {u"Email"_s, u"ada@example.org,grace@example.org"_s},
        {u"MailServer"_s, u"smtp.example.org"_s},
        {u"Authentication"_s, 1},
        {u"Username"_s, u"ada@example.org"_s},
        {u"UserPassword"_s, u"not a real one"_s},
    };
    for (const auto &[key, value] : values)
        preferences.setValue(key, value);
}

/// Draws each page of @p window; @p look is the end of the files' names.
bool draw(QWidget &window, const QDir &folder, const QString &look)
{
    auto *pages = window.findChild<QTabWidget *>(u"m_tabView"_s);
    bool saved = true;
    for (int page = 0; page < pages->count(); ++page) {
        pages->setCurrentIndex(page);
        const QPixmap picture = window.grab();
        const QString scale = picture.devicePixelRatio() > 1 ? u"-2x"_s : u""_s;
        const QString name =
            u"preferences-"_s + QString::fromLatin1(kPages.at(page)) + look + scale;
        saved = picture.save(folder.filePath(name + u".png"_s), nullptr, kSmallest) && saved;
    }
    return saved;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    platform::installTranslations(application, platform::userLanguages());
    const QByteArray look(argc == 3 ? argv[2] : "");
    const bool dark = look == "dark";
    if (!dark && look != "light") {
        std::fputs("usage: preferences_pictures FOLDER light|dark\n", stderr);
        return 2;
    }
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    if (dark)
        QApplication::setPalette(darkPalette());
    world::FakeConsole output;
    world::FakeNotifications notifications;
    world::FakeHost host;
    world::FakeNames names;
    world::FakeTlsTrust trust;
    world::FakeSounds sounds;
    world::FakePreferences preferences;
    fill(preferences);
    support::Console console(output);
    support::Log log(console, preferences);
    mail::Notifiers notifiers(log, console, preferences, host, names, trust);
    prefs::QuillfenPrefPane pane(preferences, notifications, output, notifiers, sounds,
                                 {.local = [] { return QStringList(); },
                                  .external = [] { return std::optional<QString>(); }});
    QWidget &window = pane.window();
    window.show();
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    return draw(window, folder, dark ? u"-dark"_s : u""_s) ? 0 : 1;
}
