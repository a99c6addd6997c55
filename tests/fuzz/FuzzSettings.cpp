// settings.json as the application reads it at start-up: any bytes must give settings (or
// the defaults), and whatever was read must survive being written back and read again.
#include "stores/Settings.h"
#include "stores/SettingsStore.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    // The same expression the store uses, then the whole value as it came.
    const auto settings = Settings::decode(document.object());
    if (!settings)
        std::abort(); // an object always decodes
    Settings::decode(document.isArray() ? QJsonValue(document.array()) : QJsonValue());

    for (CaptureMode mode : allCaptureModes)
        settings->shortcut(mode).displayName(QStringLiteral("Right Ctrl"));

    if (Settings::decode(settings->encode()) != settings)
        std::abort();
    // Written to disk and read back, the file must still decode to settings.
    const QJsonDocument written = QJsonDocument::fromJson(SettingsStore::encodeFile(*settings));
    if (!written.isObject() || !Settings::decode(written.object()))
        std::abort();
    return 0;
}
