// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/AboutPanel.h"

#include <QPointer>
#include <QString>
#include <QWidget>

#include <utility>

namespace quillfen::platform {

/// What a program tells about itself.
struct AboutFacts {
    QString name; ///< As people read it: "Quillfen".
    QString version; ///< "0.1.0".
    QString copyright; ///< One line: "Copyright © 2026 …".
    QString license; ///< A sentence or two.
    QString iconPath; ///< A picture file, best an SVG. Read when the window is shown.
};

/// The about panel as a small window that leaves the program's other windows usable. It exists
/// only while it is open. Escape, Enter and its button close it.
/// Needs a QApplication.
class AboutWindow : public AboutPanel {
public:
    explicit AboutWindow(AboutFacts facts) : m_facts(std::move(facts)) { }
    ~AboutWindow() override;

    void orderFront() override;

private:
    AboutFacts m_facts;
    QPointer<QWidget> m_window; ///< Null while it is closed.
};

} // namespace quillfen::platform
