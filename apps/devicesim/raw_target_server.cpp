#include "raw_target_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

namespace qvt::devicesim {

namespace {

thread_local std::string tCurrentRawTarget;

constexpr int kPollSliceMs = 100;
constexpr auto kIdleLimit = std::chrono::seconds(5);
constexpr std::size_t kMaxRequestLine = 64 * 1024;

// Waits until `sock` is ready for `events`, in short slices so a stopping server is noticed.
bool waitFor(int sock, short events, const std::atomic<bool>& stopping) {
    const auto deadline = std::chrono::steady_clock::now() + kIdleLimit;
    while (!stopping.load()) {
        pollfd p{sock, events, 0};
        const int r = ::poll(&p, 1, kPollSliceMs);
        if (r > 0) return true;
        if (r < 0 && errno != EINTR) return false;
        if (std::chrono::steady_clock::now() >= deadline) return false;
    }
    return false;
}

void addressOf(int sock, bool peer, std::string& ip, int& port) {
    sockaddr_storage addr{};
    socklen_t len = sizeof(addr);
    const int r = peer ? ::getpeername(sock, reinterpret_cast<sockaddr*>(&addr), &len)
                       : ::getsockname(sock, reinterpret_cast<sockaddr*>(&addr), &len);
    if (r != 0) return;
    char text[INET6_ADDRSTRLEN] = {};
    if (addr.ss_family == AF_INET) {
        auto* a = reinterpret_cast<sockaddr_in*>(&addr);
        ::inet_ntop(AF_INET, &a->sin_addr, text, sizeof(text));
        port = ntohs(a->sin_port);
    } else if (addr.ss_family == AF_INET6) {
        auto* a = reinterpret_cast<sockaddr_in6*>(&addr);
        ::inet_ntop(AF_INET6, &a->sin6_addr, text, sizeof(text));
        port = ntohs(a->sin6_port);
    }
    ip = text;
}

// A socket stream that first serves bytes already read (the rewritten request line and
// whatever came with it), then reads the socket.
class PrefixedSocketStream : public httplib::Stream {
  public:
    PrefixedSocketStream(int sock, std::string prefix, const std::atomic<bool>& stopping)
        : sock_(sock), prefix_(std::move(prefix)), stopping_(stopping) {}

    bool is_readable() const override {
        return pos_ < prefix_.size() || waitFor(sock_, POLLIN, stopping_);
    }
    bool is_writable() const override { return waitFor(sock_, POLLOUT, stopping_); }

    ssize_t read(char* ptr, size_t size) override {
        if (pos_ < prefix_.size()) {
            const size_t n = std::min(size, prefix_.size() - pos_);
            std::memcpy(ptr, prefix_.data() + pos_, n);
            pos_ += n;
            return static_cast<ssize_t>(n);
        }
        if (!waitFor(sock_, POLLIN, stopping_)) return -1;
        return ::recv(sock_, ptr, size, 0);
    }

    ssize_t write(const char* ptr, size_t size) override {
        if (!is_writable()) return -1;
        return ::send(sock_, ptr, size, MSG_NOSIGNAL);
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        addressOf(sock_, true, ip, port);
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        addressOf(sock_, false, ip, port);
    }
    socket_t socket() const override { return sock_; }

  private:
    int sock_;
    std::string prefix_;
    std::size_t pos_ = 0;
    const std::atomic<bool>& stopping_;
};

// Reads up to the end of the request line. Returns everything read so far.
bool readRequestLine(int sock, const std::atomic<bool>& stopping, std::string& bytes) {
    char buffer[4096];
    while (bytes.find('\n') == std::string::npos) {
        if (bytes.size() > kMaxRequestLine || !waitFor(sock, POLLIN, stopping)) return false;
        const ssize_t n = ::recv(sock, buffer, sizeof(buffer), 0);
        if (n <= 0) return false;
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    return true;
}

// "GET /a b?c d HTTP/1.1" -> raw target "/a b?c d", line "GET /a%20b?c%20d HTTP/1.1".
std::string rewriteRequestLine(const std::string& line, std::string& rawTarget) {
    const std::size_t firstSpace = line.find(' ');
    const std::size_t lastSpace = line.rfind(' ');
    if (firstSpace == std::string::npos || lastSpace == firstSpace) return line;
    rawTarget = line.substr(firstSpace + 1, lastSpace - firstSpace - 1);
    std::string target;
    for (char c : rawTarget) {
        if (c == ' ')
            target += "%20";
        else
            target += c;
    }
    return line.substr(0, firstSpace + 1) + target + line.substr(lastSpace);
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

const std::string& RawTargetServer::currentRawTarget() {
    return tCurrentRawTarget;
}

bool RawTargetServer::process_and_close_socket(socket_t sock) {
    std::string bytes;
    bool ok = false;
    if (readRequestLine(sock, stopping_, bytes)) {
        const std::size_t end = bytes.find('\n');
        std::string line = bytes.substr(0, end);
        const bool hadCr = !line.empty() && line.back() == '\r';
        if (hadCr) line.pop_back();
        std::string rawTarget;
        std::string rewritten = rewriteRequestLine(line, rawTarget);
        PrefixedSocketStream stream(sock, rewritten + "\r\n" + bytes.substr(end + 1), stopping_);
        tCurrentRawTarget = rawTarget;
        bool closed = false;
        // One request per connection: the client opens a new connection for each request.
        ok = process_request(stream, true, closed, nullptr);
        tCurrentRawTarget.clear();
    }
    ::shutdown(sock, SHUT_RDWR);
    ::close(sock);
    return ok;
}

std::string queryOf(const std::string& rawTarget) {
    const std::size_t q = rawTarget.find('?');
    if (q == std::string::npos) return {};
    const std::size_t hash = rawTarget.find('#', q);
    return rawTarget.substr(q + 1, hash == std::string::npos ? std::string::npos : hash - q - 1);
}

std::string decodeQueryValue(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '+') {
            out += ' ';
        } else if (c == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
                   hexValue(text[i + 2]) >= 0) {
            out += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

bool queryValue(const std::string& query, const std::string& name, std::string& value) {
    std::size_t start = 0;
    while (start <= query.size()) {
        std::size_t end = query.find('&', start);
        if (end == std::string::npos) end = query.size();
        const std::string pair = query.substr(start, end - start);
        const std::size_t eq = pair.find('=');
        const std::string key = decodeQueryValue(pair.substr(0, eq));
        if (key == name) {
            value = eq == std::string::npos ? std::string() : decodeQueryValue(pair.substr(eq + 1));
            return true;
        }
        start = end + 1;
    }
    return false;
}

}  // namespace qvt::devicesim
