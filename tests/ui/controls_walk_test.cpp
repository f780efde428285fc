// A walk over every button of the window and its dialogs: each one that a user can reach (shown
// or shown later by the wizard, and not disabled for good) hands its press to something.
#include <QAbstractButton>
#include <QDialog>

#include "window_fixture.h"

namespace qvt::test {
namespace {

// QObject::receivers() is for subclasses; this one asks it about any object.
struct Receivers : QObject {
    static int of(const QObject* object, const char* signal) {
        return (object->*(&Receivers::receivers))(signal);
    }
};

bool handsOnItsPress(const QAbstractButton* button) {
    return Receivers::of(button, SIGNAL(clicked(bool))) > 0 ||
           Receivers::of(button, SIGNAL(toggled(bool))) > 0 ||
           Receivers::of(button, SIGNAL(pressed())) > 0 ||
           Receivers::of(button, SIGNAL(released())) > 0;
}

void expectEveryButtonActs(QWidget* root) {
    int walked = 0;
    for (QAbstractButton* b : root->findChildren<QAbstractButton*>()) {
        const QString name = b->objectName();
        if (name.isEmpty() || name.startsWith(QLatin1String("qt_"))) continue;
        // A spinner-like control that the wizard never offers is hidden and disabled; it is
        // not a control then.
        if (b->isHidden() && !b->isEnabled()) continue;
        ++walked;
        EXPECT_TRUE(handsOnItsPress(b)) << name.toStdString() << " does nothing when pressed";
    }
    EXPECT_GT(walked, 20);
}

TEST_F(WindowTest, EveryButtonOfAWindowForANetworkDeviceActs) {
    make(nasDevice());
    expectEveryButtonActs(window->window());
}

TEST_F(WindowTest, EveryButtonOfAWindowForAnAttachedDiskActs) {
    make(dasDevice());
    expectEveryButtonActs(window->window());
}

// The walk would find a button nobody listens to.
TEST_F(WindowTest, AButtonWithoutAnActionIsFound) {
    make(dasDevice());
    QAbstractButton* any = nullptr;
    for (QAbstractButton* b : window->window()->findChildren<QAbstractButton*>())
        if (b->objectName() == QLatin1String("uploadFilesButton")) any = b;
    ASSERT_NE(any, nullptr);
    EXPECT_TRUE(handsOnItsPress(any));
    QObject::disconnect(any, nullptr, nullptr, nullptr);
    EXPECT_FALSE(handsOnItsPress(any));
}

}  // namespace
}  // namespace qvt::test
