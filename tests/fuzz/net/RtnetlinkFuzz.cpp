// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/net/DumpReply.h"
#include "platform/linux/net/ServiceOrder.h"

#include <cstddef>

// Takes any bytes for the kernel's answer, reads them as far as they go, and puts what they tell
// in order. What comes out must make sense, whatever went in.

using namespace quillfen::platform;
using quillfen::test::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    NetworkTables tables;
    Bytes rest = std::as_bytes(std::span(data, size));
    while (const auto message = takeMessage(rest)) {
        if (auto link = decodeLink(*message))
            tables.links.push_back(*std::move(link));
        if (const auto address = decodeAddress(*message))
            tables.addresses.push_back(*address);
        if (const auto route = decodeDefaultRoute(*message))
            tables.routes.push_back(*route);
    }
    for (const Service &service : orderedServices(tables))
        require(!service.identifier.isEmpty() && !service.addresses.isEmpty());

    DumpReply reply(1);
    reply.feed(std::as_bytes(std::span(data, size)), [](const NetlinkMessage &) {});
    require(reply.error() >= 0);
    return 0;
}
