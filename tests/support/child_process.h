// A program run as a child process with pipes on stdin, stdout and stderr, driven by a test:
// write to its input, wait for text in its output, signal it, wait for its exit; every wait
// has a deadline, and a child still running at the end is killed.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace qvt::test {

class ChildProcess {
  public:
    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Starts `program` with `arguments`; `environment` entries are added to (or replace) the
    // test's own environment. False when the program could not be started.
    bool start(const std::string& program, const std::vector<std::string>& arguments,
               const std::map<std::string, std::string>& environment = {});

    // The same with a terminal of its own as stdin, stdout and stderr: the program sees a
    // person at a keyboard. Everything it writes then comes through output().
    bool startOnTerminal(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {});

    void write(const std::string& bytes);
    void closeInput();
    void signal(int number);
    // Whether the child has a handler of its own for `number` now: a signal sent before then
    // ends it by the default action, before the program could answer it.
    bool catches(int number) const;

    // Waits until the output (stdout) holds `text`; false at the deadline or when the child
    // ended without writing it.
    bool waitForOutput(const std::string& text, double seconds);
    // The same, for `text` found at offset `from` of the output or later: a line printed again.
    bool waitForOutputAfter(std::size_t from, const std::string& text, double seconds);
    // Waits for the exit; the exit code, 128 + the signal for a signalled child, or -1 when the
    // deadline passed (the child is then killed).
    int waitForExit(double seconds);

    const std::string& output() const { return out_; }
    const std::string& errors() const { return err_; }
    pid_t pid() const { return pid_; }

  private:
    bool spawn(const std::string& program, const std::vector<std::string>& arguments,
               const std::map<std::string, std::string>& environment, int in, int out, int err);

    // Reads what the child wrote, waiting at most `milliseconds`.
    void drain(int milliseconds);
    bool reap(bool block);

    pid_t pid_ = -1;
    int in_ = -1, outFd_ = -1, errFd_ = -1;
    std::string out_, err_;
    int status_ = -1;
    bool exited_ = false;
};

}  // namespace qvt::test
