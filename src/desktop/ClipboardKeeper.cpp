#include "desktop/ClipboardKeeper.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>

ClipboardKeeper::ClipboardKeeper(WatcherFactory factory, bool inBackground, QObject *parent)
    : QObject(parent), m_factory(std::move(factory)), m_inBackground(inBackground)
{
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] {
        if (m_reading > 0)
            m_changed = true;
    });
}

ClipboardKeeper::~ClipboardKeeper()
{
    for (Worker &worker : m_workers)
        worker.thread.join();
}

void ClipboardKeeper::remember()
{
    forget();
    std::erase_if(m_workers, [](Worker &worker) {
        if (!*worker.over)
            return false;
        worker.thread.join();
        return true;
    });
    const int reading = ++m_reading;
    if (!m_inBackground) {
        const std::unique_ptr<ClipboardWatcher> watcher = m_factory ? m_factory() : nullptr;
        finished(reading, watcher ? watcher->contents(readMilliseconds, maxBytes) : std::nullopt);
        return;
    }
    QPointer<ClipboardKeeper> self(this);
    auto over = std::make_shared<std::atomic<bool>>(false);
    std::thread thread([self, reading, over, factory = m_factory] {
        std::optional<ClipboardContents> contents;
        if (const std::unique_ptr<ClipboardWatcher> watcher = factory ? factory() : nullptr)
            contents = watcher->contents(readMilliseconds, maxBytes);
        // The keeper joins its workers before it goes, so it is there to post to.
        QMetaObject::invokeMethod(
            self.get(),
            [self, reading, contents = std::move(contents)]() mutable {
                if (self)
                    self->finished(reading, std::move(contents));
            },
            Qt::QueuedConnection);
        *over = true;
    });
    m_workers.push_back({std::move(thread), std::move(over)});
}

void ClipboardKeeper::finished(int reading, std::optional<ClipboardContents> contents)
{
    if (reading != m_reading)
        return;
    m_done = true;
    m_contents = std::move(contents);
}

std::optional<ClipboardContents> ClipboardKeeper::remembered() const
{
    if (!m_done || m_changed)
        return std::nullopt;
    return m_contents;
}

QString ClipboardKeeper::problem() const
{
    if (m_reading == 0)
        return QStringLiteral("nothing was read");
    if (!m_done)
        return QStringLiteral("its owner had not answered yet");
    if (m_changed)
        return QStringLiteral("it changed during the dictation");
    if (!m_contents)
        return QStringLiteral("its owner did not hand over every format in time, or it was too "
                              "large to keep");
    return {};
}

void ClipboardKeeper::forget()
{
    m_done = false;
    m_changed = false;
    m_contents.reset();
    ++m_reading; // a reading still under way no longer counts
}
