#include "RequestBody.h"

#include "HttpError.h"

#include <httplib.h>

nlohmann::json RequestBody::json(const httplib::Request &request)
{
    if (request.body.size() > maxJsonBytes)
        throw HttpError(413, "Request too large: JSON bodies are limited to 1 MiB.");
    if (request.body.empty())
        return nlohmann::json::object();
    nlohmann::json body = nlohmann::json::parse(request.body, nullptr, false);
    if (body.is_discarded() || !body.is_object())
        throw HttpError(400, "The request body must be a JSON object.");
    return body;
}

std::string RequestBody::stringField(const nlohmann::json &body, const char *key)
{
    const auto it = body.find(key);
    if (it == body.end() || !it->is_string())
        throw HttpError(400, std::string("Missing \"") + key + "\".");
    return it->get<std::string>();
}

std::string RequestBody::bearerToken(const httplib::Request &request)
{
    const std::string header = request.get_header_value("Authorization");
    const std::string prefix = "Bearer ";
    return header.rfind(prefix, 0) == 0 ? header.substr(prefix.size()) : std::string();
}

void RequestBody::send(httplib::Response &response, int status, const nlohmann::json &body)
{
    response.status = status;
    response.set_content(body.dump(), "application/json");
}

void RequestBody::sendError(httplib::Response &response, const HttpError &error)
{
    if (error.retryAfterSeconds() > 0)
        response.set_header("Retry-After", std::to_string(error.retryAfterSeconds()));
    send(response, error.status(), {{"error", error.what()}});
}
