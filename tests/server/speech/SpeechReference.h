#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The sentences recognition is measured on, and how far a transcript is from one. Plain C++,
// shared by the speech tests and the speech benchmark.
namespace SpeechReference {

// Spoken by flite's slt voice in the tests and benchmark.
const std::vector<std::string> &sentences();

// Word-level edit distance and the reference's word count, ignoring case and punctuation.
struct Errors
{
    std::size_t edits = 0;
    std::size_t words = 0;
};
Errors compare(const std::string &reference, const std::string &hypothesis);

// In percent.
double wordErrorRate(const std::string &reference, const std::string &hypothesis);

} // namespace SpeechReference
