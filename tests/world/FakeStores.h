// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DynamicStore.h"

#include <QAnyStringView>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace quillfen::world {

/// A machine's network whose cables can be plugged, as a dynamic store shows it.
///
///     network.plugIn("eth0", "192.0.2.7");
///     network.failNext(FakeStores::Call::CopyMultiple, EMFILE);
///
/// It keeps the promises of the real one (tests/contract/stores runs the same cases against
/// both), but tells of a change from within the call that makes it.
class FakeStores final : public platform::DynamicStores {
public:
    enum class Call { Create, CopyMultiple, SetNotificationKeys, CreateRunLoopSource };

    FakeStores();
    ~FakeStores() override;

    /// Gives @p interface one more address; a new interface becomes the last service.
    void plugIn(QAnyStringView interface, QAnyStringView address);
    /// Gives @p interface exactly these addresses, in one change.
    void setAddresses(QAnyStringView interface, const QStringList &addresses);
    /// A service that is there, but whose entity names no addresses.
    void plugInWithoutAddresses(QAnyStringView interface);
    void unplug(QAnyStringView interface);
    void rename(QAnyStringView interface, QAnyStringView newName);
    /// Makes @p interface the first service, as the default route does that moves to it.
    void putFirst(QAnyStringView interface);
    /// Lets the next call of this kind, of whatever connection, fail with @p code.
    void failNext(Call call, std::int32_t code);
    /// The names of all connections that were ever opened.
    const QStringList &connectionNames() const { return m_connectionNames; }

    std::unique_ptr<platform::DynamicStore>
    create(const QString &name, platform::StoreCallback callback, void *context) override;
    std::int32_t lastError() const override { return m_lastError; }

private:
    class Store;
    class Source;
    struct Service {
        QString name;
        std::optional<QStringList> addresses; ///< Absent: the entity does not name any.
    };

    bool fails(Call call);
    Service &service(QAnyStringView interface);
    platform::StoreSnapshot snapshot(const QStringList &patterns) const;
    void changed();

    std::vector<Service> m_services;
    std::vector<Source *> m_sources;
    QStringList m_connectionNames;
    std::map<Call, std::int32_t> m_failures;
    std::int32_t m_lastError = 0;
    std::optional<platform::StoreSnapshot> m_lastRead;
    std::uint64_t m_readings = 0;
};

} // namespace quillfen::world
