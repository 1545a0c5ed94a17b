// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "support/Console.h"
#include "support/Log.h"
#include "unit/support/DataHome.h"
#include "world/FakeConsole.h"
#include "world/FakePreferences.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

using namespace quillfen;
using test::require;

/// A log that goes on through all inputs, and the end of its file.
struct OpenLog {
    OpenLog()
    {
        log.OpenPrivateLog();
        file.setFileName(home.logPath());
        require(file.open(QIODevice::ReadOnly) && !file.readAll().isEmpty());
    }

    support::DataHome home;
    world::FakePreferences preferences;
    world::FakeConsole lines;
    support::Console console{lines};
    support::Log log{console, preferences};
    QFile file;
};

bool isControl(char byte)
{
    return static_cast<unsigned char>(byte) < ' ' && byte != '\t';
}

} // namespace

/// One message, with whatever text in it: one line at most in the file, and one on the console.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static OpenLog open;
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    open.log.LogMessage(QString::fromUtf8(bytes));
    QByteArray line = open.file.readAll();
    require(!line.isEmpty() && line.size() <= 255);
    if (line.endsWith('\n'))
        line.chop(1);
    else
        require(line.size() == 255);
    require(line.isEmpty() || line.startsWith('['));
    require(std::none_of(line.begin(), line.end(), isControl));
    require(open.lines.takeLines().size() == 1);
    return 0;
}
