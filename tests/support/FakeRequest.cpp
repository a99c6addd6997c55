#include "FakeRequest.h"

#include <QJsonDocument>

namespace {

const QPair<QByteArray, QByteArray> *find(const QList<QPair<QByteArray, QByteArray>> &headers,
                                          QByteArrayView name)
{
    for (const auto &header : headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            return &header;
    }
    return nullptr;
}

} // namespace

bool FakeRequest::hasHeader(QByteArrayView name) const
{
    return find(headers, name) != nullptr;
}

QByteArray FakeRequest::header(QByteArrayView name) const
{
    const auto *header = find(headers, name);
    return header ? header->second : QByteArray();
}

QJsonObject FakeRequest::json() const
{
    return QJsonDocument::fromJson(body).object();
}
