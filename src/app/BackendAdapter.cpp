#include "app/BackendAdapter.h"

#include "backend/Backend.h"

BackendAdapter::BackendAdapter(Backend &backend) : m_backend(backend) {}

QCoro::Task<bool> BackendAdapter::health()
{
    return m_backend.health();
}

QCoro::Task<QString> BackendAdapter::transcribe(QByteArray wav, bool cleanup,
                                                CancellationToken token)
{
    return m_backend.transcribe(std::move(wav), cleanup, std::move(token));
}

QCoro::Task<QString> BackendAdapter::ask(QString question, QString context, QStringList apps,
                                         DeltaHandler onDelta, ActionHandler onAction,
                                         CancellationToken token)
{
    return m_backend.ask(std::move(question), std::move(context), std::move(apps),
                         std::move(onDelta), std::move(onAction), std::move(token));
}

QCoro::Task<QString> BackendAdapter::askImage(QString question, QByteArray jpeg,
                                              DeltaHandler onDelta, CancellationToken token)
{
    return m_backend.askImage(std::move(question), std::move(jpeg), std::move(onDelta),
                              std::move(token));
}

QCoro::Task<void> BackendAdapter::addHistory(QString kind, QString text)
{
    return m_backend.addHistory(std::move(kind), std::move(text));
}
