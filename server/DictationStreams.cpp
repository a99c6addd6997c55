#include "DictationStreams.h"

#include "HttpError.h"
#include "Secrets.h"
#include "StreamResampler.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int recogniserRate = 16000;

HttpError noSuchStream()
{
    return HttpError(404, "No such stream.");
}

} // namespace

struct DictationStreams::Session
{
    std::string user;
    Dictation dictation;
    std::unique_ptr<StreamResampler> resampler; // null when the client sends 16 kHz
    std::unique_ptr<TranscriptionStream> stream;

    // Guarded by the registry's lock.
    std::chrono::steady_clock::time_point lastUsed;
    int busy = 0;

    // Guarded by `lock`: one chunk, finish or drop at a time.
    std::mutex lock;
    bool closed = false;
    long long nextSeq = 0;
    std::size_t received = 0;
    std::vector<float> samples, converted;
};

class DictationStreams::Use
{
public:
    Use(DictationStreams &owner, const std::string &user, const std::string &id) : m_owner(owner)
    {
        std::lock_guard guard(owner.m_lock);
        const auto found = owner.m_sessions.find(id);
        if (found == owner.m_sessions.end() || found->second->user != user)
            throw noSuchStream();
        m_session = found->second;
        ++m_session->busy;
        m_session->lastUsed = owner.m_clock();
    }
    ~Use()
    {
        // Idle time counts from the end of the last chunk's decoding.
        std::lock_guard guard(m_owner.m_lock);
        --m_session->busy;
        m_session->lastUsed = m_owner.m_clock();
    }
    Use(const Use &) = delete;
    Use &operator=(const Use &) = delete;

    Session &session() const { return *m_session; }

private:
    DictationStreams &m_owner;
    std::shared_ptr<Session> m_session;
};

DictationStreams::DictationStreams() : DictationStreams(Limits{}, &std::chrono::steady_clock::now)
{}

DictationStreams::DictationStreams(Limits limits, Clock clock)
    : m_limits(limits), m_clock(std::move(clock))
{
    const auto period =
        std::max<std::chrono::steady_clock::duration>(m_limits.idle / 6, std::chrono::seconds(1));
    m_reaper = std::thread([this, period] {
        std::unique_lock guard(m_reaperLock);
        while (!m_reaperWake.wait_for(guard, period, [this] { return m_stopping; })) {
            guard.unlock();
            expireIdle();
            guard.lock();
        }
    });
}

DictationStreams::~DictationStreams()
{
    {
        std::lock_guard guard(m_reaperLock);
        m_stopping = true;
    }
    m_reaperWake.notify_all();
    m_reaper.join();
}

std::string DictationStreams::create(const std::string &user, int sampleRate, Dictation dictation,
                                     const Opener &open)
{
    if (sampleRate < minSampleRate || sampleRate > maxSampleRate)
        throw HttpError(400, "\"sampleRate\" must be a whole number from " +
                                 std::to_string(minSampleRate) + " to " +
                                 std::to_string(maxSampleRate) + ".");
    expireIdle();
    {
        std::lock_guard guard(m_lock);
        const auto pending = m_opening.find(user);
        std::size_t mine = pending == m_opening.end() ? 0 : pending->second, all = 0;
        for (const auto &[someone, count] : m_opening)
            all += count;
        for (const auto &[id, session] : m_sessions)
            mine += session->user == user ? 1 : 0;
        all += m_sessions.size();
        if (mine >= m_limits.perUser)
            throw HttpError(429, "Too many dictations are open for this account (at most " +
                                     std::to_string(m_limits.perUser) +
                                     "); finish or drop one first.");
        if (all >= m_limits.overall)
            throw HttpError(429, "The server is taking as many dictations as it can (" +
                                     std::to_string(m_limits.overall) +
                                     "); try again in a moment.");
        ++m_opening[user];
    }
    // Opening takes a decoder, which may have to be loaded first: the slot is held meanwhile,
    // without the lock.
    struct Opening
    {
        DictationStreams &owner;
        const std::string &user;
        bool held = true;
        void releaseLocked()
        {
            if (--owner.m_opening[user] == 0)
                owner.m_opening.erase(user);
            held = false;
        }
        ~Opening()
        {
            if (!held)
                return;
            std::lock_guard guard(owner.m_lock);
            releaseLocked();
        }
    } opening{*this, user};

    auto session = std::make_shared<Session>();
    session->user = user;
    session->dictation = std::move(dictation);
    session->stream = open();
    if (!session->stream)
        throw HttpError(409, "Streaming needs the built-in engine; send the whole recording.");
    if (sampleRate != recogniserRate)
        session->resampler = std::make_unique<StreamResampler>(sampleRate, recogniserRate);

    const std::string id = Secrets::newId();
    std::lock_guard guard(m_lock);
    session->lastUsed = m_clock();
    m_sessions.emplace(id, std::move(session));
    opening.releaseLocked(); // the slot passes to the stream at once
    return id;
}

