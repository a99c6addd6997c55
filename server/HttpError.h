#pragma once

#include <stdexcept>
#include <string>

// A refusal with its HTTP status; the text is what the client shows the user.
class HttpError : public std::runtime_error
{
public:
    HttpError(int status, const std::string &message)
        : std::runtime_error(message), m_status(status)
    {}
    int status() const { return m_status; }

private:
    int m_status;
};
