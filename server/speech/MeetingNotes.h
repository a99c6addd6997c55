#pragma once

#include "ChatModel.h"

#include <string>
#include <vector>

// Notes for a meeting's transcript: picked out of it offline, or asked of a chat model.
// Both read as plain text: "Summary", "Decisions" and "Action items" sections of "- " bullets,
// each only when it has something in it.
class MeetingNotes
{
public:
    static constexpr std::size_t maxSummarySentences = 7;

    static std::string noSpeech();
    static std::vector<std::string> sentences(const std::string &transcript);
    // Summary: the sentences whose words recur most in the meeting, in their spoken order.
    // Decisions and action items: the sentences that say so in so many words.
    static std::string extractive(const std::string &transcript);

    // One request for a title line and the notes.
    static std::vector<ChatModel::Message> request(const std::string &transcript,
                                                   long long durationSec, const std::string &date);
    struct Answer
    {
        std::string title; // empty when the model gave none
        std::string notes;
    };
    static Answer parseAnswer(const std::string &answer);
};
