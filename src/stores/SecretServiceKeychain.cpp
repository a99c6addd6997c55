#include "stores/SecretServiceKeychain.h"

#include <QCoro/QCoroSignal>
#include <QFile>
#include <qt6keychain/keychain.h>

#include <memory>

namespace {

// Without a known session bus, GDBus would try to autolaunch one for the X display:
// a stray daemon with no keyring on it. Say "unavailable" instead.
bool sessionBusKnown()
{
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

// Runs `job` to its end. Some back-ends finish inside start(), before anyone waits.
QCoro::Task<Keychain::Reply> run(std::unique_ptr<QKeychain::Job> job)
{
    if (!sessionBusKnown())
        co_return Keychain::Reply{
            Keychain::Status::unavailable, {}, QStringLiteral("no D-Bus session bus")};
    bool finished = false;
    QObject::connect(job.get(), &QKeychain::Job::finished, job.get(),
                     [&finished] { finished = true; });
    job->setAutoDelete(false);
    job->start();
    if (!finished)
        co_await qCoro(job.get(), &QKeychain::Job::finished);

    Keychain::Reply reply;
    switch (job->error()) {
    case QKeychain::NoError:
        reply.status = Keychain::Status::ok;
        if (auto *read = qobject_cast<QKeychain::ReadPasswordJob *>(job.get()))
            reply.value = read->textData();
        break;
    case QKeychain::EntryNotFound:
        reply.status = Keychain::Status::notFound;
        break;
    case QKeychain::NoBackendAvailable:
    case QKeychain::AccessDeniedByUser:
    case QKeychain::AccessDenied:
        reply.status = Keychain::Status::unavailable;
        break;
    default:
        reply.status = Keychain::Status::failed;
        break;
    }
    reply.error = job->errorString();
    co_return reply;
}

} // namespace

SecretServiceKeychain::SecretServiceKeychain(QString service) : m_service(std::move(service)) {}

QCoro::Task<Keychain::Reply> SecretServiceKeychain::save(QString key, QString value)
{
    // Delete first, so a secret stored under other attributes does not linger.
    const Reply removed = co_await remove(key);
    if (removed.status == Status::unavailable)
        co_return removed;
    auto job = std::make_unique<QKeychain::WritePasswordJob>(m_service);
    job->setInsecureFallback(false);
    job->setKey(key);
    job->setTextData(value);
    co_return co_await run(std::move(job));
}

QCoro::Task<Keychain::Reply> SecretServiceKeychain::read(QString key)
{
    auto job = std::make_unique<QKeychain::ReadPasswordJob>(m_service);
    job->setInsecureFallback(false);
    job->setKey(key);
    co_return co_await run(std::move(job));
}

QCoro::Task<Keychain::Reply> SecretServiceKeychain::remove(QString key)
{
    auto job = std::make_unique<QKeychain::DeletePasswordJob>(m_service);
    job->setInsecureFallback(false);
    job->setKey(key);
    Reply reply = co_await run(std::move(job));
    if (reply.status == Status::notFound)
        reply.status = Status::ok; // nothing to delete is what was asked for
    co_return reply;
}
