// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace quillfen::platform {

/// What the program shows and knows at one moment. Nothing stands for what it does not know.
struct ShownStatus {
    QString title; ///< In the status area; empty where an icon stands alone.
    QStringList addresses; ///< All local ones, in their order; the first is the one shown.
    std::optional<QString> dnsName; ///< The first address's.
    std::optional<QString> computerName;
    std::optional<QString> wirelessNetwork; ///< As in the title: while it is wanted there.
    std::optional<QString> externalAddress; ///< The kept one: nothing once it is let go.

    friend bool operator==(const ShownStatus &, const ShownStatus &) = default;
};

/// Where other programs of this user's session learn what the program shows, whenever they want.
/// None of them causes any work of the program's own: they get what was published.
///
/// What every implementation promises:
///   1. Whoever asks is told what was published last; before the first time, an empty status.
///   2. Whoever listens is told of changes, and of nothing else; what is published within one
///      pass of the event loop is told together.
///   3. Where processes cannot reach each other nothing fails.
class StatusPublication {
public:
    virtual ~StatusPublication() = default;

    virtual void publish(const ShownStatus &status) = 0;
};

} // namespace quillfen::platform
