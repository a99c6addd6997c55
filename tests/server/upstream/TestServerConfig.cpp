// server.json and the environment: what wins, what a broken file keeps, how addresses read.
#include "ServerConfig.h"

#include <QTemporaryDir>
#include <QTest>

#include <fstream>
#include <map>

namespace {

ServerConfig::Environment environment(std::map<std::string, std::string> variables)
{
    return [variables](const std::string &name) -> std::optional<std::string> {
        const auto found = variables.find(name);
        if (found == variables.end())
            return std::nullopt;
        return found->second;
    };
}

QString joined(const std::vector<std::string> &lines)
{
    QStringList list;
    for (const std::string &line : lines)
        list << QString::fromStdString(line);
    return list.join('\n');
}

} // namespace

class TestServerConfig : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    std::string fileWith(const QByteArray &contents)
    {
        const std::string path = m_dir.filePath("server.json").toStdString();
        // Written with ' for " to keep the JSON readable here.
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            << QByteArray(contents).replace('\'', '"').toStdString();
        return path;
    }

private Q_SLOTS:
    void environmentOverridesTheFile()
    {
        const std::string path =
            fileWith("{'transcription': {'url': 'http://127.0.0.1:8080/v1/', 'key': 'file-key'},"
                     " 'chat': {'url': 'https://api.example.com/v1', 'key': 'chat-key',"
                     "          'model': 'big'}}");
        const auto config =
            ServerConfig::load(path, environment({
                                         {"OVRIN_CHAT_URL", "http://localhost:11434"},
                                         {"OVRIN_CHAT_MODEL", "llama3"},
                                         {"OVRIN_TRANSCRIBE_KEY", "env-key"},
                                     }));

        QVERIFY2(config.warnings.empty(), qPrintable(joined(config.warnings)));
        QCOMPARE(config.transcription.url, "http://127.0.0.1:8080");
        QCOMPARE(config.transcription.key, "env-key");
        QCOMPARE(config.transcription.model, "whisper-1");
        QCOMPARE(config.chat.url, "http://localhost:11434");
        QCOMPARE(config.chat.key, "chat-key");
        QCOMPARE(config.chat.model, "llama3");
        QCOMPARE(config.chat.visionModel, "llama3");

        const auto vision =
            ServerConfig::load(path, environment({
                                         {"OVRIN_VISION_MODEL", "llava"},
                                         {"OVRIN_TRANSCRIBE_URL", ""}, // set but empty: offline
                                     }));
        QCOMPARE(vision.chat.model, "big");
        QCOMPARE(vision.chat.visionModel, "llava");
        QVERIFY(!vision.transcription.active());
    }

    void missingFileMeansOffline()
    {
        const std::string missing = m_dir.filePath("absent/server.json").toStdString();
        const auto offline = ServerConfig::load(missing, environment({}));
        QVERIFY(offline.warnings.empty() && !offline.transcription.active() &&
                !offline.chat.active());

        const auto broken =
            ServerConfig::load(missing, environment({{"OVRIN_CHAT_URL", "gopher://x"}}));
        QVERIFY(!broken.chat.active());
        QCOMPARE(broken.warnings.size(), 1u);
        QVERIFY(broken.warnings[0].starts_with("OVRIN_CHAT_URL: \"gopher://x\" is not an http"));
    }

    void brokenFilesKeepTheRest_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<QString>("warning");
        QTest::addColumn<bool>("transcription");
        QTest::addColumn<bool>("chat");

        QTest::newRow("bad JSON") << QByteArray("{'chat': {'url': 'http://a'")
                                  << "not valid JSON (parse error at line 1" << false << false;
        QTest::newRow("section not an object")
            << QByteArray("{'chat': 'http://a', 'transcription': {'url': 'http://b'}}")
            << "\"chat\" must be an object" << true << false;
        QTest::newRow("url not http")
            << QByteArray("{'chat': {'url': 'ftp://a'}, 'transcription': {'url': 'http://b'}}")
            << "chat.url \"ftp://a\" is not an http:// or https:// address; chat stays offline"
            << true << false;
        QTest::newRow("model not a text keeps the service")
            << QByteArray("{'chat': {'url': 'http://a', 'model': ['x']}}")
            << "chat.model must be a text" << false << true;
        QTest::newRow("misspelt setting")
            << QByteArray("{'chat': {'url': 'http://a', 'visonModel': 'x'}}")
            << "unknown setting \"chat.visonModel\"" << false << true;
    }

    void brokenFilesKeepTheRest()
    {
        QFETCH(QByteArray, contents);
        QFETCH(QString, warning);
        QFETCH(bool, transcription);
        QFETCH(bool, chat);

        const std::string path = fileWith(contents);
        const auto config = ServerConfig::load(path, environment({}));
        QCOMPARE(config.warnings.size(), 1u);
        const QString text = QString::fromStdString(config.warnings[0]);
        QVERIFY2(text.startsWith(QString::fromStdString(path + ": ")), qPrintable(text));
        QVERIFY2(text.contains(warning), qPrintable(text));
        QCOMPARE(config.transcription.active(), transcription);
        QCOMPARE(config.chat.active(), chat);
        if (chat)
            QCOMPARE(config.chat.model, ServerConfig::defaultChatModel);
    }

    void urlNormalisation()
    {
        const std::pair<const char *, const char *> cases[] = {
            {"http://127.0.0.1:8080/", "http://127.0.0.1:8080"},
            {" HTTPS://api.example.com/v1/ ", "https://api.example.com"},
            {"https://example.com/openai/v1", "https://example.com/openai"},
            {"http://h:1/v1/chat/completions", "http://h:1"},
            {"http://v1/v1", "http://v1"},
            {"127.0.0.1:8080", "refused"},
            {"file:///etc/passwd", "refused"},
            {"http:///v1", "refused"},
            {"http://h?x=1", "refused"},
            {"http://h /v1", "refused"},
        };
        for (const auto &[input, expected] : cases)
            QCOMPARE(ServerConfig::normalisedUrl(input).value_or("refused"), expected);
    }

    void defaultPath()
    {
        QCOMPARE(ServerConfig::defaultPath(
                     environment({{"XDG_CONFIG_HOME", "/c"}, {"HOME", "/home/u"}})),
                 "/c/Ovrin/server.json");
        QCOMPARE(ServerConfig::defaultPath(
                     environment({{"XDG_CONFIG_HOME", "relative"}, {"HOME", "/home/u"}})),
                 "/home/u/.config/Ovrin/server.json");
    }

    void describesTheEngines()
    {
        const std::string path = fileWith("{'transcription': {'url': 'http://127.0.0.1:8080', "
                                          "'key': 'secret-key'}}");
        auto config = ServerConfig::load(path, environment({}));
        QStringList lines = QString::fromStdString(config.describe("pocketsphinx (en-us)", "tess"))
                                .split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines[0], "Transcription: whisper-1 at http://127.0.0.1:8080, with a key");
        QVERIFY2(lines[1].startsWith("Chat: none — general questions need a language model") &&
                     lines[1].contains(QString::fromStdString(path)),
                 qPrintable(lines[1]));
        QVERIFY2(lines[2].startsWith("Vision: none"), qPrintable(lines[2]));
        QCOMPARE(lines[3], "Screen text: tess");

        config = ServerConfig::load(path, environment({{"OVRIN_TRANSCRIBE_URL", ""},
                                                       {"OVRIN_CHAT_URL", "http://h:1"},
                                                       {"OVRIN_VISION_MODEL", "llava"}}));
        lines = QString::fromStdString(config.describe("pocketsphinx (en-us)", "tess"))
                    .split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.mid(0, 3),
                 QStringList({"Transcription: pocketsphinx (en-us) (offline)",
                              "Chat: gpt-4o-mini at http://h:1", "Vision: llava at http://h:1"}));
    }
};

QTEST_GUILESS_MAIN(TestServerConfig)
#include "TestServerConfig.moc"
