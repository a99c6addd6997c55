// The dictation round trip around the backend, on the session's own sound and X servers:
//  - from the stop call to the last byte of the transcribe request at the server: the recorder
//    stops, its take becomes a WAV and the backend client uploads it;
//  - from the last byte of the server's reply to the paste keystroke sent through XTest.
// Every take is `seconds` long; the takes are recorded side by side, each by its own recorder,
// so that many long takes fit in one run, and are stopped and sent one at a time. Every other
// take goes to the server acknowledging at once, which isolates what TCP's delayed
// acknowledgements add to the upload.
// The server is a plain listener on a free loopback port, in a thread of its own, so its
// stamps do not wait for this program's event loop.
// Usage: bench_dictation_latency [takes, default 10] [seconds per take, default 30]
#include "LatencyRun.h"
#include "StampingKeySynthesizer.h"
#include "audio/AudioRecorder.h"
#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "desktop/Paster.h"
#include "platform/linux/X11KeySynthesizer.h"

#include <QApplication>
#include <QCoro/QCoroTask>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// One request at a time: reads it whole, stamps its last byte, answers with a transcript,
// stamps the answer's last byte and closes the connection. It acknowledges what it reads as
// a server does (delayed acknowledgements), or, to show what those cost, at once.
class TranscribeListener
{
public:
    explicit TranscribeListener(const Clock &clock) : m_clock(clock) {}
    ~TranscribeListener()
    {
        if (m_socket >= 0)
            ::shutdown(m_socket, SHUT_RDWR);
        if (m_thread.joinable())
            m_thread.join();
        if (m_socket >= 0)
            ::close(m_socket);
    }

    struct Exchange
    {
        double requestEnd = 0;
        double replyEnd = 0;
        std::string error;
    };

    bool listen()
    {
        m_socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (m_socket < 0 || ::bind(m_socket, reinterpret_cast<sockaddr *>(&address), length) != 0 ||
            ::listen(m_socket, 4) != 0 ||
            ::getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &length))
            return false;
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
        return true;
    }
    int port() const { return m_port; }
    int served() const { return m_served.load(); }
    void acknowledgeAtOnce(bool atOnce) { m_quickAck = atOnce; }
    Exchange exchange(int index) const
    {
        std::lock_guard lock(m_mutex);
        return m_exchanges.at(std::size_t(index));
    }

private:
    void serve()
    {
        for (;;) {
            const int connection = ::accept(m_socket, nullptr, nullptr);
            if (connection < 0)
                return;
            Exchange exchange = handle(connection);
            ::close(connection);
            {
                std::lock_guard lock(m_mutex);
                m_exchanges.push_back(std::move(exchange));
            }
            ++m_served;
        }
    }

    Exchange handle(int connection)
    {
        Exchange exchange;
        std::string data;
        char buffer[65536];
        std::size_t headerEnd = std::string::npos;
        std::size_t bodyLength = 0;
        for (;;) {
            if (m_quickAck) {
                // The kernel leaves quick-acknowledgement mode on its own: set before every read.
                const int on = 1;
                ::setsockopt(connection, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
            }
            const ssize_t got = ::recv(connection, buffer, sizeof buffer, 0);
            if (got <= 0) {
                exchange.error = "the client closed the connection mid-request";
                return exchange;
            }
            data.append(buffer, std::size_t(got));
            if (headerEnd == std::string::npos) {
                headerEnd = data.find("\r\n\r\n");
                if (headerEnd == std::string::npos)
                    continue;
                std::string head = data.substr(0, headerEnd);
                std::transform(head.begin(), head.end(), head.begin(), ::tolower);
                const std::size_t field = head.find("\r\ncontent-length:");
                if (field == std::string::npos) {
                    exchange.error = "the request has no Content-Length";
                    return exchange;
                }
                bodyLength = std::strtoul(head.c_str() + field + 17, nullptr, 10);
                headerEnd += 4;
            }
            if (data.size() >= headerEnd + bodyLength)
                break;
        }
        exchange.requestEnd = m_clock.now();

        const std::string body = R"({"text":"Benchmark dictation, pasted where you type."})";
        const std::string reply = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                                  "Content-Length: " +
                                  std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" +
                                  body;
        if (::send(connection, reply.data(), reply.size(), MSG_NOSIGNAL) != ssize_t(reply.size()))
            exchange.error = "the reply could not be sent";
        exchange.replyEnd = m_clock.now();
        return exchange;
    }

    const Clock &m_clock;
    int m_socket = -1;
    int m_port = 0;
    std::thread m_thread;
    mutable std::mutex m_mutex;
    std::vector<Exchange> m_exchanges;
    std::atomic<int> m_served{0};
    std::atomic<bool> m_quickAck{false};
};

struct Take
{
    double stopCalled = 0;
    double wavReady = 0;
    double transcribed = 0;
    std::size_t wavBytes = 0;
    bool done = false;
    QString error;
};

// As a dictation session runs once the key is up: stop, upload, paste.
QCoro::Task<void> dictate(AudioRecorder &recorder, Backend &backend, Paster &paster,
                          const Clock &clock, Take &take)
{
    take.stopCalled = clock.now();
    std::optional<QByteArray> wav = recorder.stop();
    take.wavReady = clock.now();
    if (!wav) {
        take.error = QStringLiteral("the recorder captured nothing");
        take.done = true;
        co_return;
    }
    take.wavBytes = std::size_t(wav->size());
    try {
        const QString text = co_await backend.transcribe(std::move(*wav), false);
        take.transcribed = clock.now();
        paster.paste(text);
    } catch (...) {
        take.error = DescribedError::describe(std::current_exception());
    }
    take.done = true;
}

