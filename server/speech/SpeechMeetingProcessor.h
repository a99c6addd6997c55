#pragma once

#include "MeetingProcessor.h"

class ChatModel;
class Transcriber;

// Meetings made on this machine: the recording is split at pauses, each stretch is
// transcribed, voices are told apart by pitch, and notes are written by the chat model when
// there is one, or picked out of the transcript when there is not (or it fails).
class SpeechMeetingProcessor : public MeetingProcessor
{
public:
    // `notesModel` may be null.
    SpeechMeetingProcessor(Transcriber &transcriber, ChatModel *notesModel);

    // Throws HttpError for a recording that can't be read or a transcriber that fails.
    Result process(const std::string &wavPath, long long durationSec, const std::string &date,
                   const std::vector<VocabularyTerm> &vocabulary) override;

private:
    Transcriber &m_transcriber;
    ChatModel *m_notesModel;
};
