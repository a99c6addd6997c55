#pragma once

#include <string>
#include <vector>

// A dictionary term as the speech engines use it: how the user spells it, and the ways it was
// heard instead.
struct VocabularyTerm
{
    std::string term;
    std::vector<std::string> variants;
};
