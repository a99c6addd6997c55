// The correction watcher's comparison: what was pasted, the field's text after the paste, and
// the field's text once the user's edit settled.
//
// Input: the three texts as UTF-8 (or not), separated by NUL bytes.
#include "correction/CorrectionWatcher.h"

#include <cstdint>
#include <cstdlib>

namespace {

QList<CorrectionWatcher::Tok> checkedTokens(const QString &text)
{
    const QList<CorrectionWatcher::Tok> tokens = CorrectionWatcher::tokens(text);
    for (const CorrectionWatcher::Tok &tok : tokens) {
        if (tok.key.isEmpty() || tok.raw.isEmpty() || tok.raw.contains(u' ') ||
            tok.raw.contains(u'\n') || tok.raw.contains(u'\t'))
            std::abort();
    }
    return tokens;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QList<QByteArray> parts =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)).split('\0');
    const QString inserted = QString::fromUtf8(parts.value(0));
    const QString baseline = QString::fromUtf8(parts.value(1));
    const QString settled = QString::fromUtf8(parts.value(2));

    QSet<QString> insertedWords;
    for (const CorrectionWatcher::Tok &tok : checkedTokens(inserted))
        insertedWords.insert(tok.key);
    const QList<CorrectionWatcher::Tok> baselineTokens = checkedTokens(baseline);
    QStringList baselineKeys;
    for (const CorrectionWatcher::Tok &tok : baselineTokens)
        baselineKeys << tok.key;

    // An untouched field holds no correction.
    if (CorrectionWatcher::detectCorrection(baselineKeys, insertedWords, baselineTokens))
        std::abort();

    const auto correction =
        CorrectionWatcher::detectCorrection(baselineKeys, insertedWords, checkedTokens(settled));
    if (correction) {
        if (correction->heard.isEmpty() || correction->corrected.isEmpty() ||
            correction->heard.toLower() == correction->corrected.toLower())
            std::abort();
        // Only dictated words can have been misheard.
        for (const QString &word : correction->heard.split(u' ')) {
            if (!insertedWords.contains(word))
                std::abort();
        }
    }
    return 0;
}
