// The destination tree's new folder in the window: the link and the cancel button hand their
// clicks to the controller, and the controller moves the tree's row through its edit.
#include "session/view_actions.h"
#include "ui/QtTransferWindow.h"
#include "ui/destination_outline_view.h"

namespace qvt {

namespace {

constexpr const char* kTree = "destinationFolderOutlineView";
constexpr const char* kCancelButton = "deleteNewFolderButton";

}  // namespace

void QtTransferWindow::finishDestinationEdit() {
    if (auto* tree = control<ui::DestinationOutlineView>(QString::fromLatin1(kTree)))
        tree->finishEditingNow();
}

void QtTransferWindow::newFolderClicked() {
    // A folder being named gets its name first; the next one is made in the selected row.
    finishDestinationEdit();
    actions_.createNewFolderAtDestination();
}

void QtTransferWindow::deleteNewFolderClicked() {
    // What was typed is of no use: the folder goes.
    if (auto* tree = control<ui::DestinationOutlineView>(QString::fromLatin1(kTree)))
        tree->dropEditing();
    actions_.deleteNewFolder();
}

void QtTransferWindow::expandDestinationFolder(const std::string& folderPath) {
    const QString path = QString::fromStdString(folderPath);
    onGuiAndWait([this, path] {
        if (auto* tree = control<ui::DestinationOutlineView>(QString::fromLatin1(kTree)))
            tree->expandFolder(path);
    });
}

int QtTransferWindow::destinationRowOf(const std::string& folderPath) const {
    const QString path = QString::fromStdString(folderPath);
    int row = -1;
    onGuiAndWait([this, path, &row] {
        if (auto* tree = control<ui::DestinationOutlineView>(QString::fromLatin1(kTree)))
            row = tree->rowOfPath(path);
    });
    return row;
}

void QtTransferWindow::editDestinationRow(int row) {
    onGuiAndWait([this, row] {
        if (auto* tree = control<ui::DestinationOutlineView>(QString::fromLatin1(kTree)))
            tree->editRow(row, control(QString::fromLatin1(kCancelButton)));
    });
}

void QtTransferWindow::endDestinationEditing(int row) {
    onGuiAndWait([this, row] {
        if (QWidget* cancel = control(QString::fromLatin1(kCancelButton))) {
            cancel->setFocusProxy(nullptr);
            cancel->hide();
        }
        if (auto* tree = control<ui::DestinationOutlineView>(QString::fromLatin1(kTree)))
            tree->endEditing(row);
    });
}

void QtTransferWindow::hideNewFolderCancelButton() {
    onGuiAndWait([this] {
        if (QWidget* cancel = control(QString::fromLatin1(kCancelButton))) {
            cancel->setFocusProxy(nullptr);
            cancel->hide();
        }
        auto* tree = control<ui::DestinationOutlineView>(QString::fromLatin1(kTree));
        if (!tree) return;
        tree->forgetEditing();
        if (tree->currentIndex().isValid()) tree->scrollTo(tree->currentIndex().siblingAtColumn(0));
    });
}

}  // namespace qvt
