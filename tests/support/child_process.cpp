#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <pty.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>

extern char** environ;

namespace qvt::test {

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point deadlineIn(double seconds) {
    return Clock::now() + std::chrono::milliseconds(static_cast<long>(seconds * 1000));
}

}  // namespace

ChildProcess::~ChildProcess() {
    if (pid_ > 0 && !exited_) {
        kill(pid_, SIGKILL);
        reap(true);
    }
    for (int fd : {in_, outFd_, errFd_})
        if (fd >= 0) close(fd);
}

bool ChildProcess::start(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment) {
    int in[2], out[2], err[2];
    if (pipe2(in, O_CLOEXEC) != 0) return false;
    if (pipe2(out, O_CLOEXEC) != 0) return false;
    if (pipe2(err, O_CLOEXEC) != 0) return false;
    const bool started = spawn(program, arguments, environment, in[0], out[1], err[1]);
    close(in[0]);
    close(out[1]);
    close(err[1]);
    in_ = in[1];
    outFd_ = out[0];
    errFd_ = err[0];
    return started;
}

bool ChildProcess::startOnTerminal(const std::string& program,
                                   const std::vector<std::string>& arguments,
                                   const std::map<std::string, std::string>& environment) {
    int master = -1, slave = -1;
    if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) return false;
    fcntl(master, F_SETFD, FD_CLOEXEC);
    fcntl(slave, F_SETFD, FD_CLOEXEC);
    const bool started = spawn(program, arguments, environment, slave, slave, slave);
    close(slave);
    in_ = dup(master);
    outFd_ = master;
    return started;
}

bool ChildProcess::spawn(const std::string& program, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment, int in, int out,
                         int err) {
    std::map<std::string, std::string> env;
    for (char** e = environ; e && *e; ++e) {
        const char* eq = std::strchr(*e, '=');
        if (eq) env[std::string(*e, static_cast<std::size_t>(eq - *e))] = eq + 1;
    }
    for (const auto& [k, v] : environment) env[k] = v;
    std::vector<std::string> envStrings;
    for (const auto& [k, v] : env) envStrings.push_back(k + "=" + v);
    std::vector<char*> envp;
    for (auto& s : envStrings) envp.push_back(s.data());
    envp.push_back(nullptr);

    std::vector<std::string> args{program};
    args.insert(args.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
    // The child starts with default signal handling, whatever the test program set.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t all;
    sigfillset(&all);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    const int rc =
        posix_spawn(&pid_, program.c_str(), &actions, &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (rc != 0) pid_ = -1;
    return rc == 0;
}

void ChildProcess::write(const std::string& bytes) {
    if (in_ < 0) return;
    const char* p = bytes.data();
    std::size_t n = bytes.size();
    while (n > 0) {
        const ssize_t w = ::write(in_, p, n);
        if (w <= 0) return;
        p += w;
        n -= static_cast<std::size_t>(w);
    }
}

void ChildProcess::closeInput() {
    if (in_ >= 0) close(in_);
    in_ = -1;
}

void ChildProcess::signal(int number) {
    if (pid_ > 0 && !exited_) kill(pid_, number);
}

void ChildProcess::drain(int milliseconds) {
    struct pollfd fds[2] = {{outFd_, POLLIN, 0}, {errFd_, POLLIN, 0}};
    if (poll(fds, 2, milliseconds) <= 0) return;
    char buffer[4096];
    for (int i = 0; i < 2; ++i) {
        if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP))) continue;
        const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
        if (n > 0) (i == 0 ? out_ : err_).append(buffer, static_cast<std::size_t>(n));
        // A terminal whose program has gone reads as an error rather than an end.
        if (n == 0 || (n < 0 && errno != EINTR && errno != EAGAIN)) {
            close(fds[i].fd);
            (i == 0 ? outFd_ : errFd_) = -1;
        }
    }
}

bool ChildProcess::reap(bool block) {
    if (exited_ || pid_ <= 0) return exited_;
    int status = 0;
    const pid_t r = waitpid(pid_, &status, block ? 0 : WNOHANG);
    if (r == pid_) {
        exited_ = true;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status)
                                    : (WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1);
    }
    return exited_;
}

bool ChildProcess::waitForOutput(const std::string& text, double seconds) {
    return waitForOutputAfter(0, text, seconds);
}

bool ChildProcess::waitForOutputAfter(std::size_t from, const std::string& text, double seconds) {
    const auto deadline = deadlineIn(seconds);
    while (Clock::now() < deadline) {
        if (out_.find(text, from) != std::string::npos) return true;
        if (outFd_ < 0) return false;
        drain(20);
    }
    return out_.find(text, from) != std::string::npos;
}

int ChildProcess::waitForExit(double seconds) {
    const auto deadline = deadlineIn(seconds);
    while (Clock::now() < deadline) {
        drain(20);
        if (outFd_ < 0 && errFd_ < 0) {
            // Both pipes closed: the child is ending; wait for it within the deadline.
            if (reap(false)) return status_;
            usleep(5000);
        } else if (reap(false)) {
            // Collect what it wrote last.
            while ((outFd_ >= 0 || errFd_ >= 0) && Clock::now() < deadline) drain(100);
            return status_;
        }
    }
    kill(pid_, SIGKILL);
    reap(true);
    return -1;
}

bool ChildProcess::catches(int number) const {
    if (pid_ <= 0) return false;
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("SigCgt:", 0) == 0)
            return (std::stoull(line.substr(7), nullptr, 16) >> (number - 1)) & 1;
    return false;
}

}  // namespace qvt::test
