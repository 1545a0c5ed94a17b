// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Workspace.h"

namespace quillfen::platform {

class SystemConsole;

/// Opens documents with the application that the desktop knows for them (xdg-open).
/// Where there is no display or nothing to open with, the console says so.
class DesktopWorkspace : public Workspace {
public:
    /// @p console must outlive this.
    explicit DesktopWorkspace(SystemConsole &console) : m_console(console) { }

    void openFile(const QString &path) override;
    void openURL(const QUrl &url) override;

private:
    void open(const QUrl &url, const QString &spelling);

    SystemConsole &m_console;
};

} // namespace quillfen::platform
