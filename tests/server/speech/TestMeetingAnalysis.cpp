// The pieces of meeting processing that need no recogniser: finding speech, telling voices
// apart, and offline notes.
#include "MeetingNotes.h"
#include "SpeakerClustering.h"
#include "VoiceActivity.h"

#include <QTest>

#include <cmath>
#include <random>

namespace {

constexpr int rate = 16000;

// Background noise at `noiseDbfs`, with voiced "speech" (a 150 Hz buzz rich in harmonics) at
// -20 dBFS over each [start, end) in seconds.
MonoAudio recording(double seconds, const std::vector<std::pair<double, double>> &speech,
                    double noiseDbfs = -60)
{
    MonoAudio audio{rate, std::vector<float>(std::size_t(seconds * rate))};
    std::mt19937 random(7);
    std::normal_distribution<float> noise(0.0f, float(std::pow(10.0, noiseDbfs / 20)));
    for (float &s : audio.samples)
        s = noise(random);
    for (const auto &[start, end] : speech) {
        for (std::size_t i = std::size_t(start * rate); i < std::size_t(end * rate); ++i) {
            double buzz = 0;
            for (int h = 1; h <= 5; ++h)
                buzz += std::sin(2 * M_PI * 150 * h * double(i) / rate) / h;
            audio.samples[i] += float(0.1 * buzz);
        }
    }
    return audio;
}

QString describe(const std::vector<VoiceActivity::Segment> &segments)
{
    QStringList parts;
    for (const auto &s : segments)
        parts << QStringLiteral("%1-%2").arg(double(s.begin) / rate).arg(double(s.end) / rate);
    return parts.join(QStringLiteral(", "));
}

} // namespace

class TestMeetingAnalysis : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pausesSplitSpeech()
    {
        // Three phrases a second apart; a 0.3 s breath does not split the middle one; a click
        // is no speech.
        const MonoAudio audio =
            recording(9, {{1, 2}, {3, 3.8}, {4.1, 5}, {6, 7.5}, {8.4, 8.45}}, -50);
        const auto segments = VoiceActivity::segments(audio);
        QCOMPARE(segments.size(), std::size_t(3));
        const double expected[3][2] = {{1, 2}, {3, 5}, {6, 7.5}};
        for (std::size_t i = 0; i < 3; ++i) {
            const double begin = double(segments[i].begin) / rate;
            const double end = double(segments[i].end) / rate;
            QVERIFY2(begin <= expected[i][0] && begin >= expected[i][0] - 0.25,
                     qPrintable(describe(segments)));
            QVERIFY2(end >= expected[i][1] && end <= expected[i][1] + 0.35,
                     qPrintable(describe(segments)));
        }
        QVERIFY(VoiceActivity::segments(MonoAudio{rate, std::vector<float>(rate * 3)}).empty());
        QVERIFY(VoiceActivity::segments(recording(3, {}, -30)).empty()); // loud but steady hiss
        QVERIFY(VoiceActivity::segments(MonoAudio{}).empty());
    }

    void longSpeechIsCutAtItsQuietestMoments()
    {
        // 70 s without a real pause; brief dips at 20 s and 45 s are the places to cut.
        const MonoAudio audio = recording(70, {{0.5, 20}, {20.2, 45}, {45.2, 69.5}});
        const auto segments = VoiceActivity::segments(audio);
        QVERIFY2(segments.size() == 3, qPrintable(describe(segments)));
        QVERIFY2(std::abs(double(segments[1].begin) / rate - 20.1) < 0.1,
                 qPrintable(describe(segments)));
        QVERIFY2(std::abs(double(segments[2].begin) / rate - 45.1) < 0.1,
                 qPrintable(describe(segments)));
        for (std::size_t i = 0; i < segments.size(); ++i) {
            QVERIFY(segments[i].end - segments[i].begin <= std::size_t(30.5 * rate));
            if (i > 0)
                QCOMPARE(segments[i].begin, segments[i - 1].end); // nothing lost at a cut
        }
    }

    void speakersSplitOnlyWhenClearlyApart_data()
    {
        QTest::addColumn<std::vector<double>>("pitches");
        QTest::addColumn<std::vector<int>>("speakers");
        QTest::newRow("two voices")
            << std::vector<double>{200, 205, 100, 198, 104} << std::vector<int>{0, 0, 1, 0, 1};
        QTest::newRow("first voice is Speaker 1")
            << std::vector<double>{100, 190, 0, 102} << std::vector<int>{0, 1, 1, 0};
        QTest::newRow("one wandering voice")
            << std::vector<double>{180, 190, 200, 170, 215} << std::vector<int>{0, 0, 0, 0, 0};
        QTest::newRow("an even spread")
            << std::vector<double>{100, 112, 126, 141, 159} << std::vector<int>{0, 0, 0, 0, 0};
    }

    void speakersSplitOnlyWhenClearlyApart()
    {
        QFETCH(std::vector<double>, pitches);
        QFETCH(std::vector<int>, speakers);
        QCOMPARE(SpeakerClustering::speakers(pitches), speakers);
    }

    void extractiveNotesHaveTheirSections()
    {
        const std::string transcript =
            "The budget for the launch is too small. Marketing wants more budget for the launch. "
            "We agreed to move the launch to June. Sam will send the new budget by Friday. "
            "Version 3.5 ships first. Okay.";
        const std::string notes = MeetingNotes::extractive(transcript);
        QVERIFY2(notes.rfind("Summary\n- ", 0) == 0, notes.c_str());
        QVERIFY(notes.find("- Marketing wants more budget for the launch.") != std::string::npos);
        QVERIFY(notes.find("- Okay.") == std::string::npos);
        QVERIFY(notes.find("\n\nDecisions\n- We agreed to move the launch to June.\n\n") !=
                std::string::npos);
        QVERIFY(notes.find("\n\nAction items\n- Sam will send the new budget by Friday.") !=
                std::string::npos);
        const auto sentences = MeetingNotes::sentences(transcript);
        QCOMPARE(sentences.size(), std::size_t(6));
        QCOMPARE(sentences[4], std::string("Version 3.5 ships first.")); // kept whole

        const std::string plain = MeetingNotes::extractive("The room was warm. It rained all day.");
        QCOMPARE(plain, std::string("Summary\n- The room was warm.\n- It rained all day."));
        QCOMPARE(MeetingNotes::extractive(" "), MeetingNotes::noSpeech());
    }

    void modelAnswersAreParsed()
    {
        MeetingNotes::Answer answer =
            MeetingNotes::parseAnswer("Title: **\"Launch plan\"**\n\nSummary\n- Moved to June.\n");
        QCOMPARE(answer.title, std::string("Launch plan"));
        QCOMPARE(answer.notes, std::string("Summary\n- Moved to June."));
    }
};

QTEST_GUILESS_MAIN(TestMeetingAnalysis)
#include "TestMeetingAnalysis.moc"
