// From the key's release to the paste keystroke, for a dictation of about ten seconds, against
// a real ovrin-server with its built-in recogniser, on the session's own sound and X servers.
// flite's speech plays into the virtual microphone while the recorder takes it; the release
// comes when the player has finished. Two ways alternate in one run:
//  - streamed: the take goes up in chunks while it is spoken, and at release only the tail is
//    sent and the text asked for;
//  - whole file: at release the WAV is uploaded and recognised as a whole.
// Each path then pastes as the session does: clipboard, the paster's wait, Ctrl+V via XTest.
// Usage: bench_release_to_paste [takes per path, default 10]
#include "CompanionServer.h"
#include "LatencyRun.h"
#include "SpeechReference.h"
#include "StampingKeySynthesizer.h"
#include "app/DictationStream.h"
#include "audio/AudioRecorder.h"
#include "backend/Backend.h"
#include "backend/TokenProvider.h"
#include "core/DescribedError.h"
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "core/Text.h"
#include "desktop/Paster.h"
#include "platform/linux/X11KeySynthesizer.h"

#include <QApplication>
#include <QCoro/QCoroTask>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

class FixedToken : public TokenProvider
{
public:
    explicit FixedToken(QString token) : m_token(std::move(token)) {}
    QString bearerToken() const override { return m_token; }

private:
    QString m_token;
};

struct Take
{
    double released = 0;
    double stopped = 0;
    double textReady = 0;
    QString text;
    QString error;
    bool done = false;
};

// What the session does from the release on, up to handing the text to the paster.
QCoro::Task<void> release(AudioRecorder &recorder, std::shared_ptr<DictationStream> stream,
                          Backend &backend, Paster &paster, const Clock &clock, Take &take)
{
    take.released = clock.now();
    std::optional<QByteArray> wav = recorder.stop();
    take.stopped = clock.now();
    if (stream)
        QObject::disconnect(&recorder, nullptr, stream.get(), nullptr);
    try {
        if (!wav)
            throw DescribedError(QStringLiteral("the recorder captured nothing"));
        std::optional<QString> text;
        if (stream) {
            const CancellationToken never;
            text = co_await stream->finish(never);
            if (!text)
                throw DescribedError(QStringLiteral("the stream failed: ") + stream->problem());
        } else {
            text = co_await backend.transcribe(std::move(*wav), false);
        }
        take.textReady = clock.now();
        take.text = Text::trimmed(*text);
        paster.paste(take.text);
    } catch (...) {
        take.error = DescribedError::describe(std::current_exception());
    }
    take.done = true;
}

int fail(const QString &why)
{
    std::fprintf(stderr, "bench_release_to_paste: %s\n", qPrintable(why));
    return 1;
}

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

// About ten seconds of flite's speech in one file.
bool makeSpeech(const QString &folder, const QString &out)
{
    QStringList parts;
    for (std::size_t i = 0; i < 4; ++i) {
        const QString part = QStringLiteral("%1/part%2.wav").arg(folder).arg(i);
        const QString sentence = QString::fromStdString(SpeechReference::sentences()[i]);
        if (QProcess::execute(QStringLiteral("flite"),
                              {QStringLiteral("-voice"), QStringLiteral("slt"),
                               QStringLiteral("-t"), sentence, QStringLiteral("-o"), part}) != 0)
            return false;
        parts << part;
    }
    return QProcess::execute(QStringLiteral("sox"), parts << out) == 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const int takes = argc > 1 ? std::atoi(argv[1]) : 10;
    if (takes < 1) {
        std::fprintf(stderr, "usage: bench_release_to_paste [takes per path]\n");
        return 2;
    }
    for (const char *tool : {"flite", "sox", "paplay"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            return fail(QStringLiteral("%1 is not installed").arg(QLatin1String(tool)));
    }

    QTemporaryDir scratch;
    const QString speech = scratch.filePath(QStringLiteral("speech.wav"));
    if (!scratch.isValid() || !makeSpeech(scratch.path(), speech))
        return fail(QStringLiteral("flite or sox could not make the speech"));

    const QString serverBinary = QDir(QCoreApplication::applicationDirPath())
                                     .filePath(QStringLiteral("../bin/ovrin-server"));
    CompanionServer server(serverBinary, scratch.filePath(QStringLiteral("server")), freePort());
    if (!server.start())
        return fail(QStringLiteral("%1 did not start").arg(serverBinary));
    if (!server.registerAccount(QStringLiteral("bench@example.org"), QStringLiteral("bench-pass")))
        return fail(QStringLiteral("could not make an account on the server"));

    SystemClock clock;
    QtScheduler scheduler;
    FixedToken token(QString::fromUtf8(server.token()));
    Backend backend(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(server.port())), &clock);
    backend.setTokenProvider(&token);
    X11KeySynthesizer x11Keys;
    StampingKeySynthesizer keys(x11Keys, clock);
    Paster paster(keys, scheduler);
    AudioRecorder recorder;

    std::vector<double> streamedPaste, streamedText, wholePaste, wholeText, stops;
    QString streamedSample, wholeSample;
    double spoken = 0;
    // One take of each path first, not counted: the server makes a decoder for each.
    for (int i = 0; i < 2 * (takes + 1); ++i) {
        const bool streamed = i % 2 == 0;
        try {
            recorder.start();
        } catch (...) {
            return fail(DescribedError::describe(std::current_exception()));
        }
        const double began = clock.now();
        std::shared_ptr<DictationStream> stream;
        if (streamed)
            stream = DictationStream::follow(recorder, backend, false);
        QProcess player;
        player.start(QStringLiteral("paplay"),
                     {QStringLiteral("-d"), QStringLiteral("micfeed"), speech});
        const auto played = [&player] { return player.state() == QProcess::NotRunning; };
        if (!LatencyRun::waitUntil(scheduler, clock, 60, played) || player.exitCode() != 0)
            return fail(QStringLiteral("paplay did not play the speech"));
        spoken = clock.now() - began;

        Take take;
        keys.pasteSent.reset();
        QCoro::Task<void> running = release(recorder, stream, backend, paster, clock, take);
        const auto finished = [&take, &keys] {
            return take.done && (!take.error.isEmpty() || keys.pasteSent);
        };
        if (!LatencyRun::waitUntil(scheduler, clock, 30, finished))
            return fail(QStringLiteral("no paste keystroke within 30 s of the release"));
        if (!take.error.isEmpty())
            return fail(take.error);
        if (take.text.isEmpty())
            return fail(QStringLiteral("the server heard nothing"));
        if (i < 2)
            continue;
        (streamed ? streamedPaste : wholePaste).push_back(1000 * (*keys.pasteSent - take.released));
        (streamed ? streamedText : wholeText).push_back(1000 * (take.textReady - take.released));
        (streamed ? streamedSample : wholeSample) = take.text;
        stops.push_back(1000 * (take.stopped - take.released));
    }

    std::printf("takes: %d per path, %.1f s from start to release\n", takes, spoken);
    LatencyRun::summary("release to paste keystroke, streamed", streamedPaste);
    LatencyRun::summary("  release to text, streamed", streamedText);
    LatencyRun::summary("release to paste keystroke, whole file", wholePaste);
    LatencyRun::summary("  release to text, whole file", wholeText);
    LatencyRun::summary("  of which the recorder's stop, both paths", stops);
    std::printf("streamed text: %s\nwhole-file text: %s\n", qPrintable(streamedSample),
                qPrintable(wholeSample));
    return 0;
}
