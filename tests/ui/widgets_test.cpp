// The drawn controls on their own: link colours and images, the icon button's images by tag,
// the progress bar's inset by platform version, the list cell's geometry, the centred label,
// the toolbar outline and the gradient buttons.
#include "support/support.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QEnterEvent>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>

#include "platform/version.h"
#include "widgets/ImageAndTextCell.h"
#include "widgets/QVTransferButtonCells.h"
#include "widgets/QVTransferCenterTextFieldCell.h"
#include "widgets/QVTransferLinkButton.h"
#include "widgets/QVTransferPausedAndStopButton.h"
#include "widgets/QVTransferProgressIndicator.h"
#include "widgets/QVTransferToolbarBackground.h"
#include "widgets/framework_images.h"

using namespace qvt;

namespace {

void sendEnter(QWidget* w) {
    QEnterEvent enter(QPointF(2, 2), QPointF(2, 2), w->mapToGlobal(QPointF(2, 2)));
    QApplication::sendEvent(w, &enter);
}

void sendLeave(QWidget* w) {
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(w, &leave);
}

// Whether any pixel of `image` has exactly the colour `c`.
bool hasPixel(const QImage& image, const QColor& c) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < rgb.height(); ++y)
        for (int x = 0; x < rgb.width(); ++x)
            if (QColor(rgb.pixel(x, y)) == c) return true;
    return false;
}

// The first column, from the left, holding a pixel other than `background`; -1 when none.
int firstColumnNotOf(const QImage& image, const QColor& background) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    for (int x = 0; x < rgb.width(); ++x)
        for (int y = 0; y < rgb.height(); ++y)
            if (QColor(rgb.pixel(x, y)) != background) return x;
    return -1;
}

QFont arial13() {
    QFont f(QStringLiteral("Arial"));
    f.setPointSize(13);
    return f;
}

std::unique_ptr<QVTransferLinkButton> makeLink() {
    auto link = std::make_unique<QVTransferLinkButton>();
    link->resize(220, 28);
    QPalette p = link->palette();
    p.setColor(QPalette::Window, Qt::white);
    link->setPalette(p);
    link->setUpTitle(QStringLiteral("Create new folder"), arial13(), Qt::AlignLeft);
    return link;
}

}  // namespace

TEST(LinkButton, TitleIsBlackUntilTheMouseFirstEntersOrLeaves) {
    auto link = makeLink();
    EXPECT_EQ(link->titleColor(), QColor(0, 0, 0));
    const QImage before = link->grab().toImage();
    // The underline is drawn in the full title colour.
    EXPECT_TRUE(hasPixel(before, QColor(0, 0, 0)));
    EXPECT_FALSE(hasPixel(before, QVTransferLinkButton::hoverColor()));

    sendEnter(link.get());
    EXPECT_EQ(link->titleColor(), QColor(21, 171, 255));
    const QImage hovered = link->grab().toImage();
    EXPECT_TRUE(hasPixel(hovered, QColor(21, 171, 255)));
    EXPECT_FALSE(hasPixel(hovered, QColor(0, 0, 0)));

    sendLeave(link.get());
    EXPECT_EQ(link->titleColor(), QColor(0, 103, 166));
    const QImage left = link->grab().toImage();
    EXPECT_TRUE(hasPixel(left, QColor(0, 103, 166)));
    EXPECT_FALSE(hasPixel(left, QColor(21, 171, 255)));
}

TEST(LinkButton, LeavingFirstAlsoGivesTheExitColour) {
    auto link = makeLink();
    sendLeave(link.get());
    EXPECT_EQ(link->titleColor(), QColor(0, 103, 166));
}

TEST(LinkButton, IsAnUnderlinedLinkWithThePointingHandThatTabReaches) {
    auto link = makeLink();
    EXPECT_EQ(link->cursor().shape(), Qt::PointingHandCursor);
    // Tab reaches it; a click does not take the focus. A new title keeps that.
    EXPECT_EQ(link->focusPolicy(), Qt::TabFocus);
    link->setUpTitle(QStringLiteral("Create new folder"), arial13(), Qt::AlignLeft);
    EXPECT_EQ(link->focusPolicy(), Qt::TabFocus);
    EXPECT_TRUE(link->isFlat());
    EXPECT_TRUE(link->titleFont().underline());
    EXPECT_EQ(link->titleFont().family(), QStringLiteral("Arial"));
    EXPECT_EQ(link->title(), QStringLiteral("Create new folder"));
}

