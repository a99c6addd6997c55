#include "backend/ReplyWaiter.h"

#include <QNetworkReply>

ReplyWaiter::ReplyWaiter(QNetworkReply *reply)
{
    connect(reply, &QNetworkReply::metaDataChanged, this, &ReplyWaiter::progressed);
    connect(reply, &QNetworkReply::readyRead, this, &ReplyWaiter::progressed);
    connect(reply, &QNetworkReply::finished, this, &ReplyWaiter::progressed);
}

void ReplyWaiter::progressed()
{
    if (m_wakeQueued)
        return;
    m_wakeQueued = true;
    // Queued on this object: dropped if the waiting coroutine is destroyed first.
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_wakeQueued = false;
            if (auto handle = std::exchange(m_waiting, {}))
                handle.resume();
        },
        Qt::QueuedConnection);
}
