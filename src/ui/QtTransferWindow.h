// The wizard's Qt window: built at run time from the interface definition, driven by the
// controller through the view interface, and passing the user's actions back to it.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>
#include <string>
#include <vector>

#include "session/view.h"

class QDialog;
class QStackedWidget;
class QStandardItemModel;
class QModelIndex;
class QStandardItem;
class QTreeView;

namespace qvt {

class QVTransferWindowWidget;

class QtTransferWindow : public QObject, public QVTransferView {
    Q_OBJECT
  public:
    // The code a modal run returns when it was stopped rather than ended with a code.
    static constexpr int kModalStopped = -1000;

    // Builds the window from `definition` (the text of a Qt Designer interface file). Nothing
    // when the text does not parse, does not describe the wizard's window, or there is no
    // widget application to show it in.
    static std::unique_ptr<QtTransferWindow> create(QVTransferPrivate& owner,
                                                    const std::string& definition);
    ~QtTransferWindow() override;

    // ---- QVTransferView ----
    void bringToFront() override;
    void closeWindow() override;
    void minimizeWindow() override;
    void detachSourceDropTarget() override;
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
    void moveControl(const std::string& control, double y, double heightDelta) override;
    void placeAfterText(const std::string& control, const std::string& anchor, double gap,
                        double maxRight) override;
    void reload(const std::string& control) override;
    std::string selectedDestinationFolder() const override;
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
    void createNewFolderClicked();
    void deleteNewFolderClicked();
    void uploadClicked();
    // Status screen.
    void pauseResumeOrStopClicked();
    void statusCloseClicked();
    void showErrorsClicked();
    void uploadedFilesClicked();
    // Error window.
    void showHideDetailsClicked();
    void retryOrDismissClicked();
    // Dialogs.
    void lostConnectionCancelClicked();
    void lostConnectionRetryClicked();
    void closeDeviceMissingClicked();
    void closeDeviceFullClicked();
    void protectedFilesButtonClicked();
    void quitYesClicked();
    void quitNoClicked();
    void cancelUploadConfirmClicked();

  private:
    QtTransferWindow(QVTransferPrivate& owner, QVTransferWindowWidget* root);

    // Set-up, once, from the loaded definition (window_setup.cpp).
    static bool describesWizard(const QWidget* root);
    void setUpWindow();
    void setUpDialog(QDialog* dialog);
    void applyDefinitionProperties();
    void applyLocaleTexts();
    void setUpLists();
    void setUpZeroState();
    void installOpenPanel();
    void connectActions();  // actions.cpp

    // Controller state to controls (screen_models.cpp).
    void reloadUsers();
    void reloadSources();
    void reloadDestination();
    void reloadStatus();
    void reloadFailedList();
    void placeDeleteNewFolderButton();

    // Control changes shared by the view operations.
    static void applyText(QWidget* widget, const QString& text);
    void centreOnScreen();
    bool onGuiThread() const;
    // Runs `task` now on the GUI thread, or queues it there from another thread.
    void onGui(std::function<void()> task);
    bool senderTag(int& tag) const;

    QVTransferPrivate& owner_;
    std::unique_ptr<QVTransferWindowWidget> root_;
    QStackedWidget* mainArea_ = nullptr;
    QStandardItemModel* sourceModel_ = nullptr;
    QStandardItemModel* failedModel_ = nullptr;
    std::vector<QPointer<QDialog>> modalRuns_;
    bool closingProgrammatically_ = false;
    bool placed_ = false;
    bool reloadingSources_ = false;
};

}  // namespace qvt
