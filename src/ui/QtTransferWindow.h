// The wizard's Qt window: built at run time from the interface definition, driven by the
// controller through the view interface, and passing the user's actions back to it.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "session/view.h"

class QDialog;
class QKeyEvent;
class QMessageBox;
class QStackedWidget;
class QStandardItemModel;
class QModelIndex;
class QStandardItem;
class QTreeView;

namespace qvt {

class QVTransferActions;
class QVTransferWindowWidget;

class QtTransferWindow : public QObject, public QVTransferView {
    Q_OBJECT
  public:
    // The code a modal run returns when it was stopped rather than ended by one of its buttons.
    static constexpr int kModalStopped = -1000;
    // The codes a dialog's buttons end its run with: the first is the default choice (keep
    // uploading, stay on the sources, retry, close), the second the other one (stop the
    // upload, go on and move, cancel).
    static constexpr int kAnswerFirst = 1;
    static constexpr int kAnswerSecond = 2;

    // Builds the window from `definition` (the text of a Qt Designer interface file), passing
    // the user's actions to `actions`. Nothing when the text does not parse, does not describe
    // the wizard's window, or there is no widget application to show it in.
    static std::unique_ptr<QtTransferWindow> create(QVTransferActions& actions,
                                                    const std::string& definition);
    ~QtTransferWindow() override;

    // ---- QVTransferView ----
    void bringToFront() override;
    void closeWindow() override;
    void minimizeWindow() override;
    void detachSourceDropTarget() override;
    void showScreen(const Screen* screen) override;
    void showUsers(const UsersScreen& screen) override;
    void showSources(const SourcesScreen& screen) override;
    void showDestinations(const DestinationScreen& screen) override;
    void showStatus(const StatusSnapshot& status) override;
    void showFailedList(const FailedList& list) override;
    void showErrorWindow() override;
    std::string selectedDestinationFolder() const override;
    // The new folder's row in the destination tree (new_folder_row.cpp).
    void expandDestinationFolder(const std::string& folderPath) override;
    int destinationRowOf(const std::string& folderPath) const override;
    void editDestinationRow(int row) override;
    void endDestinationEditing(int row) override;
    void hideNewFolderCancelButton() override;
    StopAnswer askStopUpload(const StopQuestion& question) override;
    ProtectedFilesAnswer askMoveProtectedFiles(const ProtectedFilesQuestion& question) override;
    LostConnectionAnswer askLostConnection() override;
    void showDeviceMissing() override;
    void showDeviceFull() override;
    void showResumeProblem(const ResumeProblem& problem) override;
    void showNotice(const Notice& notice) override;
    void endModal(Dialog dialog) override;
    void stopModal() override;
    void setText(const std::string& control, const std::string& text) override;
    void setEnabled(const std::string& control, bool enabled) override;
    void setHidden(const std::string& control, bool hidden) override;
    void setTag(const std::string& control, int tag) override;
    void moveControl(const std::string& control, double y, double heightDelta) override;
    void focus(const std::string& control, bool selectAll) override;

    // ---- The window's parts ----
    QWidget* window() const;
    // The control named `name` in the window or one of its dialogs, or nullptr.
    QWidget* control(const QString& name) const;
    template <typename T>
    T* control(const QString& name) const {
        return qobject_cast<T*>(control(name));
    }
    QDialog* dialog(Dialog dialog) const;
    QWidget* screenView(Screen screen) const;
    QStackedWidget* mainArea() const;
    // The text a control shows now ("" for an unknown control or one without text).
    std::string text(const std::string& control) const;
    // Runs `dialog` modally on the GUI thread (a call from another thread waits for it) and
    // answers the code its run ended with: a button's answer, 0 when it was closed, or
    // kModalStopped.
    int runModal(Dialog dialog);
    // Puts `control` on `anchor`'s line, `gap` points after the end of `anchor`'s text, and
    // moves it left as far as needed for it to end at `maxRight` at most (GUI thread).
    void placeAfterText(const QString& control, const QString& anchor, int gap, int maxRight);
    // How many modal runs are under way (nested runs count each).
    int modalDepth() const { return static_cast<int>(modalRuns_.size()); }

