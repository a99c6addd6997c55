#pragma once

#include <string>

// The offline answer to a question about the screen, from the text read on it: a short
// summary for "What's on my screen?", else the lines that share the most words with the
// question. Used when no vision model is configured.
class ScreenTextAnswer
{
public:
    static constexpr std::size_t summaryLines = 4;
    static constexpr std::size_t matchingLines = 3;
    static constexpr std::size_t maxQuoteLength = 120;

    // `configPath` is named in the hint on how to set up a vision model.
    static std::string answer(const std::string &question, const std::string &screenText,
                              const std::string &configPath);
};
