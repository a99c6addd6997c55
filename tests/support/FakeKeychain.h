#pragma once

#include "stores/Keychain.h"

#include <QMap>

// An in-memory keyring; `available = false` plays a session without a Secret Service.
struct FakeKeychain : Keychain
{
    QMap<QString, QString> items;
    bool available = true;
    int removals = 0;

    QCoro::Task<Reply> save(QString key, QString value) override
    {
        if (!available)
            co_return Reply{Status::unavailable, {}, QStringLiteral("no Secret Service")};
        items.insert(key, value);
        co_return Reply{Status::ok, {}, {}};
    }
    QCoro::Task<Reply> read(QString key) override
    {
        if (!available)
            co_return Reply{Status::unavailable, {}, QStringLiteral("no Secret Service")};
        if (!items.contains(key))
            co_return Reply{Status::notFound, {}, {}};
        co_return Reply{Status::ok, items.value(key), {}};
    }
    QCoro::Task<Reply> remove(QString key) override
    {
        ++removals;
        if (!available)
            co_return Reply{Status::unavailable, {}, QStringLiteral("no Secret Service")};
        items.remove(key);
        co_return Reply{Status::ok, {}, {}};
    }
};
