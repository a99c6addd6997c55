#include "app/LaunchRequest.h"

#include <utility>

namespace {

constexpr std::pair<QStringView, LaunchRequest::Kind> commands[] = {
    {u"toggle", LaunchRequest::Kind::toggle},
    {u"ask-toggle", LaunchRequest::Kind::askToggle},
    {u"screen-toggle", LaunchRequest::Kind::screenToggle},
};

} // namespace

LaunchRequest LaunchRequest::parse(const QStringList &arguments)
{
    LaunchRequest request;
    const QStringList words = arguments.mid(1);
    if (words.isEmpty())
        return request;
    if (words.size() == 1) {
        const QString &word = words.first();
        for (const auto &[name, kind] : commands) {
            if (word == name) {
                request.m_kind = kind;
                return request;
            }
        }
        const QUrl url(word, QUrl::StrictMode);
        if (url.isValid() && !url.scheme().isEmpty()) {
            request.m_kind = Kind::url;
            request.m_url = url;
            return request;
        }
    }
    request.m_kind = Kind::unknown;
    request.m_text = words.join(QLatin1Char(' '));
    return request;
}
