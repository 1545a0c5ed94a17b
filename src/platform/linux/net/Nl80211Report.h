// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/SystemReport.h"
#include "platform/linux/net/KernelLine.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace quillfen::platform {

/// The report on the joined wireless network, as the kernel's wireless part tells of it.
///
/// It asks which stations there are, and each for the networks it knows of, until one is joined to
/// a network with a name: first the station that has the machine's first address, then the others
/// in the order of their numbers. No privileges are needed, and no other program: it is the same
/// under NetworkManager, iwd and wpa_supplicant, and without any of them. Each report opens a line
/// to the kernel of its own and closes it. A machine without wireless hardware costs one question.
///
/// An answer that a change broke into is asked for again, kTries times in all; the last one
/// counts. All answers together are waited for until kPatience is over.
class Nl80211Report final : public SystemReport {
public:
    /// Names the interface that has the machine's first address; empty: none has.
    using FirstInterface = std::function<QString()>;

    /// Asks the kernel that we run on.
    Nl80211Report();
    /// Asks whoever is at the other end of the lines that @p open opens. @p firstInterface is
    /// asked only where there are several stations.
    Nl80211Report(OpenKernelLine open, FirstInterface firstInterface);

    Task<std::optional<QByteArray>> run() override;

private:
    OpenKernelLine m_open;
    FirstInterface m_firstInterface;
};

/// The report that says that the machine is joined to the network @p name.
///
/// In it, each control character of the name is a blank: of ASCII and, where the name is UTF-8,
/// of Unicode, the separators of lines and paragraphs included. All other bytes stay as they are.
QByteArray reportOn(const QByteArray &name);

} // namespace quillfen::platform
