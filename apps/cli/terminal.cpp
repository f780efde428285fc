#include "terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <QCoreApplication>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace qvt::cli {

namespace {

// The terminal's settings before any change, kept where a signal handler may use them.
struct termios savedSettings;
std::atomic<bool> settingsSaved{false};
int signalPipe[2] = {-1, -1};
std::atomic<int> signalsSeen{0};

void onStopSignal(int number) {
    // A second stop while the first is still being handled: leave at once.
    if (signalsSeen.fetch_add(1) >= 1) {
        Terminal::restore();
        _exit(number == SIGINT ? 130 : 128 + number);
    }
    // The interrupted code may be about to read errno: the write must not change it.
    const int savedErrno = errno;
    const char byte = static_cast<char>(number);
    const ssize_t written = write(signalPipe[1], &byte, 1);
    (void)written;
    errno = savedErrno;
}

}  // namespace

Terminal::Terminal() {
    inputTty_ = isatty(STDIN_FILENO) == 1;
    outputTty_ = isatty(STDOUT_FILENO) == 1;
    if (inputTty_ && tcgetattr(STDIN_FILENO, &savedSettings) == 0) {
        settingsSaved = true;
        std::atexit(&Terminal::restore);
    }
}

Terminal::~Terminal() {
    restore();
}

void Terminal::restore() {
    if (settingsSaved) tcsetattr(STDIN_FILENO, TCSANOW, &savedSettings);
}

void Terminal::setRawInput(bool raw) {
    if (!inputTty_ || !settingsSaved) return;
    struct termios t = savedSettings;
    if (raw) {
        t.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO));
        t.c_cc[VMIN] = 1;
        t.c_cc[VTIME] = 0;
    }
    tcsetattr(STDIN_FILENO, TCSANOW, &t);
}

std::optional<std::string> Terminal::readLine(const std::string& prompt, bool secret,
                                              const std::function<bool()>& abandon) {
    // Echo goes off before the prompt shows, so that nothing typed once the prompt is there,
    // however quickly, is shown.
    const bool hideEcho = secret && inputTty_ && settingsSaved;
    if (hideEcho) {
        struct termios t = savedSettings;
        t.c_lflag &= static_cast<tcflag_t>(~ECHO);
        t.c_lflag |= ICANON;
        tcsetattr(STDIN_FILENO, TCSANOW, &t);
    }
    if (!prompt.empty()) {
        std::fputs(prompt.c_str(), stdout);
        std::fflush(stdout);
    }
    pauseKeys(true);
    std::string line;
    std::optional<std::string> result;
    while (true) {
        if (abandon && abandon()) break;
        struct pollfd p {
            STDIN_FILENO, POLLIN, 0
        };
        const int ready = poll(&p, 1, 50);
        if (ready > 0) {
            char c = 0;
            const ssize_t n = read(STDIN_FILENO, &c, 1);
            if (n == 1) {
                if (c == '\n') {
                    result = line;
                    break;
                }
                if (c != '\r') line.push_back(c);
                continue;
            }
            if (n == 0 || (n < 0 && errno != EINTR && errno != EAGAIN)) {
                // End of input: a last line without its newline still counts.
                if (!line.empty()) result = line;
                inputEnded_ = true;
                break;
            }
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    if (hideEcho) {
        tcsetattr(STDIN_FILENO, TCSANOW, &savedSettings);
        std::fputs("\n", stdout);
        std::fflush(stdout);
    }
    pauseKeys(false);
    return result;
}

void Terminal::startKeys(std::function<void(char)> onKey, std::function<void()> onEnd) {
    onKey_ = std::move(onKey);
    onEnd_ = std::move(onEnd);
    if (inputEnded_) {
        if (onEnd_) onEnd_();
        return;
    }
    keys_ = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    connect(keys_.get(), &QSocketNotifier::activated, this, &Terminal::readKeys);
}

bool Terminal::noticeEndOfInput() {
    if (inputEnded_) return true;
    struct pollfd p {
        STDIN_FILENO, POLLIN, 0
    };
    if (poll(&p, 1, 0) <= 0 || !(p.revents & (POLLIN | POLLHUP))) return false;
    // Readable with nothing waiting to be read is the end of a pipe or a terminal's input.
    int waiting = 0;
    if (ioctl(STDIN_FILENO, FIONREAD, &waiting) != 0 || waiting > 0) return false;
    inputEnded_ = true;
    if (keys_) keys_->setEnabled(false);
    return true;
}

void Terminal::pauseKeys(bool paused) {
    if (keys_ && !inputEnded_) keys_->setEnabled(!paused);
}

void Terminal::stopKeys() {
    keys_.reset();
    onKey_ = nullptr;
    onEnd_ = nullptr;
    onSignal_ = nullptr;
}

void Terminal::readKeys() {
    char buffer[64];
    const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (n <= 0) {
        inputEnded_ = true;
        if (keys_) keys_->setEnabled(false);
        if (onEnd_) onEnd_();
        return;
    }
    for (ssize_t i = 0; i < n; ++i)
        if (onKey_) onKey_(buffer[i]);
}

void Terminal::catchStopSignals(std::function<void(int)> onSignal) {
    onSignal_ = std::move(onSignal);
    if (signalPipe[0] < 0 && pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    signals_ = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    connect(signals_.get(), &QSocketNotifier::activated, this, &Terminal::readSignal);
    struct sigaction action {};
    action.sa_handler = &onStopSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
}

void Terminal::readSignal() {
    char byte = 0;
    while (read(signalPipe[0], &byte, 1) == 1)
        if (onSignal_) onSignal_(static_cast<unsigned char>(byte));
}

}  // namespace qvt::cli
