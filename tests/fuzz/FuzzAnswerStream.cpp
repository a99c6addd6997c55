// The streamed answer as the network delivers it: the same bytes cut into reads anywhere must
// give the same deltas, actions, final answer and error as when they arrive in one piece.
//
// Input: one byte n (the number of cuts, up to 15), n bytes of read lengths, then the stream.
#include "backend/AnswerStreamReader.h"
#include "backend/BackendError.h"

#include <QStringList>

#include <cstdint>
#include <cstdlib>

namespace {

// Everything the reader reported, in order, with the error (if any) last.
QStringList readAll(const QList<QByteArray> &reads)
{
    QStringList events;
    AnswerStreamReader reader(
        200, [&](const QString &delta) { events << QStringLiteral("delta:") + delta; },
        [&](const QString &type, const QString &name) {
            events << QStringLiteral("action:") + type + QChar(0) + name;
        });
    try {
        for (const QByteArray &read : reads)
            reader.feed(read);
        reader.finish();
    } catch (const BackendError &error) {
        if (error.kind() != BackendError::Kind::http || error.status() != 200)
            std::abort();
        events << QStringLiteral("error:") + error.message();
    }
    events << QStringLiteral("answer:") + reader.answer();
    return events;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::size_t cuts = std::min<std::size_t>(data[0] & 0x0F, size - 1);
    const std::uint8_t *lengths = data + 1;
    const char *stream = reinterpret_cast<const char *>(data + 1 + cuts);
    const std::size_t streamSize = size - 1 - cuts;

    QList<QByteArray> pieces;
    std::size_t at = 0;
    for (std::size_t i = 0; i < cuts; ++i) {
        const std::size_t length = std::min<std::size_t>(lengths[i], streamSize - at);
        pieces << QByteArray(stream + at, qsizetype(length)); // empty reads happen too
        at += length;
    }
    pieces << QByteArray(stream + at, qsizetype(streamSize - at));

    const QStringList whole = readAll({QByteArray(stream, qsizetype(streamSize))});
    if (readAll(pieces) != whole)
        std::abort();
    return 0;
}
