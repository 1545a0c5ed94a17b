// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Menu.h"
#include "platform/Task.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <functional>

class QWidget;

namespace quillfen::support {
class Log;
}

namespace quillfen::platform {
class AboutPanel;
class Pasteboard;
class Turns;
class Workspace;
struct Platform;
} // namespace quillfen::platform

namespace quillfen::app {

/// The commands of the status menu: which row performs which, and what each of them does. What they
/// act on is the controller's, which is one of these.
///
/// Each copying one puts one text on the clipboard: the title in the panel, the external address as
/// externalIP() gives it, the address that the sender's tag numbers, or what the first and the
/// third row say, a placeholder too. Where that text is not to be had nothing is copied.
class MenuCommands : public platform::MenuDelegate {
public:
    /// True for each row that has a command, whatever there is to copy.
    bool validateMenuItem(const platform::MenuItem &item) const override;
    void sendAction(const platform::MenuItem &item) override;

    void selItemCopyAddress(const platform::MenuItem &sender);
    void selItemCopyDNSName(const platform::MenuItem &sender);
    void selItemCopyExternalAddress(const platform::MenuItem &sender);
    void selItemCopyExternalDNSName(const platform::MenuItem &sender);
    void selItemCopySelectedAddress(const platform::MenuItem &sender);
    void goToWebsite(const platform::MenuItem &sender);
    void goToMAS(const platform::MenuItem &sender);
    void selItemPreferences(const platform::MenuItem &sender);
    void selItemOpenConsoleLog(const platform::MenuItem &sender);
    void selItemAbout(const platform::MenuItem &sender);
    void selItemQuit(const platform::MenuItem &sender);

    /// Brings the preferences window to the front.
    void showPreferences();

protected:
    /// @p terminate ends the run loop.
    MenuCommands(const platform::Platform &platform, support::Log &log, platform::Turns &turns,
                 std::function<void()> terminate);

private:
    /// The title in the status area.
    virtual QString shownTitle() const = 0;
    /// The menu of the last build; null before the first.
    virtual const platform::Menu *builtMenu() const = 0;
    virtual const QStringList &localAddresses() const = 0;
    /// The external address, kept or looked up.
    virtual platform::Task<QString> externalIP() = 0;
    virtual QWidget &preferencesWindow() = 0;

    platform::Task<> copyExternalAddress();
    void copyTitleOfRow(std::size_t row);

    platform::Pasteboard &m_pasteboard;
    platform::Workspace &m_workspace;
    platform::AboutPanel &m_aboutPanel;
    support::Log &m_log;
    platform::Turns &m_turns;
    std::function<void()> m_terminate;
};

} // namespace quillfen::app