TEST(LinkButton, TheAlignmentArgumentIsNotUsed) {
    auto link = makeLink();
    link->setTextAlignment(Qt::AlignRight);
    link->setUpTitle(QStringLiteral("Go"), arial13(), Qt::AlignLeft);
    EXPECT_EQ(link->textAlignment(), Qt::AlignRight);
    // Drawn at the right end: nothing in the left half.
    const QImage image = link->grab().toImage();
    EXPECT_GT(firstColumnNotOf(image, Qt::white), link->width() / 2);

    link->setTextAlignment(Qt::AlignLeft);
    link->setUpTitle(QStringLiteral("Go"), arial13(), Qt::AlignRight);
    EXPECT_LT(firstColumnNotOf(link->grab().toImage(), Qt::white), 4);
}

TEST(LinkButton, WithoutAHoveredImageTheImageStaysOnHover) {
    auto link = makeLink();
    const QIcon normal = widgets::frameworkIcon(QStringLiteral("newFolderIcon.png"));
    ASSERT_FALSE(normal.isNull());
    link->setUpImages(normal, QIcon());
    sendEnter(link.get());
    EXPECT_EQ(link->currentImage().cacheKey(), normal.cacheKey());
    EXPECT_EQ(link->titleColor(), QVTransferLinkButton::hoverColor());
    sendLeave(link.get());
    EXPECT_EQ(link->currentImage().cacheKey(), normal.cacheKey());
}

TEST(LinkButton, AHoveredImageShowsWhileTheMouseIsOver) {
    auto link = makeLink();
    const QIcon normal = widgets::frameworkIcon(QStringLiteral("newFolderIcon.png"));
    const QIcon hovered = widgets::frameworkIcon(QStringLiteral("newFolderIcon_over.png"));
    ASSERT_FALSE(hovered.isNull());
    link->setUpImages(normal, hovered);
    EXPECT_EQ(link->currentImage().cacheKey(), normal.cacheKey());
    sendEnter(link.get());
    EXPECT_EQ(link->currentImage().cacheKey(), hovered.cacheKey());
    sendLeave(link.get());
    EXPECT_EQ(link->currentImage().cacheKey(), normal.cacheKey());
}

TEST(PausedAndStopButton, ImagesFollowTagAndMouse) {
    struct Case {
        int tag;
        const char* over;
        const char* down;
        const char* up;
    };
    const Case cases[] = {
        {3, "icn_pause_over.png", "icn_pause_down.png", "icn_pause_up.png"},
        {4, "icn_resume_over.png", "icn_resume_down.png", "icn_resume_up.png"},
        {0, "icn_stop_over.png", "icn_stop_down.png", "icn_stop_up.png"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tag);
        QVTransferPausedAndStopButton button;
        button.resize(28, 28);
        button.setTag(c.tag);
        EXPECT_EQ(button.currentImageName(), QLatin1String(c.up));
        sendEnter(&button);
        EXPECT_EQ(button.currentImageName(), QLatin1String(c.over));
        QTest::mousePress(&button, Qt::LeftButton, {}, QPoint(14, 14));
        EXPECT_EQ(button.currentImageName(), QLatin1String(c.down));
        QTest::mouseRelease(&button, Qt::LeftButton, {}, QPoint(14, 14));
        sendLeave(&button);
        EXPECT_EQ(button.currentImageName(), QLatin1String(c.up));
        for (const char* name : {c.over, c.down, c.up})
            EXPECT_FALSE(widgets::frameworkIcon(QLatin1String(name)).isNull()) << name;
    }
}

TEST(PausedAndStopButton, TheCancelButtonShowsOneImageInEveryState) {
    QVTransferPausedAndStopButton button;
    button.resize(20, 20);
    button.setTag(10);
    const QString cancel = QStringLiteral("icn_cancel_up.png");
    EXPECT_EQ(button.currentImageName(), cancel);
    sendEnter(&button);
    EXPECT_EQ(button.currentImageName(), cancel);
    QTest::mousePress(&button, Qt::LeftButton, {}, QPoint(10, 10));
    EXPECT_EQ(button.currentImageName(), cancel);
    QTest::mouseRelease(&button, Qt::LeftButton, {}, QPoint(10, 10));
    sendLeave(&button);
    EXPECT_EQ(button.currentImageName(), cancel);
    EXPECT_FALSE(widgets::frameworkIcon(cancel).isNull());
}

