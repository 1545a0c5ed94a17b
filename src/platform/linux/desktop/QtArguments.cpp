// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/QtArguments.h"

#include <QList>

#include <algorithm>

namespace quillfen::platform {

QByteArray windowingSystems()
{
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        return {};
    // One that is tried for nothing costs some lines of complaint by Qt on standard error.
    QByteArrayList systems;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        || !qEnvironmentVariableIsEmpty("WAYLAND_SOCKET"))
        systems += "wayland";
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        systems += "xcb";
    systems += "offscreen";
    return systems.join(';');
}

QtArguments::QtArguments(int argc, char **argv) : m_values(argv, argv + argc)
{
    const auto behindProgramName = m_values.begin() + std::min(argc, 1);
    if (!m_systems.isEmpty())
        m_values.insert(behindProgramName, {m_option.data(), m_systems.data()});
    m_count = static_cast<int>(m_values.size());
    m_values.push_back(nullptr);
}

} // namespace quillfen::platform
