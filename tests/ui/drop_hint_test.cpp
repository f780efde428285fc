// The sentence that invites a drop is never cut, in any language: beside the totals under the
// source list, and in the zero state's drop area, the chooser link next to it gives way
// instead, shortened with an ellipsis and shown whole as its tool tip.
#include <QLabel>
#include <QLocale>

#include "widgets/QVTransferLinkButton.h"
#include "window_fixture.h"

using namespace qvt;
using namespace qvt::test;

namespace {

// A widget's rectangle in the window's coordinates.
QRect inWindow(const QWidget* w) {
    return QRect(w->mapTo(w->window(), QPoint(0, 0)), w->size());
}

class DropHint : public WindowTest {
  protected:
    void showSources(bool zeroState, const std::string& totals) {
        Record device = dasDevice();
        device.set("isZeroState", zeroState);
        make(device);
        wizard->numberOfFilesAndFolders.set(totals);
        window->showSources(wizard->sourcesScreen());
        wizard->showScreen(Screen::Sources);
        window->bringToFront();
        waitFor([] { return false; }, 0.05);  // let the window lay itself out
        label = window->control<QLabel>(QStringLiteral("dragAndDropLabel"));
        link = window->control<QVTransferLinkButton>(QStringLiteral("chooseSourceFilesLink"));
        ASSERT_TRUE(label && link);
        ASSERT_FALSE(label->text().isEmpty());
    }
    void expectSentenceWholeAndLinkShortened() {
        EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
        EXPECT_GE(inWindow(link).left(), inWindow(label).right()) << "the link covers the sentence";
        EXPECT_LT(link->width(), link->sizeHint().width()) << "the French link fits only shortened";
        EXPECT_EQ(link->toolTip(), link->title());
    }

    QLabel* label = nullptr;
    QVTransferLinkButton* link = nullptr;
};

TEST_F(DropHint, BesideTheTotalsTheSentenceIsWholeAndTheLinkEndsBeforeThem) {
    LocaleGuard french(QLocale(QLocale::French, QLocale::France));
    showSources(false, "12 dossiers, 248 fichiers : 1.25GB");
    expectSentenceWholeAndLinkShortened();
    auto* totals = window->control<QLabel>(QStringLiteral("numberOfFilesAndFolders"));
    ASSERT_TRUE(totals);
    const int totalsTextLeft =
        inWindow(totals).right() - totals->fontMetrics().horizontalAdvance(totals->text());
    EXPECT_LT(inWindow(link).right(), totalsTextLeft);
}

TEST_F(DropHint, InTheZeroStatesDropAreaTheSentenceIsWholeAndTheLinkStaysInside) {
    LocaleGuard french(QLocale(QLocale::French, QLocale::France));
    showSources(true, "");
    expectSentenceWholeAndLinkShortened();
    QWidget* area = window->control(QStringLiteral("zeroStateDropArea"));
    ASSERT_TRUE(area);
    EXPECT_LE(inWindow(link).right(), inWindow(area).right());
}

// The German line just fits: the margins that centre a short line give their room to the link
// before it is shortened.
TEST_F(DropHint, InTheZeroStatesDropAreaTheMarginsGiveWayBeforeTheLink) {
    LocaleGuard german(QLocale(QLocale::German, QLocale::Germany));
    showSources(true, "");
    EXPECT_GE(label->width(), label->sizeHint().width());
    EXPECT_GE(link->width(), link->sizeHint().width());
    EXPECT_TRUE(link->toolTip().isEmpty());
}

// In English everything fits: nothing is shortened and the link has no tool tip.
TEST_F(DropHint, InEnglishTheLinkIsWholeAndHasNoToolTip) {
    LocaleGuard english(QLocale(QLocale::English, QLocale::UnitedStates));
    showSources(false, "12 folders, 248 files: 1.25GB");
    EXPECT_GE(label->width(), label->sizeHint().width());
    EXPECT_GE(link->width(), link->sizeHint().width());
    EXPECT_TRUE(link->toolTip().isEmpty());
}

}  // namespace
