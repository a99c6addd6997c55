#pragma once

#include <stdexcept>
#include <string>

// A refusal with its HTTP status; the text is what the client shows the user.
class HttpError : public std::runtime_error
{
public:
    HttpError(int status, const std::string &message, int retryAfterSeconds = 0)
        : std::runtime_error(message), m_status(status), m_retryAfter(retryAfterSeconds)
    {}
    int status() const { return m_status; }
    // Sent as Retry-After when above 0.
    int retryAfterSeconds() const { return m_retryAfter; }

    // What a failed request answers: a refusal as it is, a database another process holds
    // locked as 503 (try again soon), anything else as 500.
    static HttpError from(const std::exception &error);

private:
    int m_status;
    int m_retryAfter;
};
