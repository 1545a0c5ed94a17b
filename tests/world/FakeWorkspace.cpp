// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeWorkspace.h"

namespace quillfen::world {

FakeWorkspace::FakeWorkspace() = default;

FakeWorkspace::~FakeWorkspace() = default;

void FakeWorkspace::openFile(const QString &path)
{
    m_open += path;
}

void FakeWorkspace::openURL(const QUrl &url)
{
    m_pages += url.toString();
}

} // namespace quillfen::world
