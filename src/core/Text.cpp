#include "core/Text.h"

#include <QTextBoundaryFinder>

namespace Text {

QString trimmed(const QString &text)
{
    // QChar::isSpace covers ASCII white space, NEL, NBSP and the Unicode Z* categories,
    // which include the line and paragraph separators.
    return text.trimmed();
}

namespace {

// Position in UTF-16 units after `count` grapheme clusters, or -1 when the text is shorter.
qsizetype boundaryAfter(const QString &text, int count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int seen = 0;
    while (finder.toNextBoundary() != -1) {
        if (++seen == count)
            return finder.position();
    }
    return -1;
}

} // namespace

int characterCount(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QString truncated(const QString &text, int maxCharacters)
{
    if (maxCharacters <= 0)
        return text.isEmpty() ? text : QStringLiteral("…");
    const qsizetype cut = boundaryAfter(text, maxCharacters);
    if (cut < 0 || cut >= text.size())
        return text;
    return text.left(cut) + QStringLiteral("…");
}

QString firstCharacter(const QString &text)
{
    const qsizetype end = boundaryAfter(text, 1);
    return end < 0 ? text : text.left(end);
}

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

} // namespace Text
