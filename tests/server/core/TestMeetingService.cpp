// Upload signatures, their expiry, and making meetings without holding the database.
#include "AccountService.h"
#include "Database.h"
#include "HttpError.h"
#include "MeetingProcessor.h"
#include "MeetingService.h"
#include "Secrets.h"
#include "StatusOf.h"

#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <fstream>
#include <functional>
#include <mutex>

namespace {

struct ScriptedProcessor : MeetingProcessor
{
    std::function<void()> during;
    bool fail = false;

    Result process(const std::string &, long long, const std::string &date,
                   const std::vector<VocabularyTerm> &) override
    {
        if (during)
            during();
        if (fail)
            throw HttpError(502, "The transcription service failed.");
        return {"Meeting on " + date.substr(0, 10), "Hello.", nlohmann::json::array(), "Notes."};
    }
};

struct Url
{
    std::string key, expires, sig;
};

Url parse(const nlohmann::json &presigned)
{
    const std::string url = presigned["uploadUrl"];
    const auto field = [&url](const std::string &name) {
        const auto at = url.find(name + "=") + name.size() + 1;
        return url.substr(at, url.find('&', at) - at);
    };
    return {presigned["key"], field("expires"), field("sig")};
}

} // namespace

class TestMeetingService : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<MeetingService> m_meetings;
    ScriptedProcessor m_processor;
    long long m_now = 1'800'000'000;
    std::string m_ada, m_bob;

    std::string user(const std::string &email)
    {
        AccountService accounts(*m_database);
        return accounts.registerUser(email, "long enough", "")["user"]["id"];
    }

    void upload(const Url &url)
    {
        m_meetings->checkUpload(url.key, url.expires, url.sig);
        std::ofstream(m_meetings->uploadPath(url.key)) << "RIFF....";
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(Secrets::initialise());
        m_database = std::make_unique<Database>(m_dir.filePath("ovrin.db").toStdString());
        m_meetings = std::make_unique<MeetingService>(
            *m_database, m_processor, m_dir.path().toStdString(), [this] { return m_now; });
        m_ada = user("ada@example.com");
        m_bob = user("bob@example.com");
    }

    void signaturesAreCheckedAndExpire()
    {
        const Url url = parse(m_meetings->presign(m_ada, "http://127.0.0.1:1"));
        const auto check = [this](const std::string &key, const std::string &expires,
                                  const std::string &sig) {
            return statusOf([&] { m_meetings->checkUpload(key, expires, sig); });
        };
        QCOMPARE(check(url.key, url.expires, url.sig), 200);
        std::string flipped = url.sig;
        flipped[0] = flipped[0] == '0' ? '1' : '0';
        QCOMPARE(check(url.key, url.expires, flipped), 403);
        QCOMPARE(check(url.key, std::to_string(std::stoll(url.expires) + 3600), url.sig), 403);
        QCOMPARE(check(url.key, "soon", url.sig), 403);
        QCOMPARE(check("../../ovrin.db", url.expires, url.sig), 400);
        QCOMPARE(check(url.key.substr(0, 23) + "/", url.expires, url.sig), 400);

        m_now += MeetingService::uploadLifetimeSeconds;
        QCOMPARE(check(url.key, url.expires, url.sig), 200); // the last valid second
        m_now += 1;
        try {
            m_meetings->checkUpload(url.key, url.expires, url.sig);
            QFAIL("an expired address was accepted");
        } catch (const HttpError &error) {
            QCOMPARE(error.status(), 403);
            QCOMPARE(error.what(), "The upload address has expired; ask for a new one.");
        }
    }

    void processingRunsWithoutTheDatabaseLock()
    {
        const Url url = parse(m_meetings->presign(m_ada, "http://127.0.0.1:1"));
        upload(url);
        std::mutex lock;
        std::unique_lock held(lock);
        bool lockWasFree = false;
        m_processor.during = [&] {
            lockWasFree = lock.try_lock();
            if (lockWasFree)
                lock.unlock();
        };
        const auto meeting = m_meetings->create(m_ada, url.key, 42, held)["meeting"];
        m_processor.during = nullptr;
        QVERIFY(lockWasFree);
        QVERIFY(held.owns_lock());
        QCOMPARE(meeting["durationSec"].get<long long>(), 42);
        QCOMPARE(m_meetings->list(m_ada)["meetings"].size(), 1u);
        QCOMPARE(statusOf([&] { m_meetings->create(m_ada, url.key, 42, held); }), 404);
    }

    void aFailedProcessingKeepsTheUploadForARetry()
    {
        const Url url = parse(m_meetings->presign(m_ada, "http://127.0.0.1:1"));
        upload(url);
        std::mutex lock;
        std::unique_lock held(lock);
        m_processor.fail = true;
        QCOMPARE(statusOf([&] { m_meetings->create(m_ada, url.key, 5, held); }), 502);
        m_processor.fail = false;
        QVERIFY(held.owns_lock());
        QVERIFY(std::ifstream(m_meetings->uploadPath(url.key)).good());
        QCOMPARE(m_meetings->create(m_ada, url.key, 5, held)["meeting"]["durationSec"].get<int>(),
                 5);
    }

    void anotherUsersUploadsAndMeetingsAreOutOfReach()
    {
        const Url url = parse(m_meetings->presign(m_ada, "http://127.0.0.1:1"));
        upload(url);
        std::mutex lock;
        std::unique_lock held(lock);
        QCOMPARE(statusOf([&] { m_meetings->create(m_bob, url.key, 5, held); }), 404);
        QVERIFY(m_meetings->list(m_bob)["meetings"].empty());
        const std::string adas = m_meetings->list(m_ada)["meetings"][0]["id"];
        QCOMPARE(statusOf([&] { m_meetings->remove(m_bob, adas); }), 404);
        QCOMPARE(m_meetings->list(m_ada)["meetings"].size(), 2u);
    }
};

QTEST_GUILESS_MAIN(TestMeetingService)
#include "TestMeetingService.moc"
