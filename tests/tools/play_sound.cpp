// SPDX-License-Identifier: GPL-3.0-or-later
//
// Plays the program's sounds as the program does, to try a desktop by hand or from a test.
//
// Each line of its standard input is a sound's name, such as "Mail Sent.aiff". It is played at
// once, and answered by a line: "played", or "missing" where there is no such sound. The end of
// the input ends the program.
#include "platform/linux/desktop/SoundPlayer.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <array>
#include <cstdio>

#include <unistd.h>

using namespace quillfen::platform;

namespace {

const char *play(Sounds &sounds, const QByteArray &name)
{
    const std::unique_ptr<Sound> sound = sounds.load(QString::fromUtf8(name));
    if (!sound)
        return "missing";
    sound->play();
    return "played";
}

/// Takes in what has come by standard input. @returns false at its end.
bool takeLines(Sounds &sounds, QByteArray &begun)
{
    std::array<char, 4096> piece = {};
    const ssize_t got = read(STDIN_FILENO, piece.data(), piece.size());
    if (got <= 0)
        return false;
    begun.append(piece.data(), got);
    for (qsizetype end = 0; (end = begun.indexOf('\n')) >= 0; begun.remove(0, end + 1)) {
        std::puts(play(sounds, begun.left(end)));
        std::fflush(stdout);
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    SoundPlayer sounds;
    QByteArray begun;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        if (!takeLines(sounds, begun))
            QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}