int fail(const QString &why)
{
    std::fprintf(stderr, "bench_dictation_latency: %s\n", qPrintable(why));
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const int takes = argc > 1 ? std::atoi(argv[1]) : 10;
    const int seconds = argc > 2 ? std::atoi(argv[2]) : 30;
    if (takes < 1 || seconds < 1) {
        std::fprintf(stderr, "usage: bench_dictation_latency [takes] [seconds per take]\n");
        return 2;
    }

    SystemClock clock;
    QtScheduler scheduler;
    TranscribeListener listener(clock);
    if (!listener.listen())
        return fail(QStringLiteral("cannot listen on a loopback port"));
    Backend backend(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(listener.port())));
    X11KeySynthesizer x11Keys;
    StampingKeySynthesizer keys(x11Keys, clock);
    Paster paster(keys, scheduler);

    // Each take starts a little after the one before and is stopped `seconds` after its own
    // start, once the take before it has been sent and pasted.
    constexpr double stagger = 0.4;
    std::vector<std::unique_ptr<AudioRecorder>> recorders;
    std::vector<double> started;
    // The first take only opens the connection machinery: not counted.
    const int recorded = 2 * takes + 1;
    for (int i = 0; i < recorded; ++i) {
        recorders.push_back(std::make_unique<AudioRecorder>());
        try {
            recorders.back()->start();
        } catch (...) {
            return fail(DescribedError::describe(std::current_exception()));
        }
        started.push_back(clock.now());
        LatencyRun::pause(scheduler, clock, stagger);
    }

    std::vector<double> upload, stopToWav, wavToServer, reply, replyToText, textToKeystroke;
    std::vector<double> totalAckedAtOnce, sendAckedAtOnce;
    double shortest = 1e9, longest = 0;
    std::size_t wavBytes = 0;
    for (int i = 0; i < recorded; ++i) {
        const std::size_t at = std::size_t(i);
        const bool ackedAtOnce = i > 0 && i % 2 == 0;
        listener.acknowledgeAtOnce(ackedAtOnce);
        LatencyRun::pause(scheduler, clock, std::max(0.0, started[at] + seconds - clock.now()));
        Take take;
        keys.pasteSent.reset();
        QCoro::Task<void> running = dictate(*recorders[at], backend, paster, clock, take);
        const auto sent = [&take] { return take.done; };
        if (!LatencyRun::waitUntil(scheduler, clock, 60, sent))
            return fail(QStringLiteral("the backend client did not finish within 60 s"));
        if (!take.error.isEmpty())
            return fail(take.error);
        if (listener.served() != i + 1)
            return fail(QStringLiteral("the listener saw %1 requests after %2 takes")
                            .arg(listener.served())
                            .arg(i + 1));
        const TranscribeListener::Exchange exchange = listener.exchange(i);
        if (!exchange.error.empty())
            return fail(QString::fromStdString(exchange.error));
        const auto pasted = [&keys] { return keys.pasteSent.has_value(); };
        if (!LatencyRun::waitUntil(scheduler, clock, 5, pasted))
            return fail(QStringLiteral("no paste keystroke within 5 s of the transcript"));
        // 16-bit mono after a 44-byte header.
        const double audio = double(take.wavBytes - 44) / 2 / recorders[at]->sampleRate();
        recorders[at].reset();
        if (i == 0)
            continue;
        wavBytes = take.wavBytes;
        shortest = std::min(shortest, audio);
        longest = std::max(longest, audio);
        if (ackedAtOnce) {
            totalAckedAtOnce.push_back(1000 * (exchange.requestEnd - take.stopCalled));
            sendAckedAtOnce.push_back(1000 * (exchange.requestEnd - take.wavReady));
            continue;
        }
        upload.push_back(1000 * (exchange.requestEnd - take.stopCalled));
        stopToWav.push_back(1000 * (take.wavReady - take.stopCalled));
        wavToServer.push_back(1000 * (exchange.requestEnd - take.wavReady));
        reply.push_back(1000 * (*keys.pasteSent - exchange.replyEnd));
        replyToText.push_back(1000 * (take.transcribed - exchange.replyEnd));
        textToKeystroke.push_back(1000 * (*keys.pasteSent - take.transcribed));
    }

    LatencyRun::summary("stop to transcribe request sent", upload);
    LatencyRun::summary("  recorder stop and WAV", stopToWav);
    LatencyRun::summary("  upload to the server's last byte", wavToServer);
    LatencyRun::summary("  stop to sent, server acknowledging at once", totalAckedAtOnce);
    LatencyRun::summary("  upload, server acknowledging at once", sendAckedAtOnce);
    // An upload more than 20 ms over the typical one with prompt acknowledgements waited for one.
    const double prompt = LatencyRun::median(sendAckedAtOnce);
    std::vector<double> stalls;
    for (double ms : wavToServer) {
        if (ms - prompt > 20)
            stalls.push_back(ms - prompt);
    }
    std::printf("stalled uploads: %zu of %zu, by %.0f ms (median)\n", stalls.size(),
                wavToServer.size(), stalls.empty() ? 0.0 : LatencyRun::median(stalls));
    std::printf("takes recorded: %.1f to %.1f s of audio, WAV of %.2f MB\n", shortest, longest,
                double(wavBytes) / 1e6);
    LatencyRun::summary("transcribe response to paste keystroke", reply);
    LatencyRun::summary("  response read, transcript returned", replyToText);
    LatencyRun::summary("  paste delay and keystroke", textToKeystroke);
    return 0;
}
