// An HTTP server that keeps each request's target exactly as the client sent it.
//
// A device's web server takes a query string with raw blanks in it (the wizard sends the
// shares password unescaped), while cpp-httplib refuses such a request line. This server reads
// the request line itself, remembers the raw target, and hands cpp-httplib the same line with
// each raw blank written as "%20". Handlers read the raw target with currentRawTarget().
#pragma once

#include <httplib.h>

#include <atomic>
#include <string>

namespace qvt::devicesim {

class RawTargetServer : public httplib::Server {
  public:
    // The raw target of the request being handled on the calling thread ("" outside a
    // handler).
    static const std::string& currentRawTarget();

    // Makes connections that are still being read give up (used when the server stops).
    void setStopping(bool stopping) { stopping_.store(stopping); }

  private:
    bool process_and_close_socket(socket_t sock) override;

    std::atomic<bool> stopping_{false};
};

// The query string of a raw target: the part after the first '?', up to a '#'.
std::string queryOf(const std::string& rawTarget);

// Decodes a query value as a web server's form parsing does: "+" is a blank, "%XX" a byte;
// a '%' without two hex digits stays as it is.
std::string decodeQueryValue(const std::string& text);

// Finds `name` in a raw query string ("a=1&b=2") and decodes its value; false when absent.
bool queryValue(const std::string& query, const std::string& name, std::string& value);

}  // namespace qvt::devicesim
