// The columns and item roles of the window's lists.
#pragma once

#include <Qt>

namespace qvt::ui {

// Source list: tick box, icon and name, folder count, file count, delete button. The column
// identifiers are the ones the controller's cell rules use.
inline constexpr int kSourceCheckColumn = 0;
inline constexpr int kSourceNameColumn = 1;
inline constexpr int kSourceFoldersColumn = 2;
inline constexpr int kSourceFilesColumn = 3;
inline constexpr int kSourceDeleteColumn = 4;
inline constexpr int kSourceColumnCount = 5;
inline constexpr const char* kSourceColumnIdentifiers[kSourceColumnCount] = {
    "filesSelectCheckbox", "fullPathColumn", "numberOfFolders", "numberOfFiles",
    "filesDeleteButton"};

// Source list: the row's full path, on its name item.
inline constexpr int kSourcePathRole = Qt::UserRole + 21;

// Header role holding a column's identifier.
inline constexpr int kColumnIdentifierRole = Qt::UserRole + 20;

// Destination tree items.
inline constexpr int kFolderPathRole = Qt::UserRole + 1;
inline constexpr int kFolderImageRole = Qt::UserRole + 2;
inline constexpr int kFolderSelectedImageRole = Qt::UserRole + 3;
// Set on the stand-in child that gives a folder not yet expanded its disclosure triangle.
inline constexpr int kPlaceholderRole = Qt::UserRole + 4;

}  // namespace qvt::ui
