#include "HttpError.h"

#include <SQLiteCpp/Exception.h>
#include <sqlite3.h>

HttpError HttpError::from(const std::exception &error)
{
    if (const auto *http = dynamic_cast<const HttpError *>(&error))
        return *http;
    if (const auto *sql = dynamic_cast<const SQLite::Exception *>(&error)) {
        // Still busy after the connection's busy time-out: someone else holds the database.
        const int code = sql->getErrorCode() & 0xff;
        if (code == SQLITE_BUSY || code == SQLITE_LOCKED)
            return HttpError(503, "The server's database is busy. Try again in a moment.", 1);
    }
    return HttpError(500, std::string("Server error: ") + error.what());
}
