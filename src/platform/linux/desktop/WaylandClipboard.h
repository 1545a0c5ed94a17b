// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <chrono>
#include <optional>

namespace quillfen::platform {

class SystemConsole;

/// A Wayland compositor's clipboard, by way of the program wl-copy. Wayland lets only the window
/// with the keyboard set the clipboard, and a status item has no window; wl-copy knows the ways
/// around that, and stays behind for as long as its text can be pasted.
///
/// One wl-copy runs at a time. Of the texts that come meanwhile only the last is copied, after it.
/// One that does not finish in time is killed. Destroying this does not wait: the copy under way
/// goes on by itself; a text that still waits for its end is lost.
/// @source wl-clipboard(1)
class WaylandClipboard {
public:
    /// Some compositors have wl-copy wait for the keyboard; none for as long as this.
    static constexpr std::chrono::seconds kPatience{5};

    /// @p console, which must outlive this, hears why a copy failed; never the text. One copy may
    /// take @p patience.
    explicit WaylandClipboard(SystemConsole &console,
                              std::chrono::milliseconds patience = kPatience);
    ~WaylandClipboard();
    WaylandClipboard(const WaylandClipboard &) = delete;
    WaylandClipboard &operator=(const WaylandClipboard &) = delete;

    /// Copies @p text, which is UTF-8. Returns at once.
    void setText(const QByteArray &text);

private:
    void start(const QByteArray &text);
    void giveUp();
    void finish();
    void complain(const QString &reason);

    SystemConsole &m_console;
    QTimer m_deadline;
    /// Of a pidfd, while a wl-copy runs: readable when it has ended.
    QSocketNotifier m_end{QSocketNotifier::Read};
    std::optional<QByteArray> m_waiting; ///< What to copy after that.
};

} // namespace quillfen::platform
