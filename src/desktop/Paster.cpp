#include "desktop/Paster.h"

#include "core/Scheduler.h"
#include "platform/KeySynthesizer.h"

#include <QClipboard>
#include <QGuiApplication>

Paster::Paster(KeySynthesizer &keys, Scheduler &scheduler) : m_keys(keys), m_scheduler(scheduler) {}

void Paster::copy(const QString &text)
{
    QGuiApplication::clipboard()->setText(text, QClipboard::Clipboard);
}

void Paster::paste(const QString &text)
{
    copy(text);
    m_pending =
        m_scheduler.schedule(pasteDelay, [this] { m_keys.send(KeySynthesizer::Command::paste); });
}
