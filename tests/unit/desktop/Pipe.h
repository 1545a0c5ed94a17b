// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFile>
#include <QSemaphore>
#include <QString>
#include <QTemporaryDir>

#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillfen::platform {

/// A file that takes its time: whoever opens it waits until it is filled, and it can be read once.
class Pipe {
public:
    Pipe()
    {
        if (mkfifo(name(), S_IRUSR | S_IWUSR) != 0)
            qFatal("no pipe");
    }
    ~Pipe() { join(); }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    QString path() const { return m_folder.filePath(QStringLiteral("pipe")); }
    /// Gives @p bytes to one reader, as soon as somebody says go() or after @p delay. Once.
    void fill(const QByteArray &bytes, std::chrono::milliseconds delay = {})
    {
        m_filling = std::thread([this, path = name(), bytes, delay] {
            const int end = open(path, O_WRONLY | O_CLOEXEC);
            m_gone.tryAcquire(1, int(delay.count()));
            for (qsizetype sent = 0, piece = 0; sent < bytes.size() && piece >= 0; sent += piece)
                piece = write(end, bytes.constData() + sent, std::size_t(bytes.size() - sent));
            close(end);
        });
    }

    void go() { m_gone.release(); }
    /// Waits until all is taken that it was filled with.
    void join()
    {
        if (m_filling.joinable())
            m_filling.join();
    }

private:
    QByteArray name() const { return QFile::encodeName(path()); }

    QTemporaryDir m_folder;
    QSemaphore m_gone;
    std::thread m_filling;
};

} // namespace quillfen::platform
