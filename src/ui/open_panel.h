// The chooser of the source screen: files and folders, several at once.
#pragma once

#include <QFileDialog>
#include <QStringList>
#include <string>
#include <vector>

class QLineEdit;

namespace qvt::ui {

class FilesAndFoldersDialog : public QFileDialog {
    Q_OBJECT
  public:
    explicit FilesAndFoldersDialog(QWidget* parent = nullptr);

    // The absolute paths chosen when the dialog was accepted.
    QStringList chosenPaths() const { return chosen_; }

  public slots:
    // Takes the selected entries, folders included, instead of opening a selected folder.
    void accept() override;

  private:
    QStringList chosen_;
    // The chooser's name field (its own child), when it has one.
    QLineEdit* nameField_ = nullptr;
    // The name field holds what the user typed since the last choice of rows in the view.
    bool typed_ = false;
};

// Runs the chooser modally over `parent`; fills `chosen` and answers 1 when the user chose,
// 0 when the chooser was cancelled.
int runOpenPanel(QWidget* parent, std::vector<std::string>& chosen);

}  // namespace qvt::ui
