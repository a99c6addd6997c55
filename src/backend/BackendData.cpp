// History, dictionary, task, reminder, memory, project and connection endpoints of Backend.
#include "backend/Backend.h"

#include "backend/JsonFields.h"

namespace {

QString withScope(const QString &path, const std::optional<QString> &scope)
{
    return scope ? path + QStringLiteral("?scope=") + *scope : path;
}

} // namespace

template <class T> QCoro::Task<QList<T>> Backend::getList(QString path, QString key)
{
    const BackendResponse response = co_await perform(makeRequest(path, "GET"));
    ensureOK(response);
    try {
        // The reply is a map of arrays of records: every value must decode, not only
        // the one asked for.
        const QJsonObject object = JsonFields::parseObject(response.body);
        QList<T> wanted;
        bool found = false;
        for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
            if (!it->isArray())
                throw DecodingError::wrongType(it.key(), QStringLiteral("array"));
            QList<T> records = JsonFields::records<T>(it->toArray());
            if (it.key() == key) {
                wanted = std::move(records);
                found = true;
            }
        }
        if (!found)
            throw BackendError::badResponse();
        co_return wanted;
    } catch (const DecodingError &) {
        throw BackendError::badResponse();
    }
}

QCoro::Task<void> Backend::sendIgnoringResult(QString path, QByteArray method,
                                              std::optional<QJsonObject> body)
{
    BackendRequest request = makeRequest(path, method);
    if (body)
        setJsonBody(request, *body);
    co_await send(std::move(request));
}

QCoro::Task<QList<HistoryEntry>> Backend::history(std::optional<QString> scope)
{
    co_return co_await getList<HistoryEntry>(withScope(QStringLiteral("history"), scope),
                                             QStringLiteral("entries"));
}

QCoro::Task<void> Backend::clearHistory(std::optional<QString> scope)
{
    co_await sendIgnoringResult(withScope(QStringLiteral("history"), scope), "DELETE");
}

QCoro::Task<QList<DictionaryTerm>> Backend::dictionary()
{
    co_return co_await getList<DictionaryTerm>(QStringLiteral("dictionary"),
                                               QStringLiteral("terms"));
}

QCoro::Task<DictionaryTerm> Backend::createDictionaryTerm(QString term,
                                                          std::optional<QString> variant)
{
    QJsonObject body{{QStringLiteral("term"), term}};
    if (variant && !variant->isEmpty())
        body.insert(QStringLiteral("variant"), *variant);
    BackendRequest request = makeRequest(QStringLiteral("dictionary"), "POST");
    setJsonBody(request, body);
    try {
        const QJsonObject reply = co_await decodeObject(std::move(request));
        co_return DictionaryTerm::fromJson(reply.value(QLatin1String("term")));
    } catch (const DecodingError &) {
        throw BackendError::badResponse();
    }
}

QCoro::Task<void> Backend::deleteDictionaryTerm(QString id)
{
    co_await sendIgnoringResult(QStringLiteral("dictionary/") + id, "DELETE");
}

QCoro::Task<QList<AssistantTask>> Backend::tasks()
{
    co_return co_await getList<AssistantTask>(QStringLiteral("tasks"), QStringLiteral("tasks"));
}

QCoro::Task<void> Backend::completeTask(QString id, bool done)
{
    // Built before the co_await: GCC 12 cannot hold this temporary across it.
    const QJsonObject body{{QStringLiteral("done"), done}};
    co_await sendIgnoringResult(QStringLiteral("tasks/%1/complete").arg(id), "POST", body);
}

QCoro::Task<void> Backend::deleteTask(QString id)
{
    co_await sendIgnoringResult(QStringLiteral("tasks/") + id, "DELETE");
}

QCoro::Task<QList<Reminder>> Backend::reminders()
{
    co_return co_await getList<Reminder>(QStringLiteral("reminders"), QStringLiteral("reminders"));
}

QCoro::Task<void> Backend::deleteReminder(QString id)
{
    co_await sendIgnoringResult(QStringLiteral("reminders/") + id, "DELETE");
}

QCoro::Task<QList<MemoryItem>> Backend::memories()
{
    co_return co_await getList<MemoryItem>(QStringLiteral("memories"), QStringLiteral("memories"));
}

QCoro::Task<void> Backend::deleteMemory(QString id)
{
    co_await sendIgnoringResult(QStringLiteral("memories/") + id, "DELETE");
}

QCoro::Task<QList<Project>> Backend::projects()
{
    co_return co_await getList<Project>(QStringLiteral("projects"), QStringLiteral("projects"));
}

QCoro::Task<QList<AppConnection>> Backend::connections()
{
    try {
        const QJsonObject reply =
            co_await decodeObject(makeRequest(QStringLiteral("connections"), "GET"));
        co_return JsonFields::records<AppConnection>(
            JsonFields::requiredArray(reply, QStringLiteral("apps")));
    } catch (const DecodingError &) {
        throw BackendError::badResponse();
    }
}

QCoro::Task<QUrl> Backend::connect(QString app)
{
    BackendRequest request = makeRequest(QStringLiteral("connections/%1/connect").arg(app), "POST");
    setJsonBody(request, QJsonObject{});
    const QJsonObject reply = co_await send(std::move(request));
    const QJsonValue redirect = reply.value(QLatin1String("redirectUrl"));
    const QUrl url(redirect.toString(), QUrl::StrictMode);
    if (!redirect.isString() || !url.isValid() || url.isRelative())
        throw BackendError::badResponse();
    co_return url;
}

QCoro::Task<void> Backend::disconnect(QString slug)
{
    co_await sendIgnoringResult(QStringLiteral("connections/") + slug, "DELETE");
}
