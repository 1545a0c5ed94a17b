// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SeenFile.h"

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace quillfen::platform {

using namespace std::chrono_literals;

namespace {

/// With a step of the clock below, 50 ms.
constexpr auto kTrustInTheWay = 40ms;

/// The monotonic clock in steps of 10 ms at most, which takes a fifth of the time of the exact one.
std::chrono::nanoseconds coarseNow()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace

SeenFile::SeenFile(QByteArray path, const FileIdentity &identity)
    : m_path(std::move(path)),
      m_identity(identity),
      m_held(open(m_path.constData(), O_PATH | O_CLOEXEC))
{ }

SeenFile::~SeenFile()
{
    if (m_held >= 0)
        close(m_held);
}

bool SeenFile::isStill()
{
    const auto now = coarseNow();
    if (m_foundAt && now - *m_foundAt < kTrustInTheWay)
        return isHeldFileStill();
    if (!isStillAtItsPlace())
        return false;
    // Until it has settled, a new name for it could leave its times as they are.
    if (m_held >= 0 && m_identity.isSettled())
        m_foundAt = now;
    return true;
}

bool SeenFile::isStillAtItsPlace() const
{
    struct stat status = {};
    return stat(m_path.constData(), &status) == 0 && m_identity.isOf(status);
}

bool SeenFile::isHeldFileStill() const
{
    struct stat status = {};
    return fstat(m_held, &status) == 0 && m_identity.isOf(status);
}

} // namespace quillfen::platform
