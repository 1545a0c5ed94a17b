// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/FileIdentity.h"

#include <algorithm>

#include <time.h>

namespace quillfen::platform {

using namespace std::chrono_literals;

namespace {

constexpr auto kSettling = 50ms;

std::chrono::nanoseconds sinceEpoch(const timespec &time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// How long ago the file was last touched; negative when that lies ahead of the clock.
std::chrono::nanoseconds age(const FileIdentity &file)
{
    const std::chrono::nanoseconds now = std::chrono::system_clock::now().time_since_epoch();
    return now - std::max(file.modified, file.changed);
}

} // namespace

FileIdentity FileIdentity::of(const struct stat &status)
{
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .links = status.st_nlink,
            .size = status.st_size,
            .modified = sinceEpoch(status.st_mtim),
            .changed = sinceEpoch(status.st_ctim)};
}

bool FileIdentity::isOf(const struct stat &status) const
{
    return of(status) == *this;
}

bool FileIdentity::isSettled() const
{
    return age(*this) > kSettling;
}

bool FileIdentity::isYoung() const
{
    const auto old = age(*this);
    return old >= 0ns && old <= kSettling;
}

} // namespace quillfen::platform
