// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/WindowNotifications.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

#include <optional>

namespace quillfen::prefs {

namespace {

std::optional<WindowNotifications::Name> nameOf(QEvent::Type type)
{
    switch (type) {
    case QEvent::WindowActivate:
        return WindowNotifications::Name::DidBecomeKey;
    case QEvent::WindowDeactivate:
        return WindowNotifications::Name::DidResignKey;
    case QEvent::Close:
        return WindowNotifications::Name::WillClose;
    default:
        return std::nullopt;
    }
}

/// Whether the user sees a window of its own in it. What lies in a tray or on the desktop past
/// the window manager is none.
bool isProperWindow(const QWidget &widget)
{
    const Qt::WindowType type = widget.windowType();
    return widget.isWindow() && (type == Qt::Window || type == Qt::Dialog)
        && !widget.windowFlags().testFlag(Qt::BypassWindowManagerHint);
}

} // namespace

WindowNotifications::WindowNotifications()
{
    QCoreApplication::instance()->installEventFilter(this);
}

void WindowNotifications::addObserver(Name name, const QWidget *window,
                                      std::function<void()> callback)
{
    m_observers.push_back({name, window, std::move(callback)});
}

bool WindowNotifications::eventFilter(QObject *watched, QEvent *event)
{
    const std::optional<Name> name = nameOf(event->type());
    if (!name || !watched->isWidgetType())
        return false;
    const auto &widget = static_cast<const QWidget &>(*watched);
    // One that is not open can be told to close as well.
    if (isProperWindow(widget) && (*name != Name::WillClose || widget.isVisible()))
        post(*name, widget);
    return false;
}

void WindowNotifications::post(Name name, const QWidget &window) const
{
    std::size_t next = 0; // a number and a copy, as the list may grow and move meanwhile
    while (next < m_observers.size()) {
        const Observer observer = m_observers[next++];
        if (observer.name == name && (!observer.window || observer.window == &window))
            observer.callback();
    }
}

} // namespace quillfen::prefs
