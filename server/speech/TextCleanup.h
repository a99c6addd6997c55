#pragma once

#include <string>

// Makes recognised speech read like written text: fillers out, spacing and punctuation tidied,
// sentences capitalised and closed. The offline recogniser gives lower-case words with no
// punctuation at all, so this is also what turns its output into sentences.
class TextCleanup
{
public:
    static std::string clean(const std::string &text);
};