  private slots:
    // Back on any wizard screen.
    void backClicked();
    // Users screen.
    void userChosen(int index);
    void passwordEdited(const QString& text);
    void continueWithUser();
    // Source screen.
    void chooseSourceFilesClicked();
    void sourceItemChanged(QStandardItem* item);
    void sourceCellClicked(const QModelIndex& index);
    void removeFilesToggled(bool checked);
    void sourceNextClicked();
    // Destination screen.
    void uploadClicked();
    void newFolderClicked();
    void deleteNewFolderClicked();
    // Status screen.
    void pauseResumeOrStopClicked();
    void statusCloseClicked();
    void viewNowClicked();
    void uploadedFilesClicked();
    // The failed-files window.
    void showHideDetailsClicked();
    void retryOrDismissClicked();
    // A dialog's button: ends the dialog's run with the button's answer.
    void dialogButtonClicked();
    // The quit confirmation's buttons.
    void quitYesClicked();
    void quitNoClicked();
    // Runs the tasks other threads queued for the GUI thread, in the order they came.
    void runQueuedGuiTasks();

  private:
    QtTransferWindow(QVTransferActions& actions, QVTransferWindowWidget* root);

    // Set-up, once, from the loaded definition (window_setup.cpp).
    static bool describesWizard(const QWidget* root);
    void setUpWindow();
    void setUpDialog(QDialog* dialog);
    void applyDefinitionProperties();
    void applyLocaleTexts();
    void setUpLists();
    void setUpZeroState();
    // The drop hint shares its line with the totals under the source list: it takes the room
    // the totals' text leaves, its sentence whole and its link shortened if need be.
    void fitDropHintBesideTotals();
    void installOpenPanel();
    void connectActions();  // actions.cpp
    // The keyboard and assistive technology (keyboard.cpp): focus for every control that
    // acts, Return and Escape, and the controls' accessible names.
    void setUpKeyboard();
    void nameControls();
    // The pause/resume button is named after what it does now (its tag).
    void nameThePauseButton(int tag);
    QString localeQString(const char* id) const;
    // Gives the focus to the choice of `dialog` that loses nothing.
    void focusSafeChoice(Dialog dialog);
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Space and Delete on the source list's current row; true when the key was taken.
    bool sourceListKey(const QKeyEvent& key);
    // Tells a screen reader what `widget` now says, without moving the focus.
    static void announce(QWidget* widget, const QString& text);
    static constexpr int kTagPauseRole = 3;
    static constexpr int kTagResumeRole = 4;
    // Controls whose actions the wizard does not offer yet stay hidden or disabled.
    void withholdUnofferedControls();

    // The screens' values to controls (screen_models.cpp), on the GUI thread.
    void applyUsers(const UsersScreen& screen);
    void applySources(const SourcesScreen& screen);
    void applyDestinations(const DestinationScreen& screen);
    // Upload and the new-folder link are enabled when the controller allows them and a
    // destination row is selected.
    void updateDestinationButtons();
    // Opens a message over the window with one Close button ("<name>Message",
    // "<name>CloseButton"); it deletes itself when closed.
    QMessageBox* openMessage(const QString& sentence, const QString& closeTitle,
                             const QString& name);
    void applyStatus(const StatusSnapshot& status);
    void applyFailedList(const FailedList& list);

    // Control changes shared by the view operations.
    static void applyText(QWidget* widget, const QString& text);
    void centreOnScreen();
    bool onGuiThread() const;
    // Runs `task` now on the GUI thread, or queues it there from another thread.
    void onGui(std::function<void()> task) const;
    // Runs `task` on the GUI thread and returns when it has run.
    void onGuiAndWait(std::function<void()> task) const;
    bool senderTag(int& tag) const;
    // A new folder's name being edited is given to the controller before another action of
    // the destination screen runs (new_folder_row.cpp).
    void finishDestinationEdit();
    // Tasks from other threads wait here under a standard-library lock, so the hand-over to
    // the GUI thread is visible to the thread checker; Qt's queued call only carries the
    // wake-up, by slot name, and holds none of our data.
    mutable std::mutex guiTasksMutex_;
    mutable std::deque<std::function<void()>> guiTasks_;

    QVTransferActions& actions_;
    std::unique_ptr<QVTransferWindowWidget> root_;
    QStackedWidget* mainArea_ = nullptr;
    QStandardItemModel* sourceModel_ = nullptr;
    QStandardItemModel* failedModel_ = nullptr;
    std::vector<QPointer<QDialog>> modalRuns_;
    bool closingProgrammatically_ = false;
    bool uploadAllowed_ = false;
    bool newFolderAllowed_ = false;
    // The upload shown on the status screen has completed: Escape then closes the window.
    bool statusEnded_ = false;
    // What the window last announced to assistive technology, so a change is told once.
    QString announcedStatus_;
    bool announcedIncorrectPassword_ = false;
    bool watchingDestinationSelection_ = false;
    bool placed_ = false;
    bool reloadingSources_ = false;
};

}  // namespace qvt
