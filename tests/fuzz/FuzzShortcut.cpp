// Stored shortcuts: the object form and the older string form. Decoding never fails loudly,
// and a decoded shortcut reads back as itself.
#include "hotkeys/Shortcut.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const QJsonValue value =
        document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
    if (const auto shortcut = Shortcut::decode(value)) {
        shortcut->displayName(QStringLiteral("Right Ctrl"));
        if (Shortcut::decode(shortcut->encode()) != shortcut)
            std::abort();
    }

    // The legacy form is any string, valid UTF-8 or not.
    const Shortcut legacy = Shortcut::legacy(QString::fromUtf8(bytes));
    if ((legacy.modifiers & ~Shortcut::relevantMask) != 0 || !legacy.isModifierOnly() ||
        legacy.modifiers == 0)
        std::abort();
    legacy.displayName(QStringLiteral("Right Ctrl"));
    return 0;
}
