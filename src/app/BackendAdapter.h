#pragma once

#include "app/BackendHealth.h"
#include "app/SessionBackend.h"

class Backend;

// The application's view of the backend client: its health check and the calls a
// capture session makes.
class BackendAdapter : public BackendHealth, public SessionBackend
{
public:
    explicit BackendAdapter(Backend &backend);

    QCoro::Task<bool> health() override;
    QCoro::Task<QString> transcribe(QByteArray wav, bool cleanup, CancellationToken token) override;
    QCoro::Task<QString> ask(QString question, QString context, QStringList apps,
                             DeltaHandler onDelta, ActionHandler onAction,
                             CancellationToken token) override;
    QCoro::Task<QString> askImage(QString question, QByteArray jpeg, DeltaHandler onDelta,
                                  CancellationToken token) override;
    QCoro::Task<void> addHistory(QString kind, QString text) override;

private:
    Backend &m_backend;
};
