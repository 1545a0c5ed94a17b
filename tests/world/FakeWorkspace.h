// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Workspace.h"

#include <QString>
#include <QStringList>

namespace quillfen::world {

/// A desktop on which every document that was opened lies open.
class FakeWorkspace : public platform::Workspace {
public:
    void openFile(const QString &path) override { m_open += path; }
    /// The paths of the open documents, the oldest first.
    QStringList open() const { return m_open; }

    void openURL(const QUrl &url) override { m_pages += url.toString(); }
    /// The web pages that were opened, the oldest first.
    QStringList pages() const { return m_pages; }

private:
    QStringList m_open;
    QStringList m_pages;
};

} // namespace quillfen::world
