#pragma once

#include "backend/Meeting.h"
#include "stores/RecordListModel.h"
#include "stores/UserDataCache.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>

#include <functional>

class Backend;

// The user's recorded meetings, and their recordings on this computer.
class MeetingStore : public QObject, public UserDataCache
{
    Q_OBJECT
    Q_PROPERTY(RecordListModel *meetings READ meetingsModel CONSTANT)
    Q_PROPERTY(QString loadError READ loadError NOTIFY loadErrorChanged)
    Q_PROPERTY(QStringList unsentRecordings READ unsentRecordings NOTIFY unsentRecordingsChanged)
public:
    static MeetingStore &shared();
    // The directory where the recording of meeting X is kept as X.wav.
    static QString defaultRecordingsDirectory();
    MeetingStore(Backend &backend, QString recordingsDirectory, QObject *parent = nullptr);

    const QList<Meeting> &meetings() const { return m_meetings; }
    RecordListModel *meetingsModel() const { return m_model; }
    // The last failure; empty when there is none.
    const QString &loadError() const { return m_loadError; }
    const QString &recordingsDirectory() const { return m_recordingsDirectory; }
    // The local recording of meeting `id`; empty when this computer has none.
    Q_INVOKABLE QString recordingPath(const QString &id) const;

    // Returns at once; the outcome shows in meetings and loadError.
    Q_INVOKABLE void refresh();
    // Returns at once. The local recording goes whatever the backend answers; the
    // meeting leaves the list only once the backend has deleted it.
    Q_INVOKABLE void deleteMeeting(QString id);

    // Presign, upload, create. On success the recording is filed as <id>.wav and the
    // meeting goes first in the list. On failure the recording moves to unsent/ (a
    // meeting is never lost to a network error) and the error is thrown. `presigned`
    // is called once the upload address is in hand.
    QCoro::Task<Meeting> uploadRecording(QString path, qint64 durationSec,
                                         std::function<void()> presigned = {});
    // Recordings whose upload failed, oldest first; the Meetings page offers both.
    const QStringList &unsentRecordings() const { return m_unsent; }
    QString unsentDirectory() const;
    // Tries again with the duration read from the file; a failure shows in loadError.
    Q_INVOKABLE void retryUpload(QString path);
    Q_INVOKABLE void deleteUnsent(QString path);

    void reset() override;

Q_SIGNALS:
    void loadErrorChanged();
    void unsentRecordingsChanged();

private:
    QCoro::Task<void> fetch();
    QCoro::Task<void> remove(QString id);
    QCoro::Task<void> retry(QString path);
    void scanUnsent();
    void setMeetings(QList<Meeting> meetings);
    void setLoadError(const QString &error);

    Backend &m_backend;
    QString m_recordingsDirectory;
    QList<Meeting> m_meetings;
    RecordListModel *m_model;
    QString m_loadError;
    QStringList m_unsent;
};
