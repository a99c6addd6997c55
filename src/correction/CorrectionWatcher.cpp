#include "correction/CorrectionWatcher.h"

#include "core/Clock.h"
#include "core/Scheduler.h"
#include "platform/FocusedTextReader.h"

#include <QStringView>

#include <limits>

namespace {

constexpr double distantPast = -std::numeric_limits<double>::infinity();

// The code point starting at `at`, or ending just before `end`, and its length in
// UTF-16 units, so that characters outside the BMP are classified whole.
char32_t pointAt(QStringView text, qsizetype at, qsizetype &length)
{
    const QChar c = text[at];
    length = c.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate() ? 2 : 1;
    return length == 2 ? QChar::surrogateToUcs4(c, text[at + 1]) : c.unicode();
}

char32_t pointBefore(QStringView text, qsizetype end, qsizetype &length)
{
    const QChar c = text[end - 1];
    length = c.isLowSurrogate() && end >= 2 && text[end - 2].isHighSurrogate() ? 2 : 1;
    return length == 2 ? QChar::surrogateToUcs4(text[end - 2], c) : c.unicode();
}

template <class Predicate> QStringView trimmedOf(QStringView text, Predicate remove)
{
    qsizetype begin = 0, end = text.size(), length = 0;
    while (begin < end && remove(pointAt(text, begin, length)))
        begin += length;
    while (end > begin && remove(pointBefore(text, end, length)))
        end -= length;
    return text.sliced(begin, end - begin);
}

bool isPunctuation(char32_t c)
{
    return QChar::isPunct(c);
}

// Punctuation, spaces (of any width, no-break included) and tabs; never line breaks.
bool isPunctuationOrSpace(char32_t c)
{
    return QChar::isPunct(c) || QChar::category(c) == QChar::Separator_Space || c == U'\t';
}

bool containsLetter(QStringView text)
{
    qsizetype length = 0;
    for (qsizetype at = 0; at < text.size(); at += length) {
        if (QChar::isLetter(pointAt(text, at, length)))
            return true;
    }
    return false;
}

} // namespace

CorrectionWatcher::CorrectionWatcher(FocusedTextReader &reader, Clock &clock, Scheduler &scheduler,
                                     QObject *parent)
    : QObject(parent), m_reader(reader), m_clock(clock), m_scheduler(scheduler),
      m_deadline(distantPast)
{}

CorrectionWatcher::~CorrectionWatcher() = default;

QList<CorrectionWatcher::Tok> CorrectionWatcher::tokens(const QString &text)
{
    QList<Tok> result;
    qsizetype start = 0;
    const qsizetype length = text.size();
    for (qsizetype i = 0; i <= length; ++i) {
        // CR LF is one character, neither a line feed nor a space, so it joins its neighbours.
        const bool separator = i == length || text[i] == u' ' || text[i] == u'\t' ||
                               (text[i] == u'\n' && (i == 0 || text[i - 1] != u'\r'));
        if (!separator)
            continue;
        if (i > start) {
            const QStringView raw = QStringView(text).mid(start, i - start);
            QString key = trimmedOf(raw, isPunctuation).toString().toLower();
            if (!key.isEmpty())
                result.append({raw.toString(), std::move(key)});
        }
        start = i + 1;
    }
    return result;
}

void CorrectionWatcher::start(const QString &insertedText)
{
    stop();
    QSet<QString> keys;
    for (const Tok &tok : tokens(insertedText))
        keys.insert(tok.key);
    if (keys.isEmpty())
        return;
    std::erase_if(m_pendingBaselines, [](const TimerHandle &h) { return !h.isActive(); });
    m_pendingBaselines.push_back(
        m_scheduler.schedule(baselineDelay, [this, keys] { captureBaseline(keys); }));
}

