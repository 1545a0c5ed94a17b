// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <functional>
#include <vector>

class QWidget;

namespace quillfen::prefs {

/// Tells what becomes of the application's windows: those that its user sees as such, not menus,
/// tool tips and icons in a tray.
///
/// Made after the application object. Whoever is told runs inside the event itself, so no
/// exception may leave it.
class WindowNotifications : public QObject {
public:
    enum class Name {
        DidBecomeKey, ///< The window has the keyboard now.
        DidResignKey, ///< It has it no longer.
        WillClose, ///< It is about to go, but still there. Once for each time that it was open.
    };

    WindowNotifications();

    /// Calls @p callback for each @p name of @p window, or of any window if that is null. Several
    /// are called in the order in which they were added; who is added by one of them hears the
    /// same notification.
    void addObserver(Name name, const QWidget *window, std::function<void()> callback);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void post(Name name, const QWidget &window) const;

    struct Observer {
        Name name;
        const QWidget *window; ///< Compared only.
        std::function<void()> callback;
    };
    std::vector<Observer> m_observers;
};

} // namespace quillfen::prefs
