// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <array>
#include <cstdlib>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace quillfen::platform {

/// What a child process is asked to prove: it stops at the first thing that does not hold.
#define HOLDS(condition)                                                                           \
    do {                                                                                           \
        if (!(condition))                                                                          \
            return QByteArray("does not hold: " #condition);                                       \
    } while (false)

/// Runs @p part in a forked child of this process, which must have one thread only.
/// @returns what the child answered, or how it died.
template <typename Part>
QByteArray inChild(Part &&part)
{
    std::array<int, 2> answer = {};
    if (pipe(answer.data()) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        close(answer[0]);
        const QByteArray said = std::forward<Part>(part)();
        const ssize_t written = write(answer[1], said.constData(), std::size_t(said.size()));
        _exit(written == said.size() ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    close(answer[1]);
    QByteArray heard;
    std::array<char, 4096> piece = {};
    for (ssize_t got = 0; (got = read(answer[0], piece.data(), piece.size())) > 0;)
        heard.append(piece.data(), got);
    close(answer[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0)
        heard += " died: " + QByteArray::number(status);
    return heard;
}

/// While it lives, permissions count: root acts as the user nobody. Anybody else stays himself.
class Unprivileged {
public:
    Unprivileged()
    {
        if (geteuid() == 0 && (setegid(kNobody) != 0 || seteuid(kNobody) != 0))
            std::abort();
    }
    ~Unprivileged()
    {
        if (getuid() == 0 && (seteuid(0) != 0 || setegid(0) != 0))
            std::abort();
    }
    Unprivileged(const Unprivileged &) = delete;
    Unprivileged &operator=(const Unprivileged &) = delete;

    static constexpr uid_t kNobody = 65534;
};

} // namespace quillfen::platform
