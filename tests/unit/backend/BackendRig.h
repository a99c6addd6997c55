#pragma once

#include "support/FakeBackendServer.h"
#include "support/TaskOutcome.h"

#include "backend/Backend.h"
#include "backend/TokenProvider.h"
#include "core/ManualClock.h"

#include <QTest>

struct FixedTokens : TokenProvider
{
    QString token;
    QString bearerToken() const override { return token; }
};

// A client of an in-process fake server, with a fixed clock so "now" is known.
struct BackendRig
{
    FakeBackendServer server;
    ManualClock clock{QDateTime(QDate(2026, 11, 15), QTime(18, 23))};
    FixedTokens tokens;
    Backend backend{listening(server), &clock};

    BackendRig() { backend.setTokenProvider(&tokens); }

    static QUrl listening(FakeBackendServer &server)
    {
        if (!server.listen())
            qFatal("the fake backend server cannot listen");
        return server.baseURL();
    }

    template <class T> static TaskOutcome<T> run(QCoro::Task<T> task)
    {
        return TaskOutcome<T>::settle(std::move(task));
    }
};

// The task without its value, so calls of different types fit one table.
template <class T> QCoro::Task<void> discard(QCoro::Task<T> task)
{
    co_await std::move(task);
}

template <class T>
void verifyBackendError(const TaskOutcome<T> &outcome, BackendError::Kind kind,
                        const QString &description)
{
    QVERIFY2(outcome.finished, "the call did not end");
    const auto error = outcome.template errorAs<BackendError>();
    QVERIFY2(error, qPrintable("not a BackendError: " + outcome.errorDescription()));
    QCOMPARE(int(error->kind()), int(kind));
    QCOMPARE(error->description(), description);
}

// Fails the running test unless `outcome` is this BackendError.
#define VERIFY_BACKEND_ERROR(outcome, kind, description)                                           \
    do {                                                                                           \
        verifyBackendError(outcome, kind, description);                                            \
        if (QTest::currentTestFailed())                                                            \
            return;                                                                                \
    } while (false)

#define VERIFY_SUCCEEDED(outcome)                                                                  \
    QVERIFY2((outcome).finished && !(outcome).error, qPrintable((outcome).errorDescription()))
