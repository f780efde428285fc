// The device's HTTP interface: blocking GET requests with a time-out, and the URLs of the four
// endpoints the wizard uses.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace qvt {

// The outcome of one GET. A transport failure of any kind (time-out, refused connection, no
// route, a URL that cannot be made, a body past the size limit) gives an empty body; the
// status is 0 when no response line arrived.
struct HttpReply {
    enum class Failure { None, NoAnswer, TooSlow, TooLarge };
    long status = 0;
    std::string body;
    Failure failure = Failure::None;
    // Bytes of body received (also those of a body dropped for its size).
    std::size_t bytes = 0;
};

// A blocking HTTP GET. The calling thread waits for the reply, the time-out or a failure.
// Implementations keep no state between requests and may be used from several threads.
class HttpClient {
  public:
    virtual ~HttpClient() = default;
    virtual HttpReply get(const std::string& url, double timeoutSeconds) = 0;
};

// libcurl's easy interface: no extra headers, redirects followed, no proxy (the device sits
// on the local network). The URL is sent as it is given; blanks in it go out raw rather than
// making the request fail.
class CurlHttpClient : public HttpClient {
  public:
    CurlHttpClient();
    HttpReply get(const std::string& url, double timeoutSeconds) override;
};

// The client the product uses when none is injected.
std::shared_ptr<HttpClient> defaultHttpClient();

namespace device {

// Percent-escapes `text` as UTF-8, leaving letters, digits and the characters a URL
// fragment may hold as they are (- . _ ~ ! $ & ' ( ) * + , ; = : @ / ?). Blanks, '%', '#',
// other ASCII punctuation and every non-ASCII byte become %XX.
std::string addPercentEscapes(const std::string& text);

// One request to the device: the URL to send, the same URL as it may be logged (the password
// replaced by "***") and the time-out.
struct DeviceRequest {
    std::string url;
    std::string logForm;
    double timeoutSeconds = 30;
};

inline constexpr double kRequestTimeoutSeconds = 30;
inline constexpr double kSystemInformationTimeoutSeconds = 10;
inline constexpr const char* kPasswordMask = "***";

// The users URL, used exactly as formatted.
DeviceRequest usersRequest(const std::string& ipAddress);
// Percent-escapes `text` as one query value: only RFC 3986's unreserved characters (letters,
// digits, - . _ ~) stay as they are; every other byte, "&", "=", "+", "#", "%" and blanks
// included, becomes %XX, which an HTTP server decodes back into the very text.
std::string escapeQueryValue(const std::string& text);

// The login and shares URLs. The user name and the password are escaped each as a whole query
// value (escapeQueryValue), whatever they hold: any password reaches the device as itself, and
// one of letters and digits goes out byte for byte as it is.
DeviceRequest loginRequest(const std::string& ipAddress, const std::string& userName,
                           const std::string& password);
DeviceRequest sharesRequest(const std::string& ipAddress, const std::string& userName,
                            const std::string& password);
// The system-information URL, percent-escaped as a whole.
DeviceRequest systemInformationRequest(const std::string& ipAddress);

// The log form of a line that may still hold the password somewhere (in a user name, in a
// reply): every occurrence of the password, raw or percent-escaped, becomes "***".
std::string maskPassword(std::string line, const std::string& password);

}  // namespace device
}  // namespace qvt
