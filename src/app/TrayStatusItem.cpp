#include "app/TrayStatusItem.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

TrayStatusItem::TrayStatusItem(QObject *parent) : QObject(parent), m_menu(new QMenu())
{
    m_statusMenuItem = m_menu->addAction(QStringLiteral("Ready"));
    m_statusMenuItem->setEnabled(false);
    m_menu->addSeparator();
    m_meetingItem = m_menu->addAction(QStringLiteral("Record Meeting"), this,
                                      &TrayStatusItem::meetingToggleRequested);
    m_menu->addSeparator();
    m_menu->addAction(QStringLiteral("Open Ovrin"), this, &TrayStatusItem::openRequested);
    m_menu->addAction(QStringLiteral("Settings…"), this, &TrayStatusItem::settingsRequested);
    m_menu->addSeparator();
    m_menu->addAction(QStringLiteral("Quit Ovrin"), this, &TrayStatusItem::quitRequested);

    m_icon = new QSystemTrayIcon(this);
    m_icon->setContextMenu(m_menu);
    m_icon->setToolTip(QStringLiteral("Ovrin"));
    setSymbol(QStringLiteral("mic"));
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

void TrayStatusItem::setSymbol(const QString &symbol)
{
    if (symbol == m_symbol)
        return;
    m_symbol = symbol;
    m_icon->setIcon(QIcon(QStringLiteral(":/ovrin/icons/%1.svg").arg(symbol)));
}
