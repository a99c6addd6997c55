#include "backend/BackendError.h"

BackendError::BackendError(Kind kind, int status, QString message, QString description)
    : DescribedError(std::move(description)), m_kind(kind), m_status(status),
      m_message(std::move(message))
{}

BackendError BackendError::http(int status, const QString &message)
{
    return BackendError(Kind::http, status, message,
                        QStringLiteral("Backend error %1: %2").arg(status).arg(message));
}

BackendError BackendError::badResponse()
{
    return BackendError(Kind::badResponse, 0, {},
                        QStringLiteral("Unexpected response from the backend."));
}

BackendError BackendError::tooLarge(qint64 limitBytes)
{
    return BackendError(Kind::badResponse, 0, {},
                        QStringLiteral("The backend's reply is too large (over %1 MB).")
                            .arg(limitBytes / (1024 * 1024)));
}

BackendError BackendError::notReachable(const QUrl &baseURL)
{
    return BackendError(Kind::notReachable, 0, {},
                        QStringLiteral("Can't reach the backend. Is it running on ") +
                            baseURL.toString(QUrl::FullyEncoded) + QLatin1Char('?'));
}
