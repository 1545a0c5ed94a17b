// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SoundPlayer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

/// One file of the folder.
class SoundPlayer::FileSound : public Sound {
public:
    FileSound(SoundPlayer &player, QByteArray file) : m_player(player), m_file(std::move(file)) { }
    void play() override { m_player.play(m_file); }

private:
    SoundPlayer &m_player;
    QByteArray m_file;
};

SoundPlayer::SoundPlayer(QString folder, std::chrono::milliseconds patience)
    : m_folder(std::move(folder)),
      m_runs{PlayerRun(patience), PlayerRun(patience), PlayerRun(patience), PlayerRun(patience)}
{ }

QString SoundPlayer::standardFolder()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../share/quillfen/sounds"_s);
}

std::unique_ptr<Sound> SoundPlayer::load(const QString &name)
{
    const QString file = m_folder + u'/' + name;
    if (!QFileInfo(file).isFile())
        return nullptr;
    return std::make_unique<FileSound>(*this, QFile::encodeName(file));
}

void SoundPlayer::play(const QByteArray &file)
{
    const auto free = std::ranges::find_if_not(m_runs, &PlayerRun::isUnderWay);
    if (free != m_runs.end())
        free->start(file);
}

} // namespace quillfen::platform
