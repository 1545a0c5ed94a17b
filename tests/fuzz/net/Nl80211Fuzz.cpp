// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/Turns.h"
#include "platform/linux/net/Nl80211Decode.h"
#include "platform/linux/net/Nl80211Report.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include <linux/netlink.h>

// Takes any bytes for what the kernel's wireless part says: message by message, and as its answer
// to whatever the report asks. What comes out must make sense, whatever went in.

using namespace quillfen::platform;
using quillfen::test::require;

namespace {

/// The bytes as an answer to the question with that number. Ends of tables that stand before
/// others are left out, so that recordings laid one behind the other are one answer.
std::vector<std::byte> answer(Bytes input, std::uint32_t sequence)
{
    std::vector<std::byte> result;
    std::vector<std::byte> end;
    while (input.size() >= sizeof(nlmsghdr)) {
        const Bytes before = input;
        const auto message = takeMessage(input);
        if (!message)
            break;
        auto whole = before.first(before.size() - input.size());
        auto &place = message->type == NLMSG_DONE ? end : result;
        if (message->type == NLMSG_DONE)
            end.clear();
        const std::size_t at = place.size();
        place.insert(place.end(), whole.begin(), whole.end());
        std::memcpy(place.data() + at + offsetof(nlmsghdr, nlmsg_seq), &sequence, sizeof sequence);
    }
    result.insert(result.end(), end.begin(), end.end());
    result.insert(result.end(), input.begin(), input.end());
    return result;
}

/// Answers every question with the same bytes, and is silent afterwards.
class SameAnswer final : public KernelLine {
public:
    explicit SameAnswer(Bytes input) : m_input(input) { }

    int send(Bytes message) override
    {
        m_answer = answer(m_input, takeMessage(message)->sequence);
        m_arrives = true;
        return 0;
    }
    Task<Datagram> receive(QDeadlineTimer) override
    {
        if (!std::exchange(m_arrives, false))
            co_return Datagram{.bytes = {}, .error = ETIMEDOUT};
        co_return Datagram{.bytes = m_answer};
    }

private:
    Bytes m_input;
    std::vector<std::byte> m_answer;
    bool m_arrives = false;
};

Task<void> check(Nl80211Report &report)
{
    const auto text = co_await report.run();
    if (!text)
        co_return;
    const QByteArray marker = "Current Wireless Network: ";
    require(text->startsWith(marker) && text->endsWith('\n'));
    require(text->size() > marker.size() + 1 && text->size() <= marker.size() + 33);
    require(std::all_of(text->begin(), text->end() - 1, [](char each) {
        return static_cast<unsigned char>(each) >= ' ' && each != '\x7f';
    }));
}

void decode(Bytes rest)
{
    while (const auto message = takeMessage(rest)) {
        if (const auto family = decodeWirelessFamily(*message))
            require(*family >= NLMSG_MIN_TYPE);
        if (const auto station = decodeStation(*message))
            require(station->index != 0);
        if (const auto name = decodeJoinedNetwork(*message))
            require(!name->isEmpty() && name->size() <= 32);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const Bytes input = std::as_bytes(std::span(data, size));
    decode(input);
    Nl80211Report report([input] { return std::make_unique<SameAnswer>(input); },
                         [] { return QString(); });
    Turns turns([](const std::exception_ptr &) { require(false); });
    turns.take(check(report));
    require(!turns.busy());
    return 0;
}
