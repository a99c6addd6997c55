#include "SphinxDecoder.h"

#include "HttpError.h"

#include <pocketsphinx.h>
#include <sphinxbase/ckd_alloc.h>
#include <sphinxbase/cmd_ln.h>
#include <sphinxbase/cmn.h>
#include <sphinxbase/err.h>
#include <sphinxbase/feat.h>

#include <algorithm>
#include <mutex>
#include <type_traits>

static_assert(std::is_same_v<mfcc_t, float>, "sphinxbase built with fixed-point features");

namespace {

// The model's initial mean counts as this many frames (a second) of speech, so the first
// words are normalised with it and the speaker's own mean takes over within a few seconds.
constexpr int priorFrames = 100;
// The running mean covers about the last five seconds of speech.
constexpr int windowFrames = 500;

[[noreturn]] void fail()
{
    throw HttpError(500, "The offline recogniser (pocketsphinx) failed on this audio.");
}

} // namespace

SphinxDecoder::SphinxDecoder(std::vector<std::string> arguments, const std::string &modelDirectory)
{
    // Decoders start while others decode: pocketsphinx's logging is one global file, which a
    // starting decoder would swap under the others, so it is switched off instead.
    static std::mutex starting;
    std::lock_guard lock(starting);
    err_set_callback(nullptr, nullptr);
    err_set_logfp(nullptr); // the arguments are echoed there, not through the callback

    m_arguments.push_back("ovrin-server");
    m_arguments.insert(m_arguments.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &argument : m_arguments)
        argv.push_back(argument.data());
    if (cmd_ln_t *config =
            cmd_ln_parse_r(nullptr, ps_args(), int(argv.size()), argv.data(), TRUE)) {
        m_decoder = ps_init(config);
        cmd_ln_free_r(config); // the decoder holds its own reference
    }
    if (!m_decoder)
        throw HttpError(503,
                        "The offline recogniser (pocketsphinx) could not load its model from " +
                            modelDirectory + ".");
    const cmn_t *cmn = ps_get_feat(m_decoder)->cmn_struct;
    m_modelMean.assign(cmn->cmn_mean, cmn->cmn_mean + cmn->veclen);
}

SphinxDecoder::~SphinxDecoder()
{
    ps_free(m_decoder);
}

std::string SphinxDecoder::lookup(const std::string &word) const
{
    char *phones = ps_lookup_word(m_decoder, word.c_str());
    if (!phones)
        return {};
    std::string result = phones;
    ckd_free(phones);
    return result;
}

void SphinxDecoder::addWords(const std::vector<Word> &words)
{
    // Rebuilding the search takes a good part of a second, so it is done once, with the last.
    for (std::size_t i = 0; i < words.size(); ++i)
        ps_add_word(m_decoder, words[i].first.c_str(), words[i].second.c_str(),
                    i + 1 == words.size() ? TRUE : FALSE);
}

void SphinxDecoder::begin()
{
    feat_t *feat = ps_get_feat(m_decoder);
    // The live feature buffer still holds the last utterance's frames. When the voice activity
    // detector keeps all of a first block back, the first frames that do come would take those
    // as their left context.
    for (int i = 0; i < LIVEBUFBLOCKSIZE; ++i)
        std::fill_n(feat->cepbuf[i], feat_cepsize(feat), 0.0f);
    feat->bufpos = feat->curpos = 0;
    cmn_t *cmn = feat->cmn_struct;
    for (int j = 0; j < cmn->veclen; ++j) {
        cmn->cmn_mean[j] = m_modelMean[std::size_t(j)];
        cmn->sum[j] = m_modelMean[std::size_t(j)] * priorFrames;
    }
    cmn->nframe = priorFrames;
    ps_start_stream(m_decoder); // forgets the last utterance's noise estimate
    if (ps_start_utt(m_decoder) < 0)
        fail();
    m_started = true;
}

void SphinxDecoder::process(const std::int16_t *samples, std::size_t count)
{
    if (!m_started)
        begin();
    if (ps_process_raw(m_decoder, samples, count, FALSE, FALSE) < 0)
        fail();
    // pocketsphinx moves its live mean only every few seconds, at a point that depends on how
    // the frames were batched; kept current after every block it follows the speaker sooner,
    // which on short dictations comes close to the whole recording's mean.
    cmn_t *cmn = ps_get_feat(m_decoder)->cmn_struct;
    if (cmn->nframe > windowFrames) {
        const float keep = float(windowFrames) / float(cmn->nframe);
        for (int j = 0; j < cmn->veclen; ++j)
            cmn->sum[j] *= keep;
        cmn->nframe = windowFrames;
    }
    for (int j = 0; j < cmn->veclen; ++j)
        cmn->cmn_mean[j] = cmn->sum[j] / float(cmn->nframe);
}

void SphinxDecoder::feed(const std::int16_t *samples, std::size_t count)
{
    while (count > 0) {
        if (m_pending.empty() && count >= blockSamples) {
            process(samples, blockSamples);
            samples += blockSamples;
            count -= blockSamples;
            continue;
        }
        const std::size_t take = std::min(count, blockSamples - m_pending.size());
        m_pending.insert(m_pending.end(), samples, samples + take);
        samples += take;
        count -= take;
        if (m_pending.size() == blockSamples) {
            process(m_pending.data(), m_pending.size());
            m_pending.clear();
        }
    }
}

std::string SphinxDecoder::finish()
{
    if (!m_started) {
        m_pending.clear();
        return {};
    }
    if (!m_pending.empty())
        process(m_pending.data(), m_pending.size());
    m_pending.clear();
    m_started = false;
    if (ps_end_utt(m_decoder) < 0)
        fail();
    int32 score = 0;
    const char *hypothesis = ps_get_hyp(m_decoder, &score);
    return hypothesis ? hypothesis : "";
}

void SphinxDecoder::abandon()
{
    m_pending.clear();
    if (m_started)
        ps_end_utt(m_decoder);
    m_started = false;
}
