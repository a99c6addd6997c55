#include "stores/MeetingStore.h"

#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "stores/RecordRoles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QStandardPaths>

MeetingStore &MeetingStore::shared()
{
    static MeetingStore *instance = nullptr;
    if (!instance) {
        instance = new MeetingStore(Backend::shared(), defaultRecordingsDirectory());
        qAddPostRoutine([] {
            delete instance;
            instance = nullptr;
        });
    }
    return *instance;
}

QString MeetingStore::defaultRecordingsDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Ovrin/Recordings");
}

MeetingStore::MeetingStore(Backend &backend, QString recordingsDirectory, QObject *parent)
    : QObject(parent), m_backend(backend), m_recordingsDirectory(std::move(recordingsDirectory)),
      m_model(new RecordListModel(RecordRoles::of<Meeting>(), this))
{}

void MeetingStore::refresh()
{
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
