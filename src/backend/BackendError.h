#pragma once

#include "core/DescribedError.h"

#include <QString>
#include <QUrl>

// The error of every backend call. description() is the text the user sees.
class BackendError : public DescribedError
{
public:
    enum class Kind {
        http,        // the backend answered outside 2xx, or a stream reported an error
        badResponse, // not an HTTP response, or a body without the expected shape
        notReachable // the transport failed: no connection, time-out, cancelled
    };

    static BackendError http(int status, const QString &message);
    static BackendError badResponse();
    // A reply over `limitBytes`: a badResponse that says so.
    static BackendError tooLarge(qint64 limitBytes);
    static BackendError notReachable(const QUrl &baseURL);

    Kind kind() const { return m_kind; }
    // HTTP status of an `http` error (-1 marks an upload answered without HTTP).
    int status() const { return m_status; }
    const QString &message() const { return m_message; }
    QString errorDescription() const { return description(); }

private:
    BackendError(Kind kind, int status, QString message, QString description);

    Kind m_kind;
    int m_status;
    QString m_message;
};
