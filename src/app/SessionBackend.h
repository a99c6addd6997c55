#pragma once

#include "core/CancellationToken.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <functional>

// The backend calls of a capture session. Every call fails by throwing an exception
// whose description is the text shown to the user (DescribedError). Cancelling the
// token aborts the request in flight; the caller then ignores whatever comes back.
class SessionBackend
{
public:
    using DeltaHandler = std::function<void(const QString &delta)>;
    using ActionHandler = std::function<void(const QString &type, const QString &name)>;

    virtual ~SessionBackend() = default;
    virtual QCoro::Task<QString> transcribe(QByteArray wav, bool cleanup,
                                            CancellationToken token) = 0;
    // Streams the answer through `onDelta` and returns the final answer ("" when none came).
    virtual QCoro::Task<QString> ask(QString question, QString context, QStringList apps,
                                     DeltaHandler onDelta, ActionHandler onAction,
                                     CancellationToken token) = 0;
    virtual QCoro::Task<QString> askImage(QString question, QByteArray jpeg, DeltaHandler onDelta,
                                          CancellationToken token) = 0;
    virtual QCoro::Task<void> addHistory(QString kind, QString text) = 0;
};