std::size_t DictationStreams::append(const std::string &user, const std::string &id, long long seq,
                                     const std::string &pcm)
{
    const Use use(*this, user, id);
    Session &session = use.session();
    std::lock_guard guard(session.lock);
    if (session.closed)
        throw noSuchStream();
    if (seq < session.nextSeq)
        return session.received; // a retry of a chunk already taken
    if (seq > session.nextSeq)
        throw HttpError(409, "Audio chunk " + std::to_string(session.nextSeq) +
                                 " is missing; chunk " + std::to_string(seq) + " came instead.");
    if (pcm.size() % 2 != 0)
        throw HttpError(400, "The audio must be whole 16-bit samples.");

    const std::size_t count = pcm.size() / 2;
    session.samples.resize(count);
    const auto *bytes = reinterpret_cast<const unsigned char *>(pcm.data());
    for (std::size_t i = 0; i < count; ++i) {
        const auto sample = std::int16_t(std::uint16_t(bytes[2 * i] | (bytes[2 * i + 1] << 8)));
        session.samples[i] = float(sample) / 32768.0f; // as a WAV upload is read
    }
    try {
        if (session.resampler) {
            session.converted.clear();
            session.resampler->feed(session.samples.data(), count, false, session.converted);
            session.stream->feed(session.converted.data(), session.converted.size());
        } else {
            session.stream->feed(session.samples.data(), count);
        }
    } catch (...) {
        // The recogniser is in no state to go on; the client sends the whole recording instead.
        close(session);
        std::lock_guard registry(m_lock);
        m_sessions.erase(id);
        throw;
    }
    ++session.nextSeq;
    session.received += count;
    return session.received;
}

DictationStreams::Finished DictationStreams::finish(const std::string &user, const std::string &id)
{
    const std::shared_ptr<Session> session = take(user, id);
    std::lock_guard guard(session->lock);
    if (session->closed)
        throw noSuchStream();
    Finished finished{{}, std::move(session->dictation)};
    try {
        if (session->resampler) {
            session->converted.clear();
            session->resampler->feed(nullptr, 0, true, session->converted);
            session->stream->feed(session->converted.data(), session->converted.size());
        }
        finished.text = session->stream->finish();
    } catch (...) {
        close(*session);
        throw;
    }
    close(*session);
    return finished;
}

void DictationStreams::drop(const std::string &user, const std::string &id)
{
    const std::shared_ptr<Session> session = take(user, id);
    std::lock_guard guard(session->lock);
    close(*session);
}

void DictationStreams::expireIdle()
{
    std::vector<std::shared_ptr<Session>> expired;
    {
        std::lock_guard guard(m_lock);
        const auto now = m_clock();
        for (auto it = m_sessions.begin(); it != m_sessions.end();) {
            if (it->second->busy == 0 && now - it->second->lastUsed >= m_limits.idle) {
                expired.push_back(std::move(it->second));
                it = m_sessions.erase(it);
            } else {
                ++it;
            }
        }
    }
    // Outside the registry's lock: giving a decoder back ends its utterance.
    for (const std::shared_ptr<Session> &session : expired) {
        std::lock_guard guard(session->lock);
        close(*session);
    }
}

std::shared_ptr<DictationStreams::Session> DictationStreams::take(const std::string &user,
                                                                  const std::string &id)
{
    std::lock_guard guard(m_lock);
    const auto found = m_sessions.find(id);
    if (found == m_sessions.end() || found->second->user != user)
        throw noSuchStream();
    std::shared_ptr<Session> session = std::move(found->second);
    m_sessions.erase(found);
    return session;
}

void DictationStreams::close(Session &session)
{
    session.closed = true;
    session.stream.reset();
    session.resampler.reset();
}
