// Account endpoints of Backend.
#include "backend/Backend.h"

#include "backend/JsonFields.h"

QCoro::Task<AuthSession> Backend::decodeAuth(BackendRequest request)
{
    const BackendResponse response = co_await perform(std::move(request));
    ensureOK(response);
    try {
        const QJsonObject object = JsonFields::parseObject(response.body);
        co_return AuthSession{JsonFields::requiredString(object, QStringLiteral("token")),
                              AuthUser::fromJson(object.value(QLatin1String("user")))};
    } catch (const DecodingError &) {
        throw BackendError::badResponse();
    }
}

QCoro::Task<AuthSession> Backend::login(QString email, QString password)
{
    BackendRequest request = makeRequest(QStringLiteral("auth/login"), "POST");
    setJsonBody(request, QJsonObject{{QStringLiteral("email"), email},
                                     {QStringLiteral("password"), password}});
    co_return co_await decodeAuth(std::move(request));
}

QCoro::Task<AuthSession> Backend::registerAccount(QString email, QString password, QString name)
{
    BackendRequest request = makeRequest(QStringLiteral("auth/register"), "POST");
    setJsonBody(request, QJsonObject{{QStringLiteral("email"), email},
                                     {QStringLiteral("password"), password},
                                     {QStringLiteral("name"), name}});
    co_return co_await decodeAuth(std::move(request));
}

QCoro::Task<AuthUser> Backend::me()
{
    const BackendResponse response =
        co_await perform(makeRequest(QStringLiteral("auth/me"), "GET"));
    ensureOK(response);
    try {
        const QJsonObject object = JsonFields::parseObject(response.body);
        co_return AuthUser::fromJson(object.value(QLatin1String("user")));
    } catch (const DecodingError &) {
        throw BackendError::badResponse();
    }
}

QCoro::Task<bool> Backend::googleAvailable()
{
    try {
        const QJsonObject reply = co_await send(makeRequest(QStringLiteral("auth/config"), "GET"));
        const QJsonValue google = reply.value(QLatin1String("google"));
        co_return google.isBool() && google.toBool();
    } catch (const std::exception &) {
        co_return false;
    }
}

QUrl Backend::googleSignInURL() const
{
    return makeRequest(QStringLiteral("auth/google"), "GET").request.url();
}
