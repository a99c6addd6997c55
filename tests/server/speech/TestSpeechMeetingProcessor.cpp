// Meetings made offline from recordings: real speech through pocketsphinx, and the notes
// model's part with a scripted transcriber.
#include "ChatModel.h"
#include "HttpError.h"
#include "MeetingNotes.h"
#include "SpeechMeetingProcessor.h"
#include "SpeechSamples.h"
#include "SphinxTranscriber.h"
#include "WavAudio.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>

namespace {

const std::string date = "2024-05-01T10:00:00Z";

// Says the next line of its script for each stretch of speech.
class ScriptedTranscriber : public Transcriber
{
public:
    explicit ScriptedTranscriber(std::vector<std::string> lines) : m_lines(std::move(lines)) {}
    std::string transcribe(const MonoAudio &, const std::vector<std::string> &) override
    {
        return m_next < m_lines.size() ? m_lines[m_next++] : "";
    }
    std::string description() const override { return "scripted"; }

private:
    std::vector<std::string> m_lines;
    std::size_t m_next = 0;
};

class FakeNotesModel : public ChatModel
{
public:
    std::string answer;
    bool fail = false;
    std::vector<Message> asked;

    std::string complete(const std::vector<Message> &messages, const DeltaSink &onDelta) override
    {
        asked = messages;
        if (fail)
            throw HttpError(502, "The chat upstream did not answer.");
        onDelta(answer);
        return answer;
    }
    std::string description() const override { return "fake"; }
};

QString speaker(const MeetingProcessor::Result &result, std::size_t i)
{
    return QString::fromStdString(result.segments.at(i).at("speaker").get<std::string>());
}

// Three bursts of buzz a second apart, standing in for three phrases.
std::string threePhrases()
{
    MonoAudio audio{16000, std::vector<float>(16000 * 6)};
    for (const double start : {0.5, 2.5, 4.5}) {
        const double end = start + 1;
        for (std::size_t i = std::size_t(start * 16000); i < std::size_t(end * 16000); ++i)
            audio.samples[i] = float(0.2 * std::sin(2 * M_PI * 150 * double(i) / 16000));
    }
    return WavAudio::encode16(audio);
}

} // namespace

class TestSpeechMeetingProcessor : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void recordedMeetingIsTranscribed()
    {
        OVRIN_REQUIRE_SPEECH_TOOLS();
        const QString first = m_dir.filePath(QStringLiteral("first.wav"));
        const QString second = m_dir.filePath(QStringLiteral("second.wav"));
        const QString third = m_dir.filePath(QStringLiteral("third.wav"));
        const QString gap = m_dir.filePath(QStringLiteral("gap.wav"));
        const QString twoSentences = m_dir.filePath(QStringLiteral("two.wav"));
        const QString twoVoices = m_dir.filePath(QStringLiteral("voices.wav"));
        QVERIFY(SpeechSamples::speak("We decided to move the launch to next month.", first));
        QVERIFY(SpeechSamples::speak("I will send the new plan to everyone by Friday.", second,
                                     QStringLiteral("kal16")));
        QVERIFY(SpeechSamples::speak("Thanks everyone, that is all for today.", third));
        QVERIFY(SpeechSamples::sox("-n -r 16000 -c 1 -b 16 " + gap + " trim 0 1"));
        // As the recorder leaves it: 48 kHz 16-bit, here in stereo.
        QVERIFY(SpeechSamples::sox(
            QStringList{first, gap, third, "-r 48000 -c 2", twoSentences}.join(' ')));
        QVERIFY(
            SpeechSamples::sox(QStringList{first, gap, second, gap, third, twoVoices}.join(' ')));

        SphinxTranscriber transcriber;
        SpeechMeetingProcessor processor(transcriber, nullptr);
        MeetingProcessor::Result result =
            processor.process(twoSentences.toStdString(), 7, date, {});
        qInfo("%s", result.transcript.c_str());
        QCOMPARE(result.title, std::string("Meeting on 2024-05-01"));
        QCOMPARE(result.segments.size(), std::size_t(2));
        QCOMPARE(speaker(result, 0), QStringLiteral("Speaker 1"));
        QCOMPARE(speaker(result, 1), QStringLiteral("Speaker 1"));
        const double wer = SpeechReference::wordErrorRate(
            "We decided to move the launch to next month. Thanks everyone, that is all for today.",
            result.transcript);
        QVERIFY2(wer <= 30, qPrintable(QString::number(wer)));
        QVERIFY2(result.notes.rfind("Summary\n- We decided", 0) == 0, result.notes.c_str());
        QVERIFY(result.notes.find("\n\nDecisions\n- We decided") != std::string::npos);

        // A man's voice between two of a woman's.
        result = processor.process(twoVoices.toStdString(), 11, date, {});
        qInfo("%s", result.segments.dump().c_str());
        QCOMPARE(result.segments.size(), std::size_t(3));
        QCOMPARE(speaker(result, 0), QStringLiteral("Speaker 1"));
        QCOMPARE(speaker(result, 1), QStringLiteral("Speaker 2"));
        QCOMPARE(speaker(result, 2), QStringLiteral("Speaker 1"));
        QVERIFY(result.notes.find("\n\nAction items\n- I will send") != std::string::npos);
    }

    void silenceHasNoSpeech()
    {
        const QString path = m_dir.filePath(QStringLiteral("silent.wav"));
        SpeechSamples::writeFile(path, WavAudio::encode16({48000, std::vector<float>(48000 * 3)}));
        ScriptedTranscriber transcriber({"never asked"});
        FakeNotesModel model;
        const auto result =
            SpeechMeetingProcessor(transcriber, &model).process(path.toStdString(), 3, date, {});
        QCOMPARE(result.transcript, std::string());
        QVERIFY(result.segments.empty());
        QCOMPARE(result.notes, MeetingNotes::noSpeech());
        QVERIFY(model.asked.empty());
    }

    void notesModelWritesNotesOrIsReplaced()
    {
        const QString path = m_dir.filePath(QStringLiteral("phrases.wav"));
        SpeechSamples::writeFile(path, threePhrases());
        ScriptedTranscriber transcriber({"um we agreed on june", "uh", "sam will write it up"});
        FakeNotesModel model;
        model.answer = "Title: Launch date\n\nSummary\n- The launch moves to June.";
        auto result =
            SpeechMeetingProcessor(transcriber, &model).process(path.toStdString(), 4, date, {});
        QCOMPARE(result.transcript, std::string("We agreed on June. Sam will write it up."));
        QCOMPARE(result.segments.size(), std::size_t(2)); // nothing said in the second
        QCOMPARE(result.title, std::string("Launch date"));
        QCOMPARE(result.notes, std::string("Summary\n- The launch moves to June."));
        QVERIFY(model.asked.at(1).content.find(result.transcript) != std::string::npos);

        // A failing model, or one that gives only a title, leaves the notes to be made here.
        for (const bool fail : {true, false}) {
            ScriptedTranscriber again({"we agreed on june", "", "sam will write it up"});
            model.fail = fail;
            model.answer = "Title: only a title";
            result = SpeechMeetingProcessor(again, &model).process(path.toStdString(), 4, date, {});
            QCOMPARE(result.title, std::string("Meeting on 2024-05-01"));
            QCOMPARE(result.notes, MeetingNotes::extractive(result.transcript));
            QVERIFY(result.notes.find("Action items") != std::string::npos);
        }
    }

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestSpeechMeetingProcessor)
#include "TestSpeechMeetingProcessor.moc"
