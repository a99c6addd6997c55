#pragma once

#include "core/TimerHandle.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

class Clock;
class FocusedTextReader;
class Scheduler;
class TextElement;

// Notices when the user fixes a word of a dictation just pasted into another application:
// takes the field's words half a second after the paste, polls that same field, and once
// an edit has settled reports one short run of dictated words replaced by another. Reads
// only, never writes; password fields are never watched.
class CorrectionWatcher : public QObject
{
    Q_OBJECT
public:
    // A word as it stands in the text (`raw`) and as it is compared (`key`: edge
    // punctuation trimmed, lower case).
    struct Tok
    {
        QString raw;
        QString key;
    };
    struct Correction
    {
        QString heard;
        QString corrected;
        bool operator==(const Correction &) const = default;
    };

    static constexpr double baselineDelay = 0.5;
    static constexpr double watchWindow = 30.0;
    static constexpr double pollInterval = 0.3;
    static constexpr double settleDelay = 1.2;
    static constexpr int maxSpanWords = 3;

    CorrectionWatcher(FocusedTextReader &reader, Clock &clock, Scheduler &scheduler,
                      QObject *parent = nullptr);
    ~CorrectionWatcher() override;

    // Watches for a correction of `insertedText` (the trimmed text just pasted); the watch
    // itself begins `baselineDelay` later.
    void start(const QString &insertedText);
    // Ends any watch. A baseline still pending is not cancelled: it installs its watch.
    void stop();
    bool isWatching() const { return m_timer.isActive(); }

    // Words split at space, line feed and tab only (not at the line feed of a CR LF);
    // pieces without a key are dropped.
    static QList<Tok> tokens(const QString &text);
    static std::optional<Correction> detectCorrection(const QStringList &baselineKeys,
                                                      const QSet<QString> &insertedWords,
                                                      const QList<Tok> &settled);

Q_SIGNALS:
    // Once per detected correction, on a later turn of the event loop, after the watch
    // has ended.
    void correctionFound(const QString &heard, const QString &corrected);

private:
    void captureBaseline(const QSet<QString> &insertedWords);
    void tick();

    FocusedTextReader &m_reader;
    Clock &m_clock;
    Scheduler &m_scheduler;

    TimerHandle m_timer;
    std::unique_ptr<TextElement> m_element;
    QStringList m_baselineKeys;
    QString m_baselineValue;
    QSet<QString> m_insertedWords;
    QString m_lastValue;
    std::optional<double> m_lastChangeAt;
    bool m_analyzedThisSettle = false;
    double m_deadline;

    // Baselines scheduled by start(); they outlive stop() but not the watcher.
    std::vector<TimerHandle> m_pendingBaselines;
    // Lets a posted report find out whether the watcher is still there.
    std::shared_ptr<int> m_alive = std::make_shared<int>(0);
};
