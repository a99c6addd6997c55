#include "platform/linux/PulseSystemAudioSource.h"

#include <QList>

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cstring>

namespace {

// The monitor of whichever output is the default when recording starts.
const char *const monitorName = "@DEFAULT_MONITOR@";

} // namespace

struct PulseSystemAudioSource::Connection
{
    PulseSystemAudioSource *owner = nullptr;
    pa_sample_spec spec{};
    pa_threaded_mainloop *loop = nullptr;
    pa_context *context = nullptr;
    pa_stream *stream = nullptr;
    bool loopRunning = false;
    bool failed = false; // server thread only: report once

    // Server thread, with the loop's lock held.
    void postFailure()
    {
        if (failed)
            return;
        failed = true;
        Q_EMIT owner->failed();
    }

    void postSamples(const QList<float> &samples) { Q_EMIT owner->captured(samples); }

    void openStream();
    static void contextStateChanged(pa_context *context, void *userdata);
    static void streamStateChanged(pa_stream *stream, void *userdata);
    static void streamReadable(pa_stream *stream, size_t, void *userdata);

    ~Connection()
    {
        if (loopRunning)
            pa_threaded_mainloop_lock(loop);
        if (stream) {
            pa_stream_set_state_callback(stream, nullptr, nullptr);
            pa_stream_set_read_callback(stream, nullptr, nullptr);
            pa_stream_disconnect(stream);
            pa_stream_unref(stream);
        }
        if (context) {
            pa_context_set_state_callback(context, nullptr, nullptr);
            pa_context_disconnect(context);
            pa_context_unref(context);
        }
        if (loopRunning) {
            pa_threaded_mainloop_unlock(loop);
            pa_threaded_mainloop_stop(loop);
        }
        if (loop)
            pa_threaded_mainloop_free(loop);
    }
};

void PulseSystemAudioSource::Connection::streamStateChanged(pa_stream *stream, void *userdata)
{
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED)
        static_cast<Connection *>(userdata)->postFailure();
}

void PulseSystemAudioSource::Connection::streamReadable(pa_stream *stream, size_t, void *userdata)
{
    auto *connection = static_cast<Connection *>(userdata);
    while (pa_stream_readable_size(stream) > 0) {
        const void *data = nullptr;
        size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0) {
            connection->postFailure();
            return;
        }
        if (bytes == 0)
            return;
        // A hole in the stream is silence of its length, so time keeps its place.
        QList<float> samples(qsizetype(bytes / sizeof(float)), 0.0f);
        if (data)
            std::memcpy(samples.data(), data, size_t(samples.size()) * sizeof(float));
        pa_stream_drop(stream);
        connection->postSamples(samples);
    }
}

void PulseSystemAudioSource::Connection::contextStateChanged(pa_context *context, void *userdata)
{
    auto *connection = static_cast<Connection *>(userdata);
    switch (pa_context_get_state(context)) {
    case PA_CONTEXT_READY:
        connection->openStream();
        break;
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
        connection->postFailure();
        break;
    default:
        break;
    }
}

void PulseSystemAudioSource::Connection::openStream()
{
    if (stream)
        return;
    stream = pa_stream_new(context, "Computer audio", &spec, nullptr);
    if (!stream) {
        postFailure();
        return;
    }
    pa_stream_set_state_callback(stream, streamStateChanged, this);
    pa_stream_set_read_callback(stream, streamReadable, this);
    pa_buffer_attr attributes;
    std::memset(&attributes, 0xff, sizeof attributes); // the server's choice, except:
    attributes.fragsize =
        uint32_t(pa_usec_to_bytes(fragmentMilliseconds * PA_USEC_PER_MSEC, &spec));
    // Not moved when its output goes away: it would land on the microphone and double it.
    const auto flags = pa_stream_flags_t(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    if (pa_stream_connect_record(stream, monitorName, &attributes, flags) < 0)
        postFailure();
}

PulseSystemAudioSource::PulseSystemAudioSource(QObject *parent) : SystemAudioSource(parent) {}

PulseSystemAudioSource::~PulseSystemAudioSource()
{
    stop();
}

bool PulseSystemAudioSource::start(int sampleRate)
{
    stop();
    auto connection = std::make_unique<Connection>();
    connection->owner = this;
    connection->spec = pa_sample_spec{PA_SAMPLE_FLOAT32NE, uint32_t(std::max(sampleRate, 0)), 1};
    if (sampleRate <= 0 || !pa_sample_spec_valid(&connection->spec))
        return false;
    connection->loop = pa_threaded_mainloop_new();
    if (!connection->loop)
        return false;
    connection->context = pa_context_new(pa_threaded_mainloop_get_api(connection->loop), "Ovrin");
    if (!connection->context)
        return false;
    pa_context_set_state_callback(connection->context, Connection::contextStateChanged,
                                  connection.get());
    if (pa_context_connect(connection->context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return false;
    if (pa_threaded_mainloop_start(connection->loop) < 0)
        return false;
    connection->loopRunning = true;
    m_connection = std::move(connection);
    return true;
}

void PulseSystemAudioSource::stop()
{
    // Joins the server's thread: nothing is emitted after this.
    m_connection.reset();
}
