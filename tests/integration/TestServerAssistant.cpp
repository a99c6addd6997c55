// Dictation, questions, screen questions and meetings through the application's own client
// against a real ovrin-server: offline first, then pointed at a fake OpenAI-compatible service.
#include "FakeOpenAiServer.h"
#include "SpeechSamples.h"
#include "backend/Backend.h"
#include "backend/TokenProvider.h"
#include "support/TaskOutcome.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <nlohmann/json.hpp>

namespace {

struct Token : TokenProvider
{
    QString value;
    QString bearerToken() const override { return value; }
};

template <class T> TaskOutcome<T> run(QCoro::Task<T> task)
{
    return TaskOutcome<T>::settle(std::move(task));
}

std::string sseEvent(const std::string &content)
{
    const nlohmann::json data = {{"choices", {{{"index", 0}, {"delta", {{"content", content}}}}}}};
    return "data: " + data.dump() + "\n\n";
}

QByteArray screenshot(const QStringList &lines)
{
    QImage image(1280, 800, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(22);
    painter.setFont(font);
    painter.setPen(QColor(20, 20, 20));
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(60, 100 + i * 40, lines[i]);
    painter.end();
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 60);
    return jpeg;
}

// One ovrin-server on a free port with its own data and configuration, and a signed-in user.
class Server
{
public:
    explicit Server(const QString &chatUrl = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", m_dir.filePath("config")); // no server.json
        for (const QString &name : environment.keys())
            if (name.startsWith("OVRIN_"))
                environment.remove(name);
        if (!chatUrl.isEmpty())
            environment.insert("OVRIN_CHAT_URL", chatUrl);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(SERVER_BINARY), {"--port", "0", "--data", m_dir.path()});
    }
    ~Server()
    {
        backend.reset();
        m_process.terminate();
        m_process.waitForFinished(5000);
    }

    // Empty on success, else what went wrong.
    QString start()
    {
        if (!m_process.waitForReadyRead(10000))
            return "the server did not start";
        const QString banner = QString::fromUtf8(m_process.readLine());
        const QString port = QRegularExpression("127\\.0\\.0\\.1:(\\d+)").match(banner).captured(1);
        if (port.isEmpty())
            return banner;
        backend = std::make_unique<Backend>(QUrl("http://127.0.0.1:" + port));
        backend->setTokenProvider(&m_token);
        const auto session = run(backend->registerAccount("ada@example.com", "correct horse", ""));
        if (!session.value)
            return session.errorDescription();
        m_token.value = session.value->token;
        return {};
    }

    struct Answer
    {
        QString answer, error;
        QStringList deltas, actions;
    };
    Answer ask(const QString &question, const QStringList &apps = {})
    {
        Answer result;
        const auto outcome = run(backend->ask(
            question, {}, apps, [&](const QString &delta) { result.deltas << delta; },
            [&](const QString &type, const QString &name) {
                result.actions << type + ":" + name;
            }));
        result.answer = outcome.value.value_or(QString());
        result.error = outcome.errorDescription();
        return result;
    }

    std::unique_ptr<Backend> backend;
    QTemporaryDir m_dir;

private:
    QProcess m_process;
    Token m_token;
};

} // namespace

class TestServerAssistant : public QObject
{
    Q_OBJECT

    std::unique_ptr<Server> m_offline;
    QTemporaryDir m_audio;

private Q_SLOTS:
    void initTestCase()
    {
        m_offline = std::make_unique<Server>();
        const QString failure = m_offline->start();
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
    }

    void offlineCommandsStreamAndKeepTheirRecords()
    {
        Server &server = *m_offline;
        const auto added = server.ask("Add a task to buy milk");
        QVERIFY2(added.error.isEmpty(), qPrintable(added.error));
        QCOMPARE(added.deltas.join(QString()), added.answer);
        QCOMPARE(run(server.backend->tasks()).value->first().title, QStringLiteral("Buy milk"));

        QVERIFY(server.ask("Remind me to call Mom in 10 minutes").error.isEmpty());
        QCOMPARE(run(server.backend->reminders()).value->size(), 1);
        QVERIFY(server.ask("Remember that my locker code is 4512").error.isEmpty());
        QCOMPARE(run(server.backend->memories()).value->size(), 1);
        QVERIFY(server.ask("What do you remember about my locker?").answer.contains("4512"));
        QVERIFY(server.ask("What are my tasks?").answer.contains("Buy milk"));

        const auto opened = server.ask("Open Firefox", {"Files", "Firefox"});
        QCOMPARE(opened.actions, QStringList{"open_app:Firefox"});
        QVERIFY(!opened.answer.isEmpty());

        const auto general = server.ask("Why is the sky blue?");
        QVERIFY2(general.answer.contains("language model") &&
                     general.answer.contains("server.json"),
                 qPrintable(general.answer));
        QVERIFY(general.actions.isEmpty());

        // Every exchange is in the chat history, question before answer.
        const auto chat = run(server.backend->history(QStringLiteral("chat"))).value.value();
        QCOMPARE(chat.size(), 14);
        const auto question = std::find_if(chat.begin(), chat.end(), [](const HistoryEntry &e) {
            return e.text == QStringLiteral("Why is the sky blue?");
        });
        QVERIFY(question != chat.end());
        QCOMPARE(run(server.backend->ask("", {}, {}, {}, {})).errorDescription(),
                 QStringLiteral("Backend error 400: Missing \"question\"."));
    }

