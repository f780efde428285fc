// The controller's front end in a terminal. It keeps what the controller shows (texts, tags,
// the screen) for the console session to print, and runs each modal dialog as a nested event
// loop that ends when the controller's own button operations end it.
#pragma once

#include <QEventLoop>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "session/view.h"

namespace qvt::cli {

class ConsoleView : public QVTransferView {
  public:
    // The code of a modal run ended by stopModal().
    static constexpr int kModalStopped = -1000;

    explicit ConsoleView(QVTransferPrivate& owner) : owner_(owner) {}

    // Called on the main thread when a dialog opens, before its run waits. It may answer at
    // once through the controller (which ends the run) or leave the run open.
    void setModalHandler(std::function<void(Dialog)> handler) { onModal_ = std::move(handler); }
    // The folder selectedDestinationFolder() answers: the one the session resolved.
    void selectDestinationFolder(const std::string& path);

    // ---- QVTransferView ----
    void bringToFront() override {}
    void closeWindow() override;
    void minimizeWindow() override {}
    void showScreen(const Screen* screen) override;
    int runModal(Dialog dialog) override;
    void endModal(Dialog dialog, int code) override;
    void stopModal() override;
    void setText(const std::string& control, const std::string& text) override;
    std::string text(const std::string& control) const override;
    void setEnabled(const std::string& control, bool enabled) override;
    void setHidden(const std::string& control, bool hidden) override;
    void setTag(const std::string& control, int tag) override;
    void setValue(const std::string& control, double value) override;
    void moveControl(const std::string&, double, double) override {}
    void reload(const std::string&) override {}
    std::string selectedDestinationFolder() const override;

    // ---- What the session reads ----
    int tag(const std::string& control, int fallback) const;
    bool enabled(const std::string& control) const;
    bool closed() const;
    // The dialog whose run is innermost, when one runs.
    bool modalOpen(Dialog* which = nullptr) const;

  private:
    struct Run {
        explicit Run(Dialog d) : dialog(d) {}
        Dialog dialog;
        bool ended = false;
        int code = 0;
        QEventLoop loop;
    };
    void finishRun(Run* run, int code);

    QVTransferPrivate& owner_;
    std::function<void(Dialog)> onModal_;
    mutable std::mutex mutex_;
    std::map<std::string, std::string> texts_;
    std::map<std::string, int> tags_;
    std::map<std::string, bool> enabled_;
    std::string selectedFolder_;
    bool closed_ = false;
    // Main thread only.
    std::vector<Run*> runs_;
};

}  // namespace qvt::cli
