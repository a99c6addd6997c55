#pragma once

#include <QCoro/QCoroTask>
#include <QString>

// One secret per key in the user's keyring. Every call ends, whatever the keyring
// does; a missing keyring is reported, never worked around with a plain file.
class Keychain
{
public:
    enum class Status { ok, notFound, unavailable, failed };
    struct Reply
    {
        Status status = Status::failed;
        QString value; // the secret read
        QString error; // what went wrong, for the log
    };

    virtual ~Keychain() = default;
    // Replaces any secret under `key`: there is never more than one.
    virtual QCoro::Task<Reply> save(QString key, QString value) = 0;
    virtual QCoro::Task<Reply> read(QString key) = 0;
    virtual QCoro::Task<Reply> remove(QString key) = 0;
};
