#pragma once

#include <initializer_list>
#include <string>
#include <vector>

// A spoken or typed sentence as lower-case words that remember where they came from, so
// commands are matched on words while titles keep the user's own spelling. Speech
// recognition gives no reliable punctuation, so punctuation around words is dropped;
// "5pm" reads as "5 pm", "p.m." as "pm" and "to-do" as "to do".
class Phrase
{
public:
    struct Word
    {
        std::string text;  // lower case
        std::size_t begin; // byte range in the original text
        std::size_t end;
    };

    explicit Phrase(std::string text);

    std::size_t size() const { return m_words.size(); }
    bool empty() const { return m_words.empty(); }
    const std::string &operator[](std::size_t index) const { return m_words[index].text; }
    const Word &word(std::size_t index) const { return m_words[index]; }
    const std::string &original() const { return m_original; }

    // Whether the words from `at` on begin with `words` (each entry may hold several words).
    bool hasAt(std::size_t at, std::initializer_list<const char *> words) const;
    // How many words `words` spans, e.g. {"what's", "the time"} is 3.
    static std::size_t countWords(std::initializer_list<const char *> words);
    // The lower-case words [from, to) joined by single spaces.
    std::string joined(std::size_t from, std::size_t to) const;
    // The original text spanning words [from, to), punctuation inside it included.
    std::string text(std::size_t from, std::size_t to) const;
    // Where `needle` occurs as whole words at or after `from`, or size() when it doesn't.
    std::size_t find(const Phrase &needle, std::size_t from = 0) const;
    // Whether word `at` is one of `words`.
    bool isAny(std::size_t at, std::initializer_list<const char *> words) const;
    // Moves `at` past the first of `forms` found there (before `end`).
    bool skip(std::size_t &at, std::size_t end, std::initializer_list<const char *> forms) const;
    // Words [from, to) turned to face the speaker: "call my mom" gives "call your mom".
    std::string spokenBack(std::size_t from, std::size_t to) const;

    static std::string lowered(std::string text);
    // In typographic double quotes.
    static std::string quoted(const std::string &text);
    // The first letter upper-cased, the rest as it is.
    static std::string capitalised(std::string text);
    // The longest prefix of at most `bytes` bytes that doesn't split a UTF-8 character.
    static std::string utf8Prefix(const std::string &text, std::size_t bytes);

private:
    void addWord(std::size_t begin, std::size_t end);

    std::string m_original;
    std::vector<Word> m_words;
};
