#pragma once

#include <QString>

// Text helpers shared by every subsystem.
namespace Text {

// Removes white space and line breaks (including Unicode separators) at both ends.
QString trimmed(const QString &text);
// Number of user-perceived characters (grapheme clusters).
int characterCount(const QString &text);
// The first `maxCharacters` characters followed by "…", or the text itself when it
// is not longer than that.
QString truncated(const QString &text, int maxCharacters);
// The first user-perceived character, with its combining marks; empty for empty text.
QString firstCharacter(const QString &text);
// In straight double quotes, as the log shows what was said.
QString quoted(const QString &text);

} // namespace Text
