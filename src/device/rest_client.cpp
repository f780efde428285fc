#include "device/rest_client.h"

#include <curl/curl.h>

#include <algorithm>
#include <cmath>
#include <mutex>

#include "platform/format.h"
#include "platform/log.h"

namespace qvt {

namespace {

// Device replies are a few kilobytes. A body past this size is a broken or hostile device; it
// is dropped like any other transport failure rather than held in memory.
constexpr std::size_t kMaxReplyBytes = 64u * 1024u * 1024u;

struct BodySink {
    std::string body;
    bool overflow = false;
    std::size_t received = 0;
};

size_t appendBody(char* data, size_t size, size_t count, void* userData) {
    auto* sink = static_cast<BodySink*>(userData);
    const size_t bytes = size * count;
    sink->received += bytes;
    if (sink->body.size() + bytes > kMaxReplyBytes) {
        sink->overflow = true;
        return 0;  // makes libcurl stop with a write error
    }
    sink->body.append(data, bytes);
    return bytes;
}

void initialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct CurlUrlDeleter {
    void operator()(CURLU* u) const { curl_url_cleanup(u); }
};
struct CurlEasyDeleter {
    void operator()(CURL* c) const { curl_easy_cleanup(c); }
};

}  // namespace

CurlHttpClient::CurlHttpClient() {
    initialiseCurlOnce();
}

HttpReply CurlHttpClient::get(const std::string& url, double timeoutSeconds) {
    initialiseCurlOnce();
    HttpReply reply;

    // The URL goes through libcurl's URL parser with blanks allowed, so a URL given with a raw
    // blank is sent as it is rather than refused. A string the parser still refuses cannot be
    // made into a URL: no request is sent and the reply is empty.
    std::unique_ptr<CURLU, CurlUrlDeleter> parsed(curl_url());
    if (!parsed) return reply;
    if (curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_ALLOW_SPACE) != CURLUE_OK)
        return reply;

    std::unique_ptr<CURL, CurlEasyDeleter> easy(curl_easy_init());
    if (!easy) return reply;
    CURL* c = easy.get();
    BodySink sink;
    const double seconds = std::isfinite(timeoutSeconds) ? std::max(timeoutSeconds, 0.001) : 30.0;
    const long timeoutMs = static_cast<long>(std::min(seconds, 86400.0) * 1000.0);

    curl_easy_setopt(c, CURLOPT_CURLU, parsed.get());
    curl_easy_setopt(c, CURLOPT_HTTPGET, 1L);
    // Worker threads must not get SIGALRM from name resolution time-outs.
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(c, CURLOPT_TIMEOUT_MS, timeoutMs);
    curl_easy_setopt(c, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(c, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(c, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    // The device is on the local network; a proxy from the environment would only get in the
    // way (and would see the query string with the password).
    curl_easy_setopt(c, CURLOPT_PROXY, "");
    curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(c, CURLOPT_WRITEDATA, &sink);

    const CURLcode result = curl_easy_perform(c);
    long status = 0;
    curl_easy_getinfo(c, CURLINFO_RESPONSE_CODE, &status);
    reply.status = status;
    reply.bytes = sink.received;
    if (sink.overflow)
        reply.failure = HttpReply::Failure::TooLarge;
    else if (result == CURLE_OPERATION_TIMEDOUT)
        reply.failure = HttpReply::Failure::TooSlow;
    else if (result != CURLE_OK)
        reply.failure = HttpReply::Failure::NoAnswer;
    else
        reply.body = std::move(sink.body);
    return reply;
}

std::shared_ptr<HttpClient> defaultHttpClient() {
    static const std::shared_ptr<HttpClient> client = std::make_shared<CurlHttpClient>();
    return client;
}

namespace device {

namespace {

bool leftAsIs(unsigned char c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return true;
    switch (c) {
        case '-':
        case '.':
        case '_':
        case '~':
        case '!':
        case '$':
        case '&':
        case '\'':
        case '(':
        case ')':
        case '*':
        case '+':
        case ',':
        case ';':
        case '=':
        case ':':
        case '@':
        case '/':
        case '?':
            return true;
        default:
            return false;
    }
}

// `text` as UTF-8 with every byte that `keep` refuses written as %XX.
std::string percentEscaped(const std::string& text, bool (*keep)(unsigned char)) {
    static const char* const kHex = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (keep(c)) {
            out += ch;
        } else {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 0x0F];
        }
    }
    return out;
}

bool unreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

}  // namespace

std::string addPercentEscapes(const std::string& text) {
    return percentEscaped(text, &leftAsIs);
}

std::string escapeQueryValue(const std::string& text) {
    return percentEscaped(text, &unreserved);
}

DeviceRequest usersRequest(const std::string& ipAddress) {
    std::string url = platform::format("http://%@/api/1.0/rest/users", ipAddress);
    return {url, url, kRequestTimeoutSeconds};
}

namespace {

// A request that carries an account: `base` (the endpoint and the fixed part of its query,
// escaped as a whole), then the user name and the password as query values, each escaped as a
// whole component so that "&", "=", "+", "#" and blanks stay part of the value. The log form
// is built the same way with the mask in the password's place, so no part of the password can
// survive in it, whatever characters it holds.
DeviceRequest accountRequest(const std::string& base, const char* userKey,
                             const std::string& userName, const char* passwordKey,
                             const std::string& password) {
    const std::string head = addPercentEscapes(base) + userKey + "=" + escapeQueryValue(userName) +
                             "&" + passwordKey + "=";
    return {head + escapeQueryValue(password), maskPassword(head + kPasswordMask, password),
            kRequestTimeoutSeconds};
}

}  // namespace

DeviceRequest loginRequest(const std::string& ipAddress, const std::string& userName,
                           const std::string& password) {
    return accountRequest(
        platform::format("http://%@/api/1.0/rest/local_login?format=xml&", ipAddress), "username",
        userName, "password", password);
}

DeviceRequest sharesRequest(const std::string& ipAddress, const std::string& userName,
                            const std::string& password) {
    return accountRequest(platform::format("http://%@/api/1.0/rest/shares?", ipAddress),
                          "auth_username", userName, "auth_password", password);
}

DeviceRequest systemInformationRequest(const std::string& ipAddress) {
    std::string url =
        addPercentEscapes(platform::format("http://%@/api/1.0/rest/system_information", ipAddress));
    return {url, url, kSystemInformationTimeoutSeconds};
}

std::string maskPassword(std::string line, const std::string& password) {
    if (password.empty()) return line;
    return platform::redactAll(std::move(line),
                               {password, addPercentEscapes(password), escapeQueryValue(password)});
}

}  // namespace device
}  // namespace qvt
