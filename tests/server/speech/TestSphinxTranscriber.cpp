// Offline recognition of flite's voice: accuracy, the user's vocabulary, recordings streamed
// while spoken, and a missing model.
#include "HttpError.h"
#include "SpeechSamples.h"
#include "SphinxTranscriber.h"
#include "WavAudio.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <thread>

namespace {

const std::vector<std::string> &sentences = SpeechReference::sentences();

// Measured 9.1 % both at 16 kHz and through 48 kHz stereo; the aim is at most 25 %.
constexpr double maxWordErrorRate = 20.0;

} // namespace

class TestSphinxTranscriber : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        OVRIN_REQUIRE_SPEECH_TOOLS();
        m_transcriber = std::make_unique<SphinxTranscriber>();
    }

    void recognisesFliteSentences_data()
    {
        QTest::addColumn<QString>("soxFormat"); // how the upload is shaped; empty: as flite made it
        QTest::newRow("16 kHz mono") << QString();
        QTest::newRow("48 kHz stereo") << QStringLiteral("-r 48000 -c 2");
    }

    void recognisesFliteSentences()
    {
        QFETCH(QString, soxFormat);
        std::string reference, heard;
        for (std::size_t i = 0; i < sentences.size(); ++i) {
            const QString spoken = m_dir.filePath(QStringLiteral("s%1.wav").arg(i));
            QVERIFY(SpeechSamples::speak(QString::fromStdString(sentences[i]), spoken));
            QString upload = spoken;
            if (!soxFormat.isEmpty()) {
                upload = m_dir.filePath(QStringLiteral("u%1.wav").arg(i));
                QVERIFY(SpeechSamples::sox(spoken + " " + soxFormat + " " + upload));
            }
            // Audio at another rate is the transcriber's to convert.
            const MonoAudio audio = WavAudio::decode(SpeechSamples::readFile(upload));
            const std::string text = m_transcriber->transcribe(audio, {});
            qInfo("%s -> %s", sentences[i].c_str(), text.c_str());
            reference += sentences[i] + " ";
            heard += text + " ";
        }
        const double wer = SpeechReference::wordErrorRate(reference, heard);
        qInfo("word error rate %.1f %%", wer);
        QVERIFY2(wer <= maxWordErrorRate, qPrintable(QString::number(wer)));
    }

    void vocabularyTermsBecomeWords()
    {
        // Pronunciations pieced together from the dictionary's words and letter names.
        QCOMPARE(m_transcriber->pronunciation("FlowBoard"), std::string("F L OW B AO R D"));
        QCOMPARE(m_transcriber->pronunciation("AWS"), std::string("EY D AH B AH L Y UW EH S"));
        QCOMPARE(m_transcriber->pronunciation("HTTPServer"),
                 std::string("EY CH T IY T IY P IY S ER V ER"));
        QCOMPARE(m_transcriber->pronunciation("Ovrin"), std::string()); // not guessable

        const QString path = m_dir.filePath(QStringLiteral("vocabulary.wav"));
        QVERIFY(SpeechSamples::speak(
            QStringLiteral("Please open the flowboard and check the numbers."), path));
        const MonoAudio audio = WavAudio::decode(SpeechSamples::readFile(path));
        const std::string plain = m_transcriber->transcribe(audio, {});
        QVERIFY2(plain.find("flowboard") == std::string::npos, plain.c_str());
        const std::string withTerm = m_transcriber->transcribe(audio, {"FlowBoard", "Ovrin Cloud"});
        QVERIFY2(withTerm.find("flowboard") != std::string::npos, withTerm.c_str());
    }

    void concurrentRequestsHearTheSame()
    {
        const QString path = m_dir.filePath(QStringLiteral("s0.wav"));
        QVERIFY(SpeechSamples::speak(QString::fromStdString(sentences[0]), path));
        const MonoAudio audio = WavAudio::decode(SpeechSamples::readFile(path));
        const std::string alone = m_transcriber->transcribe(audio, {});
        std::string first, second;
        std::thread other([&] { second = m_transcriber->transcribe(audio, {}); });
        first = m_transcriber->transcribe(audio, {});
        other.join();
        QCOMPARE(first, alone);
        QCOMPARE(second, alone);
        QCOMPARE(m_transcriber->transcribe(MonoAudio{}, {}), std::string());
    }

    void streamedRecordingsGiveTheWholeRecordingsWords()
    {
        MonoAudio recording;
        for (int i = 0; i < 3; ++i) {
            const QString path = m_dir.filePath(QStringLiteral("part%1.wav").arg(i));
            QVERIFY(SpeechSamples::speak(QString::fromStdString(sentences[std::size_t(i)]), path));
            const MonoAudio part = WavAudio::decode(SpeechSamples::readFile(path));
            recording.samples.insert(recording.samples.end(), part.samples.begin(),
                                     part.samples.end());
        }
        const std::vector<std::string> vocabulary = {"FlowBoard"};
        const std::string whole = m_transcriber->transcribe(recording, vocabulary);
        QVERIFY2(
            SpeechReference::wordErrorRate(sentences[0] + " " + sentences[1] + " " + sentences[2],
                                           whole) <= maxWordErrorRate,
            whole.c_str());

        // Chunks of any size, and another recording decoded meanwhile on a second decoder.
        auto stream = m_transcriber->openStream(vocabulary);
        const MonoAudio other =
            WavAudio::decode(SpeechSamples::readFile(m_dir.filePath(QStringLiteral("part1.wav"))));
        std::size_t at = 0;
        for (const std::size_t size : {3203u, 1u, 777u, 16000u, 4096u}) {
            stream->feed(recording.samples.data() + at, size);
            at += size;
            if (size == 1)
                m_transcriber->transcribe(other, {});
        }
        stream->feed(recording.samples.data() + at, recording.samples.size() - at);
        QCOMPARE(stream->finish(), whole);
        stream.reset();

        // A stream given up half-way leaves its decoder as good as new.
        stream = m_transcriber->openStream(vocabulary);
        stream->feed(recording.samples.data(), recording.samples.size() / 2);
        stream.reset();
        QCOMPARE(m_transcriber->transcribe(recording, vocabulary), whole);
        QCOMPARE(m_transcriber->openStream({})->finish(), std::string());
    }

    void missingModelIsNamed()
    {
        SphinxTranscriber::Model model = SphinxTranscriber::defaultModel();
        model.languageModel = m_dir.filePath(QStringLiteral("none.lm.bin")).toStdString();
        QVERIFY(!SphinxTranscriber::available(model));
        const std::string reason = SphinxTranscriber::missingReason(model);
        QVERIFY(reason.find(model.languageModel) != std::string::npos);
        QVERIFY(reason.find("pocketsphinx-en-us") != std::string::npos);
        try {
            SphinxTranscriber broken(model);
            QFAIL("started without a model");
        } catch (const HttpError &error) {
            QCOMPARE(error.status(), 503);
            QCOMPARE(std::string(error.what()), reason);
        }
    }

private:
    QTemporaryDir m_dir;
    std::unique_ptr<SphinxTranscriber> m_transcriber;
};

QTEST_GUILESS_MAIN(TestSphinxTranscriber)
#include "TestSphinxTranscriber.moc"
