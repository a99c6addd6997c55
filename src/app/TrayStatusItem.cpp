#include "app/TrayStatusItem.h"

#include "core/Text.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

#include <algorithm>

TrayStatusItem::TrayStatusItem(QObject *parent) : QObject(parent), m_menu(new QMenu())
{
    m_statusMenuItem = m_menu->addAction(QStringLiteral("Ready"));
    m_statusMenuItem->setEnabled(false);
    m_statusSeparator = m_menu->addSeparator();
    m_meetingItem = m_menu->addAction(QStringLiteral("Record Meeting"), this,
                                      &TrayStatusItem::meetingToggleRequested);
    m_menu->addSeparator();
    m_menu->addAction(QStringLiteral("Open Ovrin"), this, &TrayStatusItem::openRequested);
    m_menu->addAction(QStringLiteral("Settings…"), this, &TrayStatusItem::settingsRequested);
    m_menu->addSeparator();
    m_menu->addAction(QStringLiteral("Quit Ovrin"), this, &TrayStatusItem::quitRequested);

    connect(m_menu, &QMenu::aboutToShow, this, &TrayStatusItem::menuAboutToShow);

    m_icon = new QSystemTrayIcon(this);
    m_icon->setContextMenu(m_menu);
    m_icon->setToolTip(QStringLiteral("Ovrin"));
    setIconName(QStringLiteral("microphone-idle"));
}

TrayStatusItem::~TrayStatusItem()
{
    delete m_menu;
}

bool TrayStatusItem::isTrayAvailable()
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayStatusItem::show()
{
    m_icon->show();
}

void TrayStatusItem::setStatusText(const QString &text)
{
    m_statusMenuItem->setText(text);
}

QString TrayStatusItem::statusText() const
{
    return m_statusMenuItem->text();
}

void TrayStatusItem::setIconName(const QString &iconName)
{
    if (iconName == m_iconName)
        return;
    m_iconName = iconName;
    m_icon->setIcon(QIcon(QStringLiteral(":/ovrin/icons/%1.svg").arg(iconName)));
}

void TrayStatusItem::setMeetingRecording(bool recording)
{
    m_meetingItem->setText(recording ? QStringLiteral("Stop Recording Meeting")
                                     : QStringLiteral("Record Meeting"));
}

QStringList TrayStatusItem::recentTranscripts(QList<HistoryEntry> entries)
{
    std::stable_sort(entries.begin(), entries.end(),
                     [](const HistoryEntry &a, const HistoryEntry &b) { return a.date > b.date; });
    QStringList texts;
    for (const HistoryEntry &entry : entries) {
        if (texts.size() == recentTranscriptCount)
            break;
        texts.append(entry.text);
    }
    return texts;
}

void TrayStatusItem::setRecentTranscripts(const QStringList &texts)
{
    for (QAction *item : std::as_const(m_transcriptItems)) {
        m_menu->removeAction(item);
        item->deleteLater();
    }
    m_transcriptItems.clear();

    // Right under the status line, above the actions.
    QAction *before = m_meetingItem;
    const auto insert = [&](QAction *item) {
        m_menu->insertAction(before, item);
        m_transcriptItems.append(item);
    };
    auto *header = new QAction(QStringLiteral("Recent transcripts"), m_menu);
    header->setEnabled(false);
    insert(header);
    for (const QString &text : texts) {
        auto *item = new QAction(Text::truncated(text, transcriptTitleLength), m_menu);
        item->setToolTip(text);
        item->setData(text);
        connect(item, &QAction::triggered, this, [this, text] { Q_EMIT transcriptChosen(text); });
        insert(item);
    }
    auto *separator = new QAction(m_menu);
    separator->setSeparator(true);
    insert(separator);
}
