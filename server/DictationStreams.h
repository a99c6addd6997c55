#pragma once

#include "TranscriptionStream.h"
#include "VocabularyTerm.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Dictations streamed while the key is held: each is a recogniser fed chunk by chunk, so that
// at release only the tail is left to decode. A stream belongs to the user who opened it; to
// anyone else it does not exist. Streams a vanished client left behind are dropped once idle,
// since each holds a decoder. Thread-safe; the chunks of one stream are taken one at a time.
class DictationStreams
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    struct Limits
    {
        std::size_t perUser = 4;
        std::size_t overall = 16;
        std::chrono::steady_clock::duration idle = std::chrono::seconds(30);
    };
    // What the text goes through once recognised, chosen when the stream opens.
    struct Dictation
    {
        bool cleanup = false;
        std::vector<VocabularyTerm> terms;
    };
    struct Finished
    {
        std::string text; // as the recogniser heard it
        Dictation dictation;
    };
    // Null when the engine takes whole recordings only.
    using Opener = std::function<std::unique_ptr<TranscriptionStream>()>;

    static constexpr std::size_t maxChunkBytes = std::size_t(2) << 20;
    static constexpr int minSampleRate = 8000;
    static constexpr int maxSampleRate = 192000;

    DictationStreams();
    DictationStreams(Limits limits, Clock clock);
    ~DictationStreams();
    DictationStreams(const DictationStreams &) = delete;
    DictationStreams &operator=(const DictationStreams &) = delete;

    // Returns the new stream's id. Throws HttpError: 400 for a rate out of range, 429 beyond
    // the limits, 409 when `open` gives no stream, or whatever `open` throws.
    std::string create(const std::string &user, int sampleRate, Dictation dictation,
                       const Opener &open);
    // Takes chunk `seq` of raw little-endian 16-bit mono PCM and returns the samples received
    // so far. A chunk already taken is ignored (a retry); one that skips a chunk is refused
    // with 409. 404 for a stream that is not the user's.
    std::size_t append(const std::string &user, const std::string &id, long long seq,
                       const std::string &pcm);
    // Recognises the tail and forgets the stream.
    Finished finish(const std::string &user, const std::string &id);
    void drop(const std::string &user, const std::string &id);
    // Drops the streams idle for longer than the limit; runs by itself every few seconds too.
    void expireIdle();

private:
    struct Session;
    // A stream in use: not idle while a chunk of it is being decoded.
    class Use;

    std::shared_ptr<Session> take(const std::string &user, const std::string &id);
    static void close(Session &session);

    const Limits m_limits;
    const Clock m_clock;
    mutable std::mutex m_lock;
    std::map<std::string, std::shared_ptr<Session>> m_sessions;
    std::map<std::string, std::size_t> m_opening; // streams being opened, by user

    std::mutex m_reaperLock;
    std::condition_variable m_reaperWake;
    bool m_stopping = false;
    std::thread m_reaper;
};
