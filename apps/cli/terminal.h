// The console's terminal: whether stdin and stdout are terminals, raw key input, line prompts
// that keep the event loop turning, and stop signals turned into events.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace qvt::cli {

class Terminal : public QObject {
    Q_OBJECT
  public:
    Terminal();
    ~Terminal() override;

    bool inputIsTerminal() const { return inputTty_; }
    bool outputIsTerminal() const { return outputTty_; }

    // Key by key input without echo (a terminal only; a pipe is read as it comes).
    void setRawInput(bool raw);

    // Reads one line from stdin, byte by byte so that whatever follows stays for the key
    // reader. The event loop keeps turning meanwhile. With `secret` the terminal does not echo.
    // Nothing at end of input, or when `abandon()` turns true.
    std::optional<std::string> readLine(const std::string& prompt, bool secret,
                                        const std::function<bool()>& abandon);

    // Every byte read from stdin goes to `onKey`; the end of input calls `onEnd` once.
    void startKeys(std::function<void(char)> onKey, std::function<void()> onEnd);
    void pauseKeys(bool paused);
    // The receiver of keys and stop signals is going away: stdin is no longer read (what is
    // left in it stays there), and a stop signal from now on reaches no one; a second one
    // still ends the process at once.
    void stopKeys();
    bool inputEnded() const { return inputEnded_; }
    // Whether stdin has ended, looked at now without reading a byte: the key reader learns of
    // an end only when the event loop next turns, and a question asked before then would be
    // asked of no one. A stdin that cannot tell (no count of waiting bytes) has not ended.
    bool noticeEndOfInput();

    // SIGINT, SIGTERM and SIGHUP call `onSignal` with their number on the main thread; a second
    // signal while the first is handled ends the process at once (130 after SIGINT, 128 plus
    // the signal's number otherwise).
    void catchStopSignals(std::function<void(int)> onSignal);

    // Puts the terminal back as it was (also done at exit and on a fatal signal).
    static void restore();

  private:
    void readKeys();
    void readSignal();

    bool inputTty_ = false;
    bool outputTty_ = false;
    bool inputEnded_ = false;
    std::unique_ptr<QSocketNotifier> keys_;
    std::unique_ptr<QSocketNotifier> signals_;
    std::function<void(char)> onKey_;
    std::function<void()> onEnd_;
    std::function<void(int)> onSignal_;
};

}  // namespace qvt::cli
