#pragma once

#include "platform/ClipboardWatcher.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

// What the user had on the clipboard before a dictation replaces it: read in the background
// while the key is held (an owner may take its time to answer), and kept while the clipboard
// stays as it was.
class ClipboardKeeper : public QObject
{
    Q_OBJECT
public:
    static constexpr int readMilliseconds = 1500;
    static constexpr qsizetype maxBytes = 64 * 1024 * 1024;
    // A watcher of its own for each reading, which runs on a worker thread.
    using WatcherFactory = std::function<std::unique_ptr<ClipboardWatcher>()>;

    // `inBackground` false: remember() reads at once, on the calling thread (for tests).
    explicit ClipboardKeeper(WatcherFactory factory, bool inBackground = true,
                             QObject *parent = nullptr);
    ~ClipboardKeeper() override;

    // Starts reading what the clipboard holds now.
    void remember();
    // What was read, when the reading is done and the clipboard has not changed since;
    // otherwise nothing, with the reason in problem().
    std::optional<ClipboardContents> remembered() const;
    QString problem() const;
    void forget();

private:
    void finished(int reading, std::optional<ClipboardContents> contents);

    struct Worker
    {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> over;
    };

    WatcherFactory m_factory;
    bool m_inBackground;
    std::vector<Worker> m_workers;
    int m_reading = 0; // the latest reading; older ones that finish late are ignored
    bool m_done = false;
    bool m_changed = false;
    std::optional<ClipboardContents> m_contents;
};
