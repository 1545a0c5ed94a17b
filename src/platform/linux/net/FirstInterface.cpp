// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/FirstInterface.h"

#include "platform/linux/net/ServiceQuestion.h"

#include <vector>

namespace quillfen::platform {

QString interfaceOfFirstAddress()
{
    ServiceQuestion question;
    std::vector<Service> services;
    const bool known = question.askPersistently(services) == 0 && !services.empty();
    return known ? services.front().identifier : QString();
}

} // namespace quillfen::platform
