#include "desktop/Paster.h"

#include "core/Scheduler.h"
#include "platform/ClipboardWriter.h"
#include "platform/KeySynthesizer.h"

#include <QClipboard>
#include <QGuiApplication>

Paster::Paster(KeySynthesizer &keys, Scheduler &scheduler, ClipboardWriter *writer)
    : m_keys(keys), m_writer(writer), m_scheduler(scheduler)
{}

void Paster::copy(const QString &text)
{
    if (m_writer)
        m_writer->setText(text);
    else
        QGuiApplication::clipboard()->setText(text, QClipboard::Clipboard);
}

void Paster::paste(const QString &text, std::function<void()> undelivered)
{
    copy(text);
    m_pending = m_scheduler.schedule(pasteDelay, [this, undelivered = std::move(undelivered)] {
        if (!m_keys.send(KeySynthesizer::Command::paste) && undelivered)
            undelivered();
    });
}
