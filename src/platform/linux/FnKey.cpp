#include "platform/linux/FnKey.h"

#include "core/ProcessWide.h"

#include <QHash>
#include <QSettings>

namespace {

const QString savedKey = QStringLiteral("fnKey");

} // namespace

FnKey &FnKey::shared()
{
    return processWide<FnKey>([] { return new FnKey; });
}

FnKey::FnKey() : m_key(choices().first()) {}

QStringList FnKey::choices()
{
    return {QStringLiteral("Control_R"), QStringLiteral("Alt_R"), QStringLiteral("Super_R"),
            QStringLiteral("Menu")};
}

QString FnKey::labelOf(const QString &keysym)
{
    static const QHash<QString, QString> labels{
        {QStringLiteral("Control_R"), QStringLiteral("Right Ctrl")},
        {QStringLiteral("Alt_R"), QStringLiteral("Right Alt")},
        {QStringLiteral("Super_R"), QStringLiteral("Right Super")},
        {QStringLiteral("Menu"), QStringLiteral("Menu")},
    };
    return labels.value(keysym, keysym);
}

void FnKey::setKey(const QString &keysym)
{
    if (keysym == m_key || !choices().contains(keysym))
        return;
    m_key = keysym;
    if (m_defaults)
        m_defaults->setValue(savedKey, m_key);
    Q_EMIT keyChanged();
}

void FnKey::keepIn(QSettings *defaults)
{
    m_defaults = nullptr;
    if (defaults)
        setKey(defaults->value(savedKey).toString());
    m_defaults = defaults;
}
