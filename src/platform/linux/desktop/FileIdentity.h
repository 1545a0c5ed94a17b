// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

#include <sys/stat.h>
#include <sys/types.h>

namespace quillfen::platform {

/// What tells one state of a file from another without reading it.
///
/// Two states with one identity are the same state if the file had settled when the first was
/// looked at: each change leaves its time, but in steps of the kernel's clock (10 ms at most),
/// and a change within the same step looks like none.
/// @source inode(7) for what changes which time; CLOCK_REALTIME_COARSE in clock_gettime(2).
struct FileIdentity {
    dev_t device;
    ino_t inode;
    nlink_t links; ///< 0: removed, or another file has taken its place.
    off_t size;
    std::chrono::nanoseconds modified; ///< Since the epoch, as is the next.
    std::chrono::nanoseconds changed;

    static FileIdentity of(const struct stat &status);
    bool isOf(const struct stat &status) const;

    /// Whether the file was last touched longer ago than a step of that clock takes, and than an
    /// editor needs between emptying a file and filling it: 50 ms.
    bool isSettled() const;
    /// Whether it was touched within the last 50 ms, so that somebody may still be writing it. A
    /// file from the future is neither young nor settled.
    bool isYoung() const;

    friend bool operator==(const FileIdentity &, const FileIdentity &) = default;
};

} // namespace quillfen::platform
