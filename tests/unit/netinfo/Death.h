// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <array>
#include <csignal>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillfen::test {

/// How a call ended that should be the death of its process.
struct Death {
    bool aborted = false; ///< By abort(), rather than by itself or in another way.
    QByteArray lastWords; ///< What it wrote to the standard error stream.
};

/// Makes the call in a child process.
template <typename Call>
Death deathOf(Call call)
{
    std::array<int, 2> pipeEnds{};
    if (pipe(pipeEnds.data()) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGABRT, SIG_DFL); // Qt Test's handler would start a debugger
        const rlimit noCore{};
        setrlimit(RLIMIT_CORE, &noCore);
        dup2(pipeEnds[1], STDERR_FILENO);
        call();
        _exit(0);
    }
    close(pipeEnds[1]);
    Death death;
    std::array<char, 512> part{};
    ssize_t size = 0;
    while ((size = read(pipeEnds[0], part.data(), part.size())) > 0)
        death.lastWords.append(part.data(), size);
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    death.aborted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
    return death;
}

} // namespace quillfen::test
