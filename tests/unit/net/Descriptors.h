// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace quillfen::test {

/// All descriptors that this process has open, in ascending order.
inline std::vector<int> openDescriptors()
{
    std::vector<int> all;
    DIR *folder = opendir("/proc/self/fd");
    while (const dirent *entry = readdir(folder)) {
        if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != dirfd(folder))
            all.push_back(std::atoi(entry->d_name));
    }
    closedir(folder);
    std::ranges::sort(all);
    return all;
}

/// Puts /dev/null in the place of the lowest descriptor that is not among @p before: of a
/// connection, that is the line for questions.
inline void breakFirstDescriptorAfter(const std::vector<int> &before)
{
    const std::vector<int> now = openDescriptors();
    const auto broken = std::ranges::find_if(
        now, [&before](int each) { return !std::ranges::binary_search(before, each); });
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup3(null, *broken, O_CLOEXEC);
    close(null);
}

} // namespace quillfen::test
