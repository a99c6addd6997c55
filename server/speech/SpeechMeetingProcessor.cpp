#include "SpeechMeetingProcessor.h"

#include "ChatModel.h"
#include "DictionaryRewriter.h"
#include "MeetingNotes.h"
#include "SpeakerClustering.h"
#include "TextCleanup.h"
#include "Transcriber.h"
#include "VoiceActivity.h"
#include "WavAudio.h"

namespace {

constexpr int recogniserRate = 16000;

} // namespace

SpeechMeetingProcessor::SpeechMeetingProcessor(Transcriber &transcriber, ChatModel *notesModel)
    : m_transcriber(transcriber), m_notesModel(notesModel)
{}

MeetingProcessor::Result
SpeechMeetingProcessor::process(const std::string &wavPath, long long durationSec,
                                const std::string &date,
                                const std::vector<VocabularyTerm> &vocabulary)
{
    const DictionaryRewriter spelling(vocabulary);
    std::vector<std::string> words;
    for (const VocabularyTerm &term : vocabulary)
        words.push_back(term.term);

    Result result;
    result.title = "Meeting on " + date.substr(0, 10);

    const MonoAudio audio = WavAudio::decodeFile(wavPath, recogniserRate);
    std::vector<std::string> texts;
    std::vector<double> pitches;
    for (const VoiceActivity::Segment &segment : VoiceActivity::segments(audio)) {
        MonoAudio piece;
        piece.sampleRate = audio.sampleRate;
        piece.samples.assign(audio.samples.begin() + std::ptrdiff_t(segment.begin),
                             audio.samples.begin() + std::ptrdiff_t(segment.end));
        std::string text =
            spelling.rewrite(TextCleanup::clean(m_transcriber.transcribe(piece, words)));
        if (text.empty())
            continue; // a cough or a door, not words
        texts.push_back(std::move(text));
        pitches.push_back(SpeakerClustering::medianPitch(audio, segment.begin, segment.end));
    }
    if (texts.empty()) {
        result.notes = MeetingNotes::noSpeech();
        return result;
    }

    const std::vector<int> speakers = SpeakerClustering::speakers(pitches);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        result.segments.push_back(
            {{"speaker", "Speaker " + std::to_string(speakers[i] + 1)}, {"text", texts[i]}});
        if (!result.transcript.empty())
            result.transcript += ' ';
        result.transcript += texts[i];
    }

    if (m_notesModel) {
        try {
            const auto messages = MeetingNotes::request(result.transcript, durationSec, date);
            const ChatModel::DeltaSink ignore = [](const std::string &) { return true; };
            const MeetingNotes::Answer answer =
                MeetingNotes::parseAnswer(m_notesModel->complete(messages, ignore));
            if (!answer.notes.empty()) {
                result.notes = answer.notes;
                if (!answer.title.empty())
                    result.title = answer.title;
                return result;
            }
        } catch (const std::exception &) {
            // The meeting is still worth keeping: fall back to notes made here.
        }
    }
    result.notes = MeetingNotes::extractive(result.transcript);
    return result;
}
