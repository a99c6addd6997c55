#include "platform/linux/PulseSoundServer.h"

#include <QDeadlineTimer>

#include <pulse/pulseaudio.h>

#include <algorithm>

namespace {

struct ServerInfoQuery
{
    std::optional<QByteArray> defaultSource;
    bool done = false;
};

void takeServerInfo(pa_context *, const pa_server_info *info, void *userdata)
{
    auto *query = static_cast<ServerInfoQuery *>(userdata);
    if (info && info->default_source_name && *info->default_source_name)
        query->defaultSource = QByteArray(info->default_source_name);
    query->done = true;
}

} // namespace

std::optional<QByteArray> PulseSoundServer::defaultInputId()
{
    pa_mainloop *loop = pa_mainloop_new();
    if (!loop)
        return std::nullopt;
    ServerInfoQuery query;
    pa_context *context = pa_context_new(pa_mainloop_get_api(loop), "Ovrin");
    if (context && pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0) {
        const QDeadlineTimer deadline(timeoutMilliseconds);
        pa_operation *operation = nullptr;
        while (!query.done && !deadline.hasExpired()) {
            const pa_context_state_t state = pa_context_get_state(context);
            if (!PA_CONTEXT_IS_GOOD(state))
                break;
            if (state == PA_CONTEXT_READY && !operation) {
                operation = pa_context_get_server_info(context, takeServerInfo, &query);
                if (!operation)
                    break;
            }
            const int waitMicroseconds = int(std::max<qint64>(0, deadline.remainingTime()) * 1000);
            if (pa_mainloop_prepare(loop, waitMicroseconds) < 0 || pa_mainloop_poll(loop) < 0 ||
                pa_mainloop_dispatch(loop) < 0)
                break;
        }
        if (operation) {
            // A late answer must not write into the query once it is gone.
            if (pa_operation_get_state(operation) == PA_OPERATION_RUNNING)
                pa_operation_cancel(operation);
            pa_operation_unref(operation);
        }
        pa_context_disconnect(context);
    }
    if (context)
        pa_context_unref(context);
    pa_mainloop_free(loop);
    return query.defaultSource;
}
