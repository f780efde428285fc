// Control classes that other parts of the library supply to the window. The interface
// definition names a class (for example the drop area of the source screen); the part that
// implements it registers a maker here, and the window's loader uses it. A class nobody
// registered is built as its plain base class.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>

namespace qvt::ui {

using WidgetMaker = std::function<QWidget*(QWidget* parent)>;

// Registers (or replaces) the maker of `className`.
void registerWidgetClass(const QString& className, WidgetMaker maker);
// A new control of `className` made by its registered maker, or nullptr when none is.
QWidget* makeRegisteredWidget(const QString& className, QWidget* parent);

}  // namespace qvt::ui
