#include "ui/open_panel.h"

#include <QAbstractItemView>
#include <QAbstractProxyModel>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QListView>
#include <QTreeView>

namespace qvt::ui {

namespace {

// The file system entries behind the selected rows of the chooser's visible view.
QStringList selectedEntries(const QFileDialog& dialog) {
    QAbstractItemView* view = dialog.findChild<QTreeView*>(QStringLiteral("treeView"));
    if (!view || !view->isVisible())
        view = dialog.findChild<QListView*>(QStringLiteral("listView"));
    if (!view || !view->selectionModel()) return {};
    QStringList paths;
    for (QModelIndex index : view->selectionModel()->selectedRows()) {
        const QAbstractItemModel* model = view->model();
        while (const auto* proxy = qobject_cast<const QAbstractProxyModel*>(model)) {
            index = proxy->mapToSource(index);
            model = proxy->sourceModel();
        }
        if (const auto* files = qobject_cast<const QFileSystemModel*>(model))
            paths << files->filePath(index);
    }
    return paths;
}

}  // namespace

FilesAndFoldersDialog::FilesAndFoldersDialog(QWidget* parent) : QFileDialog(parent) {
    // The platform's own chooser cannot be told to hand back folders and files together.
    setOption(QFileDialog::DontUseNativeDialog, true);
    setFileMode(QFileDialog::ExistingFiles);
    setAcceptMode(QFileDialog::AcceptOpen);
    setWindowTitle(QStringLiteral("Tessaly"));
    // What the user typed last counts, until a row is chosen in the view. The field cannot
    // tell by itself: the chooser leaves folders out of it and keeps the old text when only
    // folders are selected, and while a path is typed it selects each folder the text passes
    // through ("/", "/home", ...).
    nameField_ = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (nameField_) connect(nameField_, &QLineEdit::textEdited, this, [this] { typed_ = true; });
    // The selection the chooser makes for a typed text arrives while the field has the focus
    // (it may come later than the edit, once the folder is read); a row chosen by the user
    // moves the dialog's focus to the view first.
    if (auto* list = findChild<QListView*>(QStringLiteral("listView"));
        list && list->selectionModel())
        connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
            if (!nameField_ || focusWidget() != nameField_) typed_ = false;
        });
}

void FilesAndFoldersDialog::accept() {
    const QString typed = nameField_ ? nameField_->text() : QString();
    if (typed_ && !typed.isEmpty() && !typed.startsWith(QLatin1Char('"'))) {
        QString path = typed;
        if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/")))
            path = QDir::homePath() + path.mid(1);
        path = QDir::cleanPath(directory().absoluteFilePath(path));
        const QFileInfo info(path);
        if (info.isDir()) {
            // A folder typed is gone into, as in any chooser; a folder is taken by selecting
            // its row and pressing Open.
            setDirectory(path);
            if (nameField_) nameField_->clear();
            typed_ = false;
            return;
        }
        if (info.exists()) {
            chosen_ = QStringList{path};
            QDialog::accept();
            return;
        }
        // A name that is not there: the chooser's own handling says so.
        QFileDialog::accept();
        return;
    }
    const QStringList entries = selectedEntries(*this);
    if (entries.isEmpty()) {
        // A name typed into the field: the chooser's own handling.
        chosen_ = selectedFiles();
        QFileDialog::accept();
        return;
    }
    chosen_ = entries;
    QDialog::accept();
}

int runOpenPanel(QWidget* parent, std::vector<std::string>& chosen) {
    FilesAndFoldersDialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted) return 0;
    chosen.clear();
    for (const QString& path : dialog.chosenPaths()) chosen.push_back(path.toStdString());
    return 1;
}

}  // namespace qvt::ui
