// Moving about a window with the keyboard, as a keyboard user does, for the window tests.
#pragma once

#include <QString>
#include <QTest>
#include <QWidget>

namespace qvt::test {

// The widget of `widget`'s window that has the keyboard focus, or the window itself.
inline QWidget* focusedIn(const QWidget* widget) {
    QWidget* root = widget->window();
    return root->focusWidget() ? root->focusWidget() : root;
}

// Presses Tab until the widget named `name` has the focus, at most once round the screen.
inline bool tabTo(const QWidget* widget, const char* name) {
    for (int i = 0; i < 40; ++i) {
        if (focusedIn(widget)->objectName() == QLatin1String(name)) return true;
        QTest::keyClick(focusedIn(widget), Qt::Key_Tab);
    }
    return focusedIn(widget)->objectName() == QLatin1String(name);
}

}  // namespace qvt::test
