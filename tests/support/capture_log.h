// A log that keeps every line in memory, for tests to look at what the product wrote.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/log.h"

namespace qvt::platform {

// Keeps every line in memory, and optionally forwards to another log.
class CaptureLog : public Log {
  public:
    explicit CaptureLog(Log* forward = nullptr) : forward_(forward) {}
    std::vector<std::string> lines() const;
    // Whether any line contains `fragment`.
    bool contains(const std::string& fragment) const;
    // How many lines contain `fragment`.
    std::size_t count(const std::string& fragment) const;
    void clear();

  protected:
    void writeLine(const std::string& line) override;

  private:
    Log* forward_;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace qvt::platform
