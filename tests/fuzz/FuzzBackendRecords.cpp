// Reply bodies of the backend as the client decodes them: every record kind, alone, in an
// array and in the {"key": [records…]} map the list endpoints answer with. A bad body is a
// DecodingError (or a BackendError for a failed status), never anything else.
//
// Input: one byte choosing the record kind and the status, then the body.
#include "backend/AppConnection.h"
#include "backend/AssistantTask.h"
#include "backend/AuthUser.h"
#include "backend/Backend.h"
#include "backend/BackendError.h"
#include "backend/DictionaryTerm.h"
#include "backend/HistoryEntry.h"
#include "backend/IsoDate.h"
#include "backend/JsonFields.h"
#include "backend/Meeting.h"
#include "backend/MemoryItem.h"
#include "backend/Project.h"
#include "backend/Reminder.h"
#include "backend/TranscriptSegment.h"

#include <cstdint>
#include <cstdlib>

namespace {

template <class T> void use(const T &record)
{
    if constexpr (requires { record.toVariant(); })
        record.toVariant();
    if constexpr (requires { record.toJson(); }) {
        // The signed-in user is also written to the local cache and read back from it.
        if (T::fromJson(record.toJson()) != record)
            std::abort();
        record.initials();
    }
}

template <class T> void decodeAs(const QJsonObject &object)
{
    // Each value separately, so one bad record doesn't hide the others from the fuzzer.
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        try {
            if (it->isArray()) {
                for (const T &record : JsonFields::records<T>(it->toArray()))
                    use(record);
            } else {
                use(T::fromJson(*it));
            }
        } catch (const DecodingError &error) {
            if (error.description().isEmpty())
                std::abort();
        }
    }
}

using Decoder = void (*)(const QJsonObject &);
constexpr Decoder decoders[] = {
    decodeAs<HistoryEntry>,  decodeAs<DictionaryTerm>,    decodeAs<AssistantTask>,
    decodeAs<Reminder>,      decodeAs<MemoryItem>,        decodeAs<Project>,
    decodeAs<AppConnection>, decodeAs<TranscriptSegment>, decodeAs<Meeting>,
    decodeAs<AuthUser>,
};
constexpr int statuses[] = {200, 204, 400, 401, 404, 413, 500, 502};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const Decoder decode = decoders[data[0] % std::size(decoders)];
    const int status = statuses[(data[0] >> 4) % std::size(statuses)];
    const QByteArray body(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));

    try {
        decode(JsonFields::parseObject(body));
    } catch (const DecodingError &) {
    }

    // Failed statuses become a BackendError whatever the body holds.
    try {
        Backend::ensureOK({true, status, body});
        if (status < 200 || status > 299)
            std::abort();
    } catch (const BackendError &error) {
        if (error.kind() != BackendError::Kind::http || error.status() != status)
            std::abort();
    }

    // Dates: whatever parses formats to a form that parses to the same instant. An offset
    // can carry a date of year 1 or 9999 past the four-digit years the form has room for.
    if (const auto date = IsoDate::parse(QString::fromUtf8(body))) {
        if (!date->isValid())
            std::abort();
        const int year = date->date().year();
        if (year >= 1 && year <= 9999 && IsoDate::parse(IsoDate::format(*date)) != date)
            std::abort();
    }
    return 0;
}
