#pragma once

#include <memory>
#include <mutex>
#include <string>

namespace tesseract {
class TessBaseAPI;
}

// Reads the text in a screenshot with Tesseract (English). One recogniser serves every
// request in turn: it is not thread-safe and takes a while to load, so it loads on first use.
class ScreenTextReader
{
public:
    // Screenshots up to this width are read at twice their size: UI text of 10-13 px is below
    // what Tesseract reads best, and doubling it finds the words it otherwise misses.
    static constexpr int upscaleWidthLimit = 2000;
    static constexpr long long maxPixels = 50'000'000;

    ScreenTextReader();
    ~ScreenTextReader();

    // The text read, lines in reading order. Throws HttpError(400, "Unsupported image: …")
    // when the bytes are no picture, HttpError(503) when Tesseract or its English data is
    // missing.
    std::string read(const std::string &jpeg);
    // "tesseract 5.3.0 (eng)"
    std::string description() const;

private:
    void load();

    std::mutex m_lock;
    std::unique_ptr<tesseract::TessBaseAPI> m_api;
    bool m_loadFailed = false;
};
