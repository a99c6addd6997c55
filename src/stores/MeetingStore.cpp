#include "stores/MeetingStore.h"

#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/ProcessWide.h"
#include "core/WavFileInfo.h"
#include "stores/RecordRoles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QStandardPaths>

MeetingStore &MeetingStore::shared()
{
    return processWide<MeetingStore>(
        [] { return new MeetingStore(Backend::shared(), defaultRecordingsDirectory()); });
}

QString MeetingStore::defaultRecordingsDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Ovrin/Recordings");
}

MeetingStore::MeetingStore(Backend &backend, QString recordingsDirectory, QObject *parent)
    : QObject(parent), m_backend(backend), m_recordingsDirectory(std::move(recordingsDirectory)),
      m_model(new RecordListModel(RecordRoles::of<Meeting>(), this))
{
    scanUnsent();
}

QString MeetingStore::unsentDirectory() const
{
    return QDir(m_recordingsDirectory).filePath(QStringLiteral("unsent"));
}

void MeetingStore::scanUnsent()
{
    QFileInfoList files =
        QDir(unsentDirectory())
            .entryInfoList({QStringLiteral("*.wav")}, QDir::Files, QDir::Time | QDir::Reversed);
    QStringList paths;
    for (const QFileInfo &file : std::as_const(files))
        paths.append(file.absoluteFilePath());
    if (paths == m_unsent)
        return;
    m_unsent = paths;
    Q_EMIT unsentRecordingsChanged();
}

QCoro::Task<Meeting> MeetingStore::uploadRecording(QString path, qint64 durationSec,
                                                   std::function<void()> presigned)
{
    QPointer<MeetingStore> self(this);
    const QString recordings = m_recordingsDirectory;
    const QString unsent = unsentDirectory();
    try {
        const PresignedUpload upload = co_await m_backend.presignUpload();
        if (presigned)
            presigned();
        co_await m_backend.uploadRecording(upload.uploadURL, path);
        Meeting meeting = co_await m_backend.createMeeting(upload.key, durationSec);
        // Filing the recording may fail; the meeting exists on the backend regardless.
        QDir().mkpath(recordings);
        if (!meeting.id.isEmpty() && !meeting.id.contains(QLatin1Char('/'))) {
            const QString filed = QDir(recordings).filePath(meeting.id + QStringLiteral(".wav"));
            QFile::remove(filed);
            QFile::rename(path, filed);
        }
        if (self) {
            QList<Meeting> meetings = m_meetings;
            meetings.prepend(meeting);
            setMeetings(std::move(meetings));
            scanUnsent();
        }
        co_return meeting;
    } catch (...) {
        if (QFileInfo(path).absolutePath() != QFileInfo(unsent).absoluteFilePath()) {
            QDir().mkpath(unsent);
            QFile::rename(path, QDir(unsent).filePath(QFileInfo(path).fileName()));
        }
        if (self)
            scanUnsent();
        throw;
    }
}

void MeetingStore::retryUpload(QString path)
{
    retry(std::move(path));
}

QCoro::Task<void> MeetingStore::retry(QString path)
{
    QPointer<MeetingStore> self(this);
    QFile file(path);
    std::optional<WavFileInfo> wav;
    if (file.open(QIODevice::ReadOnly))
        wav = WavFileInfo::read(file);
    file.close();
    if (!wav) {
        setLoadError(
            QStringLiteral("The recording %1 can't be read.").arg(QFileInfo(path).fileName()));
        co_return;
    }
    try {
        co_await uploadRecording(path, qint64(wav->durationSeconds()));
        if (self)
            setLoadError({});
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
    }
}

void MeetingStore::deleteUnsent(QString path)
{
    if (m_unsent.contains(path))
        QFile::remove(path);
    scanUnsent();
}

QString MeetingStore::recordingPath(const QString &id) const
{
    if (id.isEmpty())
        return {};
    const QString path = QDir(m_recordingsDirectory).filePath(id + QStringLiteral(".wav"));
    return QFileInfo::exists(path) ? path : QString();
}

void MeetingStore::refresh()
{
    // Recordings may have been left in unsent/ by another run since the store was made.
    scanUnsent();
    fetch();
}

QCoro::Task<void> MeetingStore::fetch()
{
    QPointer<MeetingStore> self(this);
    try {
        QList<Meeting> meetings = co_await m_backend.meetings();
        if (!self)
            co_return;
        setMeetings(std::move(meetings));
        setLoadError({});
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
    }
}

void MeetingStore::deleteMeeting(QString id)
{
    remove(std::move(id));
}

QCoro::Task<void> MeetingStore::remove(QString id)
{
    QPointer<MeetingStore> self(this);
    // Copied now: the file goes even if the store does not outlive the request.
    const QString directory = m_recordingsDirectory;
    bool deleted = false;
    try {
        co_await m_backend.deleteMeeting(id);
        deleted = true;
    } catch (...) {
    }
    // An id that is not a plain file name must not reach outside the directory.
    if (!id.isEmpty() && !id.contains(QLatin1Char('/')))
        QFile::remove(QDir(directory).filePath(id + QStringLiteral(".wav")));
    if (!self || !deleted)
        co_return;
    QList<Meeting> meetings = m_meetings;
    meetings.removeIf([&](const Meeting &m) { return m.id == id; });
    setMeetings(std::move(meetings));
}

void MeetingStore::reset()
{
    setMeetings({});
    setLoadError({});
}

void MeetingStore::setMeetings(QList<Meeting> meetings)
{
    m_meetings = std::move(meetings);
    m_model->setRecords(m_meetings);
}

void MeetingStore::setLoadError(const QString &error)
{
    if (error == m_loadError)
        return;
    m_loadError = error;
    Q_EMIT loadErrorChanged();
}
