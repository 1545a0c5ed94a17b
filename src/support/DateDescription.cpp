// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/DateDescription.h"

#include <array>
#include <ctime>

namespace quillfen::support {

QString dateDescription(std::chrono::system_clock::time_point moment)
{
    // The C library's own calendar: unlike Qt's it needs no object that may be gone at exit.
    // localtime_r() need not look for a changed zone (POSIX), so tzset() does.
    const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
    std::tm parts{};
    ::tzset();
    ::localtime_r(&seconds, &parts);
    std::array<char, 64> text{};
    const std::size_t length =
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S %z", &parts);
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(length));
}

} // namespace quillfen::support
