// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/Console.h"
#include "support/Log.h"
#include "unit/support/DataHome.h"
#include "world/FakeConsole.h"
#include "world/FakeHost.h"
#include "world/FakeNames.h"
#include "world/FakePreferences.h"
#include "world/FakeTlsTrust.h"

#include <QString>
#include <QStringList>

namespace quillfen::mail {

/// What a notifier finds around itself: settings, a computer with a name, and a log on disk.
class NotifierHome {
public:
    world::FakePreferences preferences;
    world::FakeHost host;
    world::FakeNames names;
    world::FakeTlsTrust trust;

    NotifierHome()
    {
        host.setMachineName(QStringLiteral("Büro \"100%\""));
        preferences.setValue(QStringLiteral("logToSystemConsole"), false);
        log().OpenPrivateLog();
        m_opening = m_data.logLines().size();
    }

    support::Log &log() { return m_log; }
    support::Console &console() { return m_console; }
    /// What was said on the console, which gets no line of the log here.
    QStringList said() const { return m_output.lines(); }
    /// The log's lines since this was made, without their dates.
    QStringList logged() const
    {
        QStringList lines = m_data.logLines().sliced(m_opening);
        for (QString &line : lines)
            line.remove(QStringLiteral("[date] "));
        return lines;
    }

private:
    support::DataHome m_data;
    world::FakeConsole m_output;
    support::Console m_console{m_output};
    support::Log m_log{m_console, preferences};
    qsizetype m_opening = 0; ///< How many lines come of opening it.
};

} // namespace quillfen::mail
