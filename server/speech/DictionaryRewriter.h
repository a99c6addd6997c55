#pragma once

#include "VocabularyTerm.h"

#include <string>
#include <vector>

// Writes the user's dictionary terms the way they spell them: each variant heard, and the term
// itself in any case, becomes the term. Matches whole words, ignoring ASCII case; a run of
// spaces in a variant matches any run of spaces. Longer variants win over shorter ones.
class DictionaryRewriter
{
public:
    using Term = VocabularyTerm;

    explicit DictionaryRewriter(const std::vector<Term> &terms);

    std::string rewrite(const std::string &text) const;

private:
    struct Pattern
    {
        std::string folded; // lower-case, spaces collapsed
        std::size_t term;   // index into m_terms
    };

    std::vector<Term> m_terms;
    std::vector<Pattern> m_patterns; // longest first
};