    void dictationIsRecognisedCleanedAndSpelledTheUsersWay()
    {
        OVRIN_REQUIRE_SPEECH_TOOLS();
        Server &server = *m_offline;
        const QString wav = m_audio.filePath("dictation.wav");
        QVERIFY(SpeechSamples::speak("the weather is nice today so we can walk to the park", wav));
        QVERIFY(run(server.backend->createDictionaryTerm("Parkway", QStringLiteral("park"))).value);

        const auto raw = run(server.backend->transcribe(
            QByteArray::fromStdString(SpeechSamples::readFile(wav)), false));
        QVERIFY2(raw.value, qPrintable(raw.errorDescription()));
        const auto cleaned = run(server.backend->transcribe(
            QByteArray::fromStdString(SpeechSamples::readFile(wav)), true));
        QVERIFY2(cleaned.value, qPrintable(cleaned.errorDescription()));
        qInfo("raw: %s\ncleaned: %s", qPrintable(*raw.value), qPrintable(*cleaned.value));
        QVERIFY(cleaned.value->front().isUpper());
        QVERIFY(cleaned.value->endsWith('.'));
        QVERIFY(cleaned.value->contains("Parkway"));
        QVERIFY(SpeechReference::wordErrorRate(
                    "The weather is nice today so we can walk to the Parkway.",
                    cleaned.value->toStdString()) <= 25.0);

        QVERIFY(run(server.backend->transcribe("RIFF and then nothing", false))
                    .errorDescription()
                    .startsWith("Backend error 400: Unsupported audio: "));
    }

    void meetingRecordingBecomesNotes()
    {
        OVRIN_REQUIRE_SPEECH_TOOLS();
        Server &server = *m_offline;
        const QString first = m_audio.filePath("first.wav"),
                      second = m_audio.filePath("second.wav");
        const QString paused = m_audio.filePath("paused.wav"),
                      meeting = m_audio.filePath("meeting.wav");
        QVERIFY(SpeechSamples::speak("We decided to ship the release on Friday.", first));
        QVERIFY(SpeechSamples::speak("Sam will write the announcement for the team.", second));
        // A second of silence between the sentences, as between two speakers.
        QVERIFY(SpeechSamples::sox(first + " " + paused + " pad 0 1"));
        QVERIFY(SpeechSamples::sox(paused + " " + second + " " + meeting));

        // The user's spelling applies to meetings too.
        QVERIFY(
            run(server.backend->createDictionaryTerm("Release", QStringLiteral("release"))).value);
        const auto upload = run(server.backend->presignUpload());
        QVERIFY(upload.value);
        QVERIFY(!run(server.backend->uploadRecording(upload.value->uploadURL, meeting)).error);
        const auto made = run(server.backend->createMeeting(upload.value->key, 6));
        QVERIFY2(made.value, qPrintable(made.errorDescription()));
        qInfo("transcript: %s\nnotes: %s", qPrintable(made.value->transcript),
              qPrintable(made.value->notes));
        QVERIFY(made.value->transcript.contains("friday", Qt::CaseInsensitive));
        QVERIFY(made.value->transcript.contains("the Release"));
        QCOMPARE(made.value->segments.size(), 2);
        QVERIFY(!made.value->notes.isEmpty());
    }

    void screenQuestionOfflineIsAnsweredFromItsText()
    {
        Server &server = *m_offline;
        QStringList deltas;
        const auto answer = run(server.backend->askImage(
            QString(), screenshot({"Quarterly budget review", "Invoices are due on Thursday"}),
            [&](const QString &delta) { deltas << delta; }));
        QVERIFY2(answer.value, qPrintable(answer.errorDescription()));
        QVERIFY2(answer.value->contains("Quarterly budget review"), qPrintable(*answer.value));
        QCOMPARE(deltas.join(QString()), *answer.value);
        QVERIFY(run(server.backend->askImage("What is this?", "not a picture", {}))
                    .errorDescription()
                    .startsWith("Backend error 400: Unsupported image"));
    }

    void chatUpstreamAnswersStreamAndCleansUp()
    {
        FakeOpenAiServer fake;
        fake.reply(200,
                   sseEvent("The sky ") + sseEvent("scatters ") + sseEvent("blue light.") +
                       "data: [DONE]\n\n",
                   "text/event-stream");
        QVERIFY(fake.start());
        Server server(QString::fromStdString(fake.url()));
        const QString failure = server.start();
        QVERIFY2(failure.isEmpty(), qPrintable(failure));

        const auto answer = server.ask("Why is the sky blue?");
        QCOMPARE(answer.deltas, (QStringList{"The sky ", "scatters ", "blue light."}));
        QCOMPARE(answer.answer, QStringLiteral("The sky scatters blue light."));
        auto sent = nlohmann::json::parse(fake.lastRequest().body);
        QVERIFY(sent["stream"] == true);
        QVERIFY(sent["messages"].back()["content"].dump().find("Why is the sky blue?") !=
                std::string::npos);
        QCOMPARE(run(server.backend->history(QStringLiteral("chat"))).value->size(), 2);

        // Offline commands still need no model.
        QVERIFY(server.ask("Add a task to water the plants")
                    .answer.contains("water the plants", Qt::CaseInsensitive));
        QVERIFY(nlohmann::json::parse(fake.lastRequest().body) == sent);

        // The screenshot goes to the vision model with the question.
        QVERIFY(run(server.backend->askImage("What is this?", screenshot({"Hello"}), {})).value);
        QVERIFY(fake.lastRequest().body.find("data:image/jpeg;base64,") != std::string::npos);

        // A failing upstream is named in the error, and nothing hangs.
        fake.reply(500, "{\"error\":{\"message\":\"model overloaded\"}}");
        const auto failed = server.ask("Tell me a joke");
        QVERIFY2(failed.error.startsWith("Backend error 502: ") &&
                     failed.error.contains(QString::fromStdString(fake.url())) &&
                     failed.error.contains("model overloaded"),
                 qPrintable(failed.error));
    }
};

QTEST_MAIN(TestServerAssistant)
#include "TestServerAssistant.moc"
