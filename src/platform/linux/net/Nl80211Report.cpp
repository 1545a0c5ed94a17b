// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/Nl80211Report.h"

#include "platform/linux/net/DumpReply.h"
#include "platform/linux/net/FirstInterface.h"
#include "platform/linux/net/GenericNetlinkLine.h"
#include "platform/linux/net/Nl80211Decode.h"

#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <libmnl/libmnl.h>
#include <linux/genetlink.h>
#include <linux/nl80211.h>

namespace quillfen::platform {
namespace {

using namespace std::chrono_literals;

/// The kernel answers within the calls that send and receive, so this never passes where all is
/// well.
constexpr auto kPatience = 1s;
constexpr int kTries = 4;

/// A request for a table of the family with number @p family.
class Request {
public:
    Request(std::uint16_t family, std::uint8_t command)
    {
        nlmsghdr *header = mnl_nlmsg_put_header(m_bytes.data());
        header->nlmsg_type = family;
        header->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        void *body = mnl_nlmsg_put_extra_header(header, sizeof(genlmsghdr));
        static_cast<genlmsghdr *>(body)->cmd = command;
    }
    nlmsghdr &header() { return *reinterpret_cast<nlmsghdr *>(m_bytes.data()); }
    Bytes bytes() { return Bytes(m_bytes).first(header().nlmsg_len); }

private:
    alignas(nlmsghdr) std::array<std::byte, 64> m_bytes{};
};

template <typename T>
struct Answer {
    std::vector<T> values; ///< What could be decoded, in the kernel's order.
    int error = 0; ///< An errno value; EINTR if a change broke in.
};

/// Questions on one line, one after the other.
class Questions {
public:
    explicit Questions(std::unique_ptr<KernelLine> line) : m_line(std::move(line)) { }

    /// What @p decode finds in the answer to @p request; nothing if that could not be had.
    template <typename T>
    Task<std::vector<T>> ask(Request request, std::optional<T> (*decode)(const NetlinkMessage &))
    {
        Answer<T> answer{.values = {}, .error = EINTR};
        for (int tries = 0; answer.error == EINTR && tries < kTries; ++tries)
            answer = co_await askOnce(request, decode);
        if (answer.error != 0 && answer.error != EINTR)
            answer.values.clear();
        co_return std::move(answer.values);
    }

private:
    template <typename T>
    Task<Answer<T>> askOnce(Request request, std::optional<T> (*decode)(const NetlinkMessage &))
    {
        const std::uint16_t family = request.header().nlmsg_type;
        request.header().nlmsg_seq = ++m_sequence;
        Answer<T> answer{.values = {}, .error = m_line->send(request.bytes())};
        const TakeMessage take = [&answer, family, decode](const NetlinkMessage &message) {
            std::optional<T> value = message.type == family ? decode(message) : std::nullopt;
            if (value)
                answer.values.push_back(*std::move(value));
        };
        DumpReply reply(m_sequence);
        while (answer.error == 0 && !reply.complete()) {
            const Datagram datagram = co_await m_line->receive(m_deadline);
            reply.feed(datagram.bytes, take);
            answer.error = datagram.error;
        }
        if (answer.error == 0)
            answer.error = reply.error();
        co_return answer;
    }

    std::unique_ptr<KernelLine> m_line;
    QDeadlineTimer m_deadline{kPatience};
    std::uint32_t m_sequence = 0;
};

Request networksOf(std::uint16_t wireless, const Station &station)
{
    Request request(wireless, NL80211_CMD_GET_SCAN); // what is known; it makes nobody look around
    mnl_attr_put_u32(&request.header(), NL80211_ATTR_IFINDEX, station.index);
    return request;
}

/// A blank for each control character of a text in ASCII or one of its extensions.
QByteArray withoutAsciiControls(QByteArray text)
{
    constexpr char kDelete = '\x7f';
    const auto isControl = [](char each) {
        return static_cast<unsigned char>(each) < ' ' || each == kDelete;
    };
    std::ranges::replace_if(text, isControl, ' ');
    return text;
}

/// A blank for each control character and each separator of lines.
QByteArray withoutControls(QString text)
{
    const auto isControl = [](QChar each) {
        return each.category() == QChar::Other_Control || each == QChar::LineSeparator
            || each == QChar::ParagraphSeparator;
    };
    std::ranges::replace_if(text, isControl, u' ');
    return text.toUtf8();
}

} // namespace

Nl80211Report::Nl80211Report()
    : Nl80211Report(GenericNetlinkLine::open, interfaceOfFirstAddress) { }

Nl80211Report::Nl80211Report(OpenKernelLine open, FirstInterface firstInterface)
    : m_open(std::move(open)),
      m_firstInterface(std::move(firstInterface))
{ }

Task<std::optional<QByteArray>> Nl80211Report::run()
{
    auto line = m_open();
    if (!line)
        co_return std::nullopt;
    Questions kernel(std::move(line));
    // All families, of which there are a few dozen. Asked for one by its name, a kernel without it
    // would start a program that loads a module, and have us wait for it.
    const Request everyFamily(GENL_ID_CTRL, CTRL_CMD_GETFAMILY);
    const auto families = co_await kernel.ask(everyFamily, decodeWirelessFamily);
    if (families.empty())
        co_return std::nullopt;
    const Request everyInterface(families.front(), NL80211_CMD_GET_INTERFACE);
    auto stations = co_await kernel.ask(everyInterface, decodeStation);

    const QString first = stations.size() > 1 ? m_firstInterface() : QString();
    std::ranges::sort(stations, {}, [&first](const Station &each) {
        return std::pair(each.name != first, each.index);
    });
    for (const Station &station : stations) {
        const Request request = networksOf(families.front(), station);
        const auto networks = co_await kernel.ask(request, decodeJoinedNetwork);
        if (!networks.empty())
            co_return reportOn(networks.front());
    }
    co_return std::nullopt;
}

QByteArray reportOn(const QByteArray &name)
{
    // Stateless: what is cut short at the end is an error and not awaited.
    QStringDecoder utf8(QStringConverter::Utf8,
                        QStringConverter::Flag::Stateless
                            | QStringConverter::Flag::ConvertInitialBom);
    const QString text = utf8(name);
    const QByteArray clean = utf8.hasError() ? withoutAsciiControls(name) : withoutControls(text);
    return "Current Wireless Network: " + clean + '\n';
}

} // namespace quillfen::platform
