#pragma once

#include <nlohmann/json.hpp>

#include <string>

class HttpError;

namespace httplib {
struct Request;
struct Response;
} // namespace httplib

// Reading requests and writing JSON replies the same way on every route.
class RequestBody
{
public:
    static constexpr std::size_t maxJsonBytes = 1 << 20;

    // The body as a JSON object (empty when there is none); throws HttpError 400 or 413.
    static nlohmann::json json(const httplib::Request &request);
    // Throws HttpError 400 naming the field when it is missing or not a string.
    static std::string stringField(const nlohmann::json &body, const char *key);
    // The token of "Authorization: Bearer …", or empty.
    static std::string bearerToken(const httplib::Request &request);
    static void send(httplib::Response &response, int status, const nlohmann::json &body);
    // {"error": text} with the error's status, and Retry-After when it has one.
    static void sendError(httplib::Response &response, const HttpError &error);
};
