// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillfen::platform {

class AboutPanel;
class DistributedNotificationCenter;
class DynamicStores;
class Host;
class NameLookup;
class Pasteboard;
class Preferences;
class Sounds;
class StatusBar;
class StatusPublication;
class SystemConsole;
class SystemReport;
class Timers;
class TlsTrust;
class UrlLoader;
class Workspace;

/// All that a desktop gives us, as one value. Whoever made the parts keeps them alive.
struct Platform {
    SystemConsole &console;
    Preferences &preferences;
    DynamicStores &stores;
    Host &host;
    NameLookup &names;
    TlsTrust &tlsTrust;
    Timers &timers;
    UrlLoader &urlLoader;
    SystemReport &systemReport;
    DistributedNotificationCenter &notifications;
    StatusBar &statusBar;
    StatusPublication &statusPublication;
    Workspace &workspace;
    Pasteboard &pasteboard;
    Sounds &sounds;
    AboutPanel &aboutPanel;
};

} // namespace quillfen::platform
