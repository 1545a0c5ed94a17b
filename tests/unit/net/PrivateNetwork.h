// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryFile>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

namespace quillfen::test {

/// A network of this test's own: a fresh namespace of the kernel's, in which this thread and the
/// programs that it starts live from now on. The kernel removes it with its last socket.
///
/// All failures throw std::runtime_error, since no test can go on without its network.
class PrivateNetwork {
public:
    /// Makes building networks possible for a user other than root. To be called before the
    /// process has a second thread.
    static void allow()
    {
        const auto user = geteuid();
        const auto group = getegid();
        if (user == 0)
            return;
        check(unshare(CLONE_NEWUSER) == 0, "unshare(CLONE_NEWUSER)");
        write("/proc/self/setgroups", "deny");
        write("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        write("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }

    PrivateNetwork()
    {
        check(unshare(CLONE_NEWNET) == 0, "unshare(CLONE_NEWNET)");
        ip(QStringLiteral("link set lo up"));
    }

    /// Carries out lines of ip(8), one after the other, without letting the event loop turn.
    void ip(const QString &lines) const
    {
        QProcess process;
        start(process, lines);
        const bool ended = process.waitForFinished() || process.state() == QProcess::NotRunning;
        check(ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
              lines.toStdString() + ": " + process.readAllStandardError().toStdString());
    }
    /// Carries out lines of ip(8) while the test goes on.
    std::unique_ptr<QProcess> ipMeanwhile(const QString &lines) const
    {
        auto process = std::make_unique<QProcess>();
        start(*process, lines);
        return process;
    }
    /// A cable with a plug at both ends, both up: @p name at ours, @p name + "far" at the other.
    void addCable(const QString &name) const
    {
        ip(QStringLiteral("link add %1 type veth peer name %1far\n"
                          "link set %1 up\n"
                          "link set %1far up")
               .arg(name));
    }
    /// Gives @p name one more address, as "192.0.2.7/24".
    void addAddress(const QString &name, const QString &address) const
    {
        ip(QStringLiteral("address add %2 dev %1").arg(name, address));
    }

private:
    static void start(QProcess &process, const QString &lines)
    {
        // From a file, so that feeding the program does not keep the event loop busy. The program
        // has it open when its name goes.
        QTemporaryFile file;
        check(file.open() && file.write(lines.toUtf8()) >= 0 && file.flush(), "no temporary file");
        process.setStandardInputFile(file.fileName());
        process.start(QStringLiteral("ip"), {QStringLiteral("-batch"), QStringLiteral("-")});
        check(process.waitForStarted(), "no ip(8)");
    }
    static void check(bool success, const std::string &what)
    {
        if (!success)
            throw std::runtime_error(what);
    }
    static void write(const char *file, const std::string &text)
    {
        const int descriptor = open(file, O_WRONLY | O_CLOEXEC);
        const auto written = ::write(descriptor, text.data(), text.size());
        close(descriptor);
        check(written == static_cast<ssize_t>(text.size()), file);
    }
};

} // namespace quillfen::test
