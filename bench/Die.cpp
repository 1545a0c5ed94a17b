// SPDX-License-Identifier: GPL-3.0-or-later
#include "Die.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <string.h>
#include <unistd.h>

namespace quillfen::bench {

void die(const char *doing, int error)
{
    std::fprintf(stderr, "%s%s%s\n", doing, error ? ": " : "",
                 error ? strerrordesc_np(std::abs(error)) : "");
    _exit(1);
}

int need(int result, const char *doing)
{
    if (result < 0)
        die(doing, result == -1 ? errno : result);
    return result;
}

int count(const char *word)
{
    int value = 0;
    const auto [rest, error] = std::from_chars(word, word + std::strlen(word), value);
    if (error != std::errc{} || *rest || value < 1)
        die(word);
    return value;
}

} // namespace quillfen::bench
