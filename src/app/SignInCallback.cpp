#include "app/SignInCallback.h"

#include <QUrlQuery>

SignInCallback SignInCallback::parse(const QUrl &url)
{
    SignInCallback callback;
    if (url.scheme().compare(u"ovrin", Qt::CaseInsensitive) != 0 ||
        url.host().compare(u"auth", Qt::CaseInsensitive) != 0)
        return callback;
    const QUrlQuery query(url);
    const QString token = query.queryItemValue(QStringLiteral("token"), QUrl::FullyDecoded);
    if (!token.isEmpty()) {
        callback.m_kind = Kind::token;
        callback.m_value = token;
    } else if (query.hasQueryItem(QStringLiteral("error"))) {
        callback.m_kind = Kind::error;
        callback.m_value = query.queryItemValue(QStringLiteral("error"), QUrl::FullyDecoded);
    }
    return callback;
}
