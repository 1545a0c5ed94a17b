// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Workspace.h"

#include <QString>
#include <QStringList>

namespace quillfen::world {

/// A desktop on which every document that was opened lies open.
class FakeWorkspace : public platform::Workspace {
public:
    FakeWorkspace();
    ~FakeWorkspace() override;

    void openFile(const QString &path) override;
    /// The paths of the open documents, the oldest first.
    QStringList open() const { return m_open; }

    void openURL(const QUrl &url) override;
    /// The web pages that were opened, the oldest first.
    QStringList pages() const { return m_pages; }

private:
    QStringList m_open;
    QStringList m_pages;
};

} // namespace quillfen::world
