#include "ui/open_panel.h"

#include <QAbstractItemView>
#include <QAbstractProxyModel>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
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
}

void FilesAndFoldersDialog::accept() {
    // A path typed into the name field is what the user chose. While it is typed, the chooser
    // selects in its view each folder the text passes through ("/", "/home", ...), so the
    // view's selection is not to be trusted then. Selected rows show in the field as quoted
    // names ("a" "b"), or as the one row's bare name, which leads to the same entry.
    if (const auto* field = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))) {
        const QString typed = field->text();
        if (!typed.isEmpty() && !typed.startsWith(QLatin1Char('"'))) {
            const QString path = QDir::cleanPath(directory().absoluteFilePath(typed));
            if (QFileInfo::exists(path)) {
                chosen_ = QStringList{path};
                QDialog::accept();
                return;
            }
        }
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
