// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/DumpReply.h"
#include "unit/net/MessageBuilder.h"
#include "unit/net/Recording.h"

#include <QTest>

#include <array>
#include <cerrno>
#include <limits>

#include <linux/rtnetlink.h>

using namespace quillfen::test;
using quillfen::platform::DumpReply;
using quillfen::platform::NetlinkMessage;

namespace {

constexpr std::uint32_t kOurs = 7;

QByteArray line(std::uint16_t flags = 0)
{
    return message(RTM_NEWADDR, "line", kOurs, flags);
}

QByteArray done(int code = 0, std::uint16_t flags = 0)
{
    return message(NLMSG_DONE, raw(code), kOurs, flags);
}

} // namespace

class DumpReplyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsAnAnswer_data()
    {
        QTest::addColumn<QList<QByteArray>>("datagrams");
        QTest::addColumn<int>("lines");
        QTest::addColumn<bool>("complete");
        QTest::addColumn<int>("error");
        struct Row {
            const char *name;
            QList<QByteArray> datagrams;
            int lines;
            bool complete;
            int error;
        };
        const QByteArray foreign = message(RTM_NEWADDR, "line", kOurs - 1);
        const QByteArray foreignEnd = message(NLMSG_DONE, raw(0), kOurs - 1, NLM_F_DUMP_INTR);
        const std::array rows{
            Row{"the end in the last line's datagram", {line() + line() + done()}, 2, true, 0},
            Row{"the end in a datagram of its own", {line(), line(), done()}, 2, true, 0},
            Row{"nothing but the end", {done()}, 0, true, 0},
            Row{"no end yet", {line() + line()}, 2, false, 0},
            Row{"no byte yet", {QByteArray()}, 0, false, 0},
            Row{"a no-op in between",
                {line() + message(NLMSG_NOOP, {}, kOurs) + done()},
                1,
                true,
                0},
            Row{"the rest of a former answer first",
                {foreign + foreign, foreignEnd, line() + done()},
                1,
                true,
                0},
            Row{"changed meanwhile: read on to the end",
                {line(NLM_F_DUMP_INTR) + line(), line() + done()},
                3,
                true,
                EINTR},
            Row{"changed meanwhile, said with the end only",
                {line() + done(0, NLM_F_DUMP_INTR)},
                1,
                true,
                EINTR},
            Row{"a failure", {message(NLMSG_ERROR, raw(-EPERM), kOurs)}, 0, true, EPERM},
            Row{"a failure counts more than a change",
                {line(NLM_F_DUMP_INTR) + message(NLMSG_ERROR, raw(-EBUSY), kOurs)},
                1,
                true,
                EBUSY},
            Row{"a failure at the end", {line() + done(-ENOMEM)}, 1, true, ENOMEM},
            Row{"an old kernel's length at the end", {line() + done(20)}, 1, true, 0},
            Row{"the end cut short", {line() + message(NLMSG_DONE, {}, kOurs)}, 1, true, 0},
            Row{"a failure without a code", {message(NLMSG_ERROR, {}, kOurs)}, 0, true, EPROTO},
            Row{"an acknowledgement", {message(NLMSG_ERROR, raw(0), kOurs)}, 0, true, EPROTO},
            Row{"a code that has no opposite",
                {message(NLMSG_ERROR, raw(std::numeric_limits<int>::min()), kOurs)},
                0,
                true,
                EPROTO},
            Row{"lines lost", {message(NLMSG_OVERRUN, {}, kOurs)}, 0, true, ENOBUFS},
            Row{"nothing counts after the end", {done() + line() + done(-EPERM)}, 0, true, 0},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.datagrams << row.lines << row.complete << row.error;
    }

    void readsAnAnswer()
    {
        QFETCH(const QList<QByteArray>, datagrams);
        DumpReply reply(kOurs);
        int lines = 0;
        for (const QByteArray &datagram : datagrams)
            reply.feed(bytesOf(datagram), [&lines](const NetlinkMessage &) { ++lines; });
        QTEST(lines, "lines");
        QTEST(reply.complete(), "complete");
        QTEST(reply.error(), "error");
    }
};

QTEST_APPLESS_MAIN(DumpReplyTest)
#include "DumpReplyTest.moc"
