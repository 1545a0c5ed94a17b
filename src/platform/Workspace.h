// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUrl>

namespace quillfen::platform {

/// What the desktop does with a document.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Opens the file or folder at the absolute @p path in the user's application for it.
    virtual void openFile(const QString &path) = 0;
    /// Opens the web page @p url in the user's browser.
    virtual void openURL(const QUrl &url) = 0;
};

} // namespace quillfen::platform
