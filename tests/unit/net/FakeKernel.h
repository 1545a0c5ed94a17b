// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/linux/net/KernelLine.h"
#include "unit/net/WirelessRecording.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <algorithm>
#include <cerrno>
#include <compare>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

namespace quillfen::test {

/// A kernel with radios, at the other end of the line.
///
///     kernel.replay(u"joined"_s);
///     kernel.table(NL80211_CMD_GET_SCAN, 4).error = EPERM;
///     Nl80211Report report(kernel.opener(), …);
///
/// At first it has no wireless part. It must outlive its lines.
class FakeKernel {
public:
    /// What it answers to one question.
    struct Table {
        QList<QByteArray> lines; ///< Messages; they get the question's number.
        int error = 0; ///< An errno value: it says that instead of the lines.
        int errorAtEnd = 0; ///< An errno value: it says that after the lines.
        int interruptions = 0; ///< So many answers are broken into by a change.
        QList<QByteArray> meanwhile; ///< The lines of an answer that is broken into.
        bool silent = false; ///< No answer at all.
        qsizetype cutAt = -1; ///< Only so many bytes of the answer arrive; -1: all.
    };
    struct Question {
        std::uint8_t command = 0;
        std::uint32_t index = 0; ///< Of an interface; 0 if the question names none.

        friend auto operator<=>(const Question &, const Question &) = default;
    };

    /// From now on it has the wireless part and says what the recording of that machine says.
    void replay(const QString &machine)
    {
        addWireless();
        table(NL80211_CMD_GET_INTERFACE).lines =
            wirelessRecording(machine + QStringLiteral("-interfaces"));
        table(NL80211_CMD_GET_SCAN, 4).lines =
            wirelessRecording(machine + QStringLiteral("-networks-4"));
    }
    void addWireless()
    {
        table(CTRL_CMD_GETFAMILY).lines = wirelessRecording(QStringLiteral("family"));
    }
    /// A station joined to the network @p name, or to none.
    void addStation(std::uint32_t index, const QByteArray &interfaceName,
                    const std::optional<QByteArray> &name)
    {
        table(NL80211_CMD_GET_INTERFACE).lines.append(interface(index, interfaceName));
        auto &networks = table(NL80211_CMD_GET_SCAN, index).lines;
        networks = {network("Neighbour", false)};
        if (name)
            networks.append(network(*name, true));
    }
    /// The answer to that question; an empty table at first.
    Table &table(std::uint8_t command, std::uint32_t index = 0)
    {
        return m_tables[{.command = command, .index = index}];
    }
    /// From now on there is no line to be had.
    void refuseLines() { m_refuses = true; }
    /// From now on every datagram carries one message; at first it carries all but the end.
    void sendSingly() { m_singly = true; }
    /// From now on nothing can be sent.
    void failToSend(int error) { m_sendError = error; }
    /// From now on it really keeps who waits for a silent answer waiting, until giveUp(). At
    /// first the deadline passes at once.
    void letWait() { m_letsWait = true; }
    /// The deadline of who waits is over.
    void giveUp() { m_waiting(ETIMEDOUT); }
    /// Whether a line is open.
    bool hasLine() const { return m_lines > 0; }
    /// All that was ever asked, oldest first. Every question was for a whole table.
    const QList<Question> &questions() const { return m_questions; }

    platform::OpenKernelLine opener()
    {
        return [this]() -> std::unique_ptr<platform::KernelLine> {
            return m_refuses ? nullptr : std::make_unique<Line>(*this);
        };
    }

private:
    class Line final : public platform::KernelLine {
    public:
        explicit Line(FakeKernel &kernel) : m_kernel(kernel) { ++m_kernel.m_lines; }
        ~Line() override { --m_kernel.m_lines; }

        int send(platform::Bytes message) override
        {
            if (m_kernel.m_sendError == 0)
                m_arriving += m_kernel.answer(message);
            return m_kernel.m_sendError;
        }
        platform::Task<platform::Datagram> receive(QDeadlineTimer) override
        {
            if (m_arriving.isEmpty() && m_kernel.m_letsWait) {
                platform::Later<int> error;
                m_kernel.m_waiting = error.giver();
                const int given = co_await error;
                co_return platform::Datagram{.error = given};
            }
            if (m_arriving.isEmpty())
                co_return platform::Datagram{.error = ETIMEDOUT};
            m_read = m_arriving.takeFirst();
            co_return platform::Datagram{.bytes = bytesOf(m_read)};
        }

    private:
        FakeKernel &m_kernel;
        QList<QByteArray> m_arriving;
        QByteArray m_read;
    };

    QList<QByteArray> answer(platform::Bytes message)
    {
        const auto request = platform::takeMessage(message);
        if (!request || (request->flags & NLM_F_DUMP) != NLM_F_DUMP)
            throw std::runtime_error("not a question for a table");
        const auto header = *platform::valueAtFront<genlmsghdr>(request->payload);
        Question question{.command = header.cmd};
        platform::Bytes rest = platform::afterAligned(request->payload, sizeof header);
        while (const auto each = platform::takeAttribute(rest)) {
            if (each->type == NL80211_ATTR_IFINDEX)
                question.index = platform::valueAtFront<std::uint32_t>(each->payload).value_or(0);
        }
        const bool control = header.cmd == CTRL_CMD_GETFAMILY;
        if (request->type != (control ? std::uint16_t{GENL_ID_CTRL} : kWireless))
            throw std::runtime_error("no such family");
        m_questions.append(question);
        return datagrams(m_tables[question], request->sequence);
    }
    QList<QByteArray> datagrams(Table &table, std::uint32_t sequence) const
    {
        if (table.silent)
            return {};
        if (table.error != 0)
            return {quillfen::test::message(NLMSG_ERROR, raw(-table.error), sequence)};
        const bool interrupted = table.interruptions > 0;
        table.interruptions -= interrupted;
        QList<QByteArray> packed;
        for (const QByteArray &line : interrupted ? table.meanwhile : table.lines) {
            if (packed.isEmpty() || m_singly)
                packed.append(QByteArray());
            packed.back() += numbered(line, sequence);
        }
        packed.append(message(NLMSG_DONE, raw(-table.errorAtEnd), sequence,
                              interrupted ? NLM_F_DUMP_INTR | NLM_F_MULTI : NLM_F_MULTI));
        return cut(packed, table.cutAt);
    }
    static QByteArray numbered(QByteArray line, std::uint32_t sequence)
    {
        nlmsghdr header{};
        std::memcpy(&header, line.constData(), sizeof header);
        header.nlmsg_seq = sequence;
        std::memcpy(line.data(), &header, sizeof header);
        return line;
    }
    static QList<QByteArray> cut(const QList<QByteArray> &whole, qsizetype size)
    {
        if (size < 0)
            return whole;
        QList<QByteArray> arriving;
        for (const QByteArray &each : whole) {
            arriving.append(each.first(std::min(size, each.size())));
            size -= arriving.back().size();
        }
        return arriving;
    }

    std::map<Question, Table> m_tables;
    QList<Question> m_questions;
    platform::Giver<int> m_waiting;
    int m_lines = 0;
    int m_sendError = 0;
    bool m_refuses = false;
    bool m_singly = false;
    bool m_letsWait = false;
};

} // namespace quillfen::test
