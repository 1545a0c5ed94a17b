// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillfen::platform {

class DistributedNotificationCenter;
class DynamicStores;
class Host;
class Preferences;
class StatusBar;
class SystemConsole;
class Timers;
class UrlLoader;
class Workspace;

/// All that a desktop gives us, as one value. Whoever made the parts keeps them alive.
struct Platform {
    SystemConsole &console;
    Preferences &preferences;
    DynamicStores &stores;
    Host &host;
    Timers &timers;
    UrlLoader &urlLoader;
    DistributedNotificationCenter &notifications;
    StatusBar &statusBar;
    Workspace &workspace;
};

} // namespace quillfen::platform