TEST(PausedAndStopButton, AnotherTagChangesNoImage) {
    QVTransferPausedAndStopButton button;
    button.setTag(3);
    button.setTag(7);
    EXPECT_EQ(button.tag(), 7);
    sendEnter(&button);
    QTest::mousePress(&button, Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseRelease(&button, Qt::LeftButton, {}, QPoint(5, 5));
    sendLeave(&button);
    EXPECT_EQ(button.currentImageName(), QStringLiteral("icn_pause_up.png"));
}

TEST(PausedAndStopButton, ThePressStillActsAsAButtonAndTheTagIsAProperty) {
    QVTransferPausedAndStopButton button;
    button.resize(28, 28);
    button.setProperty("tag", 4);
    EXPECT_EQ(button.tag(), 4);
    EXPECT_EQ(button.currentImageName(), QStringLiteral("icn_resume_up.png"));
    QSignalSpy clicked(&button, &QAbstractButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton, {}, QPoint(14, 14));
    EXPECT_EQ(clicked.count(), 1);
}

class ProgressIndicatorInset : public ::testing::Test {
  protected:
    void TearDown() override { platform::setVersionRecordPath(""); }

    void useVersion(const std::string& version) {
        const std::string path = dir / ("SystemVersion-" + version + ".plist");
        test::writeFile(path,
                        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n"
                        "<dict>\n\t<key>ProductVersion</key>\n\t<string>" +
                            version + "</string>\n</dict>\n</plist>\n");
        platform::setVersionRecordPath(path);
    }

    // Where the bar's drawing starts, seen from the left edge of the control.
    static int drawnLeftEdge(QVTransferProgressIndicator& bar) {
        bar.resize(200, 24);
        QPalette p = bar.palette();
        p.setColor(QPalette::Window, QColor(1, 2, 3));
        bar.setPalette(p);
        bar.setAutoFillBackground(true);
        bar.setProgress(50, 100);
        return firstColumnNotOf(bar.grab().toImage(), QColor(1, 2, 3));
    }

    test::TempDir dir;
};

TEST_F(ProgressIndicatorInset, OnePointBeforeTenTen) {
    useVersion("10.9");
    QVTransferProgressIndicator bar;
    EXPECT_EQ(bar.drawingInset(), 1);
    EXPECT_EQ(drawnLeftEdge(bar), 1);
}

TEST_F(ProgressIndicatorInset, ThreePointsFromTenTenOn) {
    useVersion("10.10");
    QVTransferProgressIndicator bar;
    EXPECT_EQ(bar.drawingInset(), 3);
    EXPECT_EQ(drawnLeftEdge(bar), 3);

    useVersion("11.0");
    QVTransferProgressIndicator later;
    EXPECT_EQ(later.drawingInset(), 3);
}

TEST_F(ProgressIndicatorInset, AMissingRecordCountsAsAnEarlySystem) {
    platform::setVersionRecordPath(dir / "absent.plist");
    QVTransferProgressIndicator bar;
    EXPECT_EQ(bar.drawingInset(), 1);
}

TEST_F(ProgressIndicatorInset, TheShippedRecordGivesThree) {
    platform::setVersionRecordPath("");
    QVTransferProgressIndicator bar;
    EXPECT_EQ(bar.drawingInset(), 3);
}

TEST(ProgressIndicator, ByteCountsBeyondTheIntRangeAreShownInProportion) {
    QVTransferProgressIndicator bar;
    const double total = 8.0e12;  // 8 TB
    bar.setProgress(total / 4, total);
    EXPECT_EQ(bar.value(), bar.maximum() / 4);
    bar.setProgress(total * 2, total);
    EXPECT_EQ(bar.value(), bar.maximum());
    bar.setProgress(5, 0);
    EXPECT_EQ(bar.value(), 0);
}

TEST(ImageAndTextCell, ImageSlotAndTextStart) {
    EXPECT_EQ(ImageAndTextCell::imageRect(QRect(0, 0, 300, 37)), QRect(3, 10, 30, 18));
    EXPECT_EQ(ImageAndTextCell::imageRect(QRect(10, 100, 300, 50)), QRect(13, 116, 30, 18));
    const QRect text = ImageAndTextCell::titleRect(QRect(0, 0, 300, 37), 15);
    EXPECT_EQ(text.left(), 38);  // 3 + 30 + 5
    EXPECT_EQ(text.top(), 11);   // (37 - 15) / 2, rounded up
    EXPECT_EQ(text.height(), 15);
    EXPECT_EQ(text.right(), 299);
}

TEST(ImageAndTextCell, DrawsTheImageInItsSlotAndTheTextAfterTheGap) {
    QStandardItemModel model(1, 1);
    auto* item = new QStandardItem(QStringLiteral("Holiday photos"));
    item->setData(widgets::frameworkIcon(QStringLiteral("warningImage.png")), Qt::DecorationRole);
    model.setItem(0, 0, item);
    ImageAndTextCell cell;

    QImage canvas(300, 37, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    QStyleOptionViewItem option;
    option.rect = canvas.rect();
    option.font = arial13();
    option.palette = QApplication::palette();
    option.state = QStyle::State_Enabled;
    cell.paint(&painter, option, model.index(0, 0));
    painter.end();

    const auto inked = [&](int left, int right) {
        for (int x = left; x < right; ++x)
            for (int y = 0; y < canvas.height(); ++y)
                if (QColor(canvas.pixel(x, y)) != QColor(Qt::white)) return true;
        return false;
    };
    EXPECT_FALSE(inked(0, 3));    // the inset before the slot
    EXPECT_TRUE(inked(3, 33));    // the image
    EXPECT_FALSE(inked(33, 38));  // the gap after it
    EXPECT_TRUE(inked(38, 300));  // the text
}

TEST(CenterTextFieldCell, ShortTextMovesDownByHalfTheDifference) {
    EXPECT_EQ(QVTransferCenterTextFieldCell::titleRectForBounds(QRect(0, 0, 100, 40), 16),
              QRect(0, 12, 100, 16));
    EXPECT_EQ(QVTransferCenterTextFieldCell::titleRectForBounds(QRect(5, 5, 100, 20), 30),
              QRect(5, 5, 100, 20));
}

TEST(CenterTextFieldCell, TheTextIsDrawnInTheMiddle) {
    QVTransferCenterTextFieldCell label;
    label.setText(QStringLiteral("Upload files"));
    label.resize(200, 80);
    QPalette p = label.palette();
    p.setColor(QPalette::Window, Qt::white);
    p.setColor(QPalette::WindowText, Qt::black);
    label.setPalette(p);
    label.setAutoFillBackground(true);
    const QImage image = label.grab().toImage().convertToFormat(QImage::Format_RGB32);
    int top = -1, bottom = -1;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (QColor(image.pixel(x, y)) != QColor(Qt::white)) {
                if (top < 0) top = y;
                bottom = y;
            }
    ASSERT_GE(top, 0);
    // As much room above the ink as below it, give or take the font's descent.
    EXPECT_NEAR(top, image.height() - 1 - bottom, label.fontMetrics().descent() + 2);
}

// A heading with a long device name: the line ends in an ellipsis inside the field, and the
// whole heading is the tool tip; one that fits is drawn whole, with no tip.
TEST(CenterTextFieldCell, ALineTooLongEndsInAnEllipsisAndIsWholeInTheToolTip) {
    QVTransferCenterTextFieldCell label;
    const QString heading =
        QStringLiteral("Dateien auf Ein sehr langer Ger\u00e4tename f\u00fcr den Test hochladen");
    label.setText(heading);
    label.resize(label.fontMetrics().horizontalAdvance(heading) / 2, 40);
    (void)label.grab();  // drawn once, as the window draws it
    const QString shown = label.shownText();
    EXPECT_TRUE(shown.endsWith(QChar(0x2026))) << shown.toStdString();
    EXPECT_LE(label.fontMetrics().horizontalAdvance(shown), label.width());
    EXPECT_EQ(label.toolTip(), heading);

    label.resize(label.fontMetrics().horizontalAdvance(heading) + 10, 40);
    (void)label.grab();
    EXPECT_EQ(label.shownText(), heading);
    EXPECT_TRUE(label.toolTip().isEmpty());
}

TEST(ToolbarBackground, OutlineStartsMidBottomAndGoesRound) {
    const QRectF r(0, 0, 100, 50);
    const QPainterPath path = QVTransferToolbarBackground::createBezierPathForRect(r);
    ASSERT_GE(path.elementCount(), 5);
    EXPECT_TRUE(path.elementAt(0).isMoveTo());
    EXPECT_EQ(QPointF(path.elementAt(0)), QPointF(50, 50));
    EXPECT_EQ(QPointF(path.elementAt(path.elementCount() - 1)), QPointF(50, 50));
    EXPECT_EQ(path.boundingRect(), r);
}

TEST(ToolbarBackground, FillsItsBoundsWithTheToolbarImage) {
    QVTransferToolbarBackground band;
    ASSERT_FALSE(band.image().isNull());
    band.resize(300, 72);
    const QImage image = band.grab().toImage();
    const QColor middle = image.pixelColor(150, 36);
    const QColor fromImage =
        band.image().toImage().pixelColor(band.image().width() / 2, band.image().height() / 2);
    EXPECT_NEAR(middle.red(), fromImage.red(), 6);
    EXPECT_NEAR(middle.green(), fromImage.green(), 6);
    EXPECT_NEAR(middle.blue(), fromImage.blue(), 6);
}

TEST(GradientButtons, BlueButtonGradientByState) {
    QVTransferBlueButtonCell button;
    button.setText(QStringLiteral("Next"));
    button.resize(120, 32);
    const auto colours = [&] {
        const QImage image = button.grab().toImage();
        return std::pair(image.pixelColor(4, 2), image.pixelColor(4, 29));
    };
    auto [top, bottom] = colours();
    EXPECT_EQ(top.red(), 0);
    EXPECT_LT(top.blue(), bottom.blue());  // deeper blue at the top
    EXPECT_NEAR(top.green(), 128, 8);
    EXPECT_NEAR(bottom.green(), 153, 8);

    button.setDown(true);
    std::tie(top, bottom) = colours();
    EXPECT_GT(top.blue(), bottom.blue());
    button.setDown(false);

    button.setEnabled(false);
    std::tie(top, bottom) = colours();
    EXPECT_EQ(top.red(), top.green());
    EXPECT_EQ(top.green(), top.blue());
    EXPECT_NEAR(top.red(), 220, 4);
    EXPECT_LT(top.red(), bottom.red());
}

TEST(GradientButtons, GreyButtonGradientByState) {
    QVTransferDarkGrayButtonCell button;
    button.setText(QStringLiteral("Back"));
    button.resize(120, 32);
    QImage image = button.grab().toImage();
    EXPECT_NEAR(image.pixelColor(4, 2).red(), 220, 4);
    EXPECT_LT(image.pixelColor(4, 2).red(), image.pixelColor(4, 29).red());
    button.setDown(true);
    image = button.grab().toImage();
    EXPECT_GT(image.pixelColor(4, 2).red(), image.pixelColor(4, 29).red());
    button.setDown(false);
    button.setEnabled(false);
    image = button.grab().toImage();
    EXPECT_LT(image.pixelColor(4, 2).red(), image.pixelColor(4, 29).red());
}

TEST(GradientButtons, TitleColours) {
    QVTransferButtonCell plain;
    EXPECT_EQ(plain.titleColor(), QColor::fromRgbF(0.36, 0.36, 0.36));
    plain.setDown(true);
    EXPECT_EQ(plain.titleColor(), QColor(255, 255, 255));
    EXPECT_EQ(plain.font().family(), QStringLiteral("Arial"));
    EXPECT_EQ(plain.font().pointSize(), 13);

    QVTransferBlueButtonCell blue;
    blue.setText(QStringLiteral("Upload"));
    blue.resize(120, 32);
    EXPECT_TRUE(hasPixel(blue.grab().toImage(), QColor(255, 255, 255)));
    blue.setEnabled(false);
    EXPECT_FALSE(hasPixel(blue.grab().toImage(), QColor(255, 255, 255)));
}
