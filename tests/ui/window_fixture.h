// A controller with the real Qt window, on the offscreen platform, for the window's tests.
#pragma once

#include "support/support.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QSet>
#include <QWidget>
#include <string>

#include "ui/QtTransferWindow.h"

namespace qvt::test {

class WindowTest : public ::testing::Test {
  protected:
    void SetUp() override { harness.services.viewFactory = &createQtTransferView; }

    void TearDown() override {
        if (window && window->window()) window->window()->hide();
        // Background work of the controller (default folders, close-time clean-up) ends first.
        harness.services.dispatch->waitIdle(10.0);
        wizard.reset();
    }

    // Builds the controller for `device` with the real window.
    void make(const Record& device) {
        wizard = QVTransferPrivate::initWithDevice(device, harness.services);
        ASSERT_TRUE(wizard);
        window = dynamic_cast<QtTransferWindow*>(wizard->view());
        ASSERT_NE(window, nullptr);
    }

    Harness harness;
    std::shared_ptr<QVTransferPrivate> wizard;
    QtTransferWindow* window = nullptr;
};

// How many different colours `image` holds (counting stops at `enough`).
inline int colourCount(const QImage& image, int enough = 64) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    QSet<QRgb> seen;
    for (int y = 0; y < rgb.height(); y += 1)
        for (int x = 0; x < rgb.width(); x += 1) {
            seen.insert(rgb.pixel(x, y));
            if (seen.size() >= enough) return static_cast<int>(seen.size());
        }
    return static_cast<int>(seen.size());
}

// Saves `image` as <output folder>/<name>.png and answers the path.
inline std::string savePicture(const QImage& image, const std::string& name) {
    const std::string path = outputFolder() + "/" + name + ".png";
    image.save(QString::fromStdString(path), "PNG");
    return path;
}

}  // namespace qvt::test
