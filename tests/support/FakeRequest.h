#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>

// One request as the fake backend server received it, bytes unchanged.
struct FakeRequest
{
    QByteArray method;
    QString target; // as sent: path and query
    QString path;   // percent-encoded as sent, without the query
    QString query;  // everything after the first '?', empty without one
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    // Header names compare case-insensitively; the first occurrence wins.
    bool hasHeader(QByteArrayView name) const;
    QByteArray header(QByteArrayView name) const;
    // The body as a JSON object; an empty object when it is not one.
    QJsonObject json() const;
};
