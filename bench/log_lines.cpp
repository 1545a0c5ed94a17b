// SPDX-License-Identifier: GPL-3.0-or-later

// What one line of the activity log costs, beside a bare write(2) of the same bytes to a file or
// socket of the same kind.
//
//   bench_log_lines file|console-file|console-socket FOLDER TIMES
//
// file is the log's own file; the other two are the console, where standard error is a file and
// where it is a socket, as under systemd. The files stand in FOLDER, which is empty; so do the
// settings, in a file of their own as in life. Line and write take turns. Writes lines of a name
// and nanoseconds to standard output.

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Die.h"
#include "platform/linux/desktop/JsonPreferences.h"
#include "platform/linux/desktop/StderrConsole.h"
#include "support/Console.h"
#include "support/Log.h"
#include "support/Settings.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace quillfen;
using bench::count;
using bench::die;
using bench::need;

namespace {

using Clock = std::chrono::steady_clock;
using Times = std::vector<Clock::duration>;

constexpr int kWarmUp = 100; ///< Lines that are not counted.

/// Where bytes go, and how they are looked at and got rid of.
class Sink {
public:
    /// A new file called @p path.
    static Sink file(const QString &path)
    {
        const QByteArray name = QFile::encodeName(path);
        const int in = open(name.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        return Sink(need(in, "a file"), need(open(name.constData(), O_RDONLY), "its reader"));
    }

    static Sink socket()
    {
        std::array<int, 2> ends{};
        need(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), "two sockets");
        return Sink(ends[0], ends[1]);
    }

    int in() const { return m_in; }

    /// All that came since the last time. There must be something.
    std::string taken() const
    {
        std::string all;
        std::array<char, 4096> some;
        for (;;) {
            const auto size = static_cast<std::size_t>(
                need(static_cast<int>(read(m_out, some.data(), some.size())), "reading"));
            all.append(some.data(), size);
            if (size < some.size())
                return all;
        }
    }

private:
    Sink(int in, int out) : m_in(in), m_out(out) { }

    int m_in;
    int m_out;
};

void store(const QString &folder, bool toConsole)
{
    QDir().mkpath(folder);
    QFile file(folder + "/settings.json"_L1);
    const QJsonObject settings{{support::kLogToSystemConsole.key, toConsole},
                               {support::kLogToPrivateConsoleLog.key, !toConsole},
                               {u"LastIPAddress"_s, u"10.77.100.100"_s}};
    if (!file.open(QIODevice::WriteOnly))
        die("the settings", errno);
    file.write(QJsonDocument(settings).toJson());
    file.close();
    // Settings that were written this very moment may still be being written: they are read anew
    // for each line.
    std::this_thread::sleep_for(100ms);
}

template <typename Work>
Clock::duration timed(const Work &work)
{
    const auto start = Clock::now();
    work();
    return Clock::now() - start;
}

/// @p logs and @p bare are of the same kind.
void race(support::Log &log, const Sink &logs, const Sink &bare, int times)
{
    const QString message = u"Internal IP address:10.77.100.100 (no name)"_s;
    log.LogMessage(message);
    const std::string line = logs.taken();
    Times logged;
    Times written;
    for (int round = -kWarmUp; round < times; ++round) {
        written.push_back(timed([&] {
            need(static_cast<int>(write(bare.in(), line.data(), line.size())), "a bare write");
        }));
        logged.push_back(timed([&] { log.LogMessage(message); }));
        if (logs.taken().size() != line.size() || bare.taken().size() != line.size())
            die("a line that is not as long as the one before");
    }
    for (std::size_t i = kWarmUp; i < logged.size(); ++i) {
        std::printf("floor %lld\nquillfen %lld\n", static_cast<long long>(written[i] / 1ns),
                    static_cast<long long>(logged[i] / 1ns));
    }
}

} // namespace

int main(int argc, char **argv)
{
    const std::string_view kind = argc == 4 ? argv[1] : "";
    const bool toFile = kind == "file";
    const bool toSocket = kind == "console-socket";
    if (!toFile && !toSocket && kind != "console-file")
        die("usage: bench_log_lines file|console-file|console-socket FOLDER TIMES");

    const QString folder = QFile::decodeName(argv[2]);
    const auto sink = [&](const QString &name) {
        return toSocket ? Sink::socket() : Sink::file(folder + name);
    };
    const Sink bare = sink(u"/bare"_s);
    store(folder + "/settings"_L1, !toFile);
    const Sink console = sink(u"/console"_s);
    if (!toFile)
        need(dup2(console.in(), STDERR_FILENO), "standard error");
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder));

    platform::StderrConsole stderrConsole;
    support::Console voice(stderrConsole);
    platform::JsonPreferences preferences(stderrConsole, folder + "/settings"_L1);
    support::Log log(voice, preferences);
    if (toFile)
        log.OpenPrivateLog();
    const Sink logs =
        toFile ? Sink::file(folder + "/Corvane Software/Quillfen/Quillfen.log"_L1) : console;
    if (toFile)
        logs.taken(); // the start line
    race(log, logs, bare, count(argv[3]));
    return 0;
}