void CorrectionWatcher::stop()
{
    m_timer.cancel();
    m_element.reset();
    m_baselineKeys.clear();
    m_baselineValue.clear();
    m_insertedWords.clear();
    m_lastValue.clear();
    m_lastChangeAt.reset();
}

void CorrectionWatcher::captureBaseline(const QSet<QString> &insertedWords)
{
    std::unique_ptr<TextElement> element = m_reader.focusedElement();
    if (!element || element->isSecret())
        return;
    const std::optional<QString> value = element->value();
    if (!value)
        return;

    m_element = std::move(element);
    m_lastValue = *value;
    m_baselineValue = *value;
    m_baselineKeys.clear();
    for (const Tok &tok : tokens(*value))
        m_baselineKeys.append(tok.key);
    m_insertedWords = insertedWords;
    m_lastChangeAt.reset();
    m_analyzedThisSettle = false;
    m_deadline = m_clock.now() + watchWindow;
    // A second pending baseline replaces the poll of the first.
    m_timer = m_scheduler.repeat(pollInterval, [this] { tick(); });
}

void CorrectionWatcher::tick()
{
    const double now = m_clock.now();
    if (!(now < m_deadline) || !m_element) {
        stop();
        return;
    }
    const std::optional<QString> value = m_element->value();
    if (!value)
        return;
    if (*value != m_lastValue) {
        // Every keystroke restarts the wait for the edit to settle.
        m_lastValue = *value;
        m_lastChangeAt = now;
        m_analyzedThisSettle = false;
        return;
    }
    if (m_analyzedThisSettle || !m_lastChangeAt || now - *m_lastChangeAt < settleDelay)
        return;
    // Changed and changed back: nothing to analyse, and a later edit still counts.
    if (*value == m_baselineValue)
        return;

    m_analyzedThisSettle = true;
    const std::optional<Correction> correction =
        detectCorrection(m_baselineKeys, m_insertedWords, tokens(*value));
    if (!correction)
        return;
    stop();
    std::weak_ptr<int> alive = m_alive;
    m_scheduler.post([this, alive, correction = *correction] {
        if (!alive.expired())
            Q_EMIT correctionFound(correction.heard, correction.corrected);
    });
}

std::optional<CorrectionWatcher::Correction>
CorrectionWatcher::detectCorrection(const QStringList &baselineKeys,
                                    const QSet<QString> &insertedWords, const QList<Tok> &settled)
{
    const qsizetype baselineCount = baselineKeys.size();
    const qsizetype settledCount = settled.size();
    qsizetype prefix = 0;
    while (prefix < baselineCount && prefix < settledCount &&
           baselineKeys[prefix] == settled[prefix].key)
        ++prefix;
    qsizetype suffix = 0;
    while (suffix < baselineCount - prefix && suffix < settledCount - prefix &&
           baselineKeys[baselineCount - 1 - suffix] == settled[settledCount - 1 - suffix].key)
        ++suffix;

    const qsizetype removedCount = baselineCount - suffix - prefix;
    const qsizetype addedCount = settledCount - suffix - prefix;
    if (removedCount == 0 || addedCount == 0 || removedCount > maxSpanWords ||
        addedCount > maxSpanWords)
        return std::nullopt;

    // Only words that came from the dictation can have been misheard.
    const QStringList removed = baselineKeys.mid(prefix, removedCount);
    for (const QString &key : removed) {
        if (!insertedWords.contains(key))
            return std::nullopt;
    }

    QStringList addedRaw;
    for (qsizetype i = prefix; i < prefix + addedCount; ++i)
        addedRaw.append(settled[i].raw);
    const QString corrected = trimmedOf(addedRaw.join(u' '), isPunctuationOrSpace).toString();
    const QString heard = removed.join(u' ');
    if (!containsLetter(corrected))
        return std::nullopt;
    // A change of case or of edge punctuation is not a correction.
    if (corrected.toLower() == heard.toLower())
        return std::nullopt;
    return Correction{heard, corrected};
}
